#include "common/Ansi.h"
#include "tests/support/ExpectError.h"

#include <QLocale>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray AllBytes()
{
    QByteArray bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes.append(static_cast<char>(byte));
    return bytes;
}

}

TEST(AnsiTest, EveryByteOfASingleBytePageSurvives)
{
    for (const int number : { 874, 1250, 1251, 1252, 1253, 1254, 1255, 1256, 1257, 1258 }) {
        const Ansi::CodePage page(number);
        const QString text = page.ToText(AllBytes());
        EXPECT_EQ(text.size(), 256) << number;
        EXPECT_EQ(page.FromText(text), AllBytes()) << number;
        EXPECT_TRUE(page.CanHold(text)) << number;
    }
}

TEST(AnsiTest, BytesAndCharacters)
{
    struct Row { int Page; QByteArray Bytes; QString Text; };
    const Row rows[] = {
        { 1252, "\x80\x93\xE9\x9F", u"\u20AC\u201C\u00E9\u0178"_s },
        // Bytes without a meaning keep their numbers.
        { 1252, "\x81\x8D\x8F\x90\x9D", u"\u0081\u008D\u008F\u0090\u009D"_s },
        { 1251, "\xCF\xF0\xE8\xB8\x88\x98", u"\u041F\u0440\u0438\u0451\u20AC\u0098"_s },
        { 1253, "\xC1\xFE", u"\u0391\u03CE"_s },
        { 932, "a\x82\xA0\x93\xFA\xB1", u"a\u3042\u65E5\uFF71"_s },
        { 936, "\xC4\xE3z", u"\u4F60z"_s },
        { 1252, QByteArray("a\0b", 3), u"a\0b"_s },
        { 99999, "a\xE9", u"a\u00E9"_s },
    };
    for (const Row &row : rows) {
        const Ansi::CodePage page(row.Page);
        EXPECT_EQ(page.ToText(row.Bytes), row.Text) << row.Page;
        EXPECT_EQ(page.FromText(row.Text), row.Bytes) << row.Page;
        EXPECT_TRUE(page.CanHold(row.Text)) << row.Page;
    }
}

TEST(AnsiTest, WhatAPageLacks)
{
    struct Row { int Page; QString Text; QByteArray Bytes; };
    const Row rows[] = {
        { 1252, u"a\u0416b"_s, "a?b" },
        { 1252, u"\U0001F600."_s, "??." },
        { 1252, u"e\u0301"_s, "e?" },
        { 1251, u"\u00E9"_s, "?" },
        { 932, u"\u00E9\u3042\U0001F600"_s, "?\x82\xA0??" },
    };
    for (const Row &row : rows) {
        const Ansi::CodePage page(row.Page);
        EXPECT_EQ(page.FromText(row.Text), row.Bytes) << row.Page;
        EXPECT_FALSE(page.CanHold(row.Text)) << row.Page;
    }
    const Ansi::CodePage japanese(932);
    EXPECT_EQ(japanese.ToText("\x82\x20z"), u"?z"_s) << "no such pair";
    EXPECT_EQ(japanese.ToText("a\x82").size(), 2) << "a first byte at the end";
}

TEST(AnsiTest, PagesOfLanguages)
{
    struct Row { QString Locale; int Page; };
    const Row rows[] = {
        { u"C"_s, 1252 }, { u"en_US"_s, 1252 }, { u"de_DE"_s, 1252 }, { u"pl_PL"_s, 1250 }, { u"ru_RU"_s, 1251 },
        { u"sr_Cyrl_RS"_s, 1251 }, { u"sr_Latn_RS"_s, 1250 }, { u"el_GR"_s, 1253 }, { u"tr_TR"_s, 1254 },
        { u"he_IL"_s, 1255 }, { u"ar_EG"_s, 1256 }, { u"lt_LT"_s, 1257 }, { u"vi_VN"_s, 1258 }, { u"th_TH"_s, 874 },
        { u"ja_JP"_s, 932 }, { u"zh_CN"_s, 936 }, { u"zh_TW"_s, 950 }, { u"ko_KR"_s, 949 },
    };
    for (const Row &row : rows)
        EXPECT_EQ(Ansi::CodePageOf(QLocale(row.Locale)), row.Page) << row.Locale.toStdString();
    EXPECT_EQ(Ansi::SystemCodePage().Number(), 1252);
}
