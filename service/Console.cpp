#include "service/Console.h"

#include <cstdio>

namespace Console {

namespace {

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

QString OneLine(QString text)
{
    for (QChar &c : text) {
        if (c.category() == QChar::Other_Control)
            c = u' ';
    }
    return text;
}

}
