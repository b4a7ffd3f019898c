// SPDX-License-Identifier: Apache-2.0
#include "signature/PackStatement.h"

#include "common/Error.h"

#include <QRegularExpression>

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
    static const QRegularExpression form(
        u"\\APractorium pack; exam=([^;]+); version=([0-9]{1,10}); date=([-0-9T:]+Z); by=(.+)\\z"_s);
    const QRegularExpressionMatch match = form.match(QString::fromUtf8(text));
    PackStatement statement;
    statement.Exam = match.captured(1);
    statement.Version = match.captured(2).toInt();
    statement.Date = QDateTime::fromString(match.captured(3), Qt::ISODate);
    statement.Signer = match.captured(4);
    if (!match.hasMatch() || !statement.Date.isValid() || statement.ToText().toUtf8() != text)
        throw Refused(u"what the signature states cannot be read"_s);
    statement.Require();
    return statement;
}
