#pragma once

#include <QByteArray>

namespace Picture {

// False when a picture's file ends before the picture does. The decoders make
// a picture of such a file all the same, half of it blank. What is wrong in
// any other way, and every format but BMP, GIF and JPEG, is left to them: true.
bool IsWhole(const QByteArray &bytes, const QByteArray &format);

}
