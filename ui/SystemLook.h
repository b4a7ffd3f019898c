// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QPalette>

#include <functional>
#include <optional>

class QApplication;

// What the user has chosen for the whole desktop.
struct SystemLook {
    bool IsDark = false;
    bool IsHighContrast = false;
    // The system's own colours of high contrast; the program's where there are none.
    std::optional<QPalette> HighContrast = {};

    using Receiver = std::function<void(const SystemLook &)>;

    // Calls the receiver with the look at once, and again whenever the user changes it, as
    // long as the application exists. Called before the application has a palette of
    // the program's own, and before the first window.
    static void Watch(QApplication &application, Receiver receiver);
};
