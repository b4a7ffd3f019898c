// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Files.h"
#include "bank/Xml.h"
#include "markup/Text.h"

#include <map>

namespace Qti1 {

// Reads the texts of one item: what QTI 1.2 calls material, wherever it stands.
class Texts {
public:
    // The folder is that of the file, "" for the top: pictures outside of it are
    // written by their paths from the top.
    explicit Texts(QString folder);

    // Appends the materials in the current element and reads on to its end.
    void Read(Xml::Reader &reader, Markup::Text &text);

    // What is lost, each a line; no line twice.
    const QStringList &Warnings() const { return m_warnings; }
    // Pictures that stand in the file itself, by the names that the texts give them.
    const std::map<QString, QByteArray> &Embedded() const { return m_embedded; }
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
    std::map<QString, QByteArray> m_embedded;
};

}
