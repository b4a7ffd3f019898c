// SPDX-License-Identifier: Apache-2.0
#include "bank/Qti1Evaluation.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Qti1 {

namespace {

// Some programs write the name of the highest value, such as "SCORE.max".
double ValueOf(const QString &text)
{
    constexpr double full = 100;
    return text.endsWith(".max"_L1, Qt::CaseInsensitive) ? full : text.toDouble();
}

}

void Score::Read(Xml::Reader &reader)
{
    while (reader.NextChild()) {
        if (reader.Name() == u"respcondition")
            ReadCondition(reader);
        else
            reader.Skip();
    }
}

void Score::ReadCondition(Xml::Reader &reader)
{
    Condition condition;
    if (const QString word = reader.Attribute("continue"_L1).toLower(); !word.isEmpty())
        condition.Continues = word == "yes"_L1;
    const bool hadUnknown = m_hasUnknown;
    while (reader.NextChild()) {
        if (reader.Name() == u"conditionvar") {
            ReadParts(reader, condition.Root);
        } else if (reader.Name() == u"setvar") {
            Change change{ reader.Attribute("varname"_L1).toUpper(), reader.Attribute("action"_L1).toLower() };
            if (change.Variable.isEmpty())
                change.Variable = u"SCORE"_s;
            change.Value = ValueOf(reader.Text().trimmed());
            condition.Changes.push_back(change);
        } else {
            if (reader.Name() == u"displayfeedback")
                condition.Feedback += reader.Attribute("linkrefid"_L1);
            reader.Skip();
        }
    }
    if (condition.Changes.empty())
        m_hasUnknown = hadUnknown;
    if (++m_nodes <= MostNodes)
        m_conditions.push_back(std::move(condition));
}

void Score::ReadParts(Xml::Reader &reader, Node &node)
{
    while (reader.NextChild()) {
        Node part;
        ReadPart(reader, part);
        if (++m_nodes <= MostNodes)
            node.Parts.push_back(std::move(part));
    }
}

void Score::ReadPart(Xml::Reader &reader, Node &node)
{
    const QString name = reader.Name().toString();
    if (name == "and"_L1 || name == "or"_L1 || name == "not"_L1) {
        node.Test = name == "and"_L1 ? Test::And : name == "or"_L1 ? Test::Or : Test::Not;
        ReadParts(reader, node);
        return;
    }
    if (name == "varequal"_L1) {
        node.Test = Test::Equal;
        // Blackboard names some options by the response alone.
        const QString response = reader.Attribute("respident"_L1).trimmed();
        const QString option = reader.Text().trimmed();
        node.Option = option.isEmpty() ? response : option;
        m_hasComparisons = true;
        return;
    }
    node.Test = name == "other"_L1 ? Test::Other : name == "unanswered"_L1 ? Test::Unanswered : Test::Unknown;
    m_hasUnknown = m_hasUnknown || node.Test == Test::Unknown;
    reader.Skip();
}

Score::Link Score::LinkOf(size_t number, const Evaluation &evaluation) const
{
    const Condition &condition = m_conditions[number];
    const Node *node = &condition.Root;
    while ((node->Test == Test::And || node->Test == Test::Or) && node->Parts.size() == 1)
        node = &node->Parts.front();
    Link link;
    if (node->Test == Test::Equal) {
        link.Whom = Link::To::Option;
        link.Option = static_cast<int>(evaluation.NumberOf(node->Option));
    } else if (const bool isAlways = node->Parts.empty() && node->Test == Test::And;
               isAlways || (node->Test == Test::Other && number == 0)) {
        link.Whom = Link::To::All;
    } else {
        link.Whom = evaluation.Scores(condition) ? Link::To::Right : Link::To::Wrong;
    }
    return link;
}

std::vector<Score::Link> Score::Links(const QStringList &options, const Key &key) const
{
    const Evaluation evaluation(*this, options);
    std::vector<Link> links;
    QHash<QString, size_t> places;
    for (size_t i = 0; i < m_conditions.size(); ++i) {
        const Link link = LinkOf(i, evaluation);
        const auto isRight = [&](int option) {
            const auto at = static_cast<size_t>(option);
            return option >= 0 && at < key.Right.size() && key.Right[at];
        };
        for (const QString &feedback : m_conditions[i].Feedback) {
            const auto known = places.constFind(feedback);
            if (known == places.cend()) {
                places.insert(feedback, links.size());
                links.push_back({ feedback, link.Whom, link.Option });
            } else if (Link &first = links[*known]; first.Whom == Link::To::Option && first.Option != link.Option) {
                first.Whom = isRight(first.Option) ? Link::To::Right : Link::To::Wrong;
            }
        }
    }
    return links;
}

}
