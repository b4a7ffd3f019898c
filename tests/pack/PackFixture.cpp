// SPDX-License-Identifier: Apache-2.0
#include "tests/pack/PackFixture.h"

#include "pack/stub/Install.h"

#include <QCryptographicHash>
#include <QtEndian>

QString MakePackage(const QString &name, const QString &code, qsizetype pictureBytes)
{
    const QString folder = Sandbox::Path(u"packages/"_s + code + u'/' + name);
    Sandbox::WriteFile(folder + u"/picture.bmp"_s, QByteArray(pictureBytes, code.back().toLatin1()));
    const auto exam = NewExam({ code });
    AddItem(*exam, { u"Which? "_s.repeated(2'000), { u"*a"_s, u"b"_s } });
    exam->Save(folder + u'/' + name.section(u'.', 0, 0) + u".exam"_s);
    return folder;
}

QString MakePack(const QString &name, const QString &code, qsizetype pictureBytes)
{
    const QString file = Sandbox::Path(name + u'-' + code + u".run"_s);
    EXPECT_EQ(Refusal(MakePackage(name, code, pictureBytes), file, true), QString());
    return file;
}

QString Refusal(const QString &folder, const QString &file, bool replace, const std::function<void()> &step)
{
    try {
        Packer::Write(folder, file, Packer::OwnPlatform, replace, step);
    } catch (const Error &error) {
        return error.Description();
    }
    return {};
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
    QByteArray index = Counted(sheet.Folder);
    for (const PackSheet::File &file : sheet.Files)
        index += Counted(file.Name) + Little(file.Size);
    index += sheet.BehindIndex;
    return Summed("#!/bin/false\n" + index + sheet.Contents + "PRACPACK" + Little(sheet.Version)
                  + Little(static_cast<quint32>(index.size()) + sheet.MoreIndexBytes) + Little(quint64(13) + sheet.MoreStart)
                  + Little(static_cast<quint64>(sheet.Contents.size()) + sheet.MoreContentBytes) + QByteArray(32, '\0'));
}

QByteArray Summed(QByteArray pack)
{
    pack.chop(32);
    return pack + QCryptographicHash::hash(pack, QCryptographicHash::Sha256);
}

std::string InstallHere(const QString &pack)
{
    testing::internal::CaptureStderr();
    const int code = InstallPack(pack.toUtf8().constData());
    return std::to_string(code) + ' ' + testing::internal::GetCapturedStderr();
}

std::unique_ptr<QProcess> Unpacking(const QString &program, const QString &exams)
{
    auto process = std::make_unique<QProcess>();
    process->start(program, QStringList());
    AwaitUnpacking(exams);
    return process;
}

void AwaitUnpacking(const QString &exams)
{
    Await([&] {
        const QStringList names = HiddenNames(exams);
        return !names.isEmpty() && !QDir(exams + u'/' + names.first()).isEmpty();
    });
}

QString FreshFolder()
{
    QDir(Globals::ExamsFolder()).removeRecursively();
    return Sandbox::ExamsFolder();
}

Tree Installed(const QString &name, const QString &code)
{
    Tree tree = { { u'/' + name, "folder" } };
    tree.merge(Snapshot(Sandbox::Path(u"packages/"_s + code)));
    return tree;
}

QString CodeOf(const QString &name)
{
    Exam exam;
    exam.Load(Globals::FindExamFile(QDir::toNativeSeparators(Sandbox::ExamsFolder() + u'/' + name)));
    return exam.Code();
}

QStringList HiddenNames(const QString &folder)
{
    return QDir(folder).entryList({ u".practorium-*"_s }, QDir::Dirs | QDir::Hidden);
}
