#include "model/Exam.h"
#include "model/File.h"
#include "model/Globals.h"
#include "tests/support/ExamBuilder.h"
#include "tests/support/ExpectError.h"
#include "tests/support/Sandbox.h"

#include <QtEndian>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

using namespace Qt::Literals::StringLiterals;

// The largest request for memory, of Qt's containers too, which do not go
// through operator new.
static size_t largestRequest = 0;

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/allocator_interface.h>

static void NoteRequest(const volatile void *, size_t size) { largestRequest = std::max(largestRequest, size); }
static const int hooks = __sanitizer_install_malloc_and_free_hooks(NoteRequest, [](const volatile void *) {});
#else
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
    EXPECT_EQ(ErrorOf([&] { header.LoadHeader(path); }), u"none"_s);
    Exam exam;
    const QString result = ErrorOf([&] { exam.Load(path); });
    if (result == u"none"_s) {
        for (const auto &question : exam.Questions()) {
            question->SetAnswer(question->CorrectAnswer());
            ErrorOf([&] { Globals::AnswerLetters(question->Answer()); });
        }
        if (exam.Questions().Count() > 0) {
            EXPECT_EQ(exam.CalculateScore(), exam.MaxScore());
        }
        exam.Save(path);
    }
    EXPECT_LE(largestRequest, Enough);
    EXPECT_LE(Sandbox::ReadFile(path).size(), bytes.size());
    return result;
}

const QString cut = u"62 Exam::Save()"_s;

}

TEST(HostileExamTest, RequestsAreCounted)
{
    largestRequest = 0;
    const QByteArray block(300'000, '\0');
    EXPECT_GE(largestRequest, 300'000U);
}

TEST(HostileExamTest, EveryLength)
{
    const QByteArray bytes = Small();
    for (qsizetype length = 0; length < bytes.size(); ++length)
        EXPECT_EQ(Sit(bytes.left(length)), cut) << length;
    EXPECT_EQ(Sit(bytes), u"none"_s);
    EXPECT_EQ(Sit(bytes + "more"), u"none"_s);
}

TEST(HostileExamTest, EveryFlippedBit)
{
    const QByteArray bytes = Small();
    for (qsizetype bit = 0; bit < bytes.size() * 8; ++bit) {
        QByteArray flipped = bytes;
        flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << bit % 8));
        const QString result = Sit(flipped);
        EXPECT_TRUE(result == u"none"_s || result == cut) << bit << " " << result.toStdString();
    }
}

// Every place, and so every count among them.
TEST(HostileExamTest, ForgedCounts)
{
    const QByteArray bytes = Small();
    for (const quint32 count : { 0xFFFFFFFFU, 0x7FFFFFFFU, 0x80000000U, 0x10000000U }) {
        for (qsizetype place = 0; place + 4 <= bytes.size(); ++place) {
            QByteArray forged = bytes;
            qToLittleEndian(count, forged.data() + place);
            const QString result = Sit(forged);
            EXPECT_TRUE(result == u"none"_s || result == cut) << count << " " << place << " " << result.toStdString();
        }
    }
    // The count of the items: promised and not there, or none at all.
    constexpr int items = 4 + 4 + 6 + 4 + 6 + 6;
    struct Row { quint32 Count; QString Result; };
    for (const Row &row : { Row{ 3, cut }, Row{ 0x7FFFFFFF, cut }, Row{ 0xFFFFFFFF, u"none"_s }, Row{ 1, u"none"_s } }) {
        QByteArray forged = bytes;
        qToLittleEndian(row.Count, forged.data() + items);
        EXPECT_EQ(Sit(forged), row.Result) << row.Count;
    }
}
