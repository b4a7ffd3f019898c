// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// The character references of HTML.
namespace Entities {

// What "&lt;", "&#65;" or "&#x41;" stands for; null when the name is unknown or
// there is none. Numbers that are no character give U+FFFD, those of the C1
// controls what Windows-1252 has there. Needs a QGuiApplication.
QString TextOf(QStringView entity);

// The text with its known entities resolved.
QString Resolved(QStringView text);

}
