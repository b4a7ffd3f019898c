// SPDX-License-Identifier: Apache-2.0
#include "bank/TableKey.h"

#include "bank/TableColumns.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace TableKey {

namespace {

constexpr QStringView Cyrillic = u"абвгдежзик";
// Letters of it that no Latin letter looks like.
constexpr QStringView OnlyCyrillic = u"бгдБГД";
// Letters of an option that look like another of the other script, by pairs. A means
// the same in both.
constexpr QStringView LatinTwins = u"bcek";
constexpr QStringView CyrillicTwins = u"\u0432\u0441\u0435\u043A";
// Latin letters of an option that look like no Cyrillic one.
constexpr QStringView OnlyLatin = u"cdfghijCDFGHIJ";
// What may stand between numbers.
constexpr QStringView Separators = u",;|/&+().#\"[]";
// No key is longer that is made of letters or numbers.
constexpr qsizetype LongestKey = 200;

bool IsThere(int number, const Options &options)
{
    return number >= 0 && static_cast<size_t>(number) < options.size() && !options[static_cast<size_t>(number)].isEmpty();
}

// Ascending and each once.
std::vector<int> Ordered(std::vector<int> numbers)
{
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    return numbers;
}

// The parts between characters that are neither letters nor digits.
std::vector<QStringView> WordsOf(QStringView text)
{
    std::vector<QStringView> words;
    for (qsizetype at = 0; at < text.size(); ++at) {
        const qsizetype begin = at;
        while (at < text.size() && text[at].isLetterOrNumber())
            ++at;
        if (at > begin)
            words.push_back(text.sliced(begin, at - begin));
    }
    return words;
}

// Of a key of letters: the parts that are letters.
std::vector<QStringView> LetterWordsOf(QStringView key)
{
    std::vector<QStringView> words = WordsOf(key);
    if (words.size() > 1 && TableColumns::IsOptionWord(words.front()))
        words.erase(words.begin());
    if (words.size() > 1)
        words.erase(std::remove_if(words.begin(), words.end(),
                                   [](QStringView word) { return word.compare("and"_L1, Qt::CaseInsensitive) == 0; }),
                    words.end());
    return words;
}

bool AreSingle(const std::vector<QStringView> &words)
{
    return std::all_of(words.begin(), words.end(), [](QStringView word) { return word.size() == 1; });
}

// Numbers with something between them that parts numbers; empty for another text.
std::vector<int> ReadNumbers(QStringView key, int first, const Options &options)
{
    const auto isPart = [](QChar c) { return (c >= u'0' && c <= u'9') || c.isSpace() || Separators.contains(c); };
    if (const qsizetype blank = key.indexOf(u' '); blank > 0 && TableColumns::IsOptionWord(key.first(blank)))
        key = key.sliced(blank).trimmed();
    // "1.5" is a text, and so is "-1".
    const qsizetype dot = key.indexOf(u'.');
    if (!std::all_of(key.begin(), key.end(), isPart) || (dot >= 0 && dot + 1 < key.size() && key[dot + 1].isDigit()))
        return {};
    std::vector<int> numbers;
    for (const QStringView word : WordsOf(key)) {
        bool isNumber = false;
        const int number = word.toInt(&isNumber) - first;
        if (!isNumber || !IsThere(number, options))
            return {};
        numbers.push_back(number);
    }
    return Ordered(std::move(numbers));
}

// "B) text" or "B. text" without its letter.
QStringView WithoutLetter(QStringView text)
{
    const bool isMarked = text.size() > 3 && text[0].isLetterOrNumber()
        && (text[1] == u')' || text[1] == u'.' || text[1] == u':') && text[2].isSpace();
    return isMarked ? text.sliced(2).trimmed() : text;
}

}

std::optional<bool> TruthOf(QStringView text, const Bank::Options &words)
{
    text = text.trimmed();
    const auto isOneOf = [&](std::initializer_list<QStringView> list) {
        return std::any_of(list.begin(), list.end(),
                           [&](QStringView each) { return text.compare(each, Qt::CaseInsensitive) == 0; });
    };
    // What spreadsheets of these languages write is among them.
    if (isOneOf({ words.True, u"true", u"t", u"wahr", u"richtig", u"vrai", u"verdadero", u"vero", u"verdadeiro", u"prawda",
                  u"waar", u"истина", u"верно", u"правда" }))
        return true;
    if (isOneOf({ words.False, u"false", u"f", u"falsch", u"faux", u"falso", u"fałsz", u"onwaar", u"ложь", u"неверно" }))
        return false;
    return {};
}

