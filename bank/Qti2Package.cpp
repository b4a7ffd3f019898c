// SPDX-License-Identifier: Apache-2.0
#include "bank/Qti2Package.h"

#include "bank/Qti2Content.h"
#include "common/Error.h"

using namespace Qt::Literals::StringLiterals;

namespace Qti2 {

namespace {

// The types of resources, such as "imsqti_item_xmlv2p1" or "imsqti_apipitem_xmlv2p2".
constexpr QLatin1StringView TypePrefix("imsqti_");

bool IsVersion(QStringView type, QLatin1StringView digits)
{
    const qsizetype version = type.startsWith(TypePrefix) ? type.indexOf("xml"_L1) : -1;
    if (version < 0)
        return false;
    const qsizetype digit = version + (type.sliced(version).startsWith("xml_v"_L1) ? 5 : 4);
    return digit < type.size() && digits.contains(type[digit]);
}

QString FolderOf(const QString &path)
{
    return path.left(std::max<qsizetype>(path.lastIndexOf(u'/'), 0));
}

// The text of the first element "title" in the current one, which is read to its end.
QString TitleIn(Xml::Reader &reader)
{
    QString title;
    while (reader.NextChild()) {
        const bool isTitle = reader.Name() == u"title";
        const QString text = isTitle ? reader.Text().simplified() : TitleIn(reader);
        if (title.isEmpty())
            title = text;
    }
    return title;
}

class ManifestReader {
public:
    ManifestReader(const QByteArray &bytes, const QString &path, const QString &name)
        : m_reader(bytes, name)
        , m_path(path)
    {
    }

    Manifest Read()
    {
        m_reader.NextChild();
        if (m_reader.Name() != u"manifest")
            m_reader.Fail(u"the root is the element \"%1\" and no manifest"_s.arg(m_reader.Name().left(100)));
        const QString folder = WithBase(FolderOf(m_path));
        while (m_reader.NextChild()) {
            if (m_reader.Name() == u"metadata")
                m_manifest.Title = TitleIn(m_reader);
            else if (m_reader.Name() == u"resources")
                ReadResources(WithBase(folder));
            else
                m_reader.Skip();
        }
        return std::move(m_manifest);
    }

private:
    // The folder that names in the current element start from.
    QString WithBase(const QString &folder) const
    {
        const QString base = m_reader.Attribute("xml:base"_L1);
        return base.isEmpty() ? folder : Bank::PathOf(base, folder);
    }

    void ReadResources(const QString &folder)
    {
        while (m_reader.NextChild()) {
            if (m_reader.Name() == u"resource")
                ReadResource(WithBase(folder));
            else
                m_reader.Skip();
        }
    }

    void ReadResource(const QString &folder)
    {
        const QString type = m_reader.Attribute("type"_L1);
        ItemRef item;
        item.Name = m_reader.Attribute("href"_L1);
        item.NamedIn = m_path;
        item.Line = m_reader.Line();
        while (m_reader.NextChild()) {
            if (item.Name.isEmpty() && m_reader.Name() == u"file")
                item.Name = m_reader.Attribute("href"_L1);
            m_reader.Skip();
        }
        item.Path = Bank::PathOf(item.Name, folder);
        if (IsVersion(type, "1"_L1))
            m_manifest.Others.append(item.Name);
        else if (!IsVersion(type, "23"_L1))
            return;
        else if (type.contains("item"_L1))
            m_manifest.Items.push_back(std::move(item));
        else if (type.contains("test"_L1) || type.contains("assessment"_L1))
            m_manifest.Tests.append(item.Path);
    }

