// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QDateTime>
#include <QLocale>
#include <QString>

// What the download window writes about a transfer. Sizes are bytes, written by
// IO::FormatSize; one below 1 is not known and reads "NA".
namespace DownloadText {

QString Total(double total);
QString Received(double downloaded);
QString Rate(double bytesPerSecond);

// Date and time, in the time zone that the time has, as the locale orders them,
// but in ASCII whatever its digits, the year in four and with seconds:
// 11/21/2026 8:05:09 PM, 21.11.2026 20:05:09.
QString GeneralDate(const QDateTime &time, const QLocale &locale);

// The width that a bar of that full width is to have for a fraction, in the
// unit of the widths; the present one when the change, below 10 units, is too
// small to show. A fraction above 1 gives more than the full width.
double BarWidth(double fullWidth, double width, double fraction);

// The fraction, from 0 to 1, of the next tick while a request is under way: it
// creeps up by a thousandth and falls back to half when it would exceed 1.
float NextSimulated(float fraction);

}
