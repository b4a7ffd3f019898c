// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QByteArrayList>

#include <vector>

struct MHD_Connection;

// The header lines of an HTTP request, in the order in which they were sent.
class RequestHeaders {
public:
    explicit RequestHeaders(MHD_Connection *connection);

    // The values of all lines with this name, in any letter case; empty if there
    // is none.
    QByteArrayList ValuesOf(QByteArrayView name) const;

    // Whether another program, such as a proxy in front of the service, could see
    // the end of the request's body at a different place than this one. What one
    // takes for the body is the next request for the other (request smuggling).
    // The version is that of the request, such as "HTTP/1.1".
    bool HasAmbiguousLength(QByteArrayView version) const;

private:
    struct Line {
        QByteArray Name;
        QByteArray Value;
    };
    static bool IsMalformed(const Line &line);

    std::vector<Line> m_lines;
};
