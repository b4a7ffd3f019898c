// SPDX-License-Identifier: Apache-2.0
#include "shell/view/frmReview.h"

#include "common/Common.h"
#include "model/Globals.h"
#include "resources/Artwork.h"
#include "session/ExamSession.h"
#include "shell/ReviewList.h"
#include "shell/view/frmReport.h"
#include "ui/Guard.h"
#include "ui/Layout.h"
#include "ui/Messages.h"
#include "ui/RowLayout.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int NumberRole = Qt::UserRole;
constexpr int IconSize = 16; // pixels
constexpr int CellPadding = 36;
constexpr int RowPadding = 10;

struct Sign {
    QString Key;
    QString Meaning;
};
const Sign Signs[]
    = { { u"Complete"_s, u"Complete"_s }, { u"Incomplete"_s, u"Incomplete"_s }, { u"Checked"_s, u"Marked for review"_s } };

}

frmReview::frmReview(ExamSession &session, QWidget *owner)
    : QDialog(owner)
    , m_session(session)
    , m_exam(Globals::CurrentExam)
    , lvwReview(new QListWidget(this))
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
    connect(lvwReview, &QListWidget::itemDoubleClicked, this, [this] { Guard([&] { GotoSelected(); }); });
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
    for (const Sign &sign : Signs) {
        // The two stay together where the row is broken.
        auto *pair = new QWidget(legend);
        auto *inPair = new QHBoxLayout(pair);
        inPair->setContentsMargins({});
        inPair->setSpacing(row->spacing());
        auto *picture = new QLabel(pair);
        picture->setPixmap(Artwork::StatusIcon(sign.Key).pixmap(QSize(IconSize, IconSize), devicePixelRatioF()));
        picture->setAccessibleName(sign.Meaning + u" sign"_s);
        inPair->addWidget(picture);
        inPair->addWidget(new QLabel(sign.Meaning, pair));
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
    int widest = 0;
    for (const ReviewList::Entry &entry : ReviewList::Entries(exam)) {
        auto *item = new QListWidgetItem(Artwork::StatusIcon(entry.Icon), entry.Text);
        item->setData(NumberRole, entry.Number);
        for (const Sign &sign : Signs) {
            if (sign.Key == entry.Icon)
                item->setData(Qt::AccessibleDescriptionRole, sign.Meaning);
        }
        lvwReview->addItem(item);
        widest = std::max(widest, lvwReview->fontMetrics().horizontalAdvance(entry.Text));
    }
    const QSize cell(std::max(100, widest + IconSize + CellPadding), std::max(fontMetrics().height(), IconSize) + RowPadding);
    lvwReview->setGridSize(cell);
    for (int row = 0; row < lvwReview->count(); ++row)
        lvwReview->item(row)->setSizeHint(cell);
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
    const QListWidgetItem *item = lvwReview->currentItem();
    if (!item)
        return;
    m_session.GotoQuestion(item->data(NumberRole).value<qint16>());
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
