// SPDX-License-Identifier: Apache-2.0
#include "common/Common.h"

#include "common/Error.h"

#include <QLocale>

#include <cmath>
#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace Common {

QString ToText(const QVariant &value)
{
    QLocale locale = QLocale::system();
    locale.setNumberOptions(QLocale::OmitGroupSeparator);
    switch (value.typeId()) {
    case QMetaType::Bool: return value.toBool() ? u"True"_s : u"False"_s;
    case QMetaType::Float: return locale.toString(value.toDouble(), 'g', 7);
    case QMetaType::Double: return locale.toString(value.toDouble(), 'g', 15);
    case QMetaType::UChar: // to the variant it is a character
        return QString::number(value.value<quint8>());
    default: return value.toString();
    }
}

QString FormatText(const QString &text, const QVariantList &values, LineBreakMarker marker)
{
    QString result = text;
    for (qsizetype i = 0; i < values.size(); ++i)
        result.replace(u'{' + QString::number(i + 1) + u'}', ToText(values.at(i)));
    result.replace(u"{CRLF}"_s, u"\r\n"_s, marker == LineBreakMarker::Exact ? Qt::CaseSensitive : Qt::CaseInsensitive);
    return result;
}

QString ShownText(const QString &text)
{
    QString shown = text;
    return TrimNull(shown);
}

QString OneLine(QString text)
{
    for (QChar &c : text) {
        if (c.category() == QChar::Other_Control)
            c = u' ';
    }
    return text;
}

QString OneLine(const Error &error)
{
    QString text = ShownText(error.Description()).trimmed();
    if (text.startsWith("System Error: "_L1))
        text = text.section("\r\n"_L1, 1);
    return text.simplified();
}

void CheckApiResult(bool result)
{
    if (result)
        return;
    const qint32 code = LastSystemError();
    const QString hex = QString::number(static_cast<quint32>(code), 16).toUpper();
    throw Error(code, u"System Error: 0x"_s + hex + u"\r\n"_s + SystemErrorText(code));
}

QString FormatDuration(qint32 seconds)
{
    const qint32 hours = seconds / 3600;
    const qint32 minutes = (seconds - hours * 3600) / 60;
    const auto digits = [](qint32 part) { return QString::number(part).rightJustified(2, u'0'); };
    return digits(hours) + u':' + digits(minutes) + u':' + digits(seconds % 60);
}

float Percentage(float part, float whole)
{
    if (whole == 0.0F)
        throw Error::RunTime(DivisionByZero);
    return part / whole * 100.0F;
}

float PercentOf(float value, float percent)
{
    return value * percent / 100.0F;
}

bool IsBlank(QStringView text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c == u' '; });
}

QString TrimBlanks(const QString &text)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && text.at(begin) == u' ')
        ++begin;
    while (end > begin && text.at(end - 1) == u' ')
        --end;
    return text.mid(begin, end - begin);
}

QString TrimNull(QString &text)
{
    const qsizetype nul = text.indexOf(QChar(u'\0'));
    if (nul >= 0)
        text.truncate(nul);
    return text;
}

QString NullBuffer(int length)
{
    return QString(length, QChar(u'\0'));
}

namespace {

// The processor's default rounding mode is the one required: ties to even.
template <class Integer> Integer Rounded(double value)
{
    const double whole = std::nearbyint(value);
    if (!(whole >= std::numeric_limits<Integer>::min() && whole <= std::numeric_limits<Integer>::max()))
        throw Error::RunTime(Overflow);
    return static_cast<Integer>(whole);
}

}

qint16 ToInt16(double value)
{
    return Rounded<qint16>(value);
}

qint32 ToInt32(double value)
{
    return Rounded<qint32>(value);
}

qint32 ShiftLeft(qint32 value, qint16 bits)
{
    return ToInt32(std::ldexp(static_cast<double>(value), bits));
}

double LeadingNumber(QStringView text)
{
    double value = 0;
    for (const QChar c : text.trimmed()) {
        if (c < u'0' || c > u'9' || value > 1e12)
            break;
        value = value * 10 + (c.unicode() - u'0');
    }
    return value;
}

}
