// SPDX-License-Identifier: Apache-2.0
#include "common/Ansi.h"
#include "tests/support/Test.h"

TEST(AnsiTest, EveryByteOfASingleBytePageSurvives)
{
    QByteArray bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes.append(static_cast<char>(byte));
    for (const int number : { 874, 1250, 1251, 1252, 1253, 1254, 1255, 1256, 1257, 1258 }) {
        const Ansi::CodePage page(number);
        EXPECT_EQ(page.ToText(bytes).size(), 256) << number;
        EXPECT_EQ(page.FromText(page.ToText(bytes)), bytes) << number;
    }
}

TEST(AnsiTest, BytesAndCharacters)
{
    const struct {
        int Page;
        QString Text;
        QByteArray Bytes;
        bool Holds = true;
    } rows[] = {
        { 1252, u"\u20AC\u201C\u00E9\u0178"_s, "\x80\x93\xE9\x9F" },
        // Bytes without a meaning keep their numbers, but are no characters.
        { 1252, u"\u0081\u008D\u008F\u0090\u009D"_s, "\x81\x8D\x8F\x90\x9D", false },
        { 1251, u"\u0098"_s, "\x98", false },
        { 1253, u"\u00AA"_s, "\xAA", false },
        { 1253, u"\u00D2\u00FF"_s, "\xD2\xFF", false },
        { 1251, u"\u041F\u0440\u0438\u0451\u20AC"_s, "\xCF\xF0\xE8\xB8\x88" },
        // U+2252 stands twice in this page, and the first place counts; U+2170 and U+7E8A do too, and the last place counts.
        { 932, u"a\u3042\u65E5\uFF71\u2252"_s, "a\x82\xA0\x93\xFA\xB1\x81\xE0" },
        { 932, u"\u2170\u7E8A"_s, "\xFA\x40\xFA\x5C" },
        { 936, u"\u4F60z\u20AC"_s, "\xC4\xE3z\x80" },
        // Characters for private use, as Windows has them.
        { 932, u"\uF8F0\uF8F1\uF8F3\u0080"_s, "\xA0\xFD\xFF\x80" },
        { 950, u"\uF6B1\uF70F\uF848\u4E00"_s, "\xC6\xA1\xC7\x40\xC8\xFE\xA4\x40" },
        { 950, u"\uE000\uE03F\uE310\uE311\uEEB7\uEEB8\uF6B0"_s, "\xFA\x40\xFA\xA1\xFE\xFE\x8E\x40\xA0\xFE\x81\x40\x8D\xFE" },
        { 936, u"\uE000\uE233\uE234\uE4C5\uE4C6\uE505\uE765"_s, "\xAA\xA1\xAF\xFE\xF8\xA1\xFE\xFE\xA1\x40\xA1\x80\xA7\xA0" },
        { 949, u"\uE000\uE05D\uE05E\uE0BB"_s, "\xC9\xA1\xC9\xFE\xFE\xA1\xFE\xFE" },
        { 99999, u"a\u00E9"_s, "a\xE9" },
        { 1252, u"a\u0416b"_s, "a?b", false },
        { 1252, u"\U0001F600."_s, QByteArray(2, '?') + '.', false },
        { 1251, u"\u00E9"_s, "?", false },
        // From the first of each length to the last, and a byte order mark.
        { 65001, u"\uFEFF\u007F\u0080\u07FF\u0800\uD7FF\uE000\uFFFF"_s,
          "\xEF\xBB\xBF\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF" },
        { 65001, u"\U00010000\U0010FFFF"_s, "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF" },
        { 65001, u"sixteen letters, \u00E9"_s, "sixteen letters, \xC3\xA9" },
        // What is no UTF-8 survives: surrogates, too many bytes, too few, too large ones.
        { 65001, QString::fromUtf16(u"\xDCED\xDCA0\xDC80\xDCC0\xDC80z\xDCE2\xDC82"), "\xED\xA0\x80\xC0\x80z\xE2\x82", false },
        { 65001, QString::fromUtf16(u"\u4E2D\xDCF4\xDC90\xDC80\xDC80\U0001F600\xDCF0"),
          "\xE4\xB8\xAD\xF4\x90\x80\x80\xF0\x9F\x98\x80\xF0", false },
        { 65001,
          QString::fromUtf16(u"a\xD800"
                             u"b\xDC00"),
          "a?b?", false },
    };
    for (const auto &row : rows) {
        const Ansi::CodePage page(row.Page);
        EXPECT_EQ(page.FromText(row.Text), row.Bytes) << row.Page;
        EXPECT_EQ(page.CanHold(row.Text), row.Holds) << row.Page << " " << row.Text.toStdString();
        EXPECT_TRUE(row.Bytes.contains('?') || page.ToText(row.Bytes) == row.Text) << row.Page << " " << row.Text.toStdString();
    }
    EXPECT_EQ(ResultOf([] { return Ansi::PageOf(1252).Number() + Ansi::PageOf(1258).Number(); }), u"2510"_s);
    EXPECT_EQ(ResultOf([] { return Ansi::PageOf(1259).Number(); }), u"5 "_s);
    const Ansi::CodePage japanese(932);
    EXPECT_EQ(japanese.ToText("\x82\x20z"), u"?z"_s) << "no such pair";
    EXPECT_EQ(japanese.ToText("a\x82").size(), 2) << "a first byte at the end";
}
