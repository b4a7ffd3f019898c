// SPDX-License-Identifier: Apache-2.0
#include "session/view/frmExplain.h"

#include "common/CodeLines.h"
#include "common/Common.h"
#include "common/Error.h"
#include "model/Globals.h"
#include "ui/CodeFont.h"
#include "ui/Layout.h"
#include "ui/TextBlock.h"

#include <QDialogButtonBox>
#include <QPainter>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

// A text without a caret that shows whether the keys scroll it.
class ReadText : public QPlainTextEdit {
public:
    using QPlainTextEdit::QPlainTextEdit;

protected:
    void focusInEvent(QFocusEvent *event) override
    {
        QPlainTextEdit::focusInEvent(event);
        viewport()->update();
    }
    void focusOutEvent(QFocusEvent *event) override
    {
        QPlainTextEdit::focusOutEvent(event);
        viewport()->update();
    }
    void paintEvent(QPaintEvent *event) override
    {
        QPlainTextEdit::paintEvent(event);
        if (!hasFocus())
            return;
        QPainter painter(viewport());
        painter.setPen(palette().color(QPalette::Highlight));
        painter.drawRect(viewport()->rect().adjusted(0, 0, -1, -1));
    }
};

}

frmExplain::frmExplain(QWidget *owner)
    : QDialog(owner)
    , txtExplaination(new ReadText(this))
{
    setObjectName(u"frmExplain"_s);
    txtExplaination->setObjectName(u"txtExplaination"_s);
    txtExplaination->setReadOnly(true);
    txtExplaination->setTabChangesFocus(true);
    txtExplaination->setAccessibleName(u"Explanation"_s);
    txtExplaination->document()->setDocumentMargin(10);
    auto *cmdClose = new QPushButton(u"&Close"_s, this);
    cmdClose->setObjectName(u"cmdClose"_s);
    cmdClose->setDefault(true);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(14, 14, 14, 14);
    layout->setSpacing(12);
    layout->addWidget(txtExplaination);
    layout->addWidget(cmdClose, 0, Qt::AlignRight);
    FitWorkArea(this, QSize(620, 380), QSize(240, 160));
    connect(cmdClose, &QPushButton::clicked, this, &QDialog::accept);
}

void frmExplain::ShowCode()
{
    txtExplaination->setTabStopDistance(CodeFont::TabStopDistance(txtExplaination->font()));
    QTextCursor cursor(txtExplaination->document());
    // The text may have come in the format of an earlier one.
    cursor.select(QTextCursor::Document);
    cursor.setCharFormat({});
    for (const CodeLines::Range &range : CodeLines::Find(txtExplaination->toPlainText())) {
        cursor.setPosition(static_cast<int>(range.Start));
        cursor.setPosition(static_cast<int>(range.Start + range.Length), QTextCursor::KeepAnchor);
        cursor.mergeCharFormat(CodeFont::Format(txtExplaination->font()));
    }
}

void frmExplain::Load()
{
    if (!Globals::CurrentExam)
        throw Error::RunTime(InvalidCall);
    setWindowTitle(Common::FormatText(u"Explaination - Question: {1}"_s, { QuestionNumber }));
    const QString text = Globals::CurrentExam->Questions().Item(QuestionNumber)->Explaination();
    // What is read from right to left stands at the right.
    QTextOption option = txtExplaination->document()->defaultTextOption();
    option.setAlignment(text.isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft);
    txtExplaination->document()->setDefaultTextOption(option);
    txtExplaination->setPlainText(TextBlock::Breakable(Common::ShownText(text)));
    ShowCode();
    if (txtExplaination->toPlainText().isEmpty())
        txtExplaination->setPlainText(u"Sorry! Explaination is not available for this question."_s);
}
