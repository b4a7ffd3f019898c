// SPDX-License-Identifier: Apache-2.0
#include "signature/PackStatement.h"

#include "common/Error.h"

#include <QStringList>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

Error Refused(const QString &text)
{
    return Error(InvalidCall, text, u"PackStatement"_s);
}

bool IsLine(const QString &text)
{
    return !text.isEmpty() && text.size() <= PackStatement::LongestText
        && std::none_of(text.begin(), text.end(), [](QChar c) { return c.category() == QChar::Other_Control; });
}

}

void PackStatement::Require() const
{
    const auto isApart = [](QChar c) { return c.isSpace() || c == u';'; };
    if (!IsLine(Exam) || std::any_of(Exam.begin(), Exam.end(), isApart))
        throw Refused(u"“%1” cannot be signed as the ID of an exam"_s.arg(Exam.left(LongestText)));
    if (!IsLine(Signer) || Signer.trimmed() != Signer)
        throw Refused(u"“%1” cannot be signed as the name of who signs"_s.arg(Signer.left(LongestText)));
    if (Version < 1)
        throw Refused(u"the version of a pack is a number from 1 to %1"_s.arg(HighestVersion));
}

QString PackStatement::ToText() const
{
    return u"Practorium pack; exam="_s + Exam + u"; version="_s + QString::number(Version) + u"; date="_s
        + Date.toString(Qt::ISODate) + u"; by="_s + Signer;
}

PackStatement PackStatement::FromText(QByteArrayView text)
{
    // Without QRegularExpression: built for Windows, a program does not end once a thread of it
    // has used one.
    const QStringList parts = QString::fromUtf8(text).split(u"; "_s);
    const auto value = [&](qsizetype at) { return parts.value(at).section(u'=', 1); };
    PackStatement statement;
    statement.Exam = value(1);
    statement.Version = value(2).toInt();
    statement.Date = QDateTime::fromString(value(3), Qt::ISODate);
    statement.Signer = QStringList(parts.mid(4)).join(u"; "_s).section(u'=', 1);
    if (!statement.Date.isValid() || statement.Date.timeSpec() != Qt::UTC || statement.ToText().toUtf8() != text)
        throw Refused(u"what the signature states cannot be read"_s);
    statement.Require();
    return statement;
}
