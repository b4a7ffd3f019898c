// SPDX-License-Identifier: Apache-2.0
#include "service/AccountTables.h"

#include "common/Csv.h"
#include "common/Error.h"
#include "common/Utf8.h"
#include "service/Password.h"
#include "service/Store.h"

#include <QFile>
#include <QSet>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace AccountTables {

namespace {

constexpr qint64 LargestFile = 64 * 1024 * 1024; // bytes

[[noreturn]] void Fail(const QString &place, const QString &reason)
{
    throw Error(InvalidCall, place + u": "_s + reason, u"AccountTables::Read()"_s);
}

QString TextOf(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        Fail(path, file.errorString());
    const QByteArray bytes = file.read(LargestFile + 1);
    if (bytes.size() > LargestFile)
        Fail(path, u"is larger than %1 MiB"_s.arg(LargestFile / 1024 / 1024));
    QString text = Utf8Text::FromBytes(bytes);
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool isPair = text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate();
        if (text[i].isSurrogate() && !isPair)
            Fail(u"%1: line %2"_s.arg(path).arg(text.first(i).count(u'\n') + 1), u"is not UTF-8"_s);
        i += isPair;
    }
    if (text.startsWith(u'\uFEFF'))
        text.remove(0, 1);
    return text.replace(u"\r\n"_s, u"\n"_s);
}

// Gives the required and the optional columns of each line to the function.
void Read(const QString &path, const QStringList &required, const QStringList &optional,
          const std::function<void(const QString &place, const QStringList &fields)> &onRow)
{
    const QString text = TextOf(path);
    Csv::Parser parser(text, u',');
    Csv::Record record;
    std::vector<qsizetype> columns; // of the table; -1 for an optional one that is not there
    size_t width = 0;
    for (;;) {
        try {
            if (!parser.Next(record))
                break;
        } catch (const Error &error) {
            Fail(path, error.Description());
        }
        if (record.IsBlank() && record.Fields.size() == 1)
            continue;
        const QString place = u"%1: line %2"_s.arg(path).arg(record.Line);
        if (record.HasOddQuote)
            Fail(place, u"a quotation mark must enclose the whole field, or be doubled inside one"_s);
        QStringList fields;
        for (const QStringView field : record.Fields)
            fields.append(field.toString());
        if (width == 0) {
            width = record.Fields.size();
            for (const QString &name : std::as_const(fields)) {
                if (!(required + optional).contains(name) || fields.count(name) > 1)
                    Fail(place, u"\"%1\" is no column of this table, or stands there twice"_s.arg(name));
            }
            for (const QString &name : required + optional) {
                if (required.contains(name) && !fields.contains(name))
                    Fail(place, u"there is no column \"%1\""_s.arg(name));
                columns.push_back(fields.indexOf(name));
            }
            continue;
        }
        if (record.Fields.size() != width)
            Fail(place, u"has %1 fields instead of %2"_s.arg(record.Fields.size()).arg(width));
        QStringList row;
        for (const qsizetype column : columns)
            row.append(column < 0 ? QString() : fields[column]);
        onRow(place, row);
    }
    if (width == 0)
        Fail(path, u"is empty"_s);
}

}

std::vector<UserRow> ReadUsers(const QString &path)
{
    std::vector<UserRow> rows;
    QSet<QString> seen;
    Read(path, { u"email"_s }, { u"password_hash"_s }, [&](const QString &place, const QStringList &fields) {
        const QString &email = fields[0];
        const QByteArray hash = fields[1].toUtf8();
        if (const QString reason = Password::InvalidUserReason(email); !reason.isEmpty())
            Fail(place, reason);
        if (seen.contains(Store::Folded(email)))
            Fail(place, u"the user \"%1\" stands in an earlier line too"_s.arg(email));
        if (!hash.isEmpty() && !Password::IsHash(hash))
            Fail(place, u"the password_hash is no Argon2id hash that the service can check"_s);
        seen.insert(Store::Folded(email));
        rows.push_back({ place, email, hash });
    });
    return rows;
}

std::vector<GrantRow> ReadGrants(const QString &path)
{
    std::vector<GrantRow> rows;
    Read(path, { u"email"_s, u"exam"_s }, {}, [&](const QString &place, const QStringList &fields) {
        if (!Store::IsExamId(fields[1]))
            Fail(place, u"\"%1\" is no exam's ID"_s.arg(fields[1]));
        rows.push_back({ place, fields[0], fields[1] });
    });
    return rows;
}

QString Row(const QStringList &fields)
{
    QStringList written;
    for (QString field : fields) {
        const bool isPlain = std::none_of(field.begin(), field.end(), [](QChar c) {
            return c == u',' || c == u'"' || c == u'\n' || c == u'\r' || c == u';' || c == u'\t';
        });
        written.append(isPlain ? field : u'"' + field.replace(u'"', u"\"\""_s) + u'"');
    }
    return written.join(u',') + u'\r';
}

QString NoFormula(const QString &field)
{
    const bool isFormula = !field.isEmpty() && u"=+-@\t\r"_s.contains(field.front());
    return isFormula ? u'\'' + field : field;
}

}
