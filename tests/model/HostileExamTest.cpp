// SPDX-License-Identifier: Apache-2.0
#include "model/Exam.h"
#include "tests/support/Test.h"

#include <QtEndian>

#include <algorithm>

// The largest request for memory so far, of Qt's containers too, which do not
// go through operator new. Only the GNU C library lets a program count them,
// and no sanitizer does.
static size_t largestRequest = 0;

#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__)
static constexpr bool AreRequestsCounted = true;

extern "C" void *__libc_malloc(size_t size);
extern "C" void *__libc_realloc(void *memory, size_t size);

extern "C" void *malloc(size_t size)
{
    largestRequest = std::max(largestRequest, size);
    return __libc_malloc(size);
}
extern "C" void *realloc(void *memory, size_t size)
{
    largestRequest = std::max(largestRequest, size);
    return __libc_realloc(memory, size);
}
#else
static constexpr bool AreRequestsCounted = false;
#endif

// A sparse file has room for any count, and what is refused has not been read.
TEST(HostileExamTest, CountsBeyondTheLimits)
{
    // The read-ahead, and nothing that a count promises.
    constexpr size_t enough = 128 * 1024 + 64;
    const auto exam = NewExam();
    AddItem(*exam, { u"Which one?"_s, { u"*This"_s, u"That"_s } });
    const QByteArray bytes = Sandbox::ReadFile(Install(*exam, u"SMALL"_s));
    const qsizetype question = 4 + 4 + 6 + 4 + 6 + 6 + 4;
    for (const qsizetype place : { qsizetype(0), question + 2 + 2 + 4 + 4 }) {
        const QString path = Sandbox::Path(u"sparse.exam"_s);
        QByteArray forged = bytes;
        qToLittleEndian(200 << 20, forged.data() + place);
        Sandbox::WriteFile(path, forged);
        QFile(path).resize(240 << 20);
        largestRequest = 0;
        EXPECT_EQ(ResultOf([&] { Exam().LoadHeader(path); }), place == 0 ? u"6 Exam::LoadHeader()"_s : u"none"_s);
        EXPECT_EQ(ResultOf([&] { Exam().Load(path); }), u"6 Exam::Save()"_s);
        EXPECT_LE(largestRequest, enough);
        EXPECT_EQ(largestRequest > 0, AreRequestsCounted);
        QFile::remove(path);
    }
}
