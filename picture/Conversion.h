// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QImage>
#include <QStringList>

// Pictures of kinds that no exhibit has, made into ones that can be saved as an
// exhibit. The decoders are plugins of Qt; of a file of a stranger they are given
// only what was checked here.
namespace Conversion {

// A larger drawing is not looked at.
constexpr qint64 MostDrawingBytes = 16 * 1024 * 1024;
// The width of a drawing in pixels: twice its own, unless that is more.
constexpr int WidestDrawing = 1200;

// "WebP", "TIFF" or "SVG" by the content of a file, which may be packed by gzip
// when it is an SVG; empty for any other.
QString KindOf(const QByteArray &file);

// A WebP (the first frame of a moving one), a TIFF (its first page) or an SVG as an
// opaque picture within the limits of Picture.h, on white where it is transparent.
// losses: the parts of a drawing that are not shown, such as "<marker>".
//
// A drawing is refused when it refers to other files, or when its parts, each as
// often as it is used, are too many. Raises InvalidCall with what is wrong, also
// when the plugin is missing.
QImage Decode(const QByteArray &file, QStringList &losses);

}
