// SPDX-License-Identifier: Apache-2.0
#include "tests/author/AuthorFixture.h"

namespace {

// What becomes of one item: its stem, its options, its exhibit; then reason or
// warnings.
QString Made(const QString &gift, const Assembler::Settings &settings = {})
{
    const Assembled bank(gift, Sandbox::Path(u"assembler"_s), settings);
    QStringList parts;
    for (const Draft::Item &item : bank.Made.Items) {
        parts += item.Stem;
        for (const Draft::Option &option : item.Options)
            parts += option.Statement;
        parts += item.Exhibit;
    }
    for (const Draft::Fate &fate : bank.Made.Fates)
        parts += QStringList(fate.Reason) + fate.Warnings;
    parts.removeAll(QString());
    return parts.join(u" | "_s);
}

}

TEST(AssemblerTest, OptionsThatReadTheSame)
{
    const std::vector<Row> rows = {
        { "right and wrong", u"Q {=a b ~c ~a  b}"_s, u"options A and C read the same, and one of them is right"_s },
        { "by markup alone", u"Q {=[html]<b>a</b> ~a}"_s, u"options A and B read the same, and one of them is right"_s },
        { "by a hyphen alone", u"Q {=\u22121 ~-1}"_s, u"options A and B read the same, and one of them is right"_s },
        { "two wrong ones", u"Q {=a ~b ~b}"_s, u"Q | a | b | b | options B and C read the same"_s },
        { "letter case", u"Q {=a ~A}"_s, u"Q | a | A"_s },
        { "a power", u"Q {=[html]2<sup>n</sup> ~2n}"_s, u"Q | 2\u207F | 2n"_s },
    };
    ExpectRows([](const QString &gift) { return Made(gift); }, rows);
}

TEST(AssemblerTest, TextsAsTheUserWantsThem)
{
    EXPECT_EQ(Made(u"Q {=a) x ~b) y}"_s), u"Q | x | y"_s);
    EXPECT_EQ(Made(u"Q {=a) x ~b) y}"_s, { .KeepsLetters = true }), u"Q | a) x | b) y"_s);
    EXPECT_EQ(Made(u"Q {=a \u2192 b ~\u2264}"_s), u"Q | a \u2192 b | \u2264"_s);
    EXPECT_EQ(Made(u"Q {=a \u2192 b ~\u2264}"_s, { .IsAscii = true }), u"Q | a -> b | <="_s);
    EXPECT_EQ(Made(u"Q {=[html]2<sup>n</sup> ~\u2192}"_s, { .CodePage = 1252 }),
              u"the character \"\u2192\" (U+2192) is not in code page 1252"_s);
    EXPECT_EQ(Made(u"\u20111 {=[html]2<sup>n</sup> ~b}"_s, { .CodePage = 1252 }), u"-1 | 2^n | b"_s);
    EXPECT_EQ(Made(u"\U0001F600 {=a ~b}"_s, { .CodePage = 65001 }), u"\U0001F600 | a | b"_s);
}

TEST(AssemblerTest, PicturesOfAStem)
{
    const QString folder = Sandbox::Path(u"assembler/"_s);
    Sandbox::WriteFile(folder + u"a.bmp"_s, Bmp(4, 4));
    Sandbox::WriteFile(folder + u"b c.bmp"_s, Bmp(8, 2));
    Sandbox::WriteFile(folder + u"no.bmp"_s, "text");
    Sandbox::WriteFile(Sandbox::Path(u"drawings/a.bmp"_s), Bmp(5, 4));
    const QString data = u"data:image/bmp;base64,"_s + QString::fromLatin1(Bmp(3, 3).toBase64());
    const std::vector<Row> rows = {
        { "one", u"[html]Q<p><img src\\=\"a.bmp\" alt\\=\"x\"></p> {T}"_s, u"Q | True | False | a.bmp"_s },
        { "in a line", u"[html]Q <img src\\=\"a.bmp\" alt\\=\"x\"> R {T}"_s, u"Q [x] R | True | False | a.bmp"_s },
        { "nothing else", u"[html]<img src\\=\"a.bmp\"> {T}"_s, u"[picture] | True | False | a.bmp"_s },
        { "two", u"[html]Q<br><img src\\=\"a.bmp\"><br><img src\\=\"b%20c.bmp\"> {T}"_s, u"Q | True | False | a.png"_s },
        { "beside an exhibit", u"// [exhibit:b c.bmp]\n[html]Q<br><img src\\=\"a.bmp\"> {T}"_s,
          u"Q | True | False | b c.png"_s },
        { "data", u"[html]Q<br><img src\\=\"%1\"> {T}"_s.arg(QString(data).replace(u'=', "\\="_L1)),
          u"Q | True | False | picture.bmp"_s },
        { "missing", u"[html]Q <img src\\=\"x.bmp\" alt\\=\"y\"> {T}"_s,
          u"Q [y] | True | False | the picture \"x.bmp\" is not there"_s },
        { "elsewhere", u"[html]Q <img src\\=\"https\\://x.org/a.bmp\"> {T}"_s,
          u"Q [a.bmp] | True | False | the picture \"https://x.org/a.bmp\" is not there"_s },
        { "damaged", u"[html]Q <img src\\=\"no.bmp\"> {T}"_s,
          u"Q [no.bmp] | True | False | the picture \"no.bmp\": The file is not a BMP, GIF, JPEG, ICO, PNG, WebP, SVG or TIFF picture"_s },
        { "in an option", u"Q {\\=[html]<img src\\=\"a.bmp\"> ~b}"_s.replace("{\\="_L1, "{="_L1),
          u"Q | [a.bmp] | b | a picture in option A cannot be shown"_s },
    };
    ExpectRows([](const QString &gift) { return Made(gift); }, rows);
    EXPECT_EQ(Made(u"[html]Q <img src\\=\"x.bmp\"> {T}"_s, { .NeedsPictures = true }), u"the picture \"x.bmp\" is not there"_s);
    // The folder that the user names counts before the source's.
    const auto drawings = std::make_shared<Bank::FolderFiles>(Sandbox::Path(u"drawings"_s));
    const Assembled bank(u"[html]Q<br><img src\\=\"y/a.bmp\"> {T}"_s, folder, { .Pictures = drawings });
    EXPECT_EQ(Sandbox::ReadFile(bank.Pictures.Folder() + u"/a.bmp"_s), Bmp(5, 4));
    // Joined: one below the other.
    const Assembled two(rows[3].Source, folder);
    const QImage joined(two.Pictures.Folder() + u"/a.png"_s);
    EXPECT_EQ(joined.width(), 8);
    EXPECT_GE(joined.height(), 6);
    EXPECT_EQ(joined.pixelColor(2, 2), QColor(Qt::green));
    EXPECT_EQ(joined.pixelColor(6, joined.height() - 1), QColor(Qt::green));
    EXPECT_EQ(joined.pixelColor(6, 2), QColor(Qt::white));
}
