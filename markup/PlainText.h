// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "markup/Text.h"

#include <QString>

// Marked-up texts as a candidate can read them.
namespace PlainText {

// The text without its markup. Lines end with "\n"; there is none at the end,
// no white space at the end of a line and no two blank lines in a row where
// markup made them. Nothing that the text refers to is ever loaded. Empty when
// nothing but markup is in it.
//
// Of HTML and Markdown there remain line breaks, list marks ("- ", "1. "),
// cells separated by " | ", "[alt]" for a picture, "text (address)" for a link
// to the web, "^" before a raised number, and the text of unknown tags; no
// comments, scripts and style sheets. Text without a format is HTML only where
// it holds a known tag (one that is closed too, where that is needed) or a known
// entity; its own line breaks and indents stay. Markdown that Qt's reader cannot
// render without loss stays as written.
//
// Needs a QGuiApplication.
QString Readable(const Markup::Text &text);

}
