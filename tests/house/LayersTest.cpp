// SPDX-License-Identifier: Apache-2.0
#include "tests/support/Test.h"

#include <QDirIterator>
#include <QMap>
#include <QRegularExpression>
#include <QSet>

namespace {

const QString Root = QStringLiteral(SOURCE_FOLDER "/");

// The second column of the table in docs/house.md, by folder.
QMap<QString, QStringList> Floors()
{
    static const QRegularExpression row(u"^\\| `(\\w+)/` \\| ([^|]+) \\|"_s, QRegularExpression::MultilineOption);
    QMap<QString, QStringList> floors;
    for (auto match = row.globalMatch(QString::fromUtf8(Sandbox::ReadFile(Root + u"docs/house.md"_s))); match.hasNext();) {
        const auto found = match.next();
        floors.insert(found.captured(1), found.captured(2).split(u", "_s));
    }
    return floors;
}

// What may stand before a header's name in a file of that folder, or be it.
QSet<QString> Allowed(const QString &folder, const QMap<QString, QStringList> &floors)
{
    QSet<QString> allowed = { folder };
    for (const QString &part : floors.value(folder)) {
        if (part == "everything"_L1)
            return QSet<QString>(floors.keyBegin(), floors.keyEnd()) + QSet{ u"Qt Widgets"_s };
        if (part == "the messages of `download/`"_L1)
            allowed += Allowed(u"common"_s, floors) + QSet{ u"download/Message.h"_s };
        else if (floors.contains(part))
            allowed += Allowed(part, floors);
        else
            EXPECT_TRUE(part.startsWith("Qt "_L1) || part == "libcurl"_L1 || part == "zlib"_L1 || part == "nothing"_L1)
                << part.toStdString();
        allowed += part == "Qt PrintSupport"_L1 ? u"Qt Widgets"_s : part;
    }
    return allowed;
}

// What a folder must be allowed for a header; empty where any folder may have it.
QString Needs(const QString &name)
{
    for (const QString &module : { u"Widgets"_s, u"PrintSupport"_s, u"Network"_s }) {
        if (QFile::exists(QStringLiteral(QT_HEADERS) + u"/Qt"_s + module + u'/' + name) || name.startsWith(u"Qt"_s + module))
            return module == "Network"_L1 ? u"Qt Network"_s : u"Qt Widgets"_s;
    }
    return name.startsWith("curl/"_L1) ? u"libcurl"_s : name == "zlib.h"_L1 ? u"zlib"_s : QString();
}

}

TEST(LayersTest, NoArrowRunsUp)
{
    static const QRegularExpression include(u"^\\s*#\\s*include\\s*[<\"]([^>\"]+)[>\"]"_s, QRegularExpression::MultilineOption);
    ASSERT_TRUE(Needs(u"QLabel"_s) == "Qt Widgets"_L1 && Needs(u"QString"_s).isEmpty());
    const QMap<QString, QStringList> floors = Floors();
    for (const QFileInfo &cmake : QDir(Root).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString list = cmake.filePath() + u"/CMakeLists.txt"_s;
        if (QFile::exists(list) && Sandbox::ReadFile(list).contains("practorium_library(")) {
            EXPECT_TRUE(floors.contains(cmake.fileName())) << cmake.fileName().toStdString() << " is not in docs/house.md";
        }
    }
    for (const QString &folder : floors.keys()) {
        const QSet<QString> allowed = Allowed(folder, floors);
        int count = 0;
        QDirIterator files(Root + folder, { u"*.h"_s, u"*.cpp"_s }, QDir::Files, QDirIterator::Subdirectories);
        for (; files.hasNext(); ++count) {
            const QString path = files.next();
            for (auto match = include.globalMatch(QString::fromUtf8(Sandbox::ReadFile(path))); match.hasNext();) {
                const QString name = match.next().captured(1);
                const QString home = name.section(u'/', 0, 0);
                const bool isOurs = floors.contains(home) && name.contains(u'/');
                EXPECT_TRUE(!isOurs || allowed.contains(home) || allowed.contains(name))
                    << path.toStdString() << ": " << name.toStdString();
                EXPECT_TRUE(Needs(name).isEmpty() || allowed.contains(Needs(name)))
                    << path.toStdString() << ": " << name.toStdString();
            }
        }
        EXPECT_GT(count, 1) << folder.toStdString();
    }
}
