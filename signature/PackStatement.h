// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArrayView>
#include <QDateTime>
#include <QString>

// What a vendor states about a pack. It is the signed comment of the pack's signatures,
// one line:
//
//   Practorium pack; exam=NET-101; version=7; date=2026-11-23T09:30:00Z; by=Example Org
struct PackStatement {
    static constexpr qint32 HighestVersion = 2'147'483'647;
    static constexpr qsizetype LongestText = 200; // characters of Exam and of Signer

    QString Exam; // the ID under which the download service knows the exam; no blanks, ";" or control characters
    qint32 Version = 1; // 1 to HighestVersion; of two packs of an exam the newer one has the higher
    QDateTime Date; // in UTC, to the second
    QString Signer; // no control characters; not empty

    QString ToText() const;
    // Raises InvalidCall for any text but one that ToText returns.
    static PackStatement FromText(QByteArrayView text);
    // Raises InvalidCall if a member is not as described above.
    void Require() const;
    bool operator==(const PackStatement &) const = default;
};
