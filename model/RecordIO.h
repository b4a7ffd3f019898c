// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Ansi.h"
#include "common/Error.h"
#include "model/Collection.h"
#include "model/CryptoAPI.h"
#include "model/ExamFormat.h"
#include "model/File.h"
#include "model/StoredText.h"

#include <algorithm>

// How records are read and written: each value whole, each list by its count.
namespace ExamFormat {

// What was read last must be whole. Raises InputPastEnd.
inline void RequireWhole(const File &file)
{
    if (file.Shortfall() > 0)
        throw Error::RunTime(InputPastEnd);
}

// Reads one value of a record that must be whole. Raises InputPastEnd.
template <class Value> void Read(File &file, Value &value, qint32 length = 0)
{
    file.ReadData(value, length);
    RequireWhole(file);
}

// Reads the count before a text or a block and then that many bytes, if there are
// any. More than most are refused before they take room, with the error that the
// function makes; a count says nothing of what there is, so the file must hold them.
template <class Value, class Refusal> void ReadLimited(File &file, Value &value, qint32 most, const Refusal &refusal)
{
    qint32 count = 0;
    file.ReadData(count);
    // What is left is asked of the system.
    if (count > most && file.BytesLeft() > most)
        throw refusal();
    if (count > 0)
        file.ReadData(value, count);
}

// What Load, Save and a check say of an exam beyond the limits.
inline Error TooMany(qint32 most, const QString &members)
{
    return Error(Overflow, QStringLiteral("there are more than %1 %2").arg(QString::number(most), members));
}

inline void RequireCount(qint64 count, const QString &members)
{
    if (count > MostMembers)
        throw TooMany(MostMembers, members);
}

inline void RequireOptionsInAll(qint64 count)
{
    if (count > MostOptionsInAll)
        throw TooMany(MostOptionsInAll, QStringLiteral("options in all"));
}

inline Error TooManyCharacters()
{
    return TooMany(MostItemCharacters, QStringLiteral("characters in an item"));
}

inline void RequireItemCharacters(qint64 count)
{
    if (count > MostItemCharacters)
        throw TooManyCharacters();
}

// A text of an item. What is beyond the limit by its bytes alone is refused before it
// takes room.
inline void ReadSealed(File &file, StoredText &text)
{
    QByteArray bytes;
    ReadLimited(file, bytes, file.SealedPage().MostBytes() * MostItemCharacters, TooManyCharacters);
    RequireWhole(file);
    if (bytes.isEmpty())
        return;
    CryptoAPI::OpenSecureData(bytes);
    text.Set(std::move(bytes), file.SealedPage());
}

// What: "code" or "name".
inline Error TitleTooLong(const QString &what)
{
    return TooMany(MostTitleCharacters, QStringLiteral("characters in the ") + what);
}

inline void RequireTitle(qint64 characters, const QString &what)
{
    if (characters > MostTitleCharacters)
        throw TitleTooLong(what);
}

inline Error ReservedTooLong()
{
    return TooMany(MostReservedBytes, QStringLiteral("bytes in the reserved block"));
}

inline void RequireReserved(qint64 bytes)
{
    if (bytes > MostReservedBytes)
        throw ReservedTooLong();
}

inline void RequireFileSize(qint64 bytes)
{
    if (bytes > LargestFile)
        throw Error(Overflow, QStringLiteral("the exam file is too large"));
}

// How many items room may be reserved for: as many as the count promises (none
// for a negative one), but never more than the file can still hold.
inline size_t CountThatFits(const File &file, qint32 count, qint64 itemBytes)
{
    constexpr qint32 fewEnough = 64; // to reserve without asking the system
    if (count <= fewEnough)
        return static_cast<size_t>(std::max(count, 0));
    return static_cast<size_t>(std::clamp<qint64>(file.BytesLeft() / itemBytes, 0, count));
}

}

// The record of a collection: the count, then each item's own record.

template <class ItemType> bool Collection<ItemType>::Serialize(File &file) const
{
    ExamFormat::RequireCount(Count(), ItemType::Plural());
    file.WriteData(Count());
    for (const Pointer &item : m_items)
        item->Serialize(file);
    return true;
}

template <class ItemType> bool Collection<ItemType>::Deserialize(File &file)
{
    qint32 count = 0;
    ExamFormat::Read(file, count);
    ExamFormat::RequireCount(count, ItemType::Plural());
    qint64 options = 0;
    m_items.reserve(m_items.size() + ExamFormat::CountThatFits(file, count, ItemType::ShortestRecord));
    for (qint32 i = 0; i < count; ++i) {
        auto item = std::make_shared<ItemType>();
        item->Deserialize(file);
        if constexpr (requires { item->Choices(); })
            ExamFormat::RequireOptionsInAll(options += item->Choices().Count());
        Add(std::move(item));
        CheckCounter();
    }
    return true;
}
