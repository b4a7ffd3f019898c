// SPDX-License-Identifier: Apache-2.0
#include "author/Check.h"
#include "tests/author/AuthorFixture.h"
#include "tests/support/Program.h"

namespace {

// What Write returns or raises; of errors of the system, the number.
QString Written(const Assembled &bank, const QString &out, bool replace)
{
    try {
        return Package::Write(*Package::Compose(bank.Made.Items, { u"EX-1"_s, u"Sample"_s, 1000, 700, 90 }), bank.Pictures, out,
                              replace);
    } catch (const Error &error) {
        return error.Number() == InvalidCall ? error.Description() : QString::number(error.Number());
    }
}

}

TEST(PackageTest, FolderWithExamAndEachPictureOnce)
{
    const QString pictures = Sandbox::Path(u"pictures"_s);
    Sandbox::WriteFile(pictures + u"/a.bmp"_s, Bmp());
    const QString gift = u"// [exhibit:a.bmp]\nQ {T}\n\n// [exhibit:a.bmp]\nR {~%50%a ~%50%b}"_s;
    const Assembled bank(gift, pictures);
    const QString out = Sandbox::Path(u"made/up/NET.101"_s);
    EXPECT_EQ(Written(bank, out + u'/', true), QString());
    EXPECT_EQ(Names(out), (QStringList{ u"NET.exam"_s, u"a.bmp"_s }));
    EXPECT_EQ(Sandbox::ReadFile(out + u"/a.bmp"_s), Bmp());
    EXPECT_EQ(Check::Faults(out), QStringList());
    EXPECT_EQ(QFile::permissions(out), QFile::permissions(pictures)) << "others may read what they may read elsewhere";

    // The exhibit was there when the bank was read, but is no more.
    QFile::remove(bank.Pictures.Folder() + u"/a.bmp"_s);
    for (const QString &again : { Sandbox::Path(u"made/new/NET"_s), out })
        EXPECT_EQ(Written(bank, again, true), QString::number(System::NotFound));
    EXPECT_EQ(Names(Sandbox::Path(u"made"_s)) + Names(Sandbox::Path(u"made/up"_s)), (QStringList{ u"up"_s, u"NET.101"_s }));
}

TEST(PackageTest, TargetsThatAreRefused)
{
    const Assembled bank(u"Q {T}"_s);
    const QString root = Sandbox::Path(u"targets"_s);
    for (const QString &name :
         { u"PACK/PACK.exam"_s, u"PACK/old.BMP"_s, u"home/notes.txt"_s, u"deep/deep.exam"_s, u"other/x.exam"_s,
           u"deep/more/notes.txt"_s, u"mixed/mixed.exam"_s, u"mixed/notes.txt"_s, u"file"_s })
        Sandbox::WriteFile(root + u'/' + name, "old");
    QDir().mkdir(root + u"/hollow"_s);
    // Followed, this one would be a package of its name.
    QDir().mkdir(root + u"/links"_s);
    QFile::link(root + u"/PACK"_s, root + u"/links/PACK"_s);
    QFile::link(root + u"/nowhere"_s, root + u"/broken"_s);
    const QString why = u"it is not replaced, because "_s;
    const std::tuple<bool, QStringList, QString> rows[] = {
        { false, { u"PACK"_s, u"hollow"_s }, u"it exists already (--replace replaces a package)"_s },
        { false, { u"a\"b"_s, u"c "_s }, u"the path holds double quotes, or its name begins or ends with a blank"_s },
        { true, { u"file"_s, u"links/PACK"_s, u"broken"_s }, why + u"it is no folder"_s },
        { true, { u"home"_s, u"mixed"_s }, why + u"\"notes.txt\" in it belongs to no package"_s },
        { true, { u"deep"_s }, why + u"\"more\" in it belongs to no package"_s },
        { true, { u"other"_s }, why + u"it holds no exam of its name"_s },
    };
    const auto before = Snapshot(root);
    for (const auto &[replace, names, reason] : rows) {
        for (const QString &name : names)
            EXPECT_EQ(Written(bank, root + u'/' + name, replace), root + u'/' + name + u": "_s + reason);
    }
    EXPECT_EQ(Written(bank, root + u"/file/PACK"_s, false), QString::number(System::BelowAFile));
    for (const QString &out : { QString(), u"/"_s })
        EXPECT_EQ(Written(bank, out, true), u"\"%1\" is no name for a package folder"_s.arg(out));
    EXPECT_EQ(Snapshot(root), before);

    const QStringList names = Names(root);
    for (const QString &name : { u"PACK"_s, u"hollow"_s }) {
        EXPECT_EQ(Written(bank, root + u'/' + name, true), QString());
        EXPECT_EQ(Names(root + u'/' + name), QStringList{ name + u".exam"_s });
    }
    EXPECT_EQ(Names(root), names);
}