void Reader::Learn(QStringView key, const Options &options)
{
    const std::vector<QStringView> words = LetterWordsOf(key.first(std::min(key.size(), LongestKey)));
    const auto hasOneOf = [&words](QStringView letters) {
        return std::any_of(words.begin(), words.end(),
                           [letters](QStringView word) { return word.size() == 1 && letters.contains(word[0]); });
    };
    m_hasCyrillicKeys = m_hasCyrillicKeys || hasOneOf(OnlyCyrillic);
    m_hasLatinKeys = m_hasLatinKeys || (AreSingle(words) && hasOneOf(OnlyLatin));
    bool isRead = false;
    for (const Style style : { Letters, FromOne, FromZero, Texts }) {
        const bool isReadSo = !Read(style, key, options).empty();
        m_readable[style] += isReadSo ? 1 : 0;
        isRead = isRead || isReadSo;
    }
    m_areTexts = m_areTexts && (!isRead || std::count(options.begin(), options.end(), key.trimmed()) == 1);
}

bool Reader::IsFirstUnknown() const
{
    return Usual() == FromOne && m_readable[FromOne] == m_readable[FromZero];
}

std::vector<int> Reader::RightOptions(QStringView key, const Options &options, QStringList &warnings) const
{
    const Style usual = Usual();
    std::vector<int> right = Read(usual, key, options);
    if (!right.empty()) {
        const std::vector<QStringView> words = LetterWordsOf(key);
        const bool isByLooks
            = usual == Letters && std::any_of(words.begin(), words.end(), [this](QStringView word) {
                  return std::any_of(word.begin(), word.end(), [this](QChar c) { return Meant(c) != c.toLower(); });
              });
        if (isByLooks)
            warnings += u"letters of the key \"%1\" are taken for those of the other script that look like them"_s.arg(key);
        const int twin = usual == Texts ? -1 : OptionOfText(key.trimmed(), options);
        if (twin >= 0 && right != std::vector{ twin })
            warnings += u"the key \"%1\" is taken for the place of an option, and another option reads so"_s.arg(key);
        const Style numbers = m_readable[FromZero] > m_readable[FromOne] ? FromZero : FromOne;
        const bool mayBePlace = usual == Texts && m_readable[numbers] == m_readable[Texts];
        const std::vector<int> place = mayBePlace ? Read(numbers, key, options) : right;
        if (!place.empty() && place != right)
            warnings += u"the key \"%1\" is taken for the text of an option, and it may be the place of another"_s.arg(key);
        return right;
    }
    for (const Style style : { Letters, m_readable[FromZero] > m_readable[FromOne] ? FromZero : FromOne, Texts }) {
        right = Read(style, key, options);
        if (right.empty())
            continue;
        if (style != Texts)
            warnings += u"the key \"%1\" is not written as the others are"_s.arg(key);
        break;
    }
    return right;
}

Reader::Style Reader::Usual() const
{
    // Of equals the first: the order of the styles.
    const auto most = std::max_element(m_readable.begin(), m_readable.end());
    const auto style = static_cast<Style>(most - m_readable.begin());
    // Numbers that are options in every row are so by chance in a few rows only.
    return style != Letters && m_areTexts && m_readable[Texts] == *most ? Texts : style;
}

std::vector<int> Reader::Read(Style style, QStringView key, const Options &options) const
{
    key = key.trimmed();
    if (key.isEmpty())
        return {};
    if (style == Texts)
        return ReadTexts(key, options);
    if (key.size() > LongestKey)
        return {};
    // Letters and numbers of full width, and in circles, are those themselves.
    const QString plain = key.toString().normalized(QString::NormalizationForm_KC);
    return style == Letters ? ReadLetters(plain, options) : ReadNumbers(plain, style == FromOne ? 1 : 0, options);
}

