// SPDX-License-Identifier: Apache-2.0
#include "common/FailureFile.h"

#include "tests/support/Test.h"

#include <QDir>
#include <QRegularExpression>

#include <bit>
#include <cstdint>
#include <cstdlib>

namespace {

QStringList LinesOf(const QString &path)
{
    // In the process that is to fail there is none yet.
    return QFile::exists(path) ? QString::fromUtf8(Sandbox::ReadFile(path)).split(u'\n', Qt::SkipEmptyParts) : QStringList();
}

}

// Each kind of failure in a process of its own.
TEST(FailureFileTest, OneFileNamedOnTheErrorOutput)
{
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    // Such a process begins with this test and has a sandbox of its own.
    if (qEnvironmentVariableIsEmpty("PRACTORIUM_TEST_STATE"))
        qputenv("PRACTORIUM_TEST_STATE", Sandbox::Path(u"state"_s).toUtf8());
    const QString state = qEnvironmentVariable("PRACTORIUM_TEST_STATE");
    for (const char *name : { "XDG_STATE_HOME", "LOCALAPPDATA" })
        qputenv(name, state.toUtf8());
    const QString path = state + u"/Practorium/failure.txt"_s;
    const std::pair<void (*)(), QString> rows[] = {
        { [] { std::abort(); }, u"(Signal 06|Aborted)"_s },
        { [] {
             // Not null, which a sanitizer would report first; volatile, so that the compiler cannot see it.
             char *volatile nowhere = std::bit_cast<char *>(std::uintptr_t{ 64 });
             *nowhere = 1;
         },
          u"(Signal 11|Exception c0000005)"_s },
        { [] {
             FailureFile::Report(Error(53, u"the stem of an item"_s, u"Exam::Load()"_s));
             std::_Exit(1);
         },
          u"Error 53 of Exam::Load\\(\\)"_s },
    };
    for (const auto &[fail, line] : rows) {
        if (line.startsWith(u"Error"_s))
            Sandbox::WriteFile(path, QByteArray("of the failure before, which was longer\n").repeated(100));
        else
            EXPECT_TRUE(QDir(state).removeRecursively() && QDir().mkpath(state));
        EXPECT_DEATH(
            {
                FailureFile::Prepare();
                fail();
            },
            "What happened is described in .*failure.txt");
        const QStringList lines = LinesOf(path);
        EXPECT_TRUE(lines.value(2).startsWith(u"Qt 6."_s));
        EXPECT_TRUE(QRegularExpression(QRegularExpression::anchoredPattern(line)).match(lines.value(3)).hasMatch())
            << lines.value(3).toStdString();
        EXPECT_TRUE(lines.filter(u"common_test"_s).size() > 1) << "the stack";
        EXPECT_FALSE(lines.join(u'\n').contains(u"stem"_s));
        EXPECT_FALSE(lines.mid(4).join(u' ').contains(u'/')) << "names without their folders";
    }
}
