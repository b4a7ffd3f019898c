// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "service/RequestHeaders.h"

#include <QByteArray>
#include <QByteArrayView>

// What a request asks of a pack: under which conditions, and which part (RFC 9110,
// sections 13 and 14). Dates are no conditions here, because packs are sent without
// one; an If-Range with a date never holds.
class PackConditions {
public:
    PackConditions(const RequestHeaders &headers, QByteArrayView method);

    // Whether the answer can depend on the version of the pack.
    bool NeedTag() const { return !m_ifMatch.isEmpty() || !m_ifNoneMatch.isEmpty() || !m_range.isEmpty(); }

    struct Part {
        unsigned Status; // 200, 206, 304, 412 or 416
        quint64 First = 0; // byte
        quint64 Size = 0; // bytes; 0 with an error, and those that a 304 stands for
    };
    // What to answer for a pack of that size in bytes, and with that ETag. Without
    // one, no part is sent, and nothing matches.
    Part Choose(quint64 size, const QByteArray &tag) const;

private:
    Part RangeOf(quint64 size) const;

    QByteArray m_ifMatch;
    QByteArray m_ifNoneMatch;
    QByteArray m_range; // empty if there is to be none
    QByteArrayList m_ifRange;
};
