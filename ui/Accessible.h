// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QAccessible>

class QWidget;

// Has a screen reader read the text out, wherever the focus is: for what changes by
// itself, and for what a key changes elsewhere. What has the focus is read without
// this. An empty text says nothing.
//
// Qt has no event for this before version 6.8. The text becomes the name of a
// notification that appears in the source's window, is not painted, and goes after
// some seconds.
void Announce(QWidget *source, const QString &text);

// What assistive technology takes the widget for, where its class does not say so.
// To be called before the widget has a name for it.
void SetAccessibleRole(QWidget *widget, QAccessible::Role role);
