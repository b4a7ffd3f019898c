// SPDX-License-Identifier: Apache-2.0
#include "author/Commands.h"
#include "author/Cancellation.h"
#include "author/Signing.h"
#include "console/Console.h"
#include "pack/Packer.h"
#include "packformat/PackFormat.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString Notes = uR"(
FILE is a program that needs no other files, for the system that
--for names, "linux" or "windows", on whichever of them it is made. Run without
arguments it installs the exam into the exams folder of the user who runs it, in
place of the exam of that name if there is one. A FILE that is incomplete or was
changed installs nothing. FILE appears whole or not at
all.

FOLDER holds the exam file named after it, which must load, and besides
nothing but regular files: at most %1, with names of at most %2 bytes that
neither begin with a dot or a blank, nor end with one, nor hold control
characters or any of / \ : * ? " < > |, nor are what Windows calls a device,
such as CON, nor differ in nothing but letter case.

With --sign, programs that trust the key run FILE only for that exam, and only if
no pack with a higher version was installed before. The pass phrase of each key is
read from the terminal, or is one line of the standard input.

The exit code is 0, 2 for wrong usage, otherwise 1.
)"_s;

// The time at which a pack is signed; a build that is to be repeated sets it.
QDateTime SigningTime()
{
    bool isSet = false;
    const qint64 seconds = qEnvironmentVariable("SOURCE_DATE_EPOCH").toLongLong(&isSet);
    return QDateTime::fromSecsSinceEpoch(isSet ? seconds : QDateTime::currentSecsSinceEpoch(), Qt::UTC);
}

// What signs the pack, if anything does. Returns what is wrong with the arguments.
QString SignerOf(const QCommandLineParser &parser, const QString &folder, PackContents::Signer &signer)
{
    const QStringList keys = parser.values(u"sign"_s);
    if (keys.isEmpty()) {
        for (const QString &option : { u"pack-version"_s, u"exam"_s, u"signer"_s }) {
            if (parser.isSet(option))
                return u"--%1 goes with --sign"_s.arg(option);
        }
        return {};
    }
    if (keys.size() > Signing::MostKeys)
        return u"--sign is given more than %1 times"_s.arg(Signing::MostKeys);
    bool isNumber = false;
    PackStatement statement;
    statement.Version = parser.value(u"pack-version"_s).toInt(&isNumber);
    if (!isNumber || statement.Version < 1)
        return u"--sign takes --pack-version, a number from 1 to %1"_s.arg(PackStatement::HighestVersion);
    statement.Exam = parser.isSet(u"exam"_s) ? parser.value(u"exam"_s) : folder;
    statement.Date = SigningTime();
    statement.Signer = parser.value(u"signer"_s);
    signer = Signing::SignerOf(keys, statement);
    return {};
}

}

int Command::Pack(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(u"Makes a program that installs the package it holds."_s);
    parser.addPositionalArgument(u"FOLDER"_s, u"The package folder, named as it is to be installed."_s);
    parser.addOptions({
        { u"out"_s, u"The program to make."_s, u"FILE"_s },
        { u"for"_s, u"The system that runs the program; without it, this one."_s, u"SYSTEM"_s },
        { u"replace"_s, u"Replace an existing file."_s },
        { u"sign"_s, u"Sign the pack with the secret key in the file; twice for two keys."_s, u"KEY"_s },
        { u"pack-version"_s, u"With --sign: a number from 1 on, higher than that of older packs of the exam."_s, u"N"_s },
        { u"exam"_s, u"With --sign: the exam's ID at the download service; without it, the folder's name."_s, u"ID"_s },
        { u"signer"_s, u"With --sign: who signs, as it is shown; without it, the ID of the key."_s, u"NAME"_s },
    });
    if (const auto code = Parse(parser, arguments, Notes.arg(PackFormat::MostFiles).arg(PackFormat::LongestName)))
        return *code;
    if (parser.positionalArguments().size() != 1)
        return Misused(u"one package folder is required"_s);
    if (parser.value(u"out"_s).isEmpty())
        return Misused(u"--out is missing"_s);

    Packer::Platform system = Packer::OwnPlatform;
    if (const QString name = parser.value(u"for"_s); name == "windows"_L1)
        system = Packer::Platform::Windows;
    else if (name == "linux"_L1)
        system = Packer::Platform::Linux;
    else if (parser.isSet(u"for"_s))
        return Misused(u"--for takes linux or windows"_s);

    const QString folder = parser.positionalArguments().first();
    const QString out = parser.value(u"out"_s);
    const QString name = QFileInfo(QDir::cleanPath(QDir::current().absoluteFilePath(folder))).fileName();
    PackContents::Signer signer;
    if (const QString misuse = SignerOf(parser, name, signer); !misuse.isEmpty())
        return Misused(misuse);
    const Cancellation cancellation;
    Packer::Write(folder, out, system, parser.isSet(u"replace"_s), Cancellation::Check, signer);
    Console::Print(Console::OneLine(
        u"%1: run on %2 it installs %3 (%4 KB)"_s.arg(out, system == Packer::Platform::Windows ? u"Windows"_s : u"Linux"_s,
                                                      name, QString::number((QFileInfo(out).size() + 1023) / 1024))));
    return Success;
}
