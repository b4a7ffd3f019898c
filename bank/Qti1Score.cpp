// SPDX-License-Identifier: Apache-2.0
#include "bank/Qti1Evaluation.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Qti1 {

namespace {

// More than a sitting has letters for.
constexpr qsizetype MostOptions = 100;
constexpr size_t MostAlternatives = 64;
constexpr double Tolerance = 1e-9;

const QString Inexpressible = u"its scoring cannot be expressed as one key"_s;

bool IsSubset(const Choice &part, const Choice &whole)
{
    for (size_t i = 0; i < part.size(); ++i) {
        if (part[i] && !whole[i])
            return false;
    }
    return true;
}

}

bool Score::Evaluation::Holds(const Node &node, const Choice &choice, bool isAnyBefore) const
{
    const auto holds = [&](const Node &part) { return Holds(part, choice, isAnyBefore); };
    switch (node.Test) {
    case Test::And: return std::all_of(node.Parts.begin(), node.Parts.end(), holds);
    case Test::Or: return std::any_of(node.Parts.begin(), node.Parts.end(), holds);
    case Test::Not: return !std::all_of(node.Parts.begin(), node.Parts.end(), holds);
    case Test::Other: return !isAnyBefore;
    case Test::Unanswered: return std::find(choice.begin(), choice.end(), true) == choice.end();
    case Test::Equal: {
        const qsizetype number = NumberOf(node.Option);
        return number >= 0 && choice[static_cast<size_t>(number)];
    }
    case Test::Unknown: break;
    }
    return false;
}

double Score::Evaluation::After(const Condition &condition, double score) const
{
    for (const Change &change : condition.Changes) {
        if (change.Variable != m_variable)
            continue;
        if (change.Action == "add"_L1)
            score += change.Value;
        else if (change.Action == "subtract"_L1)
            score -= change.Value;
        else if (change.Action == "multiply"_L1)
            score *= change.Value;
        else if (change.Action == "divide"_L1)
            score = change.Value == 0 ? 0 : score / change.Value;
        else
            score = change.Value;
    }
    return score;
}

double Score::Evaluation::Of(const Choice &choice) const
{
    double score = 0;
    bool isAnyBefore = false;
    for (const Condition &condition : m_conditions) {
        if (!Holds(condition.Root, choice, isAnyBefore))
            continue;
        isAnyBefore = true;
        score = After(condition, score);
        // Without a word about it the rest is left out, except by many programs
        // that add up.
        const bool adds = std::any_of(condition.Changes.begin(), condition.Changes.end(),
                                      [](const auto &c) { return c.Action == "add"_L1; });
        if (!condition.Continues.value_or(adds || condition.Changes.empty()))
            break;
    }
    return score;
}

double Score::Evaluation::OfOne(size_t option) const
{
    Choice one = None();
    one[option] = true;
    return Of(one);
}

bool Score::Evaluation::Scores(const Condition &condition) const
{
    return After(condition, 0) > 0;
}

std::vector<Score::Literals> Score::Evaluation::Leaf(const Node &node, bool isNegated) const
{
    Literals literals(m_count, 0);
    if (node.Test == Test::Equal) {
        const qsizetype number = NumberOf(node.Option);
        if (number >= 0)
            literals[static_cast<size_t>(number)] = isNegated ? -1 : 1;
    } else if (node.Test == Test::Unanswered && !isNegated) {
        literals.assign(m_count, -1);
    }
    return { literals };
}

