// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Xml.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace Qti1 {

// What is chosen of the options, in their order.
using Choice = std::vector<bool>;

// How an item of QTI 1.2 is scored (resprocessing), and what is said to a response.
class Score {
public:
    // Reads the current element, a resprocessing, and reads on to its end.
    void Read(Xml::Reader &reader);

    struct Key {
        Choice Right; // empty when there is a refusal
        QString Refusal; // why there is not exactly one key; empty when there is
    };
    // The key among options of these identifiers: the options, or of a single choice
    // the one, with the highest score above 0. None is right where nothing scores.
    Key KeyOf(const QStringList &options, bool isMultiple) const;

    // A feedback that is shown to some responses.
    struct Link {
        enum class To { All, Option, Right, Wrong };
        QString Feedback; // its identifier
        To Whom = To::All;
        int Option = -1; // for To::Option
    };
    // Each feedback once, in the order of the conditions, which are those of the key. One that belongs to several
    // options is said to right or wrong answers as a whole.
    std::vector<Link> Links(const QStringList &options, const Key &key) const;

    // Whether any response is compared with a text, as that of a short answer is.
    bool HasComparisons() const { return m_hasComparisons; }

    class Evaluation;

private:
    enum class Test { And, Or, Not, Equal, Other, Unanswered, Unknown };
    struct Node {
        Qti1::Score::Test Test = Qti1::Score::Test::And;
        QString Option; // for Equal
        std::vector<Node> Parts;
    };
    struct Change {
        QString Variable; // in upper case
        QString Action;
        double Value = 0;
    };
    struct Condition {
        Node Root;
        std::vector<Change> Changes;
        QStringList Feedback;
        std::optional<bool> Continues;
    };
    // The options that have to be chosen (1) or not (-1), or may be either (0).
    using Literals = std::vector<signed char>;

    void ReadCondition(Xml::Reader &reader);
    void ReadParts(Xml::Reader &reader, Node &node);
    void ReadPart(Xml::Reader &reader, Node &node);
    Link LinkOf(size_t condition, const Evaluation &evaluation) const;
    QString Variable() const;

    // No more of them are kept.
    static constexpr qint64 MostNodes = 20'000;

    std::vector<Condition> m_conditions;
    qint64 m_nodes = 0;
    bool m_hasComparisons = false;
    // A score depends on a test that is not about chosen options.
    bool m_hasUnknown = false;
};

}
