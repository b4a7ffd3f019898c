// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

namespace Bank {

// The files that a question bank refers to: beside it, in its folder, in its
// archive, or within it.
class Files {
public:
    virtual ~Files() = default;
    // The content of the file of a relative path with "/" between its parts;
    // nothing when there is none, also for a path that leads out. Raises the
    // system's error, or InvalidCall for a file beyond the limits.
    virtual std::optional<QByteArray> Read(const QString &path) const = 0;
    // The paths of all files, sorted; empty when they are not to be listed.
    virtual QStringList Paths() const { return {}; }
};

// The files of another Files as they are seen from one of its folders: paths that
// begin with "../" are those beside that folder.
class FilesBelow : public Files {
public:
    FilesBelow(std::shared_ptr<const Files> files, QString folder);
    std::optional<QByteArray> Read(const QString &path) const override;

private:
    std::shared_ptr<const Files> m_files;
    QString m_folder;
};

// The files of a folder and of its subfolders. Nothing outside is read, also by
// way of a link.
class FolderFiles : public Files {
public:
    explicit FolderFiles(const QString &folder);
    std::optional<QByteArray> Read(const QString &path) const override;
    // At most MostPaths.
    QStringList Paths() const override;

    static constexpr int MostPaths = 100'000;

private:
    QString m_folder; // canonical; empty when there is none
};

// Bytes; no file of a bank is larger, in an archive or out of it.
constexpr qint64 MostFileBytes = 256 * 1024 * 1024;

// A reference in a text as a path for Files::Read: percent-decoded, without query and
// fragment. Empty when it is absolute or names another place of the network.
QString RelativePath(const QString &reference);

// A reference in a text or a manifest as a path: percent-decoded, without query
// and fragment, "./" and "../" resolved against the folder of the file that it
// stands in (base, which may be empty). Empty when it leads out, is absolute or
// names another place of the network. ResolvedPath takes what RelativePath returns.
QString PathOf(const QString &reference, const QString &base = {});
QString ResolvedPath(const QString &path, const QString &base = {});

// Of the paths to a file of that name, in whatever case, one without folders, or else
// the first one in a folder; empty when there is none. Packages often lie in a folder
// of their archive, and a folder of many packages is none itself.
QString ShallowestOf(const QStringList &paths, const QString &name);

}
