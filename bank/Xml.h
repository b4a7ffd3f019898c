// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QBuffer>
#include <QByteArray>
#include <QString>
#include <QXmlStreamReader>

#include <functional>
#include <optional>
#include <vector>

// XML that came from outside, element by element. Nothing that a document refers to
// is loaded, and a document type that declares something itself is an error. Named
// entities are those of XML and HTML.
namespace Xml {

// No element stands in more than these, and none has more attributes.
constexpr int MostDepth = 200;
constexpr int MostAttributes = 200;
// Bytes between two tags, or characters that one operation returns: several copies of
// a text are made on its way.
constexpr qsizetype MostText = 32 << 20;
// Declarations of namespaces that hold at one place.
constexpr int MostNamespaces = 1000;

// How a document begins.
struct Beginning {
    QString Root; // its local name
    QString Namespace; // of the root; empty for none
    QString Child; // the local name of the first element in the root; empty for none
};

// The beginning of a document, by its first 64 KB; nothing for what is no XML.
std::optional<Beginning> BeginningOf(const QByteArray &bytes);

// Reads a document from its first element to its last. Every operation that goes on
// raises InvalidCall, "line N: ...", under the name of the source, where the document
// is not well-formed or goes beyond the limits; what stands before that place has
// been read by then.
//
//     while (reader.NextChild()) {
//         if (reader.Name() == u"item")
//             ReadItem(reader); // reads on to the end of the item
//         else
//             reader.Skip();
//     }
class Reader {
public:
    // Stands before the root, which is the one child of the document. The encoding is
    // the declared one, UTF-8 without one, and undeclared where neither fits; an unknown
    // one is an error at once.
    Reader(const QByteArray &bytes, QString source, const QString &undeclared = {});

    // Goes to the next child of the current element, which becomes the current one;
    // or to the end of the current element, and returns false. Every child must be
    // read to its end before the next one: by NextChild until it returns false, by
    // Skip, Text, Markup or TextOrMarkup.
    bool NextChild();
    // Behind the root: reads on to the end of the document, which may hold no other root.
    void Finish();
    // These read on to the end of the current element. A line break in what they
    // return is "\n", however it is written.
    void Skip();
    // Its characters, those of the elements in it included.
    QString Text();
    // Gets each element within the current one and what is written so far. Returns
    // false to have the element written as it is; true after having read it to its
    // end and, perhaps, appended something in its place.
    using Replacement = std::function<bool(Reader &reader, QString &markup)>;
    // Its content as the source text of HTML: tags without prefixes and declarations
    // of namespaces, escaped characters, no comments.
    QString Markup(const Replacement &replacement = {});
    // Its characters; with elements in it, its markup.
    QString TextOrMarkup(bool &isMarkup);

    // Of the current element: its local name, its namespace, both until the next
    // element is read; the attribute of a name as it is written, with its prefix
    // if it has one; empty when there is none.
    QStringView Name() const { return m_reader.name(); }
    QStringView Namespace() const { return m_reader.namespaceUri(); }
    QString Attribute(QLatin1StringView name) const { return m_reader.attributes().value(name).toString(); }
    bool HasAttribute(QLatin1StringView name) const { return m_reader.attributes().hasAttribute(name); }
    // The line of the place, 1-based; of an element, where its start tag ends.
    int Line() const { return static_cast<int>(m_reader.lineNumber()); }

    // InvalidCall about this place.
    [[noreturn]] void Fail(const QString &text) const;

private:
    QXmlStreamReader::TokenType Next();
    void ReadMarkup(QString &markup, size_t depth, const Replacement &replacement);
    void Enter();
    void CheckLength(const QString &text) const;
    [[noreturn]] void FailAt(qint64 line, const QString &text) const;

    QString m_source;
    QByteArray m_bytes; // UTF-8, as far as they are to be read
    QBuffer m_buffer;
    QXmlStreamReader m_reader;
    QString m_problem; // why the bytes end early; empty when they do not
    bool m_declaresNamespaces = false; // somewhere
    std::vector<int> m_namespaces; // declared in each element that is open
    int m_namespaceCount = 0;
};

}
