// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "markup/Text.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace Markup {

struct Picture {
    // The address as it is written, with its entities resolved; a "data:" address
    // for a drawing that stands in the text itself. Can be empty.
    QString Source;
    QString Alt; // without blanks at its ends; empty when there is none
};

constexpr QChar PictureSign = QChar::ObjectReplacementCharacter; // U+FFFC

struct Readable {
    // PictureSign, and only that, stands for each picture.
    QString Text;
    std::vector<Picture> Pictures; // in the order of the text
    QStringList Warnings; // what is lost, each a line
};

// The text without its markup. Lines end with "\n"; there is none at the end,
// no white space at the end of a line and no two blank lines in a row where
// markup made them. Nothing that the text refers to is ever loaded. Empty when
// nothing but markup is in it. In linear time.
//
// Of HTML and Markdown there remain line breaks, list marks ("- ", "1. ") with
// their numbers, cells separated by " | ", "text (address)" for a link to the
// web, superscripts and subscripts (Scripts.h; the ending of an ordinal number
// stays), quotation marks, formulas (Tex.h, MathMl.h) outside of code, and the
// text of unknown tags; no comments, scripts and style sheets. Text without a
// format is HTML only where it holds a known tag (one that is closed too, where
// that is needed) or a known entity; its own line breaks and indents stay. In
// plain text a formula is one only between "\(" and "\)" or "\[" and "\]".
// Markdown that Qt's reader cannot render without loss stays as written.
//
// Needs a QGuiApplication.
Readable Read(const Text &text);

// The text with "[alt]", "[name]" or "[picture]" in place of each picture. Where
// the pictures are shown beside the text, a line that holds nothing but pictures
// goes.
QString Spelled(const Readable &readable, bool arePicturesShown);

}
