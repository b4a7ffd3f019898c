// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "pack/Packer.h"
#include "tests/support/Program.h"
#include "tests/support/System.h"
#include "tests/support/Test.h"

// Packs for tests, made by the packer or by hand, and what they leave in the exams folder.

// A package folder of the sandbox, its exam under that code and a picture of so many bytes.
QString MakePackage(const QString &name, const QString &code, qsizetype pictureBytes = 3'000);
// The pack of such a package, a program.
QString MakePack(const QString &name, const QString &code, qsizetype pictureBytes = 3'000);
// The reason for which the packer makes no pack; empty when it makes one.
QString Refusal(
    const QString &folder, const QString &file, bool replace = false, const std::function<void()> &step = [] {});
// So much that unpacking takes a while.
constexpr qsizetype LargeBytes = 64'000'000;

// A pack with nothing but a few bytes for its stub.
struct PackSheet {
    QByteArray Folder = "NET-101";
    struct File {
        QByteArray Name;
        quint64 Size;
    };
    std::vector<File> Files = { { "NET-101.exam", 5 }, { "a.bmp", 3 } };
    QByteArray Contents = "exam!bmp";
    QByteArray BehindIndex = {};
    quint32 Version = 1;
    // Added to the true ones.
    quint64 MoreStart = 0;
    quint32 MoreIndexBytes = 0;
    quint64 MoreContentBytes = 0;
};
QByteArray ToBytes(const PackSheet &sheet);
// The same bytes with the sum that belongs to them.
QByteArray Summed(QByteArray pack);

// How runs of packs end.
const Outcome Done;
inline Outcome Failed(const QString &name, const QString &reason)
{
    return { 1, {}, u"Exam pack: %1: %2\n"_s.arg(name, reason) };
}
// Runs the pack inside the test's own program, where a sanitizer sees it: the exit code, a
// blank and the error output.
std::string InstallHere(const QString &pack);
// A run that has begun to unpack.
std::unique_ptr<QProcess> Unpacking(const QString &program, const QString &exams);
void AwaitUnpacking(const QString &exams);

// An empty exams folder.
QString FreshFolder();
using Tree = std::map<QString, QByteArray>;
// The contents of an exams folder in which only this package is installed.
Tree Installed(const QString &name, const QString &code);
// The code in the installed exam of that name.
QString CodeOf(const QString &name);
// The folders that packs make for themselves.
QStringList HiddenNames(const QString &folder);
