// SPDX-License-Identifier: Apache-2.0
#include "download/DownloadText.h"

#include "common/Common.h"
#include "model/IO.h"

#include <algorithm>
#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace DownloadText {

namespace {

const QString Nothing = u"NA"_s;
constexpr double DecimalsFrom = 999 * 1024; // bytes
constexpr double LargestFraction = 100;
constexpr double SmallestChange = 10;
constexpr float Creep = 0.001F;

}

QString Total(double total)
{
    return total < 1 ? Nothing : IO::FormatSize(total, 2);
}

QString Received(double downloaded)
{
    return downloaded < 1 ? Nothing : IO::FormatSize(downloaded, downloaded >= DecimalsFrom ? 2 : 0);
}

QString Rate(double bytesPerSecond)
{
    if (bytesPerSecond < 1)
        return Nothing;
    return Common::FormatText(u"{1}/s"_s, { IO::FormatSize(bytesPerSecond, bytesPerSecond < 100 ? 1 : 0) });
}

QString GeneralDate(const QDateTime &time, const QLocale &locale)
{
    const QString system = locale.dateFormat(QLocale::ShortFormat);
    QStringList fields = { u"d"_s, u"M"_s, u"yyyy"_s };
    std::sort(fields.begin(), fields.end(),
              [&](const QString &a, const QString &b) { return system.indexOf(a.front()) < system.indexOf(b.front()); });
    for (QString &field : fields) {
        if (field.size() == 1 && system.contains(field + field))
            field += field;
    }
    const auto isSeparator = [](QChar character) { return character == u'.' || character == u'-'; };
    const auto separator = std::find_if(system.begin(), system.end(), isSeparator);
    const bool isHalfDay = locale.timeFormat(QLocale::ShortFormat).contains(u'a', Qt::CaseInsensitive);
    const QString format
        = fields.join(separator == system.end() ? u'/' : *separator) + (isHalfDay ? u" h:mm:ss AP"_s : u" HH:mm:ss"_s);
    return QLocale::c().toString(time, format);
}

double BarWidth(double fullWidth, double width, double fraction)
{
    const double target = fullWidth * std::min(fraction, LargestFraction);
    return std::abs(target - width) >= SmallestChange ? target : width;
}

float NextSimulated(float fraction)
{
    const float next = fraction + Creep;
    return next > 1.0F ? 0.5F : next;
}

}