    Xml::Reader m_reader;
    QString m_path;
    Manifest m_manifest;
};

}

bool HasItems(const QByteArray &manifest)
{
    constexpr qsizetype longest = 40;
    for (qsizetype at = 0; (at = manifest.indexOf(TypePrefix.data(), at)) >= 0; ++at) {
        const QString type = QString::fromLatin1(manifest.mid(at, longest));
        if (IsVersion(type.left(type.indexOf(u'"')), "23"_L1))
            return true;
    }
    return false;
}

QString ManifestPathOf(const QStringList &paths)
{
    return Bank::ShallowestOf(paths, u"imsmanifest.xml"_s);
}

Manifest ReadManifest(const QByteArray &bytes, const QString &path, const QString &name)
{
    return ManifestReader(bytes, path, name).Read();
}

void TestReader::Add(ItemRef &&item)
{
    const QString path = item.Path.isEmpty() ? item.Name : item.Path;
    if (m_paths.contains(path))
        return;
    if (m_items.size() == MostItems) {
        Warn({}, 0, u"more than %1 items: the others are left out"_s.arg(MostItems));
        return;
    }
    m_paths.insert(path);
    m_items.push_back(std::move(item));
}

void TestReader::Warn(const Place &place, int line, const QString &text)
{
    const QString whole = place.Path.isEmpty() ? text : place.Path + u": "_s + text;
    if (m_warnings.contains(whole))
        return;
    m_warnings.insert(whole);
    m_receiver.Warn(line, whole);
}

void TestReader::Read(const QByteArray &bytes, const QString &path)
{
    if (!path.isEmpty() && m_paths.contains(path))
        return;
    m_paths.insert(path);
    ReadRoot(bytes, { path, FolderOf(path), {}, {}, 0 });
}

void TestReader::ReadRoot(const QByteArray &bytes, Place &&place)
{
    Xml::Reader reader(bytes, m_source.Name);
    reader.NextChild();
    if (Is(reader, "assessmentTest"_L1))
        m_receiver.SetName(AttributeOf(reader, "title"_L1));
    else if (Is(reader, "assessmentStimulus"_L1))
        return; // a passage may have the type of a test
    else if (!Is(reader, "assessmentSection"_L1))
        reader.Fail(u"the root is the element \"%1\" and no test"_s.arg(reader.Name().left(100)));
    ReadPart(reader, std::move(place));
    reader.NextChild();
}

// The current element is a test, a part of it or a section.
void TestReader::ReadPart(Xml::Reader &reader, Place place)
{
    if (++place.Depth > MostDepth) {
        Warn(place, reader.Line(), u"sections in more than %1 others are left out"_s.arg(MostDepth));
        reader.Skip();
        return;
    }
    if (Is(reader, "assessmentSection"_L1)) {
        const QString title = AttributeOf(reader, "title"_L1);
        place.Category += (place.Category.isEmpty() || title.isEmpty() ? QString() : u"/"_s) + title;
    }
    while (reader.NextChild())
        ReadChild(reader, place);
}

void TestReader::ReadChild(Xml::Reader &reader, Place &place)
{
    if (IsOneOf(reader, "testPart assessmentSection"_L1)) {
        ReadPart(reader, place);
        return;
    }
    if (Is(reader, "assessmentSectionRef"_L1)) {
        ReadSectionRef(reader, place);
        return;
    }
    if (Is(reader, "assessmentItemRef"_L1)) {
        ReadItemRef(reader, place);
        return;
    }
    if (Is(reader, "rubricBlock"_L1)) {
        AddRubric(reader, place);
        return;
    }
    if (Is(reader, "selection"_L1))
        Warn(place, reader.Line(), u"a section picks some of its items; all are taken"_s);
    if (Is(reader, "ordering"_L1) && AttributeOf(reader, "shuffle"_L1) == "true"_L1)
        Warn(place, reader.Line(), u"a section shuffles its items; they are taken in their order"_s);
    if (IsOneOf(reader, "preCondition branchRule"_L1))
        Warn(place, reader.Line(), u"it leaves out items by conditions; all are taken"_s);
    reader.Skip();
}

void TestReader::ReadSectionRef(Xml::Reader &reader, const Place &place)
{
    const QString reference = AttributeOf(reader, "href"_L1);
    const int line = reader.Line();
    reader.Skip();
    Place inside = place;
    inside.Path = Bank::PathOf(reference, place.Folder);
    inside.Folder = FolderOf(inside.Path);
    if (m_paths.contains(inside.Path))
        return;
    m_paths.insert(inside.Path);
    try {
        if (const auto bytes = m_source.Files ? m_source.Files->Read(inside.Path) : std::nullopt)
            ReadRoot(*bytes, std::move(inside));
        else
            Warn(place, line, u"the section \"%1\" is not there"_s.arg(reference));
    } catch (const Error &error) {
        Warn(place, line, u"%1: %2"_s.arg(reference, error.Description()));
    }
}

void TestReader::ReadItemRef(Xml::Reader &reader, const Place &place)
{
    ItemRef item;
    item.Name = AttributeOf(reader, "href"_L1);
    item.Path = Bank::PathOf(item.Name, place.Folder);
    item.Category = place.Category;
    item.Passage = place.Passage;
    item.NamedIn = place.Path;
    item.Line = reader.Line();
    Add(std::move(item));
    while (reader.NextChild()) {
        if (IsOneOf(reader, "preCondition branchRule"_L1))
            Warn(place, reader.Line(), u"it leaves out items by conditions; all are taken"_s);
        reader.Skip();
    }
}

void TestReader::AddRubric(Xml::Reader &reader, Place &place)
{
    const int line = reader.Line();
    Content content(place.Folder);
    const Rubric rubric = ReadRubric(reader, content);
    for (const QString &warning : content.Warnings())
        Warn(place, line, warning);
    if (!rubric.IsForCandidates)
        Warn(place, line, u"a rubric that candidates do not see is left out"_s);
    else if (content.HasVariables())
        Warn(place, line, u"a rubric that is made of variables is left out"_s);
    else if (place.Passage.size() + rubric.Text.size() > LongestPassage)
        Warn(place, line, u"a rubric of more than %1 characters is left out"_s.arg(LongestPassage));
    else
        Append(place.Passage, rubric.Text);
}

}
