// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "shell/ReviewList.h"

#include <QAbstractListModel>
#include <QSize>

#include <vector>

// The entries of the review list. A model of its own, because an exam can have
// tens of thousands of items: a view asks it only for the entries that it shows.
class ReviewModel : public QAbstractListModel {
    Q_OBJECT
public:
    static constexpr int NumberRole = Qt::UserRole; // of the item, from 1

    using QAbstractListModel::QAbstractListModel;

    // What the icon of that key means, in words; empty for an unknown one.
    static QString Meaning(const QString &icon);

    // Replaces the entries; each asks for a cell of that size, in pixels.
    void SetEntries(std::vector<ReviewList::Entry> entries, QSize cell);

    int rowCount(const QModelIndex &parent = {}) const override;
    // Qt::AccessibleDescriptionRole gives the meaning of the entry's icon.
    QVariant data(const QModelIndex &index, int role) const override;

private:
    std::vector<ReviewList::Entry> m_entries;
    QSize m_cell;
};
