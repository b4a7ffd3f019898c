// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Xml.h"
#include "markup/Text.h"

#include <QString>
#include <QStringList>

#include <utility>

// What items, tests and passages of QTI 2 and QTI 3 have in common. Everything is
// named as in QTI 2; QTI 3 writes "qti-choice-interaction" for "choiceInteraction"
// and "max-choices" for "maxChoices".
namespace Qti2 {

// Whether the current element has that name.
bool Is(const Xml::Reader &reader, QLatin1StringView name);
// Whether its name is one of those, which are parted by single blanks.
bool IsOneOf(const Xml::Reader &reader, QLatin1StringView names);
// The trimmed value of an attribute of the current element; empty when there is none.
QString AttributeOf(const Xml::Reader &reader, QLatin1StringView name);

// Appends a part to a text in a paragraph of its own; nothing when it is empty.
void Append(QString &text, const QString &part);
QString Joined(const QStringList &parts);

// Makes the content of elements to marked-up texts.
class Content {
public:
    // The folder of the file that is read, in its package; pictures are named by
    // their paths in the package.
    explicit Content(QString folder)
        : m_folder(std::move(folder))
    {
    }
    virtual ~Content() = default;
    Content(const Content &) = delete;
    Content &operator=(const Content &) = delete;

    // The content of the current element, which is read to its end, without the
    // elements that only QTI knows.
    QString Read(Xml::Reader &reader);

    // Its texts are filled in when it is shown.
    bool HasVariables() const { return m_hasVariables; }
    // What is lost of the texts, each a line.
    QStringList Warnings() const { return m_warnings; }

protected:
    const QString &Folder() const { return m_folder; }
    void Warn(const QString &text);
    // As Xml::Reader::Replacement.
    virtual bool Replace(Xml::Reader &reader, QString &markup);

private:
    void PutPicture(QString &markup, const QString &reference, const QString &text) const;
    bool ReplaceObject(Xml::Reader &reader, QString &markup);

    QString m_folder;
    bool m_hasVariables = false;
    QStringList m_warnings;
};

// A rubric, which instructs those who see it.
struct Rubric {
    QString Text;
    // The candidate sees it with the item.
    bool IsForCandidates = false;
};

// Of the current element, which is read to its end.
Rubric ReadRubric(Xml::Reader &reader, Content &content);

// The HTML as a text of an item.
Markup::Text Html(const QString &source);

}
