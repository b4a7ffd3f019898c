// SPDX-License-Identifier: Apache-2.0
#include "console/Console.h"

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace Console {

namespace {

constexpr qsizetype LongestQuoted = 100;

void Put(std::FILE *stream, const QString &line)
{
    const QByteArray bytes = line.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
}

}

void Print(const QString &line)
{
    Put(stdout, line);
}

void Complain(const QString &line)
{
    Put(stderr, line);
}

bool Flush()
{
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}

QString Quoted(const QString &text)
{
    QString quoted = u"\""_s;
    for (const QChar c : text.left(LongestQuoted)) {
        if (c == u'"' || c == u'\\')
            quoted += u'\\';
        if (c == u' ' || (c.isPrint() && !c.isSpace()))
            quoted += c;
        else
            quoted += u"\\u%1"_s.arg(c.unicode(), 4, 16, QLatin1Char('0'));
    }
    return quoted + (text.size() > LongestQuoted ? u"…\""_s : u"\""_s);
}

}
