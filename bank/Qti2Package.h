// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Bank.h"
#include "bank/Xml.h"

#include <QSet>
#include <QString>
#include <QStringList>

#include <vector>

// What packages and tests of QTI 2 and QTI 3 consist of. Every path is one in the
// package.
namespace Qti2 {

// Characters; a longer passage is left out, because every item repeats it.
constexpr qsizetype LongestPassage = 100'000;

// An item's file, as a test or a manifest names it.
struct ItemRef {
    QString Path; // empty when it leads out of the package
    QString Name; // as it is written
    QString Category; // the titles of the sections around it
    QString Passage; // their rubrics, as HTML
    QString NamedIn; // the file that names it; empty for the source itself
    int Line = 0; // in that file
};

struct Manifest {
    QString Title; // empty for none
    QStringList Tests;
    std::vector<ItemRef> Items;
    QStringList Others; // tests and items of QTI 1
};

// Whether the manifest names a test or an item of QTI 2 or 3, by a look at its bytes.
bool HasItems(const QByteArray &manifest);

// The imsmanifest.xml that is in the fewest folders; empty when there is none.
QString ManifestPathOf(const QStringList &paths);

// The manifest at that path. Raises InvalidCall as Xml::Reader does.
Manifest ReadManifest(const QByteArray &bytes, const QString &path, const QString &name);

// Lists the items of tests, each once.
class TestReader {
public:
    TestReader(const Bank::Source &source, Bank::Receiver &receiver)
        : m_source(source)
        , m_receiver(receiver)
    {
    }

    // Adds the items of a test, or of a section in a file of its own. The path is
    // empty for the source itself. Raises InvalidCall as Xml::Reader does; the items
    // before that place are added by then.
    void Read(const QByteArray &bytes, const QString &path);
    // Adds an item that is named outside of a test.
    void Add(ItemRef &&item);

    const std::vector<ItemRef> &Items() const { return m_items; }

    static constexpr size_t MostItems = 100'000;
    // Sections and parts that stand in one another.
    static constexpr int MostDepth = 16;

private:
    struct Place {
        QString Path; // of the file
        QString Folder;
        QString Category;
        QString Passage;
        int Depth = 0;
    };

    void ReadRoot(const QByteArray &bytes, Place &&place);
    void ReadPart(Xml::Reader &reader, Place place);
    void ReadChild(Xml::Reader &reader, Place &place);
    void ReadSectionRef(Xml::Reader &reader, const Place &place);
    void ReadItemRef(Xml::Reader &reader, const Place &place);
    void AddRubric(Xml::Reader &reader, Place &place);
    void Warn(const Place &place, int line, const QString &text);

    const Bank::Source &m_source;
    Bank::Receiver &m_receiver;
    std::vector<ItemRef> m_items;
    QSet<QString> m_paths; // of items and of sections
    QSet<QString> m_warnings; // that are given once
};

}
