// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

namespace Picture {

// A picture's file cut down to what a decoder needs of it.
struct Essentials {
    QByteArray Format; // the decoder's name: "bmp", "gif", "jpeg", "ico" or "png"
    QByteArray Bytes;
};

// Finds the kind of a picture by its first bytes and leaves only what makes the
// picture: of a PNG, also one inside an ICO, the critical chunks and the
// transparent colours; of a JPEG no texts, profiles and camera data; of a GIF
// the first frame, and no more codes than it has pixels. So the cost of
// decoding what remains follows from the size of the picture.
//
// Raises InvalidCall for another kind, for what is beyond the limits of
// Picture.h, and for a file that ends before the picture does, from which the
// decoders would make a picture half of it blank. What is wrong in any other
// way is left to them.
Essentials EssentialsOf(QByteArray bytes);

}
