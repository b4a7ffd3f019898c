#include "tests/support/ExpectError.h"
#include "tests/support/Sandbox.h"

#include <QDir>
#include <QDirIterator>
#include <QLibraryInfo>
#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

// The lower floors work without a window: no file of theirs includes a header
// that only the widgets' library, or one above it, has.
TEST(LayersTest, NoWidgetHeaderInTheLowerFolders)
{
    const QString headers = QLibraryInfo::path(QLibraryInfo::HeadersPath);
    ASSERT_TRUE(QFile::exists(headers + u"/QtWidgets/QLabel"_s)) << headers.toStdString();
    static const QRegularExpression include(u"^\\s*#\\s*include\\s*[<\"]([^>\"]+)[>\"]"_s, QRegularExpression::MultilineOption);
    const auto isForbidden = [&](const QString &name) {
        for (const QString &module : { u"QtWidgets"_s, u"QtPrintSupport"_s }) {
            if (name.startsWith(module) || QFile::exists(headers + u'/' + module + u'/' + name))
                return true;
        }
        return name.startsWith("ui/"_L1) || name.startsWith("session/"_L1) || name.startsWith("shell/"_L1);
    };
    EXPECT_TRUE(isForbidden(u"QLabel"_s));
    EXPECT_TRUE(isForbidden(u"QtWidgets"_s));
    EXPECT_FALSE(isForbidden(u"QString"_s));

    for (const QString &folder : { u"author"_s, u"common"_s, u"model"_s, u"picture"_s }) {
        int count = 0;
        QDirIterator files(QStringLiteral(SOURCE_FOLDER) + u'/' + folder, { u"*.h"_s, u"*.cpp"_s }, QDir::Files);
        for (; files.hasNext(); ++count) {
            const QString path = files.next();
            const QString text = QString::fromUtf8(Sandbox::ReadFile(path));
            for (auto match = include.globalMatch(text); match.hasNext();) {
                const QString name = match.next().captured(1);
                EXPECT_FALSE(isForbidden(name)) << path.toStdString() << ": " << name.toStdString();
            }
        }
        EXPECT_GT(count, 1) << folder.toStdString();
    }
}
