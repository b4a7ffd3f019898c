// SPDX-License-Identifier: Apache-2.0
#pragma once

class QApplication;
class QKeyEvent;

// Keys that stay down. The keyboard repeats them, and a repeat must not press a
// second button, answer a box that has just opened or turn a choice back.
namespace HeldKeys {

// From now on a key that is held acts once: its repeats reach no window of the
// application, except those that move, scroll, erase or type a text. Once for
// each application.
void Watch(QApplication &application);

// Whether the press, or the search for its shortcut, comes from a key that has
// been down since an earlier one. Not every system marks such events; there a
// repeat carries the time of the release that was made up in front of it, which
// is known while the application is watched.
bool IsRepeat(const QKeyEvent &event);

}
