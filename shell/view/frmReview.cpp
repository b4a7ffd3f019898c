// SPDX-License-Identifier: Apache-2.0
#include "shell/view/frmReview.h"

#include "common/Common.h"
#include "model/Globals.h"
#include "resources/Artwork.h"
#include "session/ExamSession.h"
#include "shell/ReviewList.h"
#include "shell/view/ReviewModel.h"
#include "shell/view/frmReport.h"
#include "ui/Guard.h"
#include "ui/Layout.h"
#include "ui/Messages.h"
#include "ui/RowLayout.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QSet>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int IconSize = 16; // pixels
constexpr int CellPadding = 36;
constexpr int RowPadding = 10;

// The keys of the icons, in the order of the legend.
const QString Icons[] = { u"Complete"_s, u"Incomplete"_s, u"Checked"_s };

// How wide the widest text is. Texts that differ in their digits only are taken for
// as wide as one of the widest digit, so that of an exam with thousands of items
// few texts are measured.
int WidestOf(const std::vector<ReviewList::Entry> &entries, const QFontMetrics &metrics)
{
    const QString digits = u"0123456789"_s;
    const QChar widest = *std::max_element(digits.begin(), digits.end(), [&metrics](QChar one, QChar other) {
        return metrics.horizontalAdvance(one) < metrics.horizontalAdvance(other);
    });
    QSet<QString> shapes;
    for (const ReviewList::Entry &entry : entries) {
        QString shape = entry.Text;
        std::replace_if(
            shape.begin(), shape.end(), [](QChar c) { return c.isDigit(); }, widest);
        shapes.insert(shape);
    }
    int width = 0;
    for (const QString &shape : shapes)
        width = std::max(width, metrics.horizontalAdvance(shape));
    return width;
}

}

frmReview::frmReview(ExamSession &session, QWidget *owner)
    : QDialog(owner)
    , m_session(session)
    , m_exam(Globals::CurrentExam)
    , m_items(new ReviewModel(this))
    , lvwReview(new QListView(this))
    , txtQuestion(new QLineEdit(this))
    , cmdGoTo(new QPushButton(u"&Go To"_s, this))
    , cmdReviewAll(new QPushButton(u"Review &All"_s, this))
    , cmdReviewMarked(new QPushButton(u"Review &Marked"_s, this))
    , cmdEnd(new QPushButton(u"&End Exam"_s, this))
{
    setObjectName(u"frmReview"_s);
    setWindowTitle(u"Item Review"_s);
    lvwReview->setObjectName(u"lvwReview"_s);
    lvwReview->setAccessibleName(u"Items of the exam"_s);
    // Small icons beside their texts, in columns that fill the width; nothing
    // to drag and nothing to edit.
    lvwReview->setFlow(QListView::LeftToRight);
    lvwReview->setWrapping(true);
    lvwReview->setMovement(QListView::Static);
    lvwReview->setResizeMode(QListView::Adjust);
    lvwReview->setIconSize(QSize(IconSize, IconSize));
    lvwReview->setModel(m_items);
    lvwReview->setEditTriggers(QAbstractItemView::NoEditTriggers);
    ShrinkList(lvwReview);
    lvwReview->installEventFilter(this);
    txtQuestion->setObjectName(u"txtQuestion"_s);
    txtQuestion->setMaximumWidth(90);
    txtQuestion->installEventFilter(this);
    auto *lblNumber = new QLabel(u"&Question number:"_s, this);
    lblNumber->setBuddy(txtQuestion);
    cmdGoTo->setObjectName(u"cmdGoTo"_s);
    cmdGoTo->setDefault(true);
    cmdReviewAll->setObjectName(u"cmdReviewAll"_s);
    cmdReviewMarked->setObjectName(u"cmdReviewMarked"_s);
    cmdEnd->setObjectName(u"cmdEnd"_s);
    for (QPushButton *button : { cmdReviewAll, cmdReviewMarked, cmdEnd })
        button->setAutoDefault(false);
    for (QPushButton *button : { cmdGoTo, cmdReviewAll, cmdReviewMarked, cmdEnd })
        button->setMinimumWidth(button->sizeHint().width() + 14);

    auto *row = new RowLayout(8);
    row->addWidget(lblNumber);
    row->addWidget(txtQuestion);
    row->addWidget(cmdGoTo);
    row->AddStretch();
    row->addWidget(cmdReviewAll);
    row->addWidget(cmdReviewMarked);
    row->AddSpacing(18);
    row->addWidget(cmdEnd);
    auto *layout = new QVBoxLayout(NewPage(this));
    layout->setContentsMargins(14, 14, 14, 14);
    layout->setSpacing(12);
    layout->addWidget(lvwReview, 1);
    layout->addWidget(Legend());
    layout->addLayout(row);
    FitWorkArea(this, QSize(760, 480), QSize(280, 200));

    connect(txtQuestion, &QLineEdit::textChanged, this, [this](const QString &text) {
        const QString limited = ReviewList::Limited(text, m_exam->Questions().Count());
        if (limited != text)
            txtQuestion->setText(limited);
    });
    connect(cmdGoTo, &QPushButton::clicked, this, [this] { Guard([&] { cmdGoTo_Click(); }); });
    connect(lvwReview, &QListView::doubleClicked, this, [this] { Guard([&] { GotoSelected(); }); });
    connect(cmdReviewAll, &QPushButton::clicked, this, [this] {
        Guard([&] {
            m_session.ReviewAll();
            accept();
        });
    });
    connect(cmdReviewMarked, &QPushButton::clicked, this, [this] {
        Guard([&] {
            m_session.ReviewMarked();
            accept();
        });
    });
    connect(cmdEnd, &QPushButton::clicked, this, [this] { Guard([&] { cmdEnd_Click(); }); });
}

