// SPDX-License-Identifier: Apache-2.0
#include "bank/Files.h"
#include "tests/support/Test.h"

#include <filesystem>

TEST(FilesTest, NothingOutsideTheFolder)
{
    const std::tuple<QString, QString, QString> rows[] = {
        { u"a%20b.png?x#y"_s, {}, u"a b.png"_s },
        { u"./c/../a.png"_s, u"d/e"_s, u"d/e/a.png"_s },
        { u"../a.png"_s, u"d"_s, u"a.png"_s },
        { u"..\\a.png"_s, u"d/e"_s, u"d/a.png"_s },
        { u"../../a.png"_s, u"d"_s, {} },
        { u"/etc/x"_s, {}, {} },
        { u"C:/x"_s, {}, {} },
        { u"http://x/a.png"_s, {}, {} },
        { u"//x/a.png"_s, {}, {} },
        { u"a%00.png"_s, {}, {} },
        { u""_s, u"d"_s, {} },
    };
    for (const auto &[reference, base, path] : rows)
        EXPECT_EQ(Bank::PathOf(reference, base), path) << reference.toStdString();

    Sandbox::WriteFile(Sandbox::Path(u"files/d/a b.png"_s), "in");
    Sandbox::WriteFile(Sandbox::Path(u"files/c%41"_s), "percent");
    Sandbox::WriteFile(Sandbox::Path(u"outside"_s), "out");
    std::error_code ignored; // where the system has no links for users
    std::filesystem::create_symlink(QFileInfo(Sandbox::Path(u"outside"_s)).filesystemFilePath(),
                                    QFileInfo(Sandbox::Path(u"files/link"_s)).filesystemFilePath(), ignored);
    const Bank::FolderFiles files(Sandbox::Path(u"files"_s));
    EXPECT_EQ(files.Read(u"d/a b.png"_s), "in");
    EXPECT_EQ(files.Read(u"c%41"_s), "percent");
    for (const QString &path : { u"d"_s, u"e"_s, u"../outside"_s, u"link"_s, Sandbox::Path(u"outside"_s) })
        EXPECT_EQ(files.Read(path), std::nullopt) << path.toStdString();
    EXPECT_EQ(Bank::FolderFiles(Sandbox::Path(u"none"_s)).Read(u"x"_s), std::nullopt);
}
