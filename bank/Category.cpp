// SPDX-License-Identifier: Apache-2.0
#include "bank/Category.h"

using namespace Qt::Literals::StringLiterals;

namespace Bank {

namespace {

// A part takes far more memory than the slash it is written with.
constexpr qsizetype MostParts = 100;

bool SaysWhereItBegins(const QString &part)
{
    const bool isContext = part.size() > 2 && part.startsWith(u'$') && part.endsWith(u'$');
    return isContext || part == "top"_L1;
}

}

QStringList CategoryParts(QStringView path)
{
    QStringList parts;
    QString part;
    const auto finish = [&] {
        part = part.trimmed();
        if (!part.isEmpty() && !(parts.isEmpty() && SaysWhereItBegins(part)))
            parts.append(part);
        part.clear();
    };
    for (qsizetype i = 0; i < path.size() && parts.size() < MostParts; ++i) {
        const bool isSlash = path[i] == u'/';
        if (isSlash && i + 1 < path.size() && path[i + 1] == u'/')
            part += path[i++];
        else if (isSlash)
            finish();
        else
            part += path[i];
    }
    if (parts.size() < MostParts)
        finish();
    return parts;
}

QString NameOfCategory(const QStringList &parts)
{
    return parts.isEmpty() || parts.last().startsWith("Default for "_L1) ? QString() : parts.last();
}

}