std::vector<Score::Literals> Score::Evaluation::Alternatives(const Node &node, bool isNegated) const
{
    if (node.Test != Test::And && node.Test != Test::Or && node.Test != Test::Not)
        return Leaf(node, isNegated);
    const bool isInner = isNegated != (node.Test == Test::Not);
    const bool needsAll = (node.Test == Test::Or) == isInner;
    std::vector<Literals> all;
    if (needsAll)
        all.emplace_back(m_count, 0);
    for (const Node &part : node.Parts) {
        const std::vector<Literals> ways = Alternatives(part, isInner);
        if (!needsAll) {
            all.insert(all.end(), ways.begin(), ways.end());
        } else {
            std::vector<Literals> both;
            for (const Literals &left : all) {
                for (const Literals &right : ways) {
                    // Of a contradiction neither part holds, and then it scores nothing.
                    Literals joined = left;
                    for (size_t i = 0; i < m_count; ++i)
                        joined[i] = left[i] != 0 ? left[i] : right[i];
                    both.push_back(std::move(joined));
                }
            }
            all = std::move(both);
        }
        if (all.size() > MostAlternatives)
            return {};
    }
    return all;
}

std::vector<Choice> Score::Evaluation::Candidates() const
{
    std::vector<Choice> candidates;
    const auto add = [&](const Choice &choice) {
        if (candidates.size() < MostAlternatives && std::find(candidates.begin(), candidates.end(), choice) == candidates.end())
            candidates.push_back(choice);
    };
    Choice sum = None();
    const double nothing = Of(None());
    for (size_t i = 0; i < m_count; ++i)
        sum[i] = OfOne(i) > nothing + Tolerance;
    add(sum);
    for (const Condition &condition : m_conditions) {
        if (!Scores(condition))
            continue;
        for (const Literals &literals : Alternatives(condition.Root, false)) {
            Choice choice = None();
            for (size_t i = 0; i < m_count; ++i)
                choice[i] = literals[i] > 0;
            add(choice);
        }
    }
    return candidates;
}

// SCORE where there is one, else the first variable that is set and does not count
// mistakes.
QString Score::Variable() const
{
    const auto countsMistakes = [](const QString &name) { return name.contains("INCORRECT"_L1) || name.contains("WRONG"_L1); };
    QString first;
    for (const Condition &condition : m_conditions) {
        for (const Change &change : condition.Changes) {
            if (change.Variable == "SCORE"_L1)
                return change.Variable;
            if (first.isEmpty() && !countsMistakes(change.Variable))
                first = change.Variable;
        }
    }
    return first;
}

Score::Key Score::KeyOf(const QStringList &options, bool isMultiple) const
{
    const Evaluation evaluation(*this, options);
    Choice right = evaluation.None();
    if (options.size() > MostOptions)
        return { right, {} };
    if (m_hasUnknown || m_nodes > MostNodes)
        return { {}, Inexpressible };
    std::vector<Choice> candidates;
    if (isMultiple) {
        candidates = evaluation.Candidates();
    } else {
        for (size_t i = 0; i < right.size(); ++i) {
            candidates.push_back(evaluation.None());
            candidates.back()[i] = true;
        }
    }
    double best = std::max(0.0, evaluation.Of(evaluation.None()));
    std::vector<Choice> winners;
    for (const Choice &choice : candidates) {
        const double score = evaluation.Of(choice);
        if (score > best + Tolerance) {
            best = score;
            winners.clear();
        }
        if (score > best - Tolerance && score > Tolerance)
            winners.push_back(choice);
    }
    if (winners.empty())
        return { right, {} };
    const auto least = std::find_if(winners.begin(), winners.end(), [&](const Choice &choice) {
        return std::all_of(winners.begin(), winners.end(), [&](const Choice &other) { return IsSubset(choice, other); });
    });
    if (least == winners.end())
        return { {}, isMultiple ? Inexpressible : u"several answers are right alone"_s };
    if (!isMultiple)
        return { *least, {} };
    // No other option makes it better, and none of it can be missed.
    for (size_t i = 0; i < right.size(); ++i) {
        Choice other = *least;
        other[i] = !other[i];
        const double score = evaluation.Of(other);
        if (score > best + Tolerance || (!other[i] && score > best - Tolerance))
            return { {}, Inexpressible };
    }
    return { *least, {} };
}

}
