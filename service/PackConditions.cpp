// SPDX-License-Identifier: Apache-2.0
#include "service/PackConditions.h"

#include <microhttpd.h>

#include <algorithm>
#include <optional>

namespace {

// Whether a list of tags holds that strong one. Weak ones count only where the
// bytes do not matter.
bool Matches(const QByteArray &list, const QByteArray &tag, bool allowsWeak)
{
    if (list.trimmed() == "*")
        return true;
    const QByteArrayList tags = list.split(',');
    return !tag.isEmpty() && std::any_of(tags.begin(), tags.end(), [&](const QByteArray &entry) {
        const QByteArray other = entry.trimmed();
        return other == tag || (allowsWeak && other == "W/" + tag);
    });
}

// A number of decimal digits only, or the largest one if it is larger; empty if the
// text is none.
std::optional<quint64> NumberOf(const QByteArray &digits)
{
    if (digits.isEmpty() || !std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; }))
        return {};
    bool fits = false;
    const quint64 number = digits.toULongLong(&fits);
    return fits ? number : std::numeric_limits<quint64>::max();
}

}

PackConditions::PackConditions(const RequestHeaders &headers, QByteArrayView method)
    : m_ifMatch(headers.ValuesOf(MHD_HTTP_HEADER_IF_MATCH).join(','))
    , m_ifNoneMatch(headers.ValuesOf(MHD_HTTP_HEADER_IF_NONE_MATCH).join(','))
    , m_ifRange(headers.ValuesOf(MHD_HTTP_HEADER_IF_RANGE))
{
    const QByteArrayList ranges = headers.ValuesOf(MHD_HTTP_HEADER_RANGE);
    if (method == QByteArrayView("GET") && ranges.size() == 1)
        m_range = ranges.first();
}

PackConditions::Part PackConditions::Choose(quint64 size, const QByteArray &tag) const
{
    if (!m_ifMatch.isEmpty() && !Matches(m_ifMatch, tag, false))
        return { MHD_HTTP_PRECONDITION_FAILED };
    if (!m_ifNoneMatch.isEmpty() && Matches(m_ifNoneMatch, tag, true))
        return { MHD_HTTP_NOT_MODIFIED, 0, size };
    const bool isSameVersion = m_ifRange.isEmpty() || (m_ifRange.size() == 1 && m_ifRange.first().trimmed() == tag);
    if (m_range.isEmpty() || tag.isEmpty() || !isSameVersion)
        return { MHD_HTTP_OK, 0, size };
    return RangeOf(size);
}

// Several ranges, other units and what cannot be understood are answered with the
// whole pack.
PackConditions::Part PackConditions::RangeOf(quint64 size) const
{
    const Part whole = { MHD_HTTP_OK, 0, size };
    const Part none = { MHD_HTTP_RANGE_NOT_SATISFIABLE };
    const qsizetype equals = m_range.indexOf('=');
    QByteArrayList ranges;
    for (const QByteArray &range : m_range.mid(equals + 1).split(','))
        ranges.append(range.trimmed());
    ranges.removeAll({});
    if (m_range.left(equals).trimmed().toLower() != "bytes" || ranges.size() != 1)
        return whole;
    const qsizetype hyphen = ranges.first().indexOf('-');
    const QByteArray before = ranges.first().left(std::max<qsizetype>(hyphen, 0));
    const QByteArray behind = ranges.first().mid(hyphen + 1);
    const auto first = NumberOf(before);
    const auto last = NumberOf(behind);
    if (hyphen < 0 || (before.isEmpty() ? !last : !first) || (!behind.isEmpty() && !last))
        return whole;
    if (before.isEmpty()) {
        if (*last == 0)
            return none;
        const quint64 count = std::min(*last, size);
        // A part without a byte has no first and last one.
        return count == 0 ? whole : Part{ MHD_HTTP_PARTIAL_CONTENT, size - count, count };
    }
    if (last && *last < *first)
        return whole;
    if (*first >= size)
        return none;
    const quint64 end = last ? std::min(*last, size - 1) : size - 1;
    return { MHD_HTTP_PARTIAL_CONTENT, *first, end - *first + 1 };
}
