// SPDX-License-Identifier: Apache-2.0
#include "bank/Gift.h"

#include "bank/GiftLines.h"

#include <QRegularExpression>
#include <QStringDecoder>

using namespace Qt::Literals::StringLiterals;

namespace Gift {

namespace {

constexpr double FullCredit = 100;

// The text without its format prefix; the fallback applies when there is none.
Markup::Text Formatted(const QString &hidden, Markup::Kind fallback)
{
    static const QRegularExpression prefix(u"^\\s*\\[(html|moodle|plain|markdown)\\]"_s);
    Markup::Text text{ hidden, fallback };
    if (const auto match = prefix.match(hidden); match.hasMatch()) {
        const QString name = match.captured(1);
        text.Kind = name == "html"_L1 ? Markup::Kind::Html
            : name == "plain"_L1      ? Markup::Kind::Plain
            : name == "markdown"_L1   ? Markup::Kind::Markdown
                                      : Markup::Kind::Moodle;
        text.Source = hidden.mid(match.capturedEnd());
    }
    text.Source = GiftLines::Restore(text.Source.trimmed());
    return text;
}

// The text without its "::title::", which an exam file cannot store.
QString WithoutTitle(const QString &text)
{
    const qsizetype end = text.startsWith("::"_L1) ? text.indexOf("::"_L1, 2) : -1;
    return end < 0 ? text : text.mid(end + 2);
}

// The text before and after the answer block as one stem. The block is a gap in
// a sentence unless only end tags follow it.
QString Stem(const QString &before, const QString &behind)
{
    static const QRegularExpression noSentence(u"^\\s*(</\\w+\\s*>\\s*)*$"_s);
    return noSentence.match(behind).hasMatch() ? before + behind : before + u"_____"_s + behind;
}

struct MarkedOption {
    Bank::Option Content;
    bool HasEqualsSign = false;
    double Weight = 0;
};

// One option, from its "=" or "~" to the next one.
MarkedOption ReadOption(const QString &hidden, Markup::Kind fallback)
{
    static const QRegularExpression weight(u"^\\s*%(-?[0-9]+(?:[.,][0-9]*)?)%"_s);
    MarkedOption option;
    option.HasEqualsSign = hidden.startsWith(u'=');
    option.Weight = option.HasEqualsSign ? FullCredit : 0;
    QString text = hidden.mid(1);
    if (const auto match = weight.match(text); match.hasMatch()) {
        option.Weight = match.captured(1).replace(u',', u'.').toDouble();
        text.remove(0, match.capturedEnd());
    }
    const qsizetype hash = text.indexOf(u'#');
    option.Content.Statement = Formatted(hash < 0 ? text : text.left(hash), fallback);
    if (hash >= 0)
        option.Content.Feedback = Formatted(text.mid(hash + 1), fallback);
    return option;
}

// Adds the options to the item. Returns why an exam cannot hold them; empty when
// it can.
QString ReadOptions(Bank::Item &item, const QString &block)
{
    std::vector<MarkedOption> options;
    static const QRegularExpression marker(u"[~=]"_s);
    for (qsizetype at = 0; at < block.size();) {
        qsizetype next = block.indexOf(marker, at + 1);
        if (next < 0)
            next = block.size();
        options.push_back(ReadOption(block.mid(at, next - at), item.Problem.Kind));
        at = next;
    }
    // With any "=" only options with full credit are correct, without one all with
    // a positive weight.
    const bool isSingle = std::any_of(options.begin(), options.end(), [](const auto &o) { return o.HasEqualsSign; });
    int right = 0;
    for (MarkedOption &option : options) {
        const bool isPartOnly = isSingle && !option.HasEqualsSign && option.Weight < FullCredit;
        option.Content.IsRight = option.Weight > 0 && !isPartOnly;
        right += option.Content.IsRight ? 1 : 0;
        item.Options.push_back(std::move(option.Content));
    }
    // An item has exactly one key.
    if (isSingle && right > 1) {
        item.Options.clear();
        return u"several answers are right alone"_s;
    }
    item.IsMultiple = !isSingle;
    return {};
}

// {T#feedback when wrong#feedback when right}; false when it is another kind of
// block.
bool ReadTrueFalse(Bank::Item &item, const QString &block)
{
    const QStringList parts = block.split(u'#');
    const QString key = parts.first().trimmed().toUpper();
    const bool isTrue = key == "T"_L1 || key == "TRUE"_L1;
    if (!isTrue && key != "F"_L1 && key != "FALSE"_L1)
        return false;
    for (const bool value : { true, false }) {
        const bool isRight = value == isTrue;
        Bank::Option option{ { value ? u"True"_s : u"False"_s, Markup::Kind::Plain }, {}, isRight };
        if (parts.size() > (isRight ? 2 : 1))
            option.Feedback = Formatted(isRight ? parts.mid(2).join(u'#') : parts.at(1), item.Problem.Kind);
        item.Options.push_back(std::move(option));
    }
    return true;
}

// Parses the answer block into the item. Returns why an exam cannot hold it;
// empty when it can.
QString ReadBlock(Bank::Item &item, QString block)
{
    const qsizetype general = block.lastIndexOf("####"_L1);
    if (general >= 0) {
        item.Feedback = Formatted(block.mid(general + 4), item.Problem.Kind);
        block.truncate(general);
    }
    block = block.trimmed();
    if (block.isEmpty())
        return u"an essay question has no options"_s;
    if (block.startsWith(u'#'))
        return u"a numerical question has no options"_s;
    if (ReadTrueFalse(item, block))
        return {};
    if (!block.startsWith(u'=') && !block.startsWith(u'~'))
        return u"the answer block begins with neither \"=\" nor \"~\""_s;
    if (!block.contains(u'~'))
        return block.contains("->"_L1) ? u"a matching question has no options"_s : u"a short-answer question has no options"_s;
    return ReadOptions(item, block);
}

QString ReadItem(Bank::Item &item, const GiftLines::Piece &piece)
{
    if (piece.Text.isEmpty())
        return u"the exhibit \"%1\" stands before no question"_s.arg(piece.Exhibit.value_or(QString()));
    if (piece.IsAmbiguous)
        return u"more than one exhibit is named"_s;
    const QString text = WithoutTitle(piece.Text.trimmed());
    const qsizetype open = text.indexOf(u'{');
    const qsizetype close = text.indexOf(u'}', std::max<qsizetype>(open, 0));
    if (open < 0)
        return close < 0 ? u"a description without answers is no question"_s : u"a \"}\" without its \"{\""_s;
    if (close < 0)
        return u"the answer block is not closed"_s;
    if (text.indexOf(u'{', close) >= 0)
        return u"more than one answer block (is a blank line missing between two questions?)"_s;
    if (text.indexOf(u'}', close + 1) >= 0)
        return u"more than one \"}\" (write \"\\{\" and \"\\}\" for braces in a text)"_s;
    item.Problem = Formatted(Stem(text.left(open), text.mid(close + 1)), Markup::Kind::Moodle);
    return ReadBlock(item, text.mid(open + 1, close - open - 1));
}

}

QString Decode(const QByteArray &bytes)
{
    QStringDecoder decoder(QStringConverter::encodingForData(bytes).value_or(QStringConverter::Utf8));
    QString text = decoder(bytes);
    text.replace(u"\r\n"_s, u"\n"_s);
    text.replace(u'\r', u'\n');
    return text;
}

bool Suits(const Bank::Source &source)
{
    return source.Bytes.contains('{');
}

void Read(const Bank::Source &source, const Bank::Options &, Bank::Receiver &receiver)
{
    for (const GiftLines::Piece &piece : GiftLines::Cut(GiftLines::Hide(Decode(source.Bytes)))) {
        Bank::Item item;
        item.Line = piece.Line;
        item.IsUnlimited = piece.IsUnlimited;
        item.Exhibit = piece.Exhibit;
        item.Files = source.Files;
        item.Refusal = ReadItem(item, piece);
        receiver.Add(std::move(item));
    }
}

}
