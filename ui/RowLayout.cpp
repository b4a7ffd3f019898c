// SPDX-License-Identifier: Apache-2.0
#include "ui/RowLayout.h"

#include <QWidget>

#include <utility>

namespace {

// Pixels between rows, so that a link in one is not hit for a link in the next.
constexpr int LeastGap = 8;

QSize SizeOf(const QLayoutItem &item)
{
    return item.sizeHint().boundedTo(item.maximumSize()).expandedTo(item.minimumSize());
}

}

RowLayout::RowLayout(int spacing, QWidget *parent)
    : QLayout(parent)
{
    setSpacing(spacing);
    setContentsMargins({});
}

void RowLayout::addItem(QLayoutItem *item)
{
    const int gap = m_cells.empty() ? 0 : spacing();
    m_cells.push_back(
        { std::unique_ptr<QLayoutItem>(item), gap + std::exchange(m_extra, 0), std::exchange(m_isAfterStretch, false) });
    invalidate();
}

QLayoutItem *RowLayout::itemAt(int index) const
{
    return index >= 0 && index < count() ? m_cells[index].Item.get() : nullptr;
}

QLayoutItem *RowLayout::takeAt(int index)
{
    if (index < 0 || index >= count())
        return nullptr;
    QLayoutItem *item = m_cells[index].Item.release();
    m_cells.erase(m_cells.begin() + index);
    return item;
}

size_t RowLayout::EndOfRow(size_t first, int width, QSize &size) const
{
    size = SizeOf(*m_cells[first].Item);
    size_t end = first + 1;
    for (; end < m_cells.size(); ++end) {
        const QSize next = SizeOf(*m_cells[end].Item);
        const int right = size.width() + m_cells[end].Before + next.width();
        if (right > width)
            break;
        size = { right, std::max(size.height(), next.height()) };
    }
    return end;
}

int RowLayout::Place(const QRect &place, bool isToPlace) const
{
    const QRect room = place.marginsRemoved(contentsMargins());
    int y = room.y();
    for (size_t first = 0; first < m_cells.size();) {
        QSize row;
        const size_t end = EndOfRow(first, room.width(), row);
        int x = room.x();
        int free = std::max(0, room.width() - row.width());
        for (size_t cell = first; isToPlace && cell < end; ++cell) {
            if (cell > first)
                x += m_cells[cell].Before;
            if (m_cells[cell].IsAfterStretch)
                x += std::exchange(free, 0);
            QLayoutItem &item = *m_cells[cell].Item;
            const int width = SizeOf(item).width();
            const int height = std::min(row.height(), item.maximumSize().height());
            item.setGeometry({ x, y + (row.height() - height) / 2, width, height });
            x += width;
        }
        y += row.height() + (end < m_cells.size() ? std::max(spacing(), LeastGap) : 0);
        first = end;
    }
    return y - room.y() + contentsMargins().top() + contentsMargins().bottom();
}

int RowLayout::heightForWidth(int width) const
{
    return Place({ 0, 0, width, 0 }, false);
}

QSize RowLayout::sizeHint() const
{
    QSize size;
    if (!m_cells.empty())
        EndOfRow(0, QLAYOUTSIZE_MAX, size);
    return size.grownBy(contentsMargins());
}

QSize RowLayout::minimumSize() const
{
    QSize size;
    for (const Cell &cell : m_cells)
        size = size.expandedTo(SizeOf(*cell.Item));
    return size.grownBy(contentsMargins());
}

void RowLayout::setGeometry(const QRect &place)
{
    QLayout::setGeometry(place);
    Place(place, true);
}
