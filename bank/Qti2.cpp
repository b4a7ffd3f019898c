// SPDX-License-Identifier: Apache-2.0
#include "bank/Qti2.h"

#include "bank/Archive.h"
#include "bank/Passage.h"
#include "bank/Qti2Content.h"
#include "bank/Qti2Item.h"
#include "bank/Qti2Package.h"
#include "bank/Xml.h"
#include "common/Error.h"

#include <QHash>
#include <QRegularExpression>

#include <numeric>

using namespace Qt::Literals::StringLiterals;

namespace Qti2 {

namespace {

// Files of a package whose kind is looked for when no manifest tells it.
constexpr int MostLookedAt = 50;

constexpr QStringView NoQti = u"it is no item, test or package of QTI 2 or 3";

enum class Root { Other, Item, Test, Manifest };

Root RootOf(const QByteArray &bytes)
{
    const auto beginning = Xml::BeginningOf(bytes);
    const QString root = beginning ? beginning->Root : QString();
    if (root == "assessmentItem"_L1 || root == "qti-assessment-item"_L1)
        return Root::Item;
    if (root == "assessmentTest"_L1 || root == "qti-assessment-test"_L1 || root == "assessmentSection"_L1
        || root == "qti-assessment-section"_L1)
        return Root::Test;
    return root == "manifest"_L1 ? Root::Manifest : Root::Other;
}

QStringList XmlPathsOf(const QStringList &paths)
{
    return paths.filter(QRegularExpression(u"\\.xml$"_s, QRegularExpression::CaseInsensitiveOption));
}

bool SuitsPackage(const Bank::Source &source)
{
    const QStringList paths = source.Files->Paths();
    if (const auto manifest = source.Files->Read(ManifestPathOf(paths)); manifest && HasItems(*manifest))
        return true;
    const QStringList files = XmlPathsOf(paths).mid(0, MostLookedAt);
    return std::any_of(files.begin(), files.end(), [&](const QString &path) {
        const Root root = RootOf(source.Files->Read(path).value_or(QByteArray()));
        return root == Root::Item || root == Root::Test;
    });
}

// The line and the text of an error that Xml::Reader has raised.
std::pair<int, QString> Located(const Error &error)
{
    static const QRegularExpression line(u"^line ([0-9]+): "_s);
    const auto match = line.match(error.Description());
    return { match.captured(1).toInt(), error.Description().mid(match.capturedLength()) };
}

class Reader {
public:
    Reader(const Bank::Source &source, const Bank::Options &options, Bank::Receiver &receiver)
        : m_source(source)
        , m_options(options)
        , m_receiver(receiver)
        , m_tests(source, receiver)
        , m_passage(receiver)
    {
    }

    void Read()
    {
        if (Bank::IsPackage(m_source)) {
            ReadPackage();
            return;
        }
        switch (RootOf(m_source.Bytes)) {
        case Root::Item: Add(ReadItem(m_source.Bytes, m_source.Name, {}), {}); break;
        case Root::Test: m_tests.Read(m_source.Bytes, {}); break;
        case Root::Manifest: ReadManifested(m_source.Bytes, {}); break;
        case Root::Other: throw Error(InvalidCall, NoQti.toString(), m_source.Name);
        }
        ReadItems();
    }

private:
    void ReadPackage()
    {
        const QStringList paths = m_source.Files->Paths();
        const QString path = ManifestPathOf(paths);
        const auto manifest = m_source.Files->Read(path);
        if (!manifest || !ReadManifested(*manifest, path))
            FindItems(XmlPathsOf(paths));
        ReadItems();
    }

    // Whether the manifest names a test or an item.
    bool ReadManifested(const QByteArray &bytes, const QString &path)
    {
        const QString prefix = path.isEmpty() ? path : path + u": "_s;
        try {
            Manifest manifest = ReadManifest(bytes, path, m_source.Name);
            for (const QString &test : manifest.Tests)
                ReadTest(test);
            for (ItemRef &item : manifest.Items)
                m_tests.Add(std::move(item));
            if (!manifest.Others.isEmpty())
                m_receiver.Warn(0,
                                u"%1items of QTI 1 are left out (%2)"_s.arg(prefix, manifest.Others.mid(0, 5).join(", "_L1)));
            m_receiver.SetName(manifest.Title);
            return !manifest.Tests.isEmpty() || !manifest.Items.empty();
        } catch (const Error &error) {
            throw Error(error.Number(), prefix + error.Description(), error.Source());
        }
    }

    // The content of a file; nothing when it is not there. Many names can mean the same
    // file.
    std::optional<QByteArray> BytesOf(const QString &path)
    {
        if (m_read > Bank::Archive::MostBytes)
            throw Error(InvalidCall, u"more than %1 GB were read before it"_s.arg(Bank::Archive::MostBytes >> 30),
                        m_source.Name);
        const auto bytes = m_source.Files && !path.isEmpty() ? m_source.Files->Read(path) : std::nullopt;
        m_read += bytes ? bytes->size() : 0;
        return bytes;
    }

    void ReadTest(const QString &path)
    {
        try {
            if (const auto bytes = BytesOf(path))
                m_tests.Read(*bytes, path);
            else
                m_receiver.Warn(0, u"the test \"%1\" is not there"_s.arg(path));
        } catch (const Error &error) {
            m_receiver.Warn(0, path + u": "_s + error.Description());
        }
    }

