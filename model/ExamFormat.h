// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtGlobal>

// The constants that reader, writer and tests of the exam file share;
// docs/exam-file.md shows the layout byte by byte.
namespace ExamFormat {

constexpr char16_t Extension[] = u"exam";

// A count in front of a text or of a list.
constexpr qint32 WithCount = -1;

// The shortest file: three empty blocks and texts, three numbers and the count
// of the items.
constexpr qint64 ShortestHeader = 4 + 4 + 4 + 2 + 2 + 2 + 4;

// The shortest record of a question: two numbers, the hint, three empty texts
// and the count of its choices.
constexpr qint64 QuestionBytes = 2 + 2 + 4 + 4 + 4 + 4 + 4;
// The shortest record of a choice: number, solution flag, an empty text.
constexpr qint64 ChoiceBytes = 2 + 4 + 4;

// Bytes; no exam is larger. A file may claim any size without taking room.
constexpr qint64 LargestFile = 256 * 1024 * 1024;
// Items of an exam, and options of an item: the positions are 16-bit numbers.
constexpr qint32 MostMembers = 32'767;
// Options of all items together: more than 30 for each of the most items. An
// empty one takes 10 bytes in the file and ten times as many in memory.
constexpr qint32 MostOptionsInAll = 1'000'000;
// Characters of an item: its question, its options and its explanation. Each of
// them is laid out before the item is seen.
constexpr qint32 MostItemCharacters = 1'000'000;
// Bytes of the reserved block, which a list of exams reads of each.
constexpr qint32 MostReservedBytes = 16 * 1024 * 1024;
// Characters of the code, and of the name. A list of exams keeps them of each.
constexpr qint32 MostTitleCharacters = 32'767;

// The letter of option 1 is the character behind this one.
constexpr int LetterBase = 64;

}
