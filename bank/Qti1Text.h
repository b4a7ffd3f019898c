// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/EmbeddedFiles.h"
#include "bank/Xml.h"
#include "markup/Text.h"

namespace Qti1 {

// Reads the texts of one item: what QTI 1.2 calls material, wherever it stands.
class Texts {
public:
    // The folder is that of the file, "" for the top: pictures outside of it are
    // written by their paths from the top.
    Texts(QString folder, std::shared_ptr<const Bank::Files> files);

    // Appends the materials in the current element and reads on to its end.
    void Read(Xml::Reader &reader, Markup::Text &text);

    // What is lost, each a line; no line twice.
    const QStringList &Warnings() const { return m_warnings; }
    // The given files, with the pictures that stand in the texts themselves.
    std::shared_ptr<const Bank::Files> Files() const;
    void Warn(const QString &text);

private:
    void ReadParts(Xml::Reader &reader, Markup::Text &text);
    void ReadPart(Xml::Reader &reader, Markup::Text &text);
    Markup::Text ReadText(Xml::Reader &reader) const;
    Markup::Text ReadPicture(Xml::Reader &reader);
    QString Prepared(QString html) const;
    QString FromTop(const QString &address) const;

    QString m_folder;
    QStringList m_warnings;
    std::shared_ptr<const Bank::Files> m_files;
    std::shared_ptr<Bank::EmbeddedFiles> m_embedded; // null until there is one
    int m_embeddedCount = 0;
};

}
