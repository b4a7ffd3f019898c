// SPDX-License-Identifier: Apache-2.0
#include "bank/Qti2Processing.h"

#include "bank/Qti2Content.h"

using namespace Qt::Literals::StringLiterals;

namespace Qti2 {

namespace {

// Of one condition, and of one value; none that feedback is written for has more.
constexpr qsizetype MostValues = 16;

void AddTo(QStringList &values, const QStringList &others)
{
    values += others.mid(0, MostValues - values.size());
}

// The values in an expression.
struct Operands {
    QStringList Values;
    bool HasCorrect = false; // the correct response of a declaration
};

void ReadOperands(Xml::Reader &reader, Operands &operands)
{
    if (Is(reader, "not"_L1)) {
        Operands others;
        while (reader.NextChild())
            ReadOperands(reader, others);
        if (others.HasCorrect)
            AddTo(operands.Values, { Processing::Incorrect });
        return;
    }
    operands.HasCorrect = operands.HasCorrect || Is(reader, "correct"_L1);
    if (Is(reader, "baseValue"_L1)) {
        AddTo(operands.Values, { reader.Text().trimmed() });
        return;
    }
    while (reader.NextChild())
        ReadOperands(reader, operands);
}

class Rules {
public:
    explicit Rules(Processing &processing)
        : m_processing(processing)
    {
    }

    // The current element has rules that hold under the condition.
    void Read(Xml::Reader &reader, const QStringList &condition)
    {
        while (reader.NextChild())
            ReadRule(reader, condition);
    }

    void ReadRule(Xml::Reader &reader, const QStringList &condition)
    {
        if (Is(reader, "setOutcomeValue"_L1)) {
            Operands set;
            ReadOperands(reader, set);
            for (const QString &value : set.Values)
                AddTo(m_processing.Conditions[value], condition);
        } else if (Is(reader, "responseCondition"_L1)) {
            ReadCondition(reader, condition);
        } else {
            reader.Skip();
        }
    }

private:
    void ReadCondition(Xml::Reader &reader, const QStringList &outer)
    {
        bool wasCorrect = false;
        while (reader.NextChild()) {
            if (Is(reader, "responseElse"_L1)) {
                Read(reader, wasCorrect ? QStringList(Processing::Incorrect) : outer);
            } else if (reader.NextChild()) {
                Operands operands;
                ReadOperands(reader, operands);
                wasCorrect = wasCorrect || operands.HasCorrect;
                Read(reader, operands.Values);
            }
        }
    }

    Processing &m_processing;
};

}

Processing Processing::Of(Xml::Reader &reader)
{
    Processing processing;
    Rules rules(processing);
    while (reader.NextChild()) {
        processing.HasRules = true;
        rules.ReadRule(reader, {});
    }
    return processing;
}

}
