// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "markup/Html.h"
#include "markup/Readable.h"

#include <optional>

namespace Markup {

// What an element shows that is one piece.
struct Content {
    QString Text;
    std::optional<Picture> Shown; // behind the text
    QStringList Warnings;
};

// The content of the start tag of a picture, an object, a drawing, a formula, a
// field, a script or of what a player would show. A picture of a formula whose
// source is known is that formula; a drawing is a picture with an address that
// holds all of it; "[video]" and the like stand for what is played.
Content ContentOf(const Html::Piece &tag);

}
