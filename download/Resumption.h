// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "download/Transport.h"

#include <QByteArray>
#include <QByteArrayList>

#include <optional>

// The rules by which the rest of a file is asked for after its body broke off
// (RFC 9110, sections 13.1.5 and 14): only if the server names the file's version
// by a strong ETag, so that no file is put together from two versions.
class Resumption {
public:
    // No more is asked for when that many tries in a row have brought less than
    // LeastProgress, in bytes, beyond the most that there was before.
    static constexpr int MostTries = 3;
    static constexpr qint64 LeastProgress = 64 * 1024;

    // Another file, of which nothing is known.
    void Reset() { *this = Resumption(); }
    // The headers of an answer are here that sends the file from its first byte.
    void Begin(const Exchange &answer);
    // So many more bytes of it have been taken.
    void Took(qsizetype bytes) { m_taken += bytes; }
    // Something is missing, and the server can be asked for it.
    bool IsPossible() const { return m_version && m_taken < m_version->Size; }
    // Counts a try; how long to wait before it, in milliseconds, if the first of a
    // row waits as long as is given. Each next one waits four times as long. Empty
    // when there is to be none.
    std::optional<int> NextPause(int first);
    // What is added to the request of a try: nothing when the whole file has to be
    // asked for.
    QByteArrayList Headers() const;

    enum class Answer {
        Rest, // exactly what is missing
        Whole, // a file from its first byte: Begin is to follow
        Neither,
    };
    // What an answer is, by its headers. After one that says that the server does
    // not have the rest of this version, the next try asks for the whole file.
    Answer Judge(const Exchange &answer);

private:
    struct Version {
        QByteArray Tag;
        qint64 Size; // bytes
    };
    bool IsRest(const Exchange &answer) const;

    std::optional<Version> m_version;
    qint64 m_taken = 0;
    qint64 m_mark = 0; // the most that had been taken when there last was progress
    int m_tries = 0; // since then
    bool m_wantsWhole = false;
};

// The body comes in a content encoding other than "identity" (RFC 9110), which
// nothing here undoes.
bool IsContentEncoded(const Exchange &answer);
