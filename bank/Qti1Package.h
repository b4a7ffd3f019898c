// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Files.h"

namespace Qti1 {

// The files with questions in a package, in the order of its manifest; of a test that
// Canvas writes in two ways, the file that leaves nothing out. Where the manifest names
// none as questions, all files that begin like some; without a manifest none. At most
// `most` are looked for.
QStringList FilesOf(const Bank::Files &package, int most);

// The folder of the manifest in a package; "" for the outermost, or without one.
QString TopOf(const Bank::Files &package);

// Whether the content is a file of QTI 1.2.
bool IsQuestions(const QByteArray &bytes);

// Finds what the texts of a file in a package refer to.
class References : public Bank::Files {
public:
    // The top is the folder of the manifest, see TopOf; the folder is that of the file.
    References(std::shared_ptr<const Bank::Files> package, const QString &top, const QString &folder);
    // The path is from the folder, from the top, or from the folder that Common
    // Cartridge has for what pages show.
    std::optional<QByteArray> Read(const QString &path) const override;

private:
    std::shared_ptr<const Bank::Files> m_package;
    QString m_top;
    QString m_folder;
};

}
