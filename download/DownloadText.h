// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QDateTime>
#include <QLocale>
#include <QString>

// What the download window writes about a transfer. Sizes are bytes; below 1
// there is nothing to tell, "NA".
namespace DownloadText {

QString Total(double total);
QString Received(double downloaded);
QString Rate(double bytesPerSecond);

// Date and time as the locale orders them, but in ASCII whatever its digits, the
// year in four and with seconds: 11/21/2026 8:05:09 PM, 21.11.2026 20:05:09.
QString GeneralDate(const QDateTime &time, const QLocale &locale);

// The width that a bar of that full width is to have for a fraction, in the
// unit of the widths; the present one when the change is too small to show.
double BarWidth(double fullWidth, double width, double fraction);

// The fraction of the next tick while a request is under way: it creeps up and
// falls back to half rather than ever arriving.
float NextSimulated(float fraction);

}
