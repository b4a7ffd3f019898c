// SPDX-License-Identifier: Apache-2.0
#pragma once

// Lets a program without a display paint with the fonts of the system. Before the
// QGuiApplication is made.
void UseSystemFonts();
