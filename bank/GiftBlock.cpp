// SPDX-License-Identifier: Apache-2.0
#include "bank/GiftBlock.h"

#include "bank/GiftLines.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace GiftBlock {

namespace {

constexpr double FullCredit = 100;
// An option takes far more memory than the mark it is written with.
constexpr size_t MostOptions = 1000;

bool IsDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

// Where the characters end, from that place on, that are as wanted.
template <class Wanted> qsizetype Behind(QStringView text, qsizetype at, Wanted &&isWanted)
{
    while (at < text.size() && isWanted(text[at]))
        ++at;
    return at;
}

// "%50%" before an option, with blanks before it: taken off the text. The fallback when
// there is none.
double TakeWeight(QStringView &text, double fallback)
{
    const QStringView rest = text.trimmed();
    if (!rest.startsWith(u'%'))
        return fallback;
    const qsizetype sign = rest.size() > 1 && rest[1] == u'-' ? 1 : 0;
    qsizetype end = Behind(rest, 1 + sign, IsDigit);
    if (end == 1 + sign)
        return fallback;
    if (end < rest.size() && (rest[end] == u'.' || rest[end] == u','))
        end = Behind(rest, end + 1, IsDigit);
    if (end == rest.size() || rest[end] != u'%')
        return fallback;
    const double weight = rest.sliced(1, end - 1).toString().replace(u',', u'.').toDouble();
    text = rest.sliced(end + 1);
    return weight;
}

struct MarkedOption {
    Bank::Option Content;
    bool HasEqualsSign = false;
    double Weight = 0;
    bool EndsWithHash = false;
    // White space, or nothing, stands before its mark. A mark of two signs counts as
    // apart and not loose: it is no sign of a formula.
    bool IsApart = false;
    // White space stands behind its mark.
    bool IsLoose = false;
};

// One option, from behind its mark to the next one.
MarkedOption ReadOption(QStringView text, bool hasEqualsSign, Markup::Kind fallback)
{
    MarkedOption option;
    option.HasEqualsSign = hasEqualsSign;
    option.IsLoose = !text.isEmpty() && text[0].isSpace();
    option.Weight = TakeWeight(text, hasEqualsSign ? FullCredit : 0);
    const qsizetype hash = text.indexOf(u'#');
    option.Content.Statement = Formatted(hash < 0 ? text : text.first(hash), fallback);
    if (hash >= 0)
        option.Content.Feedback = Formatted(text.sliced(hash + 1), fallback);
    option.EndsWithHash = hash >= 0 && option.Content.Feedback.Source.isEmpty();
    return option;
}

// The options of a block that begins with a mark; of too many only the first.
std::vector<MarkedOption> Split(QStringView block, Markup::Kind fallback)
{
    std::vector<MarkedOption> options;
    const auto isText = [](QChar c) { return c != u'~' && c != u'='; };
    for (qsizetype at = 0; at < block.size() && options.size() <= MostOptions;) {
        // "~=" is written for "=".
        const bool isPair = block[at] == u'~' && at + 1 < block.size() && block[at + 1] == u'=';
        const qsizetype begin = at + (isPair ? 2 : 1);
        const qsizetype end = Behind(block, begin, isText);
        options.push_back(ReadOption(block.sliced(begin, end - begin), isPair || block[at] == u'=', fallback));
        options.back().IsApart = isPair || at == 0 || block[at - 1].isSpace();
        options.back().IsLoose = options.back().IsLoose && !isPair;
        at = end;
    }
    return options;
}

// Whether the option may begin at the equals sign of a formula: it stands otherwise
// than the first mark does.
bool MayBeSign(const std::vector<MarkedOption> &options, size_t index)
{
    const MarkedOption &option = options[index];
    return index > 0 && option.HasEqualsSign && (!option.IsApart || (option.IsLoose && !options.front().IsLoose));
}

// The number of the option that is likely to begin at such a sign; 0 for none.
size_t OptionFromSign(const std::vector<MarkedOption> &options)
{
    const bool areOthersApart
        = !options.empty() && std::any_of(options.begin() + 1, options.end(), [](const auto &o) { return o.IsApart; });
    for (size_t i = 1; i < options.size(); ++i) {
        if (MayBeSign(options, i) && (options[i].IsApart || areOthersApart))
            return i + 1;
    }
    return 0;
}

void Warn(Bank::Item &item, const std::vector<MarkedOption> &options)
{
    if (const size_t number = OptionFromSign(options); number > 0)
        item.Warnings += u"option %1 begins at an \"=\" that may be a sign in a text (write \"\\=\" for it)"_s.arg(number);
    for (size_t i = 0; i < options.size(); ++i) {
        if (options[i].EndsWithHash)
            item.Warnings
                += u"the \"#\" at the end of option %1 begins an empty feedback (write \"\\#\" for the sign)"_s.arg(i + 1);
    }
}

// Adds the options to the item. Returns why it has none to choose from.
QString ReadOptions(Bank::Item &item, QStringView block)
{
    std::vector<MarkedOption> options = Split(block, item.Problem.Kind);
    if (options.size() > MostOptions)
        return u"it has more than %1 options"_s.arg(MostOptions);
    // With any "=" only options with full credit are correct, without one all with
    // a positive weight.
    const bool isSingle = std::any_of(options.begin(), options.end(), [](const auto &o) { return o.HasEqualsSign; });
    int right = 0;
    bool maySignBeRight = false;
    const bool hasShares = std::any_of(options.begin(), options.end(),
                                       [](const auto &o) { return !o.HasEqualsSign && o.Weight > 0 && o.Weight < FullCredit; });
    for (size_t i = 0; i < options.size(); ++i) {
        MarkedOption &option = options[i];
        const bool isPartOnly = isSingle && !option.HasEqualsSign && option.Weight < FullCredit;
        option.Content.IsRight = option.Weight > 0 && !isPartOnly;
        right += option.Content.IsRight ? 1 : 0;
        maySignBeRight = maySignBeRight || MayBeSign(options, i);
    }
    // An item has exactly one key.
    if (isSingle && right > 1)
        return u"several answers are right alone"_s
            + (maySignBeRight ? u" (write \"\\=\" for an equals sign in a text)"_s : QString());
    // Shares of several right options, and then a sign in the text of one.
    if (hasShares && maySignBeRight && !options.front().HasEqualsSign)
        return u"an \"=\" stands behind options with weights (write \"\\=\" for an equals sign in a text)"_s;
    Warn(item, options);
    item.IsMultiple = !isSingle;
    item.Options.reserve(options.size());
    for (MarkedOption &option : options)
        item.Options.push_back(std::move(option.Content));
    return {};
}

// T, TRUE, F or FALSE before the first "#"; nothing for another block.
std::optional<bool> KeyOf(QStringView block)
{
    const qsizetype hash = block.indexOf(u'#');
    const QStringView key = (hash < 0 ? block : block.first(hash)).trimmed();
    const auto is = [&](QLatin1StringView word) { return key.compare(word, Qt::CaseInsensitive) == 0; };
    if (is("t"_L1) || is("true"_L1))
        return true;
    if (is("f"_L1) || is("false"_L1))
        return false;
    return {};
}

// {T#feedback when wrong#feedback when right}
void ReadTrueFalse(Bank::Item &item, bool isTrue, QStringView block, const Bank::Options &texts)
{
    // The feedback behind the first "#" and that behind the second, with all others.
    QStringView feedback[2];
    if (const qsizetype first = block.indexOf(u'#'); first >= 0) {
        const qsizetype second = block.indexOf(u'#', first + 1);
        feedback[0] = block.sliced(first + 1, (second < 0 ? block.size() : second) - first - 1);
        feedback[1] = second < 0 ? QStringView() : block.sliced(second + 1);
        if (feedback[0].trimmed().isEmpty() && feedback[1].trimmed().isEmpty())
            item.Warnings += u"the \"#\" at the end of the answer block begins an empty feedback"_s;
    }
    for (const bool value : { true, false }) {
        const bool isRight = value == isTrue;
        Bank::Option option{ { value ? texts.True : texts.False, Markup::Kind::Plain }, {}, isRight };
        option.Feedback = Formatted(feedback[isRight ? 1 : 0], item.Problem.Kind);
        item.Options.push_back(std::move(option));
    }
}

}