// The letter of a key that this one stands for, in lower case: one that looks like it
// where the other keys are of the other script; null when nothing tells.
QChar Reader::Meant(QChar letter) const
{
    const QChar c = letter.toLower();
    const qsizetype latin = LatinTwins.indexOf(c);
    const qsizetype cyrillic = CyrillicTwins.indexOf(c);
    if (latin >= 0 && m_hasCyrillicKeys)
        return m_hasLatinKeys ? QChar() : CyrillicTwins[latin];
    if (latin >= 0 && m_hasCyrillicColumns && !m_hasLatinKeys)
        return {};
    if (cyrillic >= 0 && m_hasLatinKeys && m_hasCyrillicColumns != m_hasCyrillicKeys)
        return {};
    if (cyrillic >= 0 && m_hasLatinKeys && !m_hasCyrillicKeys)
        return LatinTwins[cyrillic];
    return c;
}

bool Reader::IsOfTwoScripts(QStringView key) const
{
    const std::vector<QStringView> words = LetterWordsOf(key);
    return AreSingle(words)
        && std::any_of(words.begin(), words.end(), [this](QStringView word) { return Meant(word[0]).isNull(); });
}

std::vector<int> Reader::ReadLetters(QStringView key, const Options &options) const
{
    std::vector<int> numbers;
    // "A-C" may be a range.
    if (key.contains(u'-') || key.contains(u'\u2013'))
        return {};
    for (const QStringView word : LetterWordsOf(key)) {
        // "AC" names two, and "cab" is a word.
        int last = -1;
        for (const QChar each : word) {
            const QChar c = Meant(each);
            const bool isCyrillic = (m_hasCyrillicColumns || m_hasCyrillicKeys) && c.unicode() >= 0x400;
            const int number = isCyrillic ? static_cast<int>(Cyrillic.indexOf(c)) : c.unicode() - u'a';
            if (number <= last || !IsThere(number, options))
                return {};
            numbers.push_back(last = number);
        }
    }
    return Ordered(std::move(numbers));
}

int Reader::OptionOfText(QStringView text, const Options &options) const
{
    if (text.isEmpty())
        return -1;
    const auto truth = TruthOf(text, m_words);
    const QStringView bare = WithoutLetter(text);
    // What differs in case only may be two options.
    auto found = std::find(options.begin(), options.end(), text);
    if (found == options.end())
        found = std::find_if(options.begin(), options.end(), [&](QStringView option) {
            return text.compare(option, Qt::CaseInsensitive) == 0 || (truth && truth == TruthOf(option, m_words));
        });
    if (found == options.end())
        found = std::find_if(options.begin(), options.end(), [&](QStringView option) {
            return !option.isEmpty() && bare.compare(WithoutLetter(option), Qt::CaseInsensitive) == 0;
        });
    if (found == options.end())
        return -1;
    const auto number = static_cast<int>(found - options.begin());
    // "A) Paris" is not the option "Paris" in the place of B.
    const bool hasOwnLetter = bare.size() != text.size() && text.compare(*found, Qt::CaseInsensitive) != 0;
    const int letter
        = hasOwnLetter && WithoutLetter(*found).size() == found->size() ? text[0].toLower().unicode() - u'a' : number;
    return IsThere(letter, options) && letter != number ? -1 : number;
}

std::vector<int> Reader::ReadTexts(QStringView key, const Options &options) const
{
    if (const int whole = OptionOfText(key, options); whole >= 0)
        return { whole };
    for (const QChar separator : { u'|', u'\n', u';', u',' }) {
        // No more parts than options are right.
        if (key.count(separator) == 0 || static_cast<size_t>(key.count(separator)) > options.size())
            continue;
        std::vector<int> numbers;
        bool areAllThere = true;
        for (const QStringView part : key.tokenize(separator)) {
            if (part.trimmed().isEmpty())
                continue;
            numbers.push_back(OptionOfText(part.trimmed(), options));
            areAllThere = numbers.back() >= 0;
            if (!areAllThere)
                break;
        }
        if (areAllThere && !numbers.empty())
            return Ordered(std::move(numbers));
    }
    return {};
}

}
