// SPDX-License-Identifier: Apache-2.0
#include "fuzz/MemoryFile.h"

#include "common/Error.h"
#include "model/Exam.h"
#include "model/Globals.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string>

using namespace Qt::Literals::StringLiterals;

// Any bytes as an exam file: loaded, worked with as a sitting does, saved and
// loaded again. What must come out is found by a reader of its own.

namespace {

// Walks over the records and writes them down as a save does: flags as 0 or
// FF FF 00 00, counts below 0 as 0, nothing behind the last record. Whole is
// false when the bytes end inside a record, or something is longer than can be.
class Walk {
public:
    Walk(const uint8_t *data, size_t size)
        : m_in(data)
        , m_left(size)
    {
        Whole = Counted(ExamFormat::MostReservedBytes) && Title() && Title() && Plain(6) && List(&Walk::Question);
    }

    bool Whole = false;
    std::string Out;

private:
    bool Plain(size_t count)
    {
        if (m_left < count)
            return false;
        Out.append(reinterpret_cast<const char *>(m_in), count);
        m_in += count;
        m_left -= count;
        return true;
    }

    bool Flag()
    {
        if (!Plain(4))
            return false;
        const bool on = m_in[-4] != 0 || m_in[-3] != 0;
        Out.replace(Out.size() - 4, 4, on ? "\xFF\xFF\0\0" : "\0\0\0\0", 4);
        return true;
    }

    bool Count(int32_t &count)
    {
        if (!Plain(4))
            return false;
        std::memcpy(&count, m_in - 4, 4);
        if (count < 0) {
            count = 0;
            Out.replace(Out.size() - 4, 4, "\0\0\0\0", 4);
        }
        return true;
    }

    bool Counted(int32_t most = INT32_MAX)
    {
        int32_t count = 0;
        return Count(count) && count <= most && Plain(static_cast<size_t>(count));
    }

    bool List(bool (Walk::*record)())
    {
        int32_t count = 0;
        if (!Count(count) || count > ExamFormat::MostMembers)
            return false;
        for (int32_t i = 0; i < count; ++i) {
            if (!(this->*record)())
                return false;
        }
        return true;
    }

    bool Title() { return Counted(ExamFormat::MostTitleCharacters); }
    bool Text()
    {
        const size_t before = m_left;
        const bool isWhole = Counted();
        m_characters += static_cast<int64_t>(before - m_left) - 4;
        return isWhole;
    }

    bool Question()
    {
        m_characters = 0;
        return Plain(4) && Flag() && Counted() && Text() && Text() && List(&Walk::Choice)
            && m_characters <= ExamFormat::MostItemCharacters;
    }
    bool Choice() { return ++m_options <= ExamFormat::MostOptionsInAll && Plain(2) && Flag() && Text(); }

    const uint8_t *m_in;
    size_t m_left;
    int32_t m_options = 0;
    int64_t m_characters = 0; // of the item
};

// Only the error numbers of the list may come out of an operation.
template <class Operation> bool Raises(std::initializer_list<qint32> numbers, Operation &&operation)
{
    try {
        operation();
        return false;
    } catch (const Error &error) {
        Require(std::find(numbers.begin(), numbers.end(), error.Number()) != numbers.end(), "a known error");
        return true;
    }
}

void Sit(Exam &exam)
{
    for (const auto &question : exam.Questions()) {
        const QString key = question->CorrectAnswer();
        Require(Globals::ItemCount(key) == question->AnswerCount(), "as many pieces in the key as solutions");
        // A number far below 0 has no letter.
        Raises({ InvalidCall }, [&] {
            Require(Globals::ItemCount(Globals::AnswerLetters(key)) >= question->AnswerCount(), "a letter for each");
        });
        question->CalculateSolutionCount();
        Require(question->SolutionCount() == question->AnswerCount(), "a solution count");
        question->SetAnswer(key);
        Require(question->HasExhibit() == !question->Exhibit().isEmpty(), "an exhibit that has a name");
        Require(!question->Explaination().startsWith(u' ') && !question->Explaination().endsWith(u' '), "no blanks");
    }
    qint16 score = 0;
    if (!Raises({ DivisionByZero }, [&] { score = exam.CalculateScore(); }))
        Require(score == exam.MaxScore(), "full marks for the key");
}

}

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // The code page is the language's; this one keeps all 256 bytes.
    qputenv("LC_ALL", "C.UTF-8");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const MemoryFile input;
    static const MemoryFile output;
    input.Fill(data, size);
    const Walk expected(data, size);

    Exam header;
    const bool failedHeader = Raises({ Overflow }, [&] { Require(header.LoadHeader(input.Path()), "a header"); });
    Exam exam;
    const bool failed = Raises({ InputPastEnd, Overflow }, [&] { exam.Load(input.Path()); });
    Require(failed != expected.Whole, "a load of whole files alone");
    if (failed)
        return 0;
    Require(!failedHeader, "a header of each whole file");
    Require(header.Code() == exam.Code() && header.Name() == exam.Name() && header.Duration() == exam.Duration()
                && header.MaxScore() == exam.MaxScore() && header.PassScore() == exam.PassScore()
                && header.Reserved() == exam.Reserved(),
            "the same header twice");
    exam.Save(output.Path());
    Require(output.Bytes() == expected.Out, "the same bytes again");
    Exam again;
    again.Load(output.Path());
    Sit(again);
    return 0;
}
