// SPDX-License-Identifier: Apache-2.0
#include "service/RequestHeaders.h"

#include <microhttpd.h>

#include <algorithm>

RequestHeaders::RequestHeaders(MHD_Connection *connection)
{
    const auto onLine = [](void *lines, MHD_ValueKind, const char *name, const char *value) {
        static_cast<std::vector<Line> *>(lines)->push_back({ name, value });
        return MHD_YES;
    };
    MHD_get_connection_values(connection, MHD_HEADER_KIND, onLine, &m_lines);
}

QByteArrayList RequestHeaders::ValuesOf(QByteArrayView name) const
{
    QByteArrayList values;
    for (const Line &line : m_lines) {
        if (line.Name.compare(name, Qt::CaseInsensitive) == 0)
            values.append(line.Value);
    }
    return values;
}

// libmicrohttpd includes a blank before the colon in the name, and appends a
// continuation line to the name of a header.
bool RequestHeaders::IsMalformed(const Line &line)
{
    const QByteArray name = line.Name.toLower();
    return name.contains(' ') || name.contains('\t') || (name.startsWith("content-length") && name != "content-length")
        || (name.startsWith("transfer-encoding") && name != "transfer-encoding");
}

bool RequestHeaders::HasAmbiguousLength(QByteArrayView version) const
{
    const QByteArrayList lengths = ValuesOf(MHD_HTTP_HEADER_CONTENT_LENGTH);
    const QByteArrayList codings = ValuesOf(MHD_HTTP_HEADER_TRANSFER_ENCODING);
    if (std::any_of(m_lines.begin(), m_lines.end(), IsMalformed) || lengths.size() + codings.size() > 1)
        return true;
    return !codings.isEmpty()
        && (codings.first().compare("chunked", Qt::CaseInsensitive) != 0 || version != QByteArrayView(MHD_HTTP_VERSION_1_1));
}
