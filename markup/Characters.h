// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <functional>

namespace Characters {

inline QString Clean(const QString &text) { return text; }
inline QString Fit(const QString &text, const std::function<bool(char32_t)> &) { return text; }
inline bool IsSoft(char32_t) { return false; }
inline QString Ascii(const QString &text) { return text; }

}