QWidget *frmReview::Legend()
{
    auto *legend = new QWidget(this);
    auto *row = new RowLayout(6, legend);
    row->setContentsMargins(2, 0, 0, 0);
    for (const QString &icon : Icons) {
        // The two stay together where the row is broken.
        auto *pair = new QWidget(legend);
        auto *inPair = new QHBoxLayout(pair);
        inPair->setContentsMargins({});
        inPair->setSpacing(row->spacing());
        auto *picture = new QLabel(pair);
        picture->setPixmap(Artwork::StatusIcon(icon).pixmap(QSize(IconSize, IconSize), devicePixelRatioF()));
        picture->setAccessibleName(ReviewModel::Meaning(icon) + u" sign"_s);
        inPair->addWidget(picture);
        inPair->addWidget(new QLabel(ReviewModel::Meaning(icon), pair));
        row->addWidget(pair);
        row->AddSpacing(14);
    }
    return legend;
}

void frmReview::Load()
{
    const Exam &exam = *m_exam;
    cmdReviewMarked->setEnabled(ReviewList::HasMarked(exam));
    if (exam.IsEnded())
        cmdEnd->setText(u"&View Report"_s);
    lvwReview->ensurePolished();
    std::vector<ReviewList::Entry> entries = ReviewList::Entries(exam);
    const int widest = WidestOf(entries, lvwReview->fontMetrics());
    const QSize cell(std::max(100, widest + IconSize + CellPadding), std::max(fontMetrics().height(), IconSize) + RowPadding);
    lvwReview->setGridSize(cell);
    m_items->SetEntries(std::move(entries), cell);
}

void frmReview::cmdGoTo_Click()
{
    if (Common::IsBlank(txtQuestion->text())) {
        ShowMessage(u"Please enter the question number into the given field."_s, InformationMessage);
        txtQuestion->setFocus();
        return;
    }
    m_session.GotoQuestion(ReviewList::NumberIn(txtQuestion->text()));
    accept();
}

void frmReview::GotoSelected()
{
    const QModelIndex current = lvwReview->currentIndex();
    if (!current.isValid())
        return;
    m_session.GotoQuestion(current.data(ReviewModel::NumberRole).value<qint16>());
    accept();
}

void frmReview::cmdEnd_Click()
{
    if (!m_exam->IsEnded()) {
        if (ShowMessage(u"Are you sure you want to end the exam?"_s, QuestionMessage) != AnswerYes)
            return;
        m_session.EndExam();
    }
    ShowReportAndClose();
}

void frmReview::ShowReportAndClose()
{
    hide();
    frmReport::ShowModal(parentWidget());
    accept();
}

bool frmReview::event(QEvent *event)
{
    if (event->type() == QEvent::WindowActivate)
        txtQuestion->setFocus();
    return QDialog::event(event);
}

bool frmReview::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == txtQuestion && event->type() == QEvent::FocusIn) {
        // A click that brings the focus would clear the selection again.
        QTimer::singleShot(0, txtQuestion, &QLineEdit::selectAll);
    } else if (watched == lvwReview && event->type() == QEvent::KeyPress) {
        auto *key = static_cast<QKeyEvent *>(event);
        if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
            Guard([&] { GotoSelected(); });
            return true;
        }
        const QString text = key->text();
        return !text.isEmpty() && text.front().isPrint() && !text.front().isDigit();
    }
    return false;
}
