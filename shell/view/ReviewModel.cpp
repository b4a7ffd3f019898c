// SPDX-License-Identifier: Apache-2.0
#include "shell/view/ReviewModel.h"

#include "resources/Artwork.h"

using namespace Qt::Literals::StringLiterals;

QString ReviewModel::Meaning(const QString &icon)
{
    if (icon == "Checked"_L1)
        return u"Marked for review"_s;
    if (icon == "Complete"_L1 || icon == "Incomplete"_L1)
        return icon;
    return {};
}

void ReviewModel::SetEntries(std::vector<ReviewList::Entry> entries, QSize cell)
{
    beginResetModel();
    m_entries = std::move(entries);
    m_cell = cell;
    endResetModel();
}

int ReviewModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_entries.size());
}

QVariant ReviewModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const ReviewList::Entry &entry = m_entries[index.row()];
    switch (role) {
    case Qt::DisplayRole: return entry.Text;
    case Qt::DecorationRole: return Artwork::StatusIcon(entry.Icon);
    case Qt::SizeHintRole: return m_cell;
    case Qt::AccessibleDescriptionRole: return Meaning(entry.Icon);
    case NumberRole: return entry.Number;
    default: return {};
    }
}
