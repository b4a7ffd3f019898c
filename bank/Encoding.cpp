// SPDX-License-Identifier: Apache-2.0
#include "bank/Encoding.h"

#include "common/Ansi.h"

#include <QRegularExpression>
#include <QStringDecoder>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Bank {

namespace {

struct NamedPage {
    QLatin1StringView Name;
    int Page;
};

// Names in which no number of the page stands.
constexpr NamedPage NamedPages[] = {
    { "latin1"_L1, 1252 },        { "latin2"_L1, 28592 },  { "tis-620"_L1, 874 },   { "koi8-r"_L1, 20866 },
    { "koi8-u"_L1, 21866 },       { "shift_jis"_L1, 932 }, { "shift-jis"_L1, 932 }, { "sjis"_L1, 932 },
    { "windows-31j"_L1, 932 },    { "gb2312"_L1, 936 },    { "gbk"_L1, 936 },       { "euc-kr"_L1, 949 },
    { "ks_c_5601-1987"_L1, 949 }, { "big5"_L1, 950 },
};

// The part of ISO 8859, the ones of which a page of Windows has all characters
// by that page.
std::optional<int> IsoPage(int part)
{
    if (part < 1 || part > 16 || part == 12)
        return {};
    switch (part) {
    case 1: return 1252;
    case 9: return 1254;
    case 11: return 874;
    default: return 28590 + part;
    }
}

bool IsUnicode(const QString &encoding)
{
    return encoding.isEmpty() || encoding.startsWith("utf"_L1, Qt::CaseInsensitive)
        || encoding.compare("us-ascii"_L1, Qt::CaseInsensitive) == 0 || encoding.compare("ascii"_L1, Qt::CaseInsensitive) == 0;
}

}

std::optional<int> PageOf(const QString &encoding)
{
    static const QRegularExpression numbered(u"^(?:windows|x-windows|cp|x-cp|ibm)[-_]?([0-9]{3,4})$"_s,
                                             QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression iso(u"^iso[-_]?8859[-_]([0-9]{1,2})$"_s, QRegularExpression::CaseInsensitiveOption);
    const QString name = encoding.trimmed();
    if (const auto match = iso.match(name); match.hasMatch())
        return IsoPage(match.captured(1).toInt());
    if (const auto match = numbered.match(name); match.hasMatch()) {
        static constexpr int known[]
            = { 437, 850, 852, 866, 874, 932, 936, 949, 950, 1250, 1251, 1252, 1253, 1254, 1255, 1256, 1257, 1258 };
        const int page = match.captured(1).toInt();
        return std::find(std::begin(known), std::end(known), page) == std::end(known) ? std::nullopt : std::optional(page);
    }
    const auto found = std::find_if(std::begin(NamedPages), std::end(NamedPages),
                                    [&](const NamedPage &each) { return name.compare(each.Name, Qt::CaseInsensitive) == 0; });
    return found == std::end(NamedPages) ? std::nullopt : std::optional(found->Page);
}

std::optional<QByteArray> ToUtf8(const QByteArray &bytes, const QString &encoding)
{
    if (bytes.startsWith("\xEF\xBB\xBF"))
        return bytes.sliced(3);
    const auto mark = QStringConverter::encodingForData(bytes);
    const bool isWide = encoding.startsWith("utf-16"_L1, Qt::CaseInsensitive)
        || encoding.startsWith("utf-32"_L1, Qt::CaseInsensitive) || encoding.startsWith("utf16"_L1, Qt::CaseInsensitive);
    if (mark || isWide) {
        QStringDecoder decoder(mark.value_or(
            QStringConverter::encodingForName(encoding.toLatin1().constData()).value_or(QStringConverter::Utf16)));
        return QString(decoder(bytes)).toUtf8();
    }
    if (IsUnicode(encoding))
        return bytes;
    const std::optional<int> page = PageOf(encoding);
    return page ? std::optional(Ansi::CodePage(*page).ToText(bytes).toUtf8()) : std::nullopt;
}

qsizetype ValidUtf8(const QByteArray &bytes)
{
    if (bytes.isValidUtf8())
        return bytes.size();
    qsizetype good = 0;
    for (qsizetype length = 1; length <= std::min<qsizetype>(4, bytes.size() - good); ++length) {
        if (QByteArrayView(bytes).sliced(good, length).isValidUtf8()) {
            good += length;
            length = 0;
        }
    }
    return good;
}

}
