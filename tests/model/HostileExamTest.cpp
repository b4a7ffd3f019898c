// SPDX-License-Identifier: Apache-2.0
#include "model/Exam.h"
#include "tests/support/Test.h"

#include <QtEndian>

#include <algorithm>
#include <cstring>
#include <vector>

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

namespace {

// The read-ahead, and nothing that a count promises.
constexpr size_t Enough = 128 * 1024 + 64;

// The bytes of a small exam of two items, with an exhibit and an explanation.
QByteArray Small()
{
    const auto exam = NewExam();
    AddItem(*exam, { u"Which one?"_s, { u"*This"_s, u"That"_s } });
    AddItem(*exam, { u"Which two?"_s, { u"*a"_s, u"b"_s, u"*c"_s }, true, u"list.gif"_s, u" Both. "_s });
    const QString path = Sandbox::Path(u"small.exam"_s);
    exam->Save(path);
    return Sandbox::ReadFile(path);
}

// How the load of these bytes ends, after doing with them all that a sitting
// does. The header of any bytes must load.
QString Sit(const QByteArray &bytes)
{
    const QString path = Sandbox::Path(u"hostile.exam"_s);
    Sandbox::WriteFile(path, bytes);
    largestRequest = 0;
    Exam header;
    EXPECT_EQ(ResultOf([&] { header.LoadHeader(path); }), u"none"_s);
    Exam exam;
    const QString result = ResultOf([&] { exam.Load(path); });
    if (result == u"none"_s) {
        for (const auto &question : exam.Questions()) {
            question->SetAnswer(question->CorrectAnswer());
            ResultOf([&] { Globals::AnswerLetters(question->Answer()); });
        }
        exam.Save(path);
    }
    EXPECT_LE(largestRequest, Enough);
    EXPECT_EQ(largestRequest > 0, AreRequestsCounted);
    EXPECT_LE(Sandbox::ReadFile(path).size(), bytes.size());
    return result;
}

const QString cut = u"62 Exam::Save()"_s;

}

TEST(HostileExamTest, CutAndChangedAtEveryPlace)
{
    const QByteArray bytes = Small();
    for (qsizetype length = 0; length < bytes.size(); ++length)
        EXPECT_EQ(Sit(bytes.left(length)), cut) << length;
    EXPECT_EQ(Sit(bytes + "more"), u"none"_s);
    for (qsizetype place = 0; place + 4 <= bytes.size(); ++place) {
        quint32 there = 0;
        std::memcpy(&there, bytes.data() + place, 4);
        std::vector<quint32> values = { 0xFFFFFFFF, 0x7FFFFFFF, 0x80000000, 0x10000000 };
        // The last places are flipped up to their end.
        for (int bit = 0; bit < (place + 4 == bytes.size() ? 32 : 8); ++bit)
            values.push_back(there ^ 1U << bit);
        for (const quint32 value : values) {
            QByteArray changed = bytes;
            std::memcpy(changed.data() + place, &value, 4);
            const QString result = Sit(changed);
            EXPECT_TRUE(result == u"none"_s || result == cut || result == u"6 Exam::Save()"_s)
                << place << " " << value << " " << result.toStdString();
        }
    }
}

// A sparse file has room for any count, and what is refused has not been read.
TEST(HostileExamTest, CountsBeyondTheLimits)
{
    const QByteArray bytes = Small();
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
        EXPECT_LE(largestRequest, Enough);
        QFile::remove(path);
    }
}
