// SPDX-License-Identifier: Apache-2.0
#include "tests/pack/PackSheet.h"

#include "tests/support/ExamBuilder.h"
#include "tests/support/Program.h"
#include "tests/support/Sandbox.h"

#include <QCryptographicHash>
#include <QRegularExpression>
#include <QtEndian>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

QString MakePackage(const QString &name, const QString &code, qsizetype pictureBytes)
{
    const QString folder = Sandbox::Path(u"packages/"_s + code + u'/' + name);
    Sandbox::WriteFile(folder + u"/picture.bmp"_s, QByteArray(pictureBytes, code.back().toLatin1()));
    const auto exam = NewExam({ code });
    AddItem(*exam, { u"Which? "_s.repeated(2'000), { u"*a"_s, u"b"_s } });
    QString file = name;
    exam->Save(folder + u'/' + file.replace(QRegularExpression(u"\\..*"_s), {}) + u".exam"_s);
    return folder;
}

QString MakePack(const QString &name, const QString &code, qsizetype pictureBytes)
{
    const QString file = Sandbox::Path(name + u'-' + code + u".run"_s);
    const QString folder = MakePackage(name, code, pictureBytes);
    const QStringList arguments = { u"pack"_s, folder, u"--out"_s, file, u"--replace"_s };
    EXPECT_EQ(OutcomeOf(QStringLiteral(AUTHOR_PROGRAM), arguments), Outcome{});
    return file;
}

namespace {

template <class Number> QByteArray Little(Number number)
{
    const Number little = qToLittleEndian(number);
    return { reinterpret_cast<const char *>(&little), sizeof little };
}

QByteArray Counted(const QByteArray &name)
{
    return Little(static_cast<quint16>(name.size())) + name;
}

}

QByteArray ToBytes(const PackSheet &sheet)
{
    const QByteArray stub = "#!/bin/false\n";
    QByteArray index = Counted(sheet.Folder);
    for (const PackSheet::File &file : sheet.Files)
        index += Counted(file.Name) + Little(file.Size);
    index += sheet.BehindIndex;
    return Summed(stub + index + sheet.Contents + "PRACPACK" + Little(sheet.Version)
                  + Little(static_cast<quint32>(index.size()) + sheet.MoreIndexBytes)
                  + Little(static_cast<quint64>(stub.size()) + sheet.MoreStart)
                  + Little(static_cast<quint64>(sheet.Contents.size()) + sheet.MoreContentBytes) + QByteArray(32, '\0'));
}

QByteArray Summed(QByteArray pack)
{
    pack.chop(32);
    return pack + QCryptographicHash::hash(pack, QCryptographicHash::Sha256);
}
