// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QHash>
#include <QSet>
#include <QStringList>
#include <QTemporaryDir>

#include <vector>

// Collects the pictures that an exam's items show and gives them names in the
// package. Their contents lie in a folder of their own, which goes with the object,
// and not in memory.
class Exhibits {
public:
    // Raises InvalidCall when the folder cannot be made.
    Exhibits();

    // The content of a file; returns the picture's name in the package. That is
    // ASCII, unique without regard to letter case, and made of the last part of
    // wantedName ("picture" when nothing of it is ASCII) with an extension that
    // fits the content. The same content has the same name.
    //
    // A BMP, GIF, JPEG, ICO or PNG stays byte for byte; a WebP, SVG or TIFF becomes
    // a PNG. losses, if given, gets what of such a picture is not shown.
    //
    // Raises InvalidCall with what is wrong with the picture, and the system's error
    // when it cannot be kept.
    QString Add(const QByteArray &file, const QString &wantedName, QStringList *losses = nullptr);

    // Several pictures one below the other, in their own sizes, as one PNG on
    // white. The same pictures in the same order have the same name; of one picture
    // alone it is that of Add. Raises InvalidCall also when they are larger
    // together than an exhibit can be, and for none.
    QString Join(const std::vector<QByteArray> &files, const QString &wantedName, QStringList *losses = nullptr);

    // Where the pictures lie under their names. Package::Write takes them from
    // there.
    QString Folder() const { return m_folder.path(); }

private:
    struct Outcome {
        QString Name; // empty for a picture that was refused
        QString Fault;
        QStringList Losses;
    };

    // What make returns for content that is not there yet: the picture's file.
    template <class Make>
    QString Named(const QByteArray &digest, const QString &wantedName, QStringList *losses, const Make &make);
    QString Keep(const QByteArray &picture, const QString &wantedName);
    QString NewName(const QString &wantedName, const QByteArray &format);

    QTemporaryDir m_folder;
    QHash<QByteArray, Outcome> m_outcomes; // by the digest of the content
    QSet<QString> m_names; // in small letters
    QHash<QString, int> m_counts; // of the names that were wanted, in small letters
};
