// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QStringList>

// What a decoder of drawings is given in place of a stranger's SVG.
namespace PlainDrawing {

constexpr int MostElements = 20'000; // drawn, each as often as it is used
constexpr int DeepestElement = 100; // inside each other, uses included
constexpr qint64 MostDrawnCharacters = 20'000'000; // of the attributes and texts of all that is drawn

// Writes a drawing (SVG 1.1 and SVG Tiny 1.2) anew with nothing but the elements
// that the decoder knows and needs, their attributes without foreign namespaces,
// and the pictures in it as PNG. So what was checked is what is drawn: there is
// no document type, no entity, no script, no font and no address left.
//
// losses: what belongs to the picture but is not drawn, such as "<marker>", each
// once.
//
// Raises InvalidCall for what is no well-formed drawing, for one that refers to
// other files, for a picture in it that Picture::Decode refuses, and for a drawing
// beyond the limits above.
QByteArray Of(const QByteArray &svg, QStringList &losses);

}
