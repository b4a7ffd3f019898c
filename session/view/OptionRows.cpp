// SPDX-License-Identifier: Apache-2.0
#include "session/view/OptionRows.h"

#include "common/Common.h"
#include "session/PageLayout.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QKeyEvent>
#include <QRadioButton>
#include <QScopedValueRollback>

#include <algorithm>
#include <set>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int SelectorGap = 6; // pixels
// Rows beyond the view that get controls, and how few of them may be left before
// more do.
constexpr size_t Near = 50;
constexpr size_t Reserve = 10;

QString Captioned(const QString &caption)
{
    return QString(caption).replace(u'&', u"&&"_s);
}

}

OptionRows::OptionRows(QWidget *content)
    : QObject(content)
    , m_content(content)
{
    MakeRows();
}

QAbstractButton *OptionRows::SelectorOf(const Row &row) const
{
    if (m_kind == SelectorKind::Radio)
        return row.Radio;
    return row.Check;
}

OptionRows::Row *OptionRows::NewRow()
{
    if (m_spare.empty()) {
        auto row = std::make_unique<Row>();
        row->Radio = new QRadioButton(m_content);
        row->Check = new QCheckBox(m_content);
        row->Label = new TextBlock(m_content);
        row->Label->SetHasLeader(true);
        // Which radio buttons belong together is the session's matter. A group of
        // its own frees a button from its neighbours; without auto-exclusion a
        // screen reader would take it for a check box.
        auto *group = new QButtonGroup(row->Radio);
        group->setExclusive(false);
        group->addButton(row->Radio);
        for (QWidget *widget : { static_cast<QWidget *>(row->Radio), static_cast<QWidget *>(row->Check) })
            widget->installEventFilter(this);
        const Row *made = row.get();
        const auto number = [made] { return static_cast<int>(made->Index) + 1; };
        // Assistive technology can press what is hidden.
        connect(row->Radio, &QRadioButton::clicked, this, [this, number, made] {
            if (!made->Radio->isHidden())
                Q_EMIT RadioClicked(number());
        });
        connect(row->Check, &QCheckBox::clicked, this, [this, number, made](bool checked) {
            if (!made->Check->isHidden())
                Q_EMIT CheckClicked(number(), checked);
        });
        // Or change a button without a click, which the session would not know of.
        const auto isUnknown = [this, made](const QAbstractButton *button) {
            return !button->isHidden() && made->Index < Count()
                && button->isChecked() != (m_selectors[made->Index].Value == Selector::On);
        };
        const auto radioToggled = [this, number, made, isUnknown] {
            if (isUnknown(made->Radio))
                Q_EMIT RadioClicked(number());
        };
        connect(row->Radio, &QRadioButton::toggled, this, radioToggled, Qt::QueuedConnection);
        const auto checkToggled = [this, number, made, isUnknown] {
            if (isUnknown(made->Check))
                Q_EMIT CheckClicked(number(), made->Check->isChecked());
        };
        connect(row->Check, &QCheckBox::toggled, this, checkToggled, Qt::QueuedConnection);
        connect(row->Label, &TextBlock::Clicked, this, [this, number] { Q_EMIT LabelClicked(number()); });
        m_spare.push_back(std::move(row));
    }
    return m_spare.back().get();
}

// A row beyond the last option keeps its names: there is always a first one.
void OptionRows::Fill(Row &row)
{
    const auto named = [&row](const QString &name) { return name + QString::number(row.Index + 1); };
    row.Radio->setObjectName(named(u"optChoices"_s));
    row.Check->setObjectName(named(u"chkChoices"_s));
    row.Label->setObjectName(named(u"lblChoices"_s));
    row.Radio->setFont(m_font);
    row.Check->setFont(m_font);
    row.Label->setFont(m_font);
    const bool isShown = row.Index < Count();
    if (isShown) {
        const QString &caption = m_selectors[row.Index].Caption;
        QAbstractButton *selector = SelectorOf(row);
        selector->setText(Captioned(caption));
        selector->setAccessibleName(caption + u' ' + Common::ShownText(m_texts[row.Index]));
        row.Label->SetText(m_texts[row.Index]);
        FillState(row);
    }
    row.Label->setVisible(isShown);
    QAbstractButton *shown = SelectorOf(row);
    QAbstractButton *hidden = row.Radio;
    if (shown == row.Radio)
        hidden = row.Check;
    shown->setVisible(isShown);
    // Hiding it first would move the focus to the row that comes next.
    if (isShown && hidden == m_content->window()->focusWidget())
        shown->setFocus(Qt::OtherFocusReason);
    hidden->hide();
}

void OptionRows::FillState(const Row &row)
{
    const Selector &selector = m_selectors[row.Index];
    QAbstractButton *button = SelectorOf(row);
    button->setEnabled(selector.IsEnabled);
    button->setChecked(selector.Value == Selector::On);
}

