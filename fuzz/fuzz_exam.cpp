// SPDX-License-Identifier: Apache-2.0
#include "fuzz/MemoryFile.h"

#include "common/Ansi.h"
#include "common/Error.h"
#include "model/CryptoAPI.h"
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
        Whole = Block() && Title() && Title() && Plain(6) && List(&Walk::Question);
    }

    bool Whole = false;
    std::string Out;
    int32_t Page = 0; // of the texts; 0 without a block that names one

    // Whether texts come out as they went in; a pair of bytes may mean nothing.
    bool KeepsTexts() const { return Page < 932 || Page > 950; }

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
        if (!Counted())
            return false;
        const size_t bytes = before - m_left - 4;
        std::string text(reinterpret_cast<const char *>(m_in - bytes), bytes);
        for (size_t i = 0; i < bytes; ++i)
            text[i] = static_cast<char>(text[i] ^ m_seal[static_cast<qsizetype>(i)]);
        m_characters += Page == Ansi::Utf8 ? Units(text) : static_cast<int64_t>(bytes);
        return true;
    }

    // Of UTF-8, in which what is no character counts as one for each byte.
    static int64_t Units(const std::string &text, bool *isSound = nullptr)
    {
        int64_t units = 0;
        for (size_t i = 0; i < text.size(); ++units) {
            const auto at = [&](size_t place) { return place < text.size() ? static_cast<uint8_t>(text[place]) : 0u; };
            const size_t length = at(i) < 0x80 ? 1
                : at(i) < 0xC2                 ? 0
                : at(i) < 0xE0                 ? 2
                : at(i) < 0xF0                 ? 3
                : at(i) < 0xF5                 ? 4
                                               : 0;
            uint32_t character = length > 1 ? at(i) & (0x7Fu >> length) : 0;
            bool isWhole = length > 0;
            for (size_t next = 1; next < length; ++next) {
                isWhole = isWhole && (at(i + next) & 0xC0) == 0x80;
                character = character << 6 | (at(i + next) & 0x3F);
            }
            const bool isLong = (length == 3 && character < 0x800) || (length == 4 && character < 0x10000);
            isWhole = isWhole && !isLong && character <= 0x10FFFF && (character < 0xD800 || character > 0xDFFF);
            if (isSound)
                *isSound = *isSound && isWhole;
            units += isWhole && length == 4 ? 1 : 0;
            i += isWhole ? length : 1;
        }
        return units;
    }

    bool Block()
    {
        if (!Counted(ExamFormat::MostReservedBytes))
            return false;
        const std::string signature = "Practorium text\x1A";
        std::string block = Out.substr(4);
        if (block.compare(0, signature.size(), signature) != 0)
            return true;
        block.erase(0, signature.size());
        const auto number = [&block](size_t bytes) {
            int32_t value = 0;
            if (block.size() < bytes)
                return -1;
            std::memcpy(&value, block.data(), bytes);
            block.erase(0, bytes);
            return value;
        };
        const int32_t version = number(2);
        const int32_t page = number(4);
        bool isSound = version > 0 && version < 0x8000
            && (page == 874 || page == 932 || page == 936 || page == 949 || page == 950 || (page >= 1250 && page <= 1258)
                || page == Ansi::Utf8);
        for (int title = 0; title < 2 && isSound; ++title) {
            const int32_t count = number(4);
            isSound = count >= 0 && static_cast<size_t>(count) <= block.size();
            if (!isSound)
                break;
            isSound = Units(block.substr(0, count), &isSound) <= ExamFormat::MostTitleCharacters && isSound;
            block.erase(0, count);
        }
        if (isSound && (version > 1 || block.empty()))
            Page = page;
        return true;
    }

    bool Question()
    {
        m_characters = 0;
        return Plain(4) && Flag() && Counted() && Text() && Text() && List(&Walk::Choice)
            && m_characters <= ExamFormat::MostItemCharacters;
    }
    bool Choice() { return ++m_options <= ExamFormat::MostOptionsInAll && Plain(2) && Flag() && Text(); }

    static QByteArray Seal(size_t size)
    {
        QByteArray seal(static_cast<qsizetype>(size), '\0');
        CryptoAPI::Encrypt(seal, CryptoAPI::RecordPassPhrase(), CryptoAPI::CipherRC4, CryptoAPI::HashMD5);
        return seal;
    }

    const uint8_t *m_in;
    size_t m_left;
    const QByteArray m_seal = Seal(m_left);
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
    const std::string saved = output.Bytes();
    Require(!expected.KeepsTexts() || saved == expected.Out, "the same bytes again");
    Require(exam.CodePage() == expected.Page && header.CodePage() == expected.Page, "the page of the texts");
    Exam again;
    again.Load(output.Path());
    again.Save(output.Path());
    Require(output.Bytes() == saved, "the same bytes once more");
    Sit(again);
    return 0;
}
