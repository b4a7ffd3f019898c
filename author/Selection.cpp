// SPDX-License-Identifier: Apache-2.0
#include "author/Selection.h"

#include "common/Error.h"

#include <QHash>
#include <QRegularExpression>

#include <algorithm>
#include <iterator>
#include <numeric>
#include <random>

using namespace Qt::Literals::StringLiterals;

namespace Selection {

namespace {

using Places = std::vector<size_t>;

// Chance that is the same with every library: the engine is standardised, the
// distributions are not.
class Chance {
public:
    Chance(quint64 seed, int variant)
    {
        std::seed_seq seeds{ static_cast<quint32>(seed), static_cast<quint32>(seed >> 32), static_cast<quint32>(variant) };
        m_engine.seed(seeds);
    }

    // A number from 0 to below count, which is 1 or more.
    size_t Below(size_t count)
    {
        const quint64 range = count;
        const quint64 surplus = (std::numeric_limits<quint64>::max() % range + 1) % range;
        quint64 drawn = m_engine();
        while (drawn > std::numeric_limits<quint64>::max() - surplus)
            drawn = m_engine();
        return static_cast<size_t>(drawn % range);
    }

    template <class Value> void Shuffle(std::vector<Value> &values)
    {
        for (size_t i = values.size(); i > 1; --i)
            std::swap(values[i - 1], values[Below(i)]);
    }

private:
    std::mt19937_64 m_engine;
};

// So many of the places, in their order.
Places Drawn(Places places, qint32 count, Chance &chance)
{
    chance.Shuffle(places);
    places.resize(static_cast<size_t>(count));
    std::sort(places.begin(), places.end());
    return places;
}

Error TooFew(const QString &option, size_t count)
{
    return Error(InvalidCall, u"%1: there are only %2 to choose from"_s.arg(option).arg(count), u"Selection::Choose()"_s);
}

Places Chosen(const std::vector<Draft::Item> &items, const Settings &settings, Chance &chance)
{
    for (const QString &name : settings.Categories) {
        if (std::none_of(items.begin(), items.end(), [&](const Draft::Item &item) { return IsIn(item.Category, name); }))
            throw Error(InvalidCall, u"--category %1: there is no item in it"_s.arg(name), u"Selection::Choose()"_s);
    }
    Places places;
    for (size_t i = 0; i < items.size(); ++i) {
        if (IsWanted(items[i].Category, settings))
            places.push_back(i);
    }
    if (settings.Pick) {
        if (places.size() < static_cast<size_t>(*settings.Pick))
            throw TooFew(u"--pick %1"_s.arg(*settings.Pick), places.size());
        return Drawn(std::move(places), *settings.Pick, chance);
    }
    if (settings.Shares.empty())
        return places;
    const auto placesIn = [&](const QString &category) {
        Places own;
        std::copy_if(places.begin(), places.end(), std::back_inserter(own),
                     [&](size_t place) { return IsIn(items[place].Category, category); });
        return own;
    };
    // A category first that has few items, before one around it takes them.
    std::vector<std::pair<Places, const Share *>> shares;
    for (const Share &share : settings.Shares)
        shares.emplace_back(placesIn(share.Category), &share);
    std::stable_sort(shares.begin(), shares.end(),
                     [](const auto &a, const auto &b) { return a.first.size() < b.first.size(); });
    Places all;
    for (const auto &[candidates, share] : shares) {
        Places own;
        std::set_difference(candidates.begin(), candidates.end(), all.begin(), all.end(), std::back_inserter(own));
        if (own.size() < static_cast<size_t>(share->Count))
            throw TooFew(u"--per-category %1=%2"_s.arg(share->Category).arg(share->Count), own.size());
        const Places drawn = Drawn(std::move(own), share->Count, chance);
        all.insert(all.end(), drawn.begin(), drawn.end());
        std::sort(all.begin(), all.end());
    }
    return all;
}

// "%1" is the last letter that an option has. CJK letters beside one are no part of it.
QRegularExpression NamesPattern(char16_t last)
{
    return QRegularExpression(
        // A capital letter by itself; "A" and "I" are words, too.
        u"(?<![A-Za-z0-9'])A(?=[^\\x00-\\x7F\\s])|(?<![A-Za-z0-9'.])(?!I)[B-%1](?![A-Za-z0-9'+#-])|(?<!\\w)[БВГДЕЖЗ](?!\\w)"
        // Any letter or number that is marked as one, or that something is said of.
        "|(?<![A-Za-z0-9'])(?i:[A-%1]|\\d|[а-з])(?=[)\\]*\"”»]|\\s*[.:;,、。]?\\s*$)"
        "|(?<![A-Za-z0-9'])(?i:[A-%1])(?=[.:;,、。]\\s|\\s*[,&+/"
        "–—]|\\s+-\\s|\\s+(?i:and|or|nor|only|is|was|are|were|because|since|und|oder|ist|weil|et|ou|est|y|o|es|e|è|и|или)\\b)"
        "|\\b(?i:options?|answers?|choices?|statements?|only|antworten?|réponses?|respuestas?|opci(?:ón|ones)|ответы?|варианты?"
        ")\\s+"
        "\\(?(?i:[a-zа-я]|\\d+|[ivx]+)\\b"
        "|\\b(?i:first|second|third|fourth|last|former|latter)\\s+(?i:one|two|three|option|answer|choice|statement)"
        "|\\b(?i:[a-fа-е]|[ivx]+|\\d)\\)?\\s*(?:,|&|\\+|(?i:and|or|und|oder|et|ou|y|e|и|или)\\b)\\s*\\(?(?i:[a-fа-е]|[ivx]+|\\d)\\b(?![.\\d])"_s
            .arg(QChar(last)),
        QRegularExpression::UseUnicodePropertiesOption);
}

// Whether a text may call one of so many options by its letter or number, so that all
// must stay: "B is right", "A and C", "both 1 and 2", "the first two". In doubt it does.
bool NamesOptions(const QString &text, size_t count)
{
    static QHash<size_t, QRegularExpression> patterns;
    auto pattern = patterns.find(count);
    if (pattern == patterns.end())
        pattern = patterns.insert(count, NamesPattern(static_cast<char16_t>(u'A' + std::clamp<size_t>(count, 2, 26) - 1)));
    return pattern->match(text).hasMatch();
}

// Whether an option speaks of the others as a whole: "None of the above" in many
// languages. In doubt it does.
bool SpeaksOfOthers(const QString &statement)
{
    static const QRegularExpression phrase(
        u"^\\W*(?:(?:no|others?|the first|the "
        u"last|all|none|both|neither|either|any|every|each|nothing|everything|alle|alles|beide|keine?[rs]?|nichts|geen"
        "|toutes?|tous|tout|aucune?|les deux|ni "
        "l|todas?|todos|ningun[ao]?|ningún|ambas|ambos|tutt[ie]|nessun[ao]?|entrambe|entrambi"
        "|nenhuma?|wszystkie|żadn[aey]|oba|obie|hepsi|hiçbiri|все|всё|ни|оба|обе|ничего|никак\\w*|усі|всі|жодн\\w*|обидв\\w*"
        "|all[ae]|inge[nt]|samtliga|begge|båda|kaikki|mikään|molemmat|všechn[yoa]|žádn[áýé]|obě|všetk[yo]|žiadn[ay]|obe|toate"
        "|niciun[aău]?|ambele|sv[ei]|nijedn[oa]|nijedan|tất cả|không có|semua|tidak ada|keduanya|mindegyik|egyik sem|not listed"
        "|όλα|όλες|κανένα|καμία|και τα δύο|جميع|كل|لا شيء|כל|אף|שתי)\\b|[以上述皆全都].*|すべて|全て|いずれ|どれ|모두|위의|없)"_s,
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::UseUnicodePropertiesOption);
    static const QRegularExpression above(
        u"\\b(?:above|below|aforementioned|the "
        u"others?|obigen|genannten|ci-dessus|précédent\\w*|anterior\\w*|precedent\\w*|выше\\w*|вышеперечисл\\w*"
        "|ovanstående|ovenstående|ovenfor|yllä|uveden\\w*|de mai sus|navedeno\\w*|ở trên|di atas|yukarı\\w*|fenti\\w*)\\b"
        "|以上|上記|उपरोक्त|ข้างต้น|ที่กล่าวมา|ถูกทุกข้อ"_s,
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::UseUnicodePropertiesOption);
    return phrase.match(statement).hasMatch() || above.match(statement).hasMatch();
}

void ShuffleOptions(Draft::Item &item, Chance &chance)
{
    const size_t count = item.Options.size();
    bool isNamed = NamesOptions(item.Stem, count) || NamesOptions(item.Feedback, count);
    for (const Draft::Option &option : item.Options) {
        // An option of one letter or number is what it says.
        constexpr qsizetype shortest = 3;
        const bool isNamedHere = option.Statement.size() >= shortest && NamesOptions(option.Statement, count);
        isNamed = isNamed || isNamedHere || NamesOptions(option.Feedback, count);
    }
    item.KeepsOrder = isNamed;
    if (isNamed)
        return;
    Places movable;
    bool isBehindOthers = false;
    for (size_t i = 0; i < item.Options.size(); ++i) {
        if (SpeaksOfOthers(item.Options[i].Statement)) {
            isBehindOthers = true;
            continue;
        }
        // What it speaks of stands above it, so nothing may come there from below.
        if (isBehindOthers) {
            item.KeepsOrder = true;
            return;
        }
        if (!item.Options[i].IsFixed)
            movable.push_back(i);
    }
    Places order = movable;
    chance.Shuffle(order);
    const std::vector<Draft::Option> options = item.Options;
    for (size_t i = 0; i < movable.size(); ++i)
        item.Options[movable[i]] = options[order[i]];
}

}

bool IsWanted(const QString &category, const Settings &settings)
{
    return settings.Categories.isEmpty()
        || std::any_of(settings.Categories.begin(), settings.Categories.end(),
                       [&](const QString &name) { return IsIn(category, name); });
}

bool IsIn(const QString &category, const QString &name)
{
    const QString path = u'/' + category + u'/';
    const QString part = u'/' + name + u'/';
    return name.contains(u'/') ? path.startsWith(part, Qt::CaseInsensitive) : path.contains(part, Qt::CaseInsensitive);
}

std::vector<Draft::Item> Choose(const std::vector<Draft::Item> &items, const Settings &settings, quint64 seed, int variant)
{
    Chance chance(seed, variant);
    Places places = Chosen(items, settings, chance);
    if (settings.ShufflesItems)
        chance.Shuffle(places);
    std::vector<Draft::Item> chosen;
    chosen.reserve(places.size());
    for (const size_t place : places) {
        chosen.push_back(items[place]);
        if (settings.ShufflesOptions)
            ShuffleOptions(chosen.back(), chance);
    }
    return chosen;
}

}