void OptionRows::Place(const Row &row)
{
    if (row.Index >= m_tops.size())
        return;
    const int top = m_tops[row.Index];
    row.Label->SetInsets(0, m_topInset);
    SelectorOf(row)->setGeometry(Inset, top, m_selectorSize.width(), m_selectorSize.height());
    row.Label->setGeometry(Inset + m_selectorSize.width(), top, m_labelWidth, m_heights[row.Index]);
}

void OptionRows::Release(std::unique_ptr<Row> row)
{
    for (QWidget *widget :
         { static_cast<QWidget *>(row->Radio), static_cast<QWidget *>(row->Check), static_cast<QWidget *>(row->Label) }) {
        widget->hide();
        widget->setObjectName({});
    }
    m_spare.push_back(std::move(row));
}

OptionRows::Row *OptionRows::FocusRow() const
{
    const QWidget *focus = m_content->window()->focusWidget();
    for (const auto &[index, row] : m_rows) {
        if (row->Radio == focus || row->Check == focus)
            return row.get();
    }
    return nullptr;
}

void OptionRows::MakeRows()
{
    // What moves the focus meanwhile is not the user.
    const QScopedValueRollback filling(m_isFilling, true);
    const size_t end = std::max<size_t>(Count(), 1) - 1;
    std::set<size_t> needed{ 0, end };
    for (size_t index = m_first; index <= m_last; ++index)
        needed.insert(index);
    if (const Row *focus = FocusRow(); focus && focus->Index <= end) {
        for (size_t index = std::max<size_t>(focus->Index, 1) - 1; index <= std::min(focus->Index + 1, end); ++index)
            needed.insert(index);
    }
    bool isChanged = false;
    for (auto row = m_rows.begin(); row != m_rows.end();) {
        if (needed.erase(row->first) > 0) {
            ++row;
            continue;
        }
        Release(std::move(row->second));
        row = m_rows.erase(row);
        isChanged = true;
    }
    for (const size_t index : needed) {
        Row *row = NewRow();
        row->Index = index;
        m_rows[index] = std::move(m_spare.back());
        m_spare.pop_back();
        Fill(*row);
        Place(*row);
        isChanged = true;
    }
    if (isChanged)
        OrderRows();
}

void OptionRows::Load(const PageState &page)
{
    const QScopedValueRollback filling(m_isFilling, true);
    m_kind = page.Kind;
    m_selectors = page.Selectors();
    m_texts.clear();
    for (const RowLabel &label : page.lblChoices) {
        if (label.IsVisible)
            m_texts.push_back(label.Text);
    }
    m_measures.assign(Count(), Measure());
    m_tops.clear();
    m_first = 0;
    m_last = std::min(Near, std::max<size_t>(Count(), 1) - 1);
    // While the old rows are all there: as they go, each would pass the focus on.
    if (Row *focus = FocusRow(); focus && focus->Index < Count() && m_selectors[focus->Index].IsEnabled)
        Fill(*focus);
    else if (focus)
        LeaveRows();
    MakeRows();
    for (const auto &[index, row] : m_rows)
        Fill(*row);
}

void OptionRows::Prepare(const QStringList &texts)
{
    for (const auto &[index, row] : m_rows) {
        if (index < static_cast<size_t>(texts.size()))
            row->Label->Prepare(texts[index]);
    }
}

void OptionRows::Update(const PageState &page)
{
    // The next item may be on its way to the page and not yet shown.
    if (page.Kind != m_kind || page.Selectors().size() != m_selectors.size())
        return;
    m_selectors = page.Selectors();
    for (const auto &[index, row] : m_rows) {
        if (index < Count())
            FillState(*row);
    }
}

void OptionRows::SetFont(const QFont &font)
{
    m_font = font;
    m_measures.assign(Count(), Measure());
    for (const auto &[index, row] : m_rows) {
        row->Radio->setFont(font);
        row->Check->setFont(font);
        row->Label->setFont(font);
    }
}

// Most options are one short line, whose size holds for every wider page.
int OptionRows::TextHeight(size_t index, int width)
{
    if (const auto row = m_rows.find(index); row != m_rows.end())
        return row->second->Label->HeightForWidth(width);
    Measure &measure = m_measures[index];
    const bool fits = measure.Extent.Unwrapped <= std::min(width, measure.Width);
    if (measure.Width == 0 || (measure.Width != width && !fits))
        measure = { TextBlock::ExtentOf(m_texts[index], m_font, width), width };
    return m_topInset + measure.Extent.Height;
}

