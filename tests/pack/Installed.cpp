// SPDX-License-Identifier: Apache-2.0
#include "tests/pack/Installed.h"

#include "model/Exam.h"
#include "model/Globals.h"
#include "pack/stub/Install.h"
#include "tests/support/Sandbox.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

Outcome Failed(const QString &name, const QString &reason)
{
    return { 1, {}, u"Exam pack: %1: %2\n"_s.arg(name, reason) };
}

Tree Installed(const QString &name, const QString &code)
{
    Tree tree = { { u'/' + name, "folder" } };
    for (const auto &[path, bytes] : Snapshot(Sandbox::Path(u"packages/"_s + code)))
        tree[path] = bytes;
    return tree;
}

QString CodeOf(const QString &name)
{
    Exam exam;
    exam.Load(Globals::FindExamFile(QDir::toNativeSeparators(Sandbox::ExamsFolder() + u'/' + name)));
    return exam.Code();
}

QString FreshFolder()
{
    QDir(Globals::ExamsFolder()).removeRecursively();
    return Sandbox::ExamsFolder();
}

QStringList HiddenNames(const QString &folder)
{
    return QDir(folder).entryList({ u".practorium-*"_s }, QDir::Dirs | QDir::Hidden);
}

void AwaitUnpacking(const QString &exams)
{
    Await([&] {
        const QStringList names = HiddenNames(exams);
        return !names.isEmpty() && !QDir(exams + u'/' + names.first()).isEmpty();
    });
}

std::unique_ptr<QProcess> Unpacking(const QString &program, const QString &exams)
{
    auto process = std::make_unique<QProcess>();
    process->start(program, QStringList());
    AwaitUnpacking(exams);
    return process;
}

std::string InstallHere(const QString &pack)
{
    testing::internal::CaptureStderr();
    const int code = InstallPack(pack.toUtf8().constData());
    return std::to_string(code) + ' ' + testing::internal::GetCapturedStderr();
}
