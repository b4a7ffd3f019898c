#pragma once

#include "common/Error.h"
#include "model/Collection.h"
#include "model/CryptoAPI.h"
#include "model/ExamFormat.h"
#include "model/File.h"

#include <algorithm>

// How records are read and written: each value whole, each list by its count.
namespace ExamFormat {

// Read one value of a record that must be whole. Raise InputPastEnd.
template <class Value> void Read(File &file, Value &value, qint32 length = 0)
{
    file.ReadData(value, length);
    if (file.Shortfall() > 0)
        throw Error::RunTime(InputPastEnd);
}

inline void ReadSealed(File &file, QString &text)
{
    CryptoAPI::ReadSecureData(file, text);
    if (file.Shortfall() > 0)
        throw Error::RunTime(InputPastEnd);
}

// How many items room may be reserved for: as many as the count promises (none
// for a negative one), but never more than the file can still hold.
inline size_t Plausible(const File &file, qint32 count, qint64 itemBytes)
{
    constexpr qint32 fewEnough = 64; // to reserve without asking the system
    if (count <= fewEnough)
        return static_cast<size_t>(std::max(count, 0));
    const qint64 left = qint64(file.Size()) - qint64(file.Position());
    return static_cast<size_t>(std::clamp<qint64>(left / itemBytes, 0, count));
}

}

// The record of a collection: the count, then each item's own record.

template <class ItemType> bool Collection<ItemType>::Serialize(File &file) const
{
    file.WriteData(Count());
    for (const Pointer &item : m_items)
        item->Serialize(file);
    return true;
}

template <class ItemType> bool Collection<ItemType>::Deserialize(File &file)
{
    qint32 count = 0;
    ExamFormat::Read(file, count);
    m_items.reserve(m_items.size() + ExamFormat::Plausible(file, count, ItemType::ShortestRecord));
    for (qint32 i = 0; i < count; ++i) {
        auto item = std::make_shared<ItemType>();
        item->Deserialize(file);
        Add(std::move(item));
        CheckCounter();
    }
    return true;
}
