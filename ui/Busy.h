// SPDX-License-Identifier: Apache-2.0
#pragma once

// Brackets a long operation. BeginBusy keeps every open window's enabled state
// in the window's tag (the dynamic property "tag", reserved for this), disables
// the window and shows the busy pointer; EndBusy puts all of it back. Calls do
// not nest.
void BeginBusy();
void EndBusy();
