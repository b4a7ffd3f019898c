// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/MessageStyle.h"

#include <QString>
#include <QVariantList>

// The caption of every message box.
extern const QString ApplicationTitle;

constexpr char EarlyBox[] = "IsEarly";

// Where message boxes come from. There is one at a time; a test puts its own
// in place for as long as it lives.
class MessagePort {
public:
    virtual ~MessagePort() = default;
    // Shows the text, as plain text, and waits for a button.
    virtual MessageAnswer Show(const QString &text, MessageStyle style) = 0;
    // The same for a box that the user has not asked for: for a second neither
    // key nor click answers it, as they were meant for the window below, nor does
    // its frame. The property EarlyBox of the box is true for so long.
    virtual MessageAnswer ShowUnprompted(const QString &text, MessageStyle style) { return Show(text, style); }
};

// The port in use, and another one in its place; null for the real boxes.
MessagePort &CurrentMessagePort();
void SetMessagePort(MessagePort *port);

// Expands the template ("{CRLF}" in capitals only) and shows the result; the
// button pressed. An empty template shows nothing and gives NoAnswer.
MessageAnswer ShowMessage(const QString &text, MessageStyle style, const QVariantList &values = {});
MessageAnswer ShowUnpromptedMessage(const QString &text, MessageStyle style, const QVariantList &values = {});