Markup::Text Formatted(QStringView hidden, Markup::Kind fallback)
{
    static const std::pair<QStringView, Markup::Kind> prefixes[] = {
        { u"[html]", Markup::Kind::Html },
        { u"[moodle]", Markup::Kind::Moodle },
        { u"[plain]", Markup::Kind::Plain },
        { u"[markdown]", Markup::Kind::Markdown },
    };
    QStringView text = hidden.trimmed();
    Markup::Kind kind = fallback;
    if (text.startsWith(u'[')) {
        for (const auto &[prefix, its] : prefixes) {
            if (text.startsWith(prefix)) {
                kind = its;
                text = text.sliced(prefix.size()).trimmed();
                break;
            }
        }
    }
    return { text.isEmpty() ? QString() : GiftLines::Restore(text), kind };
}

bool IsEmbedded(QStringView block)
{
    const QStringView text = block.trimmed();
    const qsizetype colon = Behind(text, 0, IsDigit);
    if (colon >= text.size() || text[colon] != u':')
        return false;
    const qsizetype end = Behind(text, colon + 1, [](QChar c) { return (c >= u'A' && c <= u'Z') || c == u'_'; });
    return end > colon + 1 && end < text.size() && text[end] == u':';
}

bool IsAnswer(QStringView block)
{
    const QStringView text = block.trimmed();
    return text.startsWith(u'=') || text.startsWith(u'~') || text.startsWith(u'#') || KeyOf(text) || IsEmbedded(text);
}

QString Read(Bank::Item &item, QStringView block, const Bank::Options &texts)
{
    const qsizetype general = block.lastIndexOf(u"####");
    if (general >= 0) {
        item.Feedback = Formatted(block.sliced(general + 4), item.Problem.Kind);
        if (item.Feedback.Source.isEmpty())
            item.Warnings += u"the \"####\" at the end of the answer block begins an empty feedback"_s;
        block.truncate(general);
    }
    block = block.trimmed();
    if (block.isEmpty())
        return u"an essay question has no options"_s;
    if (block.startsWith(u'#'))
        return u"a numerical question has no options"_s;
    if (const auto key = KeyOf(block)) {
        ReadTrueFalse(item, *key, block, texts);
        return {};
    }
    if (!block.startsWith(u'=') && !block.startsWith(u'~'))
        return u"the answer block begins with neither \"=\" nor \"~\""_s;
    if (!block.contains(u'~'))
        return block.contains(u"->") ? u"a matching question has no options"_s : u"a short-answer question has no options"_s;
    return ReadOptions(item, block);
}

}