    void FindItems(const QStringList &paths)
    {
        std::vector<ItemRef> items;
        for (const QString &path : paths) {
            const Root root = RootOf(m_source.Files->Read(path).value_or(QByteArray()));
            if (root == Root::Test)
                ReadTest(path);
            else if (root == Root::Item)
                items.push_back({ path, path, {}, {}, {}, 0 });
        }
        for (ItemRef &item : items)
            m_tests.Add(std::move(item));
        if (m_tests.Items().empty())
            throw Error(InvalidCall, NoQti.toString(), m_source.Name);
    }

    void ReadItems()
    {
        for (const ItemRef &ref : m_tests.Items())
            ReadFile(ref);
        m_passage.End();
    }

    void ReadFile(const ItemRef &ref)
    {
        ParsedItem parsed;
        try {
            const auto bytes = BytesOf(ref.Path);
            if (!bytes) {
                const QString prefix = ref.NamedIn.isEmpty() ? QString() : ref.NamedIn + u": "_s;
                m_receiver.Warn(ref.Line, u"%1the item \"%2\" is not there"_s.arg(prefix, ref.Name));
                return;
            }
            const qsizetype slash = std::max<qsizetype>(ref.Path.lastIndexOf(u'/'), 0);
            parsed = ReadItem(*bytes, m_source.Name, ref.Path.left(slash));
        } catch (const Error &error) {
            const auto [line, text] = Located(error);
            parsed.Item.Line = line;
            parsed.Item.Refusal = text;
        }
        parsed.Item.Entry = ref.Path;
        parsed.Item.Category = ref.Category;
        Add(std::move(parsed), ref.Passage);
    }

    void Add(ParsedItem &&parsed, const QString &rubric)
    {
        Bank::Item &item = parsed.Item;
        // What stands before the items of one section ends with it.
        if (item.Category != m_category)
            m_passage.End();
        m_category = item.Category;
        const bool isPassage = m_options.HasPassages && parsed.IsDescription;
        QStringList stimuli;
        for (const StimulusRef &ref : parsed.Stimuli) {
            if (isPassage || item.Refusal.isEmpty())
                stimuli += StimulusOf(ref, item);
        }
        if (isPassage) {
            m_passage.Take(item.Line, Html(Joined(stimuli + QStringList(item.Problem.Source))), item.Entry);
            for (const QString &warning : item.Warnings)
                m_receiver.Warn(item.Line, (item.Entry.isEmpty() ? item.Entry : item.Entry + u": "_s) + warning);
            return;
        }
        m_passage.Give(item);
        if (item.Refusal.isEmpty())
            AddToPassage(item, rubric, stimuli);
        item.Files = m_source.Files;
        m_receiver.Add(std::move(item));
    }

    void AddToPassage(Bank::Item &item, const QString &before, const QStringList &behind)
    {
        const qint64 added = before.size()
            + std::accumulate(behind.begin(), behind.end(), qint64(0),
                              [](qint64 sum, const QString &text) { return sum + text.size(); });
        m_given += added;
        if (m_given > Bank::Passage::MostCharacters)
            item.Refusal = u"its passage is too long to be repeated in every item"_s;
        else if (added > 0)
            item.Passage = Html(Joined(QStringList{ before, item.Passage.Source } + behind));
    }

    // The text of the passage; what is lost of it becomes a warning of the item.
    QString StimulusOf(const StimulusRef &ref, Bank::Item &item)
    {
        if (!m_stimuli.contains(ref.Path))
            m_stimuli.insert(ref.Path, ReadStimulusFile(ref));
        const Stimulus stimulus = m_stimuli.value(ref.Path);
        item.Warnings += stimulus.Warnings;
        return stimulus.Text;
    }

    struct Stimulus {
        QString Text;
        QStringList Warnings;
    };

    Stimulus ReadStimulusFile(const StimulusRef &ref)
    {
        const auto lost = [&](const QString &why) { return Stimulus{ {}, { u"its passage \"%1\" %2"_s.arg(ref.Name, why) } }; };
        try {
            const auto bytes = BytesOf(ref.Path);
            if (!bytes)
                return lost(u"is not there"_s);
            Stimulus stimulus;
            const qsizetype slash = std::max<qsizetype>(ref.Path.lastIndexOf(u'/'), 0);
            stimulus.Text = ReadStimulus(*bytes, m_source.Name, ref.Path.left(slash), stimulus.Warnings).Source;
            return stimulus.Text.size() > LongestPassage ? lost(u"has too many characters"_s) : stimulus;
        } catch (const Error &error) {
            return lost(u"is left out: "_s + error.Description());
        }
    }

    const Bank::Source &m_source;
    const Bank::Options &m_options;
    Bank::Receiver &m_receiver;
    TestReader m_tests;
    qint64 m_read = 0; // bytes
    QHash<QString, Stimulus> m_stimuli; // by path
    Bank::Passage m_passage;
    QString m_category; // of the last item
    qint64 m_given = 0; // characters of passages that items repeat
};

}

bool Suits(const Bank::Source &source)
{
    try {
        if (Bank::IsPackage(source))
            return SuitsPackage(source);
    } catch (const Error &) {
        return false;
    }
    const Root root = RootOf(source.Bytes);
    return root == Root::Item || root == Root::Test || (root == Root::Manifest && HasItems(source.Bytes));
}

void Read(const Bank::Source &source, const Bank::Options &options, Bank::Receiver &receiver)
{
    Reader(source, options, receiver).Read();
}

}
