// SPDX-License-Identifier: Apache-2.0
#include "protocol/Message.h"
#include "tests/support/Test.h"

namespace {

constexpr const char *Invalid = "-2147221503 Message::UnPack() Invalid message";
constexpr const char *Undecodable = "-2147221502 Message::UnPack() Error decoding parameters";
constexpr const char *Negative = "5 Message::UnPack() Invalid procedure call or argument";

QString Failure(const std::function<void()> &action)
{
    try {
        action();
    } catch (const Error &error) {
        return QString::number(error.Number()) + u' ' + error.Source() + u' ' + error.Description();
    }
    return u"none"_s;
}

QString Listed(const Parameters &parameters)
{
    QStringList list;
    for (const auto &parameter : parameters)
        list.append(parameter->Name() + u'=' + parameter->value());
    return list.join(u'|');
}

}

TEST(MessageTest, UnPack)
{
    const struct {
        QString Text, Command, Parameters;
        const char *Result = "none";
    } rows[] = {
        { u"STATUS;"_s, u"STATUS"_s, u""_s },
        { u";"_s, u""_s, u""_s },
        { u"CMD?;"_s, u"CMD"_s, u""_s },
        { u"CMD?a=1&A=2;"_s, u"CMD"_s, u"A=2"_s },
        { u"CMD?a=1&b=2&A=3;"_s, u"CMD"_s, u"A=3|b=2"_s },
        { u"CMD?x=y=z;"_s, u"CMD"_s, u"x=y"_s },
        { u"CMD?x=;"_s, u"CMD"_s, u"x="_s },
        { u"CMD?=x;"_s, u"CMD"_s, u"=x"_s },
        { u"CMD?a=1;b=2;"_s, u"CMD"_s, u"a=1"_s },
        { u"CMD;\r\n"_s, u"CMD"_s, u""_s },
        { u"?a=1;"_s, u""_s, u"a=1"_s },
        { u" cmd ? a = 1 ;"_s, u" cmd "_s, u" a = 1 "_s },
        { u"C?a=b?c;"_s, u"C"_s, u"a=b?c"_s },
        { u"C?a=50%25%3Boff;"_s, u"C"_s, u"a=50%;off"_s },
        { u"C?a=%253B%3b%3B%26%3D%3F;"_s, u"C"_s, u"a=%3B%3b;&=?"_s },
        { u"C?%3D=1;"_s, u"C"_s, u"%3D=1"_s },
        { u"C?a=%41+%20;"_s, u"C"_s, u"a=%41+%20"_s },
        // Letter case and nothing else is folded.
        { u"C?stra\u00DFe=1&strasse=2&\u00C4=3&\u00E4=4;"_s, u"C"_s, u"stra\u00DFe=1|strasse=2|\u00E4=4"_s },
        { u""_s, u""_s, u""_s, Invalid },
        { u"CMD?a=1"_s, u""_s, u""_s, Invalid },
        { u"CMD?a=1&;"_s, u"CMD"_s, u"a=1"_s, Undecodable },
        { u"CMD?a=1&&b=2;"_s, u"CMD"_s, u"a=1"_s, Undecodable },
        { u"CMD?a;"_s, u"CMD"_s, u""_s, Undecodable },
        { u"CMD;x?a=1;"_s, u"CMD;x"_s, u""_s, Negative },
        { u"CMD;?"_s, u"CMD;"_s, u""_s, Negative },
    };
    MESSAGE message;
    for (const auto &row : rows) {
        message.SetCommand(u"before"_s);
        message.Parameters().Add(u"before"_s, u"x"_s);
        EXPECT_EQ(Failure([&] { message.UnPack(row.Text); }), QLatin1StringView(row.Result)) << row.Text.toStdString();
        EXPECT_EQ(message.Command(), row.Command) << row.Text.toStdString();
        EXPECT_EQ(Listed(message.Parameters()), row.Parameters) << row.Text.toStdString();
        EXPECT_EQ(message.Text(), row.Text);
    }
}

TEST(MessageTest, Pack)
{
    MESSAGE message;
    EXPECT_EQ(Failure([&] { message.Pack(); }), u"-2147221501 Message::Pack() No command specified for the message"_s);
    message.SetCommand(u"REPORT"_s);
    message.Pack();
    EXPECT_EQ(message.Text(), u"REPORT;"_s);
    message.Parameters().Add(u"sid"_s, u"7"_s);
    message.Parameters().Add(u"list"_s, u"a;b=c"_s);
    message.Parameters().Add(u"e"_s, u""_s);
    EXPECT_EQ(message.Text(), u"REPORT;"_s) << "the last packed form";
    message.Pack();
    EXPECT_EQ(message.Text(), u"REPORT?sid=7&list=a%3Bb%3Dc&e=;"_s);
}

TEST(MessageTest, Parameters)
{
    Parameters parameters;
    const auto first = parameters.Add(u"sid"_s, u"1"_s);
    parameters.Add(u"b"_s, u"2"_s);
    EXPECT_EQ(parameters.Add(u"SID"_s, u"3"_s), first) << "the same entry";
    parameters.Add(u"c"_s, u"4"_s);
    EXPECT_EQ(Listed(parameters), u"SID=3|b=2|c=4"_s);
    EXPECT_EQ(parameters.GetIndex(u"d"_s), 4) << "behind the last";
    EXPECT_EQ(ResultOf([&] { return parameters.Item(u"d"_s)->value(); }), u"5 "_s);
    EXPECT_EQ(ResultOf([&] { parameters.Remove(u"d"_s); }), u"5 "_s);
    for (const qint32 index : { 0, 4, -1 })
        EXPECT_EQ(ResultOf([&] { parameters.RemoveAt(index); }), u"9 "_s) << index;
    parameters.Remove(u"B"_s);
    EXPECT_EQ(parameters.Item(u"C"_s)->value(), u"4"_s) << "found at its new place";
    EXPECT_EQ(parameters.GetIndex(u"c"_s), 2);
    parameters.Add(u"b"_s, u"5"_s);
    parameters.RemoveAt(1);
    EXPECT_EQ(Listed(parameters), u"c=4|b=5"_s);
    parameters.Clear();
    EXPECT_EQ(parameters.GetIndex(u"c"_s), 1);
}