double OptionRows::Arrange(double questionWidth, double questionHeight)
{
    // Every selector is as wide as the widest letter needs.
    const Row &first = *m_rows.begin()->second;
    const QAbstractButton *selector = SelectorOf(first);
    m_selectorSize = Count() > 0 ? selector->sizeHint() : QSize(0, 0);
    if (Count() > 0) {
        m_selectorSize.rwidth() += selector->fontMetrics().horizontalAdvance(u'W')
            - selector->fontMetrics().horizontalAdvance(selector->text().left(1)) + SelectorGap;
    }
    const double selectorWidth = Twips::FromPixels(m_selectorSize.width() + Inset);
    m_labelWidth = Twips::ToPixels(PageLayout::LabelWidth(questionWidth, selectorWidth));
    // The letter stands on the line of the text's first row.
    m_topInset = std::max(0, (m_selectorSize.height() - first.Label->fontMetrics().height()) / 2);
    for (const auto &[index, row] : m_rows)
        row->Label->SetInsets(0, m_topInset);

    std::vector<double> heights;
    heights.reserve(Count());
    m_heights.clear();
    for (size_t index = 0; index < Count(); ++index) {
        m_heights.push_back(std::max(TextHeight(index, m_labelWidth), m_selectorSize.height()));
        heights.push_back(Twips::FromPixels(m_heights.back()));
    }
    const PageLayout::Rows places = PageLayout::ArrangeRows(questionHeight, heights);
    m_tops.clear();
    for (const double top : places.Tops)
        m_tops.push_back(Twips::ToPixels(top));
    for (const auto &[index, row] : m_rows)
        Place(*row);
    return places.ContentHeight;
}

void OptionRows::Show(int top, int bottom)
{
    if (m_tops.empty())
        return;
    const size_t end = m_tops.size() - 1;
    const auto above = std::upper_bound(m_tops.begin(), m_tops.end(), top) - m_tops.begin();
    const auto below = std::lower_bound(m_tops.begin(), m_tops.end(), bottom) - m_tops.begin();
    const size_t first = std::max<size_t>(above, 1) - 1;
    const size_t last = std::clamp<size_t>(below, first, end);
    const bool isReady = (m_first == 0 || m_first + Reserve <= first) && (m_last == end || last + Reserve <= m_last);
    if (isReady)
        return;
    m_first = first - std::min(first, Near);
    m_last = std::min(last + Near, end);
    MakeRows();
}

void OptionRows::KeepFocusAbove(int bottom)
{
    const QScopedValueRollback filling(m_isFilling, true);
    if (const Row *focus = FocusRow(); focus && focus->Index < m_tops.size() && m_tops[focus->Index] >= bottom)
        LeaveRows();
}

void OptionRows::ChainTabs(QWidget *before, QWidget *after)
{
    m_tabBefore = before;
    m_tabAfter = after;
    OrderRows();
}

void OptionRows::OrderRows()
{
    // A screen reader goes by the order of the children, and spare ones stand anywhere.
    for (const auto &[index, row] : m_rows) {
        row->Radio->raise();
        row->Check->raise();
        row->Label->raise();
    }
    if (!m_tabBefore)
        return;
    QWidget *last = m_tabBefore;
    for (const auto &[index, row] : m_rows) {
        QWidget::setTabOrder(last, row->Radio);
        QWidget::setTabOrder(row->Radio, row->Check);
        last = row->Check;
    }
    QWidget::setTabOrder(last, m_tabAfter);
}

void OptionRows::LeaveRows()
{
    const QWidget *window = m_content->window();
    const auto takesFocus = [window](const QWidget *widget) {
        return widget->isVisibleTo(window) && widget->isEnabledTo(window) && (widget->focusPolicy() & Qt::TabFocus);
    };
    QWidget *next = m_tabAfter;
    while (!takesFocus(next) && next->nextInFocusChain() != m_tabAfter)
        next = next->nextInFocusChain();
    next->setFocus(Qt::OtherFocusReason);
}

bool OptionRows::MoveFocus(const Row &from, int key)
{
    const bool isBack = key == Qt::Key_Up || key == Qt::Key_Left;
    if (!isBack && key != Qt::Key_Down && key != Qt::Key_Right)
        return false;
    const auto to = m_rows.find(isBack ? from.Index - 1 : from.Index + 1);
    if (to != m_rows.end())
        SelectorOf(*to->second)->setFocus(isBack ? Qt::BacktabFocusReason : Qt::TabFocusReason);
    return true;
}

bool OptionRows::eventFilter(QObject *watched, QEvent *event)
{
    const bool isKey = event->type() == QEvent::KeyPress;
    if (m_isFilling || (!isKey && event->type() != QEvent::FocusIn))
        return false;
    const auto found = std::find_if(m_rows.begin(), m_rows.end(), [watched](const auto &entry) {
        return entry.second->Radio == watched || entry.second->Check == watched;
    });
    if (found == m_rows.end())
        return false;
    const Row &row = *found->second;
    if (isKey) {
        const auto *key = static_cast<QKeyEvent *>(event);
        return (key->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier && MoveFocus(row, key->key());
    }
    // Nothing may move under a pressed mouse button, nor under the pointer when
    // the window becomes the active one again.
    const Qt::FocusReason reason = static_cast<QFocusEvent *>(event)->reason();
    const bool isByKey = reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason || reason == Qt::ShortcutFocusReason;
    if (isByKey && row.Index < m_tops.size())
        Q_EMIT Reached(m_tops[row.Index] - Inset, m_tops[row.Index] + m_heights[row.Index] + Inset);
    // Its neighbours are one key away.
    MakeRows();
    return false;
}
