// SPDX-License-Identifier: Apache-2.0
#include "author/Selection.h"

#include "common/Error.h"

#include <QRegularExpression>

#include <algorithm>
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
    return Error(InvalidCall, u"%1: there are only %2 items to choose from"_s.arg(option).arg(count), u"Selection::Choose()"_s);
}

Places Chosen(const std::vector<Draft::Item> &items, const Settings &settings, Chance &chance)
{
    Places places;
    for (size_t i = 0; i < items.size(); ++i) {
        const bool isAsked = settings.Categories.isEmpty()
            || std::any_of(settings.Categories.begin(), settings.Categories.end(),
                           [&](const QString &name) { return IsIn(items[i].Category, name); });
        if (isAsked)
            places.push_back(i);
    }
    if (settings.Pick) {
        if (places.size() < static_cast<size_t>(*settings.Pick))
            throw TooFew(u"--pick %1"_s.arg(*settings.Pick), places.size());
        return Drawn(std::move(places), *settings.Pick, chance);
    }
    if (settings.Shares.empty())
        return places;
    Places all;
    for (const Share &share : settings.Shares) {
        Places own;
        for (const size_t place : places) {
            if (IsIn(items[place].Category, share.Category) && !std::binary_search(all.begin(), all.end(), place))
                own.push_back(place);
        }
        if (own.size() < static_cast<size_t>(share.Count))
            throw TooFew(u"--per-category %1=%2"_s.arg(share.Category).arg(share.Count), own.size());
        const Places drawn = Drawn(std::move(own), share.Count, chance);
        all.insert(all.end(), drawn.begin(), drawn.end());
        std::sort(all.begin(), all.end());
    }
    return all;
}

// Whether a text calls an option by its letter, so that the letters must stay.
bool NamesLetters(const QString &text)
{
    static const QRegularExpression names(
        u"\\b(?:options?|answers?|choices?|statements?|antworten?|réponses?|respuestas?|opci(?:ón|ones))\\s+\\(?[A-Z]\\b\\)?"
        "|^\\s*(?:both|either|neither|only|all of)?\\s*\\(?[A-Z]\\)?(?:\\s*,\\s*\\(?[A-Z]\\)?)*\\s*(?:,\\s*)?(?:and|or|nor|&|und|oder|et|ou|y|o|e)\\s+\\(?[A-Z]\\)?(?:\\s+only)?\\W*$"_s,
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::UseUnicodePropertiesOption);
    return names.match(text).hasMatch();
}

// Whether an option speaks of the others as a whole.
bool SpeaksOfOthers(const QString &statement)
{
    static const QRegularExpression phrase(
        u"^\\W*(?:(?:all|none|any|both|neither|some|two|either)\\s+(?:of\\s+)?(?:the|these|those)\\b.*"
        "|all\\s+(?:of\\s+)?(?:above|are|answers|options)\\b.*|none\\s+(?:is|are)?\\s*(?:correct|right|true)\\b.*|(?:all|none|"
        "both)\\W*"
        "|(?:alle|keine|keiner|keines)\\s+(?:der|davon|dieser|antworten|genannten)\\b.*"
        "|(?:toutes|tous|aucune|aucun)\\s+(?:les|de|des|ces)\\b.*"
        "|(?:todas|todos|ninguna|ninguno|nenhuma|nenhum|tutte|nessuna|nessuno)\\b(?:\\s+(?:las|los|de|as|os|das|dos|le|i|delle|"
        "dei)\\b.*|\\W*)"
        "|(?:все|ни\\s+один|ничего)\\b.*(?:выше|перечисл|вариант|ответ).*)$"_s,
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::UseUnicodePropertiesOption);
    return phrase.match(statement).hasMatch();
}

void ShuffleOptions(Draft::Item &item, Chance &chance)
{
    bool isByLetter = NamesLetters(item.Stem) || NamesLetters(item.Feedback);
    for (const Draft::Option &option : item.Options)
        isByLetter = isByLetter || NamesLetters(option.Statement) || NamesLetters(option.Feedback);
    if (isByLetter)
        return;
    Places movable;
    for (size_t i = 0; i < item.Options.size(); ++i) {
        if (!item.Options[i].IsFixed && !SpeaksOfOthers(item.Options[i].Statement))
            movable.push_back(i);
    }
    Places order = movable;
    chance.Shuffle(order);
    const std::vector<Draft::Option> options = item.Options;
    for (size_t i = 0; i < movable.size(); ++i)
        item.Options[movable[i]] = options[order[i]];
}

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
