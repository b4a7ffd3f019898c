// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Ansi.h"
#include "markup/Characters.h"
#include "markup/Readable.h"

namespace PlainText {

// The readable text with its pictures spelled, in characters of the system's code
// page as far as others can stand for what it lacks.
inline QString Readable(const Markup::Text &text)
{
    const Ansi::CodePage &page = Ansi::SystemCodePage();
    return Characters::Fit(Markup::Spelled(Markup::Read(text), false),
                           [&page](char32_t character) { return page.CanHold(QString::fromUcs4(&character, 1)); });
}

}
