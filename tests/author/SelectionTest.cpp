// SPDX-License-Identifier: Apache-2.0
#include "author/Selection.h"
#include "tests/support/Test.h"

#include "common/Error.h"

#include <QSet>

namespace {

Draft::Item NewItem(const QString &stem, const QString &category = {},
                    const QStringList &options = { u"w"_s, u"x"_s, u"y"_s, u"z"_s })
{
    Draft::Item item;
    item.Stem = stem;
    item.Category = category;
    for (const QString &option : options)
        item.Options.push_back({ option, {}, item.Options.empty(), false });
    return item;
}

// The stems of what is chosen of items a to h, the first four in Routing, two of
// these below it; behind each, in their order, its options.
QString Chosen(const Selection::Settings &settings, quint64 seed, int variant = 0, bool withOptions = false)
{
    std::vector<Draft::Item> items;
    for (int i = 0; i < 8; ++i)
        items.push_back(NewItem(QString(QChar(u'a' + i)) + u'?',
                                i < 2       ? u"net/Routing"_s
                                    : i < 4 ? u"net/routing/BGP"_s
                                            : u"Switching"_s));
    QString text;
    try {
        for (const Draft::Item &item : Selection::Choose(items, settings, seed, variant)) {
            text += item.Stem.left(1);
            for (const Draft::Option &option : item.Options)
                text += withOptions ? option.Statement : QString();
        }
    } catch (const Error &error) {
        return error.Description();
    }
    return text;
}

}

TEST(SelectionTest, WhatIsChosen)
{
    EXPECT_EQ(Chosen({}, 1), u"abcdefgh"_s);
    const std::pair<QStringList, QString> rows[] = {
        { { u"routing"_s }, u"abcd"_s },
        { { u"bgp"_s, u"Switching"_s }, u"cdefgh"_s },
        { { u"net/Routing/BGP"_s }, u"cd"_s },
    };
    for (const auto &[names, expected] : rows)
        EXPECT_EQ(Chosen({ .Categories = names }, 1), expected) << names.join(u',').toStdString();
    EXPECT_EQ(Chosen({ .Categories = { u"BGP"_s, u"rout"_s } }, 1), u"--category rout: there is no item in it"_s);
    EXPECT_EQ(Chosen({ .Pick = 9 }, 1), u"--pick 9: there are only 8 to choose from"_s);
    EXPECT_EQ(Chosen({ .Shares = { { u"BGP"_s, 2 }, { u"Routing"_s, 3 } } }, 1),
              u"--per-category Routing=3: there are only 2 to choose from"_s)
        << "no item counts twice";
    QSet<QString> picks;
    QSet<QChar> seen;
    for (quint64 seed = 0; seed < 60; ++seed) {
        const QString pick = Chosen({ .Categories = { u"Routing"_s, u"Switching"_s }, .Pick = 3 }, seed);
        EXPECT_EQ(pick, Chosen({ .Categories = { u"Routing"_s, u"Switching"_s }, .Pick = 3 }, seed));
        EXPECT_TRUE(pick.size() == 3 && pick[0] < pick[1] && pick[1] < pick[2]) << pick.toStdString();
        EXPECT_EQ(Chosen({ .Shares = { { u"Routing"_s, 2 }, { u"BGP"_s, 2 } } }, seed), u"abcd"_s)
            << "the inner category first";
        const QString shares = Chosen({ .Shares = { { u"Switching"_s, 2 }, { u"Routing"_s, 1 } } }, seed);
        EXPECT_TRUE(shares.size() == 3 && shares[0] < u'e' && shares[1] > u'd' && shares[2] > shares[1])
            << shares.toStdString();
        picks += pick;
        for (const QChar c : pick + shares)
            seen += c;
    }
    EXPECT_GT(picks.size(), 30);
    EXPECT_EQ(seen.size(), 8);
}

TEST(SelectionTest, ASeedGivesTheSameOnEverySystem)
{
    const Selection::Settings all{ .Pick = 3, .ShufflesItems = true, .ShufflesOptions = true };
    EXPECT_EQ(Chosen(all, 7, 0, true), u"dxyzwawxyzcxyzw"_s);
    EXPECT_EQ(Chosen(all, 7, 1, true), u"czwyxdwyxzgzywx"_s);
    EXPECT_EQ(Chosen(all, quint64(7) << 32, 0, true), u"hwxyzcwzyxfzywx"_s);
}

