// SPDX-License-Identifier: Apache-2.0
#pragma once

// Brackets a long operation. BeginBusy keeps every open window's enabled state
// in the window's tag (the dynamic property "tag", reserved for this), disables
// the window and shows the busy pointer; EndBusy puts all of it back. Calls do
// not nest.
void BeginBusy();
void EndBusy();

// A long operation from here to the end of the block, however it is left.
class BusyScope {
public:
    BusyScope() { BeginBusy(); }
    ~BusyScope() { EndBusy(); }
    BusyScope(const BusyScope &) = delete;
    BusyScope &operator=(const BusyScope &) = delete;
};

// The busy pointer alone, over every window, for the rest of the block.
class WaitCursor {
public:
    WaitCursor();
    ~WaitCursor();
    WaitCursor(const WaitCursor &) = delete;
    WaitCursor &operator=(const WaitCursor &) = delete;
};
