#pragma once

#include <QImage>
#include <QString>

// The pictures of exhibits, read from files that a stranger made.
namespace Picture {

// No exhibit is larger; checked before a pixel is decoded.
constexpr qint64 MostPixels = 16'000'000;

// A BMP, GIF, JPEG, ICO or PNG picture, told by its content and not by its
// name; of a moving one the first frame. One that was cut off is an
// error. Only regular files are opened.
// Raises InvalidCall with what is wrong, or the system's error.
QImage Load(const QString &Path);

}
