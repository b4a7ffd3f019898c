// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "markup/Readable.h"

namespace PlainText {

// The readable text with its pictures spelled.
inline QString Readable(const Markup::Text &text)
{
    return Markup::Spelled(Markup::Read(text), false);
}

}
