// SPDX-License-Identifier: Apache-2.0
#include "bank/Qti1.h"

#include "bank/Archive.h"
#include "bank/Passage.h"
#include "bank/Qti1Item.h"
#include "bank/Qti1Package.h"
#include "common/Error.h"

#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace Qti1 {

namespace {

// Reads one file.
class Document {
public:
    struct Place {
        QString Entry; // in a package; empty for a file
        // Whether others stand beside it, so that the items' categories begin with its
        // title.
        bool IsOneOfMany = false;
        std::shared_ptr<const Bank::Files> Files;
    };

    Document(const QByteArray &bytes, const QString &source, Place place, const Bank::Options &options,
             Bank::Receiver &receiver)
        : m_reader(bytes, source)
        , m_place(std::move(place))
        , m_folder(m_place.Entry.section(u'/', 0, -2))
        , m_options(options)
        , m_receiver(receiver)
        , m_passage(receiver)
    {
    }

    void Read();

private:
    void ReadChildren();
    void ReadGroup(bool isSection);
    void ReadMetadata();
    void ReadPassage();
    void ReadItem();

    Xml::Reader m_reader;
    Place m_place;
    QString m_folder;
    const Bank::Options &m_options;
    Bank::Receiver &m_receiver;
    Bank::Passage m_passage;
    QStringList m_category;
};

void Document::Read()
{
    if (!m_reader.NextChild() || m_reader.Name() != u"questestinterop")
        m_reader.Fail(u"the root element is not \"questestinterop\""_s);
    ReadChildren();
    m_passage.End();
    m_reader.Finish();
}

void Document::ReadChildren()
{
    while (m_reader.NextChild()) {
        const QString name = m_reader.Name().toString();
        if (name == "item"_L1)
            ReadItem();
        else if (name == "assessment"_L1 || name == "section"_L1 || name == "objectbank"_L1)
            ReadGroup(name == "section"_L1);
        else if (name == "qtimetadata"_L1)
            ReadMetadata();
        else if (name == "presentation_material"_L1)
            ReadPassage();
        else
            m_reader.Skip();
    }
}

void Document::ReadGroup(bool isSection)
{
    const QString title = m_reader.Attribute("title"_L1).simplified();
    const qsizetype depth = m_category.size();
    if (!isSection)
        m_receiver.SetName(title);
    if (!title.isEmpty() && (isSection || m_place.IsOneOfMany))
        m_category += title;
    m_passage.End();
    ReadChildren();
    m_passage.End();
    m_category.resize(depth);
}

// Canvas has the title of a question bank there.
void Document::ReadMetadata()
{
    QString label;
    while (m_reader.NextChild()) {
        if (m_reader.Name() == u"fieldlabel")
            label = m_reader.Text().trimmed();
        else if (m_reader.Name() != u"fieldentry")
            ReadMetadata();
        else if (const QString entry = m_reader.Text().simplified(); label == "bank_title"_L1 && !entry.isEmpty()) {
            m_receiver.SetName(entry);
            if (m_place.IsOneOfMany)
                m_category += entry;
        }
    }
}

void Document::ReadPassage()
{
    const int line = m_reader.Line();
    Texts texts(m_folder, nullptr);
    Markup::Text passage;
    texts.Read(m_reader, passage);
    if (passage.Source.isEmpty())
        return;
    if (m_options.HasPassages)
        m_passage.Take(line, passage);
    else
        m_receiver.Warn(line, u"a text before questions is left out"_s);
}

void Document::ReadItem()
{
    ItemReader reader(m_reader, m_folder, m_place.Files);
    Bank::Item item = reader.Read();
    if (reader.IsDescription() && m_options.HasPassages) {
        m_passage.Take(item.Line, item.Problem);
        return;
    }
    item.Entry = m_place.Entry;
    item.Category = m_category.join(u'/');
    m_passage.Give(item);
    m_receiver.Add(std::move(item));
}

void ReadPackage(const Bank::Source &source, const Bank::Options &options, Bank::Receiver &receiver)
{
    const QStringList paths = FilesOf(*source.Files, std::numeric_limits<int>::max());
    if (paths.isEmpty())
        throw Error(InvalidCall, u"no file of the package is QTI 1.2"_s, source.Name);
    const QString top = TopOf(*source.Files);
    for (const QString &path : paths) {
        try {
            const QByteArray bytes = source.Files->Read(path).value_or(QByteArray());
            const Document::Place place{ path, paths.size() > 1,
                                         std::make_shared<References>(source.Files, top, path.section(u'/', 0, -2)) };
            Document(bytes, source.Name, place, options, receiver).Read();
        } catch (const Error &error) {
            const QString text = path + u": "_s + error.Description();
            if (paths.size() == 1)
                throw Error(error.Number(), text, source.Name);
            receiver.Warn(0, text);
        }
    }
}

}

bool Suits(const Bank::Source &source)
{
    return Bank::IsPackage(source) ? !FilesOf(*source.Files, 1).isEmpty() : IsQuestions(source.Bytes);
}

void Read(const Bank::Source &source, const Bank::Options &options, Bank::Receiver &receiver)
{
    if (Bank::IsPackage(source)) {
        ReadPackage(source, options, receiver);
        return;
    }
    Document::Place place;
    if (source.Files)
        place.Files = std::make_shared<References>(source.Files, QString(), QString());
    Document(source.Bytes, source.Name, place, options, receiver).Read();
}

}
