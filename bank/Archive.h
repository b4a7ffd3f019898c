// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Bank.h"

#include <QHash>

struct zip;

namespace Bank {

// The files of a zip archive in memory. An entry is inflated when it is read.
class Archive : public Files {
public:
    // Whether the bytes begin like a zip archive.
    static bool Suits(QByteArrayView bytes);

    // Raises InvalidCall, with the archive's name as the source, for what is no
    // archive or a damaged one, and for the whole archive when it
    // - has more than MostEntries or an encrypted entry,
    // - has an entry whose name is absolute or leads out, or that is a link,
    // - announces more than MostBytes in all, or in an entry of more than
    //   FreeBytes more than MostRatio times its compressed size.
    Archive(const QByteArray &bytes, const QString &name);
    ~Archive() override;
    Archive(const Archive &) = delete;
    Archive &operator=(const Archive &) = delete;

    // A name that differs in case alone, or in the composition of its accents, is
    // found when it is the only one. Raises InvalidCall for an entry that is
    // damaged, packed by another method than deflate, larger than MostFileBytes,
    // or larger than both 4 times the archive and LeastEntryBytes: a reader needs
    // up to 5 times the bytes.
    std::optional<QByteArray> Read(const QString &path) const override;
    // Without folders and without what macOS adds for itself.
    QStringList Paths() const override;

    static constexpr int MostEntries = 65'534; // those that a zip archive can count without extension
    static constexpr qint64 MostBytes = qint64(2) << 30;
    static constexpr qint64 FreeBytes = 4 << 20;
    static constexpr qint64 MostRatio = 200;
    static constexpr qint64 LeastEntryBytes = 100 << 20;

private:
    // Of an entry, or of names that only their case tells apart.
    static constexpr qint64 Ambiguous = -1;

    [[noreturn]] void Refuse(const QString &text) const;
    void CheckEnds() const;
    void Open();
    void AddEntry(qint64 index);
    qint64 IndexOf(const QString &path) const;

    QByteArray m_bytes;
    QString m_name;
    struct zip *m_zip = nullptr;
    QHash<QString, qint64> m_indexes; // by path
    QHash<QString, qint64> m_folded; // by path without regard to case
    qint64 m_announced = 0; // bytes of all entries
};

// Whether the source is a folder or a zip archive, so that its Files are its own.
bool IsPackage(const Source &source);

}
