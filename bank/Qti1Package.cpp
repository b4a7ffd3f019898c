// SPDX-License-Identifier: Apache-2.0
#include "bank/Qti1Package.h"

#include "bank/Xml.h"
#include "common/Error.h"

#include <QRegularExpression>
#include <QSet>

using namespace Qt::Literals::StringLiterals;

namespace Qti1 {

bool IsQuestions(const QByteArray &bytes)
{
    const auto beginning = Xml::BeginningOf(bytes);
    return beginning && beginning->Root == "questestinterop"_L1;
}

namespace {

const QString Manifest = u"imsmanifest.xml"_s;

QString FolderOf(const QString &path)
{
    return path.section(u'/', 0, -2);
}

bool IsNamedAsQuestions(const QString &path)
{
    return path.endsWith(".xml"_L1, Qt::CaseInsensitive) || path.endsWith(".qti"_L1, Qt::CaseInsensitive)
        || path.endsWith(".dat"_L1, Qt::CaseInsensitive);
}

// Reads a resource of a manifest to its end. Adds the files that can hold questions.
void ReadResource(Xml::Reader &reader, const QString &folder, QStringList &paths)
{
    const QString type = reader.Attribute("type"_L1).toLower();
    const bool isQuestions = (type.contains("qti"_L1) && type.contains("xmlv1p"_L1)) || type.contains("x-bb-qti"_L1);
    const auto add = [&](const QString &reference) {
        const QString path = Bank::PathOf(reference, folder);
        // What Canvas says of its own files is not that they are questions.
        if ((isQuestions && IsNamedAsQuestions(path)) || path.endsWith(".xml.qti"_L1))
            paths += path;
    };
    add(reader.Attribute("href"_L1));
    add(reader.Attribute("bb:file"_L1));
    while (reader.NextChild()) {
        if (reader.Name() == u"file")
            add(reader.Attribute("href"_L1));
        reader.Skip();
    }
}

void ReadResources(Xml::Reader &reader, const QString &folder, QStringList &paths)
{
    while (reader.NextChild()) {
        if (reader.Name() == u"resource")
            ReadResource(reader, folder, paths);
        else
            ReadResources(reader, folder, paths);
    }
}

// Canvas writes a test into FOLDER/NAME.xml as others understand it, and into
// non_cc_assessments/FOLDER.xml.qti as it is.
QStringList WithoutTwins(const QStringList &paths)
{
    QSet<QString> whole;
    for (const QString &path : paths) {
        if (path.endsWith(".xml.qti"_L1))
            whole += path.section(u'/', -1).chopped(8);
    }
    QStringList once;
    for (const QString &path : paths) {
        if (path.endsWith(".xml.qti"_L1) || !whole.contains(path.section(u'/', -2, -2)))
            once += path;
    }
    return once;
}

QStringList NamedBy(const QString &manifest, const Bank::Files &package, const QStringList &all)
{
    QStringList named;
    try {
        Xml::Reader reader(package.Read(manifest).value_or(QByteArray()), manifest);
        ReadResources(reader, FolderOf(manifest), named);
    } catch (const Error &) {
        // What it names before it is damaged is there all the same.
    }
    const QSet<QString> present(all.begin(), all.end());
    named.removeIf([&](const QString &each) { return !present.contains(each); });
    named.removeDuplicates();
    return WithoutTwins(named);
}

// A file that cannot be read is left to whoever reads the questions, if it should
// have some.
bool HoldsQuestions(const Bank::Files &package, const QString &path, bool isNamed)
{
    try {
        const auto bytes = package.Read(path);
        return bytes && IsQuestions(*bytes);
    } catch (const Error &) {
        return isNamed;
    }
}

}

QString TopOf(const Bank::Files &package)
{
    return FolderOf(Bank::ShallowestOf(package.Paths(), Manifest));
}

QStringList FilesOf(const Bank::Files &package, int most)
{
    constexpr int mostTried = 1000;
    const QStringList all = package.Paths();
    const QString manifest = Bank::ShallowestOf(all, Manifest);
    if (manifest.isEmpty())
        return {};
    QStringList candidates = NamedBy(manifest, package, all);
    const bool isNamed = !candidates.isEmpty();
    if (!isNamed)
        candidates = all.filter(QRegularExpression(u"\\.(xml|qti|dat)$"_s, QRegularExpression::CaseInsensitiveOption));
    QStringList files;
    int tried = 0;
    for (const QString &path : std::as_const(candidates)) {
        if (files.size() == most || (!isNamed && ++tried > mostTried))
            break;
        if (HoldsQuestions(package, path, isNamed))
            files += path;
    }
    return files;
}

References::References(std::shared_ptr<const Bank::Files> package, const QString &top, const QString &folder)
    : m_package(std::move(package))
    , m_top(top)
    , m_folder(folder)
{
}

std::optional<QByteArray> References::Read(const QString &path) const
{
    const auto join = [](const QString &folder, const QString &name) { return folder.isEmpty() ? name : folder + u'/' + name; };
    const QString pages = join(m_top, u"web_resources"_s);
    QStringList tries = { join(m_folder, path), join(m_top, path), join(pages, path), path };
    for (const QString &base : { u"$IMS-CC-FILEBASE$/"_s, u"%24IMS-CC-FILEBASE%24/"_s, u"IMS-CC-FILEBASE/"_s }) {
        if (path.startsWith(base))
            tries = { join(pages, path.mid(base.size())), join(m_top, path.mid(base.size())) };
    }
    tries.removeDuplicates();
    for (const QString &each : std::as_const(tries)) {
        if (auto bytes = m_package->Read(each))
            return bytes;
    }
    return {};
}

}
