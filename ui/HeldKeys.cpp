// SPDX-License-Identifier: Apache-2.0
#include "ui/HeldKeys.h"

#include <QApplication>
#include <QKeyEvent>
#include <QWidget>

namespace HeldKeys {

namespace {

struct Release {
    int Key = 0;
    quint64 Time = 0; // milliseconds of the system's own clock; 0 when unknown
};
Release lastRelease;

// Whether a repeat of the key would press, answer or choose something.
bool Acts(const QKeyEvent &event)
{
    switch (event.key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Escape: return true;
    default: break;
    }
    // Control repeats what moves and resizes; with Alt it types on some keyboards.
    if (event.modifiers().testFlag(Qt::AltModifier) && !event.modifiers().testFlag(Qt::ControlModifier))
        return true;
    const QWidget *focus = QApplication::focusWidget();
    const bool takesText = focus && focus->testAttribute(Qt::WA_InputMethodEnabled);
    return !takesText && !event.modifiers().testFlag(Qt::ControlModifier) && !event.text().isEmpty()
        && event.text().front().isPrint();
}

class Filter : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject *, QEvent *event) override
    {
        switch (event->type()) {
        case QEvent::KeyRelease: {
            const auto &release = static_cast<QKeyEvent &>(*event);
            lastRelease = { release.key(), release.timestamp() };
            return false;
        }
        case QEvent::ShortcutOverride:
        case QEvent::KeyPress: {
            const auto &key = static_cast<QKeyEvent &>(*event);
            if (!IsRepeat(key) || !Acts(key))
                return false;
            // An accepted search ends without a shortcut.
            event->accept();
            return true;
        }
        default: return false;
        }
    }
};

}

void Watch(QApplication &application)
{
    application.installEventFilter(new Filter(&application));
}

bool IsRepeat(const QKeyEvent &event)
{
    return event.isAutoRepeat()
        || (event.timestamp() != 0 && event.timestamp() == lastRelease.Time && event.key() == lastRelease.Key);
}

}
