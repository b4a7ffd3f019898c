// SPDX-License-Identifier: Apache-2.0
#include "ui/Messages.h"

#include "common/Common.h"
#include "resources/Artwork.h"
#include "ui/HeldKeys.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCloseEvent>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QTimer>
#include <QWindow>

using namespace Qt::Literals::StringLiterals;

const QString ApplicationTitle = u"Practorium"_s;

namespace {

constexpr int EarlyTime = 1000; // milliseconds
constexpr int IconSize = 44;

// Keeps a box from being answered by a key or a click that was meant for the
// window below: no press reaches it until a moment has passed and the keys that
// were down have come up. The release of a key answers nothing, and HeldKeys
// counts it.
class AnswerDelay : public QObject {
public:
    explicit AnswerDelay(QWidget *box)
        : QObject(box)
        , m_box(box)
    {
        m_since.start();
        qApp->installEventFilter(this);
        m_box->setProperty(EarlyBox, true);
        QTimer::singleShot(EarlyTime, Qt::PreciseTimer, this, [this] { m_box->setProperty(EarlyBox, {}); });
    }

    bool IsEarly() const { return m_since.elapsed() < EarlyTime; }

    bool eventFilter(QObject *, QEvent *event) override
    {
        switch (event->type()) {
        case QEvent::KeyPress: return IsEarly() || HeldKeys::IsRepeat(static_cast<QKeyEvent &>(*event));
        case QEvent::ShortcutOverride:
        case QEvent::Shortcut:
        // At the system's window, too, so that a click does not move the focus.
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick: return IsEarly();
        default: return false;
        }
    }

private:
    QWidget *m_box;
    QElapsedTimer m_since;
};

// A box whose frame can close it only when its buttons can. What ends it from
// within the program comes through done.
class Box : public QMessageBox {
public:
    using QMessageBox::QMessageBox;

    void DelayAnswers() { m_delay = new AnswerDelay(this); }
    void done(int result) override
    {
        m_isDone = true;
        QMessageBox::done(result);
    }

protected:
    void closeEvent(QCloseEvent *event) override
    {
        if (m_delay && m_delay->IsEarly() && !m_isDone)
            event->ignore();
        else
            QMessageBox::closeEvent(event);
    }

private:
    AnswerDelay *m_delay = nullptr;
    bool m_isDone = false;
};

// The window that a box belongs to: one that outlives it, also while the user
// is in another program.
QWidget *Owner()
{
    if (QWidget *modal = QApplication::activeModalWidget())
        return modal;
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (window->isVisible() && window->windowType() == Qt::Window && !window->testAttribute(Qt::WA_DeleteOnClose))
            return window;
    }
    return nullptr;
}

QString IconKey(MessageStyle style)
{
    switch (style) {
    case CriticalMessage: return u"Critical"_s;
    case QuestionMessage: return u"Question"_s;
    case ExclamationMessage: return u"Exclamation"_s;
    case InformationMessage: return u"Information"_s;
    case PlainMessage: break;
    }
    return {};
}

// A box taller than the screen would have its buttons beyond it.
QString Fitting(const QString &text)
{
    constexpr qsizetype Lines = 25;
    constexpr qsizetype Characters = 1500;
    const qsizetype lastLine = [&] {
        qsizetype at = -1;
        for (qsizetype line = 0; line < Lines; ++line) {
            at = text.indexOf(u'\n', at + 1);
            if (at < 0)
                return text.size();
        }
        return at;
    }();
    const qsizetype end = std::min(lastLine, Characters);
    return end < text.size() ? text.left(end) + u'…' : text;
}

class MessageBoxes : public MessagePort {
public:
    MessageAnswer Show(const QString &text, MessageStyle style) override { return Run(text, style, false); }
    MessageAnswer ShowUnprompted(const QString &text, MessageStyle style) override { return Run(text, style, true); }

private:
    MessageAnswer Run(const QString &text, MessageStyle style, bool isUnprompted)
    {
        // The owner may go, and the box with it, while it is open.
        const QPointer<Box> box = new Box(Owner());
        box->setWindowTitle(ApplicationTitle);
        // A text from a file or a server must not be taken for markup.
        box->setTextFormat(Qt::PlainText);
        box->setText(Fitting(Common::ShownText(text)));
        if (!IconKey(style).isEmpty())
            box->setIconPixmap(
                Artwork::MessageIcon(IconKey(style)).pixmap(QSize(IconSize, IconSize), box->devicePixelRatioF()));
        for (auto *label : box->findChildren<QLabel *>()) {
            if (!label->pixmap(Qt::ReturnByValue).isNull())
                label->setAccessibleName(IconKey(style));
        }
        const bool asks = style == QuestionMessage;
        box->setStandardButtons(asks ? QMessageBox::Yes | QMessageBox::No : QMessageBox::StandardButtons(QMessageBox::Ok));
        box->setDefaultButton(asks ? QMessageBox::Yes : QMessageBox::Ok);
        for (QAbstractButton *button : box->buttons())
            button->setIcon({});
        if (isUnprompted) {
            box->DelayAnswers();
            QApplication::alert(box);
        }
        const int answer = box->exec();
        delete box;
        switch (answer) {
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

MessageAnswer ShowMessage(const QString &text, MessageStyle style, const QVariantList &values)
{
    if (text.isEmpty())
        return NoAnswer;
    return CurrentMessagePort().Show(Common::FormatText(text, values, Common::LineBreakMarker::Exact), style);
}

MessageAnswer ShowUnpromptedMessage(const QString &text, MessageStyle style, const QVariantList &values)
{
    if (text.isEmpty())
        return NoAnswer;
    return CurrentMessagePort().ShowUnprompted(Common::FormatText(text, values, Common::LineBreakMarker::Exact), style);
}