TEST(SelectionTest, OptionsThatKeepTheirPlaces)
{
    struct Case {
        QStringList Options;
        QString Moving; // the options that were seen in another place
        QString Stem = u"Which?"_s;
        int Fixed = -1;
    };
    const Case rows[] = {
        { { u"a"_s, u"b"_s, u"c"_s }, u"abc"_s },
        { { u"a"_s, u"b"_s, u"None of the above."_s }, u"ab"_s },
        { { u"a"_s, u"All of these"_s, u"c"_s }, QString() },
        { { u"a"_s, u"b"_s, u"Keine der genannten"_s, u"Todas las anteriores"_s }, u"ab"_s },
        { { u"a"_s, u"b"_s, u"All ports are closed"_s }, u"ab"_s },
        { { u"a"_s, u"b"_s, u"Nonetheless"_s }, u"abNonetheless"_s },
        { { u"a"_s, u"b"_s, u"Both A and B"_s }, QString() },
        { { u"a"_s, u"b"_s, u"A, B and C"_s }, QString() },
        { { u"w"_s, u"x"_s, u"Both 1 and 2"_s }, QString() },
        { { u"w"_s, u"x"_s, u"i, ii"_s }, QString() },
        { { u"w"_s, u"x"_s, u"None of A, B"_s }, QString() },
        { { u"w"_s, u"x"_s, u"а и б"_s }, QString() },
        { { u"w"_s, u"x"_s, u"以上都是"_s }, u"wx"_s },
        { { u"w"_s, u"x"_s, u"Ingen av ovanstående"_s, u"Tất cả đều đúng"_s, u"उपरोक्त सभी"_s }, u"wx"_s },
        { { u"w"_s, u"x"_s, u"ни одно"_s }, u"wx"_s },
        { { u"A router"_s, u"a vitamin"_s, u"I do"_s }, u"A routera vitaminI do"_s },
        { { u"w"_s, u"x"_s, u"The first two"_s }, QString() },
        { { u"b"_s, u"1"_s, u"y"_s }, QString(), u"Which?|2) is right because 1) is old"_s },
        { { u"w"_s, u"x"_s, u"y"_s }, QString(), u"Which?|The correct answer is b."_s },
        { { u"w"_s, u"x"_s, u"y"_s }, QString(), u"Which?|A because"_s },
        { { u"w"_s, u"x"_s, u"y"_s }, QString(), u"Which?|正解はAです"_s },
        { { u"w"_s, u"x"_s, u"y"_s }, u"wxy"_s, u"Which?|A switch learns as a bridge does."_s },
        { { u"a"_s, u"b"_s, u"c"_s }, QString(), u"Why is B wrong?"_s },
        { { u"a"_s, u"b"_s, u"c"_s }, u"bc"_s, u"Q?"_s, 0 },
    };
    for (const Case &row : rows) {
        Draft::Item item = NewItem(row.Stem.section(u'|', 0, 0), {}, row.Options);
        item.Feedback = row.Stem.section(u'|', 1);
        if (row.Fixed >= 0)
            item.Options[static_cast<size_t>(row.Fixed)].IsFixed = true;
        QSet<QString> moving;
        for (quint64 seed = 0; seed < 20; ++seed) {
            const Draft::Item shuffled = Selection::Choose({ item }, { .ShufflesOptions = true }, seed, 0).front();
            for (size_t i = 0; i < shuffled.Options.size(); ++i) {
                const QString statement = shuffled.Options[i].Statement;
                EXPECT_EQ(shuffled.Options[i].IsRight, statement == row.Options.first()) << "the key moves along";
                if (statement != row.Options.at(static_cast<qsizetype>(i)))
                    moving += statement;
            }
        }
        QString expected;
        for (const QString &option : row.Options)
            expected += moving.contains(option) ? option : QString();
        EXPECT_EQ(expected, row.Moving) << row.Options.join(u'|').toStdString();
    }
}
