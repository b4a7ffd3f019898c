// SPDX-License-Identifier: Apache-2.0
#include "download/Resumption.h"

#include <algorithm>

namespace {

// Of the HTTP status codes.
constexpr int Fine = 200;
constexpr int PartialContent = 206;
constexpr int RangeNotSatisfiable = 416;

// A text in quotation marks without blanks; a weak one has a W in front.
bool IsStrongTag(const QByteArray &tag)
{
    const auto isInside = [](char c) { return static_cast<unsigned char>(c) > ' ' && c != '"' && c != '\x7F'; };
    return tag.size() >= 2 && tag.startsWith('"') && tag.endsWith('"') && std::all_of(tag.begin() + 1, tag.end() - 1, isInside);
}

// The length of a body that comes as it is, without any encoding; -1 if it is not
// known.
qint64 PlainLength(const Exchange &answer)
{
    bool isNumber = false;
    const qint64 length = answer.Header("Content-Length").toLongLong(&isNumber);
    return isNumber && answer.Header("Transfer-Encoding").isEmpty() && !IsContentEncoded(answer) ? length : -1;
}

}

bool IsContentEncoded(const Exchange &answer)
{
    const QByteArray encoding = answer.Header("Content-Encoding").trimmed().toLower();
    return !encoding.isEmpty() && encoding != "identity";
}

void Resumption::Begin(const Exchange &answer)
{
    m_version.reset();
    m_taken = 0;
    m_wantsWhole = false;
    const QByteArray tag = answer.Header("ETag").trimmed();
    const qint64 size = PlainLength(answer);
    const bool hasRanges = answer.Header("Accept-Ranges").trimmed().toLower() != "none";
    if (answer.Status() == Fine && size >= 0 && hasRanges && IsStrongTag(tag))
        m_version = { tag, size };
}

std::optional<int> Resumption::NextPause(int first)
{
    if (m_taken >= m_mark + LeastProgress) {
        m_mark = m_taken;
        m_tries = 0;
    }
    if (!IsPossible() || m_tries == MostTries)
        return {};
    return first << (2 * m_tries++);
}

QByteArrayList Resumption::Headers() const
{
    if (m_wantsWhole)
        return {};
    return { "Range: bytes=" + QByteArray::number(m_taken) + '-', "If-Range: " + m_version->Tag };
}

Resumption::Answer Resumption::Judge(const Exchange &answer)
{
    if (answer.Status() == Fine)
        return Answer::Whole;
    if (answer.Status() == PartialContent && IsRest(answer))
        return Answer::Rest;
    m_wantsWhole = m_wantsWhole || answer.Status() == PartialContent || answer.Status() == RangeNotSatisfiable;
    return Answer::Neither;
}

bool Resumption::IsRest(const Exchange &answer) const
{
    const QByteArray size = QByteArray::number(m_version->Size);
    const QByteArray range
        = "bytes " + QByteArray::number(m_taken) + '-' + QByteArray::number(m_version->Size - 1) + '/' + size;
    return answer.Header("ETag").trimmed() == m_version->Tag && answer.Header("Content-Range").trimmed().toLower() == range
        && PlainLength(answer) == m_version->Size - m_taken;
}
