// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace Markup {

// How a text is marked up. Moodle, the default, is plain text with line breaks
// in which HTML tags and entities may stand.
enum class Kind { Moodle, Html, Plain, Markdown };

struct Text {
    QString Source; // without surrounding white space
    Markup::Kind Kind = Markup::Kind::Moodle;
    bool operator==(const Text &) const = default;
};

}
