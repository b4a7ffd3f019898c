// SPDX-License-Identifier: Apache-2.0
#include "common/Utf8.h"

#include <QtEndian>

#include <algorithm>
#include <bit>

namespace Utf8Text {

namespace {

constexpr qptrdiff Ahead = 8; // bytes that are looked at in one go

// Some first bytes narrow the range of the second, which keeps out surrogates and
// characters that are too large or take more bytes than they need.
bool IsSecond(uchar lead, uchar second)
{
    switch (lead) {
    case 0xE0: return 0xA0 <= second && second <= 0xBF;
    case 0xED: return 0x80 <= second && second <= 0x9F;
    case 0xF0: return 0x90 <= second && second <= 0xBF;
    case 0xF4: return 0x80 <= second && second <= 0x8F;
    default: return 0x80 <= second && second <= 0xBF;
    }
}

bool IsFurther(uchar byte)
{
    return (byte & 0xC0) == 0x80;
}

// The character beyond ASCII that the bytes begin with: its length in bytes, 0
// when they begin with none.
int Decode(const uchar *in, qptrdiff left, char32_t &character)
{
    const uchar lead = in[0];
    if (lead < 0xC2 || lead > 0xF4 || left < 2 || !IsSecond(lead, in[1]))
        return 0;
    if (lead < 0xE0) {
        character = (lead & 0x1F) << 6 | (in[1] & 0x3F);
        return 2;
    }
    if (left < 3 || !IsFurther(in[2]))
        return 0;
    if (lead < 0xF0) {
        character = (lead & 0x0F) << 12 | (in[1] & 0x3F) << 6 | (in[2] & 0x3F);
        return 3;
    }
    if (left < 4 || !IsFurther(in[3]))
        return 0;
    character = (lead & 0x07) << 18 | (in[1] & 0x3F) << 12 | (in[2] & 0x3F) << 6 | (in[3] & 0x3F);
    return 4;
}

char16_t *Put(char32_t character, char16_t *out)
{
    if (character < 0x10000) {
        *out++ = static_cast<char16_t>(character);
    } else {
        *out++ = QChar::highSurrogate(character);
        *out++ = QChar::lowSurrogate(character);
    }
    return out;
}

// Four pairs of bytes as four characters of two bytes, and how many of them are that
// from the first one on.
int ConvertPairs(const uchar *in, char16_t *out)
{
    const auto each = [](quint64 pair) { return pair * 0x0001'0001'0001'0001; };
    const quint64 bytes = qFromLittleEndian<quint64>(in);
    // The first byte is 110xxxxx, of which one of the upper four is set, the second 10xxxxxx.
    const quint64 wrongBits = (bytes & each(0xC0E0)) ^ each(0x80C0);
    const quint64 tooSmall = ~((bytes & each(0x1E)) + each(0x1E)) & each(0x20);
    const quint64 characters = (bytes & each(0x1F)) << 6 | (bytes >> 8 & each(0x3F));
    for (int i = 0; i < 4; ++i)
        out[i] = static_cast<char16_t>(characters >> (16 * i));
    return std::countr_zero(wrongBits | tooSmall) / 16;
}

// Eight bytes as characters, and how many of them are ASCII from the first one on.
int ConvertAscii(const uchar *in, char16_t *out)
{
    std::copy_n(in, Ahead, out);
    return std::countr_zero(qFromLittleEndian<quint64>(in) & 0x8080'8080'8080'8080) / 8;
}

// Up to the first byte that is no part of a character. The buffer has room for so
// many characters more than the text has.
struct Progress {
    const uchar *In;
    char16_t *Out;
};
Progress Convert(const uchar *in, const uchar *end, char16_t *out)
{
    while (in != end) {
        // Words and what is between them, without a branch for each letter.
        while (end - in >= 2 * Ahead) {
            const int pairs = ConvertPairs(in, out);
            in += 2 * pairs;
            out += pairs;
            if (2 * pairs == Ahead)
                continue;
            const int letters = ConvertAscii(in, out);
            in += letters;
            out += letters;
            if (pairs + letters == 0)
                break;
        }
        if (*in < 0x80) {
            *out++ = *in++;
            continue;
        }
        char32_t character = 0;
        const int length = Decode(in, end - in, character);
        if (length == 0)
            break;
        out = Put(character, out);
        in += length;
    }
    return { in, out };
}

// Of a text of whole characters; of others it is less.
qsizetype LengthOf(const uchar *in, const uchar *end)
{
    constexpr qptrdiff block = 32;
    const auto units = [](uchar byte) { return static_cast<uchar>((IsFurther(byte) ? 0 : 1) + (byte >= 0xF0 ? 1 : 0)); };
    qsizetype length = 0;
    for (; end - in >= block; in += block) {
        uchar sum = 0;
        for (qptrdiff i = 0; i < block; ++i)
            sum += units(in[i]);
        length += sum;
    }
    for (; in != end; ++in)
        length += units(*in);
    return length;
}

}

QString FromBytes(QByteArrayView bytes)
{
    const auto *in = reinterpret_cast<const uchar *>(bytes.data());
    const uchar *end = in + bytes.size();
    QString text(LengthOf(in, end) + Ahead, Qt::Uninitialized);
    auto *out = reinterpret_cast<char16_t *>(text.data());
    Progress progress = Convert(in, end, out);
    if (progress.In != end) {
        text = QString(bytes.size() + Ahead, Qt::Uninitialized);
        out = reinterpret_cast<char16_t *>(text.data());
        for (progress = Convert(in, end, out); progress.In != end; progress = Convert(progress.In, end, progress.Out))
            *progress.Out++ = static_cast<char16_t>(0xDC00 + *progress.In++);
    }
    text.truncate(progress.Out - out);
    return text;
}

QByteArray ToBytes(QStringView text)
{
    if (text.isValidUtf16())
        return text.toUtf8();
    QByteArray bytes;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i].unicode();
        const bool isPair = text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate();
        if (isPair)
            bytes += text.sliced(i++, 2).toUtf8();
        else if (0xDC80 <= unit && unit <= 0xDCFF)
            bytes += static_cast<char>(unit - 0xDC00);
        else if (text[i].isSurrogate())
            bytes += '?';
        else
            bytes += text.sliced(i, 1).toUtf8();
    }
    return bytes;
}

}
