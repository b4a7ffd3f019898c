#include "ui/Messages.h"

#include "common/Common.h"

#include <QApplication>
#include <QMessageBox>

using namespace Qt::Literals::StringLiterals;

const QString ApplicationTitle = u"Practorium"_s;

namespace {

class MessageBoxes : public MessagePort {
public:
    int Show(const QString &text, int style) override
    {
        QMessageBox box(QApplication::activeWindow());
        box.setWindowTitle(ApplicationTitle);
        // A text from a file or a server must not be taken for markup.
        box.setTextFormat(Qt::PlainText);
        box.setText(Common::ShownText(text));
        switch (style & ~0xF) {
        case CriticalMessage: box.setIcon(QMessageBox::Critical); break;
        case QuestionMessage & ~0xF: box.setIcon(QMessageBox::Question); break;
        case ExclamationMessage: box.setIcon(QMessageBox::Warning); break;
        case InformationMessage: box.setIcon(QMessageBox::Information); break;
        default: break;
        }
        const bool asks = style == QuestionMessage;
        box.setStandardButtons(asks ? QMessageBox::Yes | QMessageBox::No : QMessageBox::StandardButtons(QMessageBox::Ok));
        box.setDefaultButton(asks ? QMessageBox::Yes : QMessageBox::Ok);
        switch (box.exec()) {
        case QMessageBox::Yes: return AnswerYes;
        case QMessageBox::No: return AnswerNo;
        default: return asks ? AnswerNo : AnswerOK;
        }
    }
};

MessagePort *replacement = nullptr;

}

MessagePort &CurrentMessagePort()
{
    static MessageBoxes boxes;
    return replacement ? *replacement : static_cast<MessagePort &>(boxes);
}

void SetMessagePort(MessagePort *port)
{
    replacement = port;
}

int ShowMessage(const QString &text, int style, const QVariantList &values)
{
    if (text.isEmpty())
        return NoAnswer;
    return CurrentMessagePort().Show(Common::FormatText(text, values, Common::LineBreakMarker::Exact), style);
}
