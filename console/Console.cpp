#include "console/Console.h"

#include "common/Common.h"
#include "common/Error.h"

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

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

QString OneLine(const Error &error)
{
    QString text = Common::ShownText(error.Description()).trimmed();
    if (text.startsWith("System Error: "_L1) && text.contains("\r\n"_L1))
        text = text.section("\r\n"_L1, 1);
    return text.simplified();
}

}
