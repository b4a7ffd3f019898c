// SPDX-License-Identifier: Apache-2.0
#include "tests/support/Test.h"

#include <QDirIterator>
#include <QMap>
#include <QRegularExpression>
#include <QSet>

namespace {

const QString Root = QStringLiteral(SOURCE_FOLDER "/");

// The second column of the table in docs/house.md, by folder.
const QMap<QString, QStringList> &Floors()
{
    static const QMap<QString, QStringList> floors = [] {
        static const QRegularExpression row(u"^\\| `([\\w/]+)/` \\| ([^|]+) \\|"_s, QRegularExpression::MultilineOption);
        QMap<QString, QStringList> found;
        const QString page = QString::fromUtf8(Sandbox::ReadFile(Root + u"docs/house.md"_s));
        for (auto match = row.globalMatch(page); match.hasNext();) {
            const auto line = match.next();
            found.insert(line.captured(1), line.captured(2).split(u", "_s));
        }
        return found;
    }();
    return floors;
}

const QMap<QString, QStringList> Within = {
    { u"everything"_s, Floors().keys() + QStringList{ u"Qt Widgets"_s } },
    { u"Qt PrintSupport"_s, { u"Qt Widgets"_s } },
    { u"Qt Widgets"_s, { u"Qt Gui"_s } },
    { u"Qt Gui"_s, { u"Qt Core"_s } },
};

// What a folder may include: folders, headers, modules of Qt and other libraries.
void AddAllowed(const QString &part, QSet<QString> &allowed)
{
    if (allowed.contains(part))
        return;
    allowed += part;
    for (const QString &below : Floors().value(part) + Within.value(part))
        AddAllowed(below, allowed);
}

QSet<QString> Allowed(const QString &folder)
{
    QSet<QString> allowed;
    AddAllowed(folder, allowed);
    return allowed;
}

// The part of the table that a header needs; empty where any folder may have it.
QString Needs(const QString &name)
{
    for (const QString &module :
         { u"Core"_s, u"Gui"_s, u"Widgets"_s, u"PrintSupport"_s, u"Network"_s, u"Sql"_s, u"DBus"_s, u"Test"_s }) {
        const QString folder = u"Qt"_s + module;
        if (QFile::exists(QStringLiteral(QT_HEADERS) + u'/' + folder + u'/' + name) || name.startsWith(folder))
            return u"Qt "_s + module;
    }
    static const QMap<QString, QString> libraries = {
        { u"curl/curl.h"_s, u"libcurl"_s }, { u"zlib.h"_s, u"zlib"_s },           { u"zip.h"_s, u"libzip"_s },
        { u"sodium.h"_s, u"libsodium"_s },  { u"openssl/sha.h"_s, u"OpenSSL"_s }, { u"microhttpd.h"_s, u"libmicrohttpd"_s }
    };
    const QString folder = name.section(u'/', 0, -2);
    return Floors().contains(folder) ? folder : libraries.value(name);
}

// The headers that a source of the folder includes and may not include.
QStringList Offences(const QString &folder, const QString &source)
{
    static const QRegularExpression include(u"^\\s*#\\s*include\\s*[<\"]([^>\"]+)[>\"]"_s, QRegularExpression::MultilineOption);
    const QSet<QString> allowed = Allowed(folder);
    QStringList offences;
    for (auto match = include.globalMatch(source); match.hasNext();) {
        const QString name = match.next().captured(1);
        if (!Needs(name).isEmpty() && !allowed.contains(Needs(name)) && !allowed.contains(name))
            offences += name;
    }
    return offences;
}

}

TEST(LayersTest, PlantedIncludesAreFound)
{
    for (const auto &[folder, name] : { std::pair{ u"session"_s, u"QMessageBox"_s },
                                        { u"session"_s, u"QtWidgets/QLabel"_s },
                                        { u"session"_s, u"ui/Messages.h"_s },
                                        { u"session"_s, u"session/view/frmExam.h"_s },
                                        { u"session/view"_s, u"shell/ReviewList.h"_s },
                                        { u"shell"_s, u"QColor"_s },
                                        { u"packformat"_s, u"QString"_s },
                                        { u"model"_s, u"QImage"_s },
                                        { u"ui"_s, u"QTcpSocket"_s },
                                        { u"model"_s, u"QtDBus/QDBusConnection"_s },
                                        { u"author"_s, u"curl/curl.h"_s } })
        EXPECT_EQ(Offences(folder, u"#include <vector>\n#include <%1>\n"_s.arg(name)), QStringList{ name });
    EXPECT_EQ(Offences(u"shell/view"_s, u"#include <QLabel>\n#include \"session/view/frmExam.h\"\n"_s), QStringList());
}

// Every library has its row, and every row its library.
TEST(LayersTest, NoArrowRunsUp)
{
    QSet<QString> libraries;
    for (const QString &top : QDir(Root).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (top.startsWith("build"_L1) || top == "out"_L1)
            continue;
        QDirIterator files(Root + top, { u"*.h"_s, u"*.cpp"_s, u"CMakeLists.txt"_s }, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString path = files.next().mid(Root.size());
            const QByteArray source = Sandbox::ReadFile(Root + path);
            QString folder = path.section(u'/', 0, -2);
            if (path.endsWith(".txt"_L1)) {
                if (source.contains("\npractorium_library(") || source.contains("\n  practorium_library("))
                    libraries += folder;
                continue;
            }
            while (!folder.isEmpty() && !Floors().contains(folder))
                folder = folder.section(u'/', 0, -2);
            EXPECT_TRUE(folder.isEmpty() || Offences(folder, QString::fromUtf8(source)).isEmpty())
                << path.toStdString() << ": " << Offences(folder, QString::fromUtf8(source)).join(u' ').toStdString();
        }
    }
    EXPECT_EQ(libraries, QSet<QString>(Floors().keyBegin(), Floors().keyEnd()));
}
