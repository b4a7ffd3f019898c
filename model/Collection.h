// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Error.h"
#include "model/ISerializable.h"

#include <limits>
#include <memory>
#include <vector>

// An ordered list with 1-based positions that owns its items together with
// whoever else holds them. Its position counters are 16-bit: Clear and
// ResetNumbers raise Overflow for more than 32,767 items.
template <class ItemType> class Collection : public ISerializable {
public:
    using Pointer = std::shared_ptr<ItemType>;

    Pointer Add(Pointer item)
    {
        m_items.push_back(item);
        return item;
    }

    // Raises SubscriptOutOfRange for a position outside 1 to Count.
    void Remove(qint32 Index)
    {
        Check(Index);
        m_items.erase(m_items.begin() + (Index - 1));
    }

    // Removes every position that holds this very object.
    void RemoveObject(const Pointer &item)
    {
        for (qint32 position = Count(); position >= 1; --position) {
            if (m_items[position - 1] == item)
                Remove(position);
        }
    }

    void Clear()
    {
        CheckCounter();
        m_items.clear();
    }

    // Gives every item its position as its Number.
    void ResetNumbers()
    {
        CheckCounter();
        for (qint32 position = 1; position <= Count(); ++position)
            m_items[position - 1]->SetNumber(static_cast<qint16>(position));
    }

    // Raises SubscriptOutOfRange for a position outside 1 to Count.
    const Pointer &Item(qint32 Index) const
    {
        Check(Index);
        return m_items[Index - 1];
    }

    qint32 Count() const { return static_cast<qint32>(m_items.size()); }

    auto begin() const { return m_items.begin(); }
    auto end() const { return m_items.end(); }

    bool Serialize(File &file) const override;
    // Appends to what the collection holds already.
    bool Deserialize(File &file) override;

private:
    void Check(qint32 index) const
    {
        if (index < 1 || index > Count())
            throw Error::RunTime(SubscriptOutOfRange);
    }

    void CheckCounter() const
    {
        if (Count() > std::numeric_limits<qint16>::max())
            throw Error::RunTime(Overflow);
    }

    std::vector<Pointer> m_items;
};
