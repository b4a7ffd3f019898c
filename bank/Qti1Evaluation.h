// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Qti1Score.h"

namespace Qti1 {

// The scores of responses to one item, whose conditions it looks at.
class Score::Evaluation {
public:
    Evaluation(const Score &score, const QStringList &options)
        : m_conditions(score.m_conditions)
        , m_variable(score.Variable())
        , m_count(static_cast<size_t>(options.size()))
    {
        for (qsizetype i = options.size() - 1; i >= 0; --i)
            m_numbers.insert(options.at(i), i);
    }

    // -1 for an unknown one.
    qsizetype NumberOf(const QString &option) const { return m_numbers.value(option, -1); }
    Choice None() const { return Choice(m_count, false); }
    double Of(const Choice &choice) const;
    double OfOne(size_t option) const;
    // Whether the condition raises the score.
    bool Scores(const Condition &condition) const;
    // The responses that may have the highest score: what the scoring conditions
    // name, and all that adds to the score by itself.
    std::vector<Choice> Candidates() const;

private:
    bool Holds(const Node &node, const Choice &choice, bool isAnyBefore) const;
    double After(const Condition &condition, double score) const;
    // The ways in which a condition can hold. Too many are none.
    std::vector<Literals> Alternatives(const Node &node, bool isNegated) const;
    std::vector<Literals> Leaf(const Node &node, bool isNegated) const;

    const std::vector<Condition> &m_conditions;
    QString m_variable;
    size_t m_count;
    QHash<QString, qsizetype> m_numbers;
};

}
