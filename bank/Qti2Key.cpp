// SPDX-License-Identifier: Apache-2.0
#include "bank/Qti2Key.h"

#include "bank/Qti2Content.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Qti2 {

namespace {

QStringList ReadValues(Xml::Reader &reader)
{
    QStringList values;
    while (reader.NextChild()) {
        if (!Is(reader, "value"_L1)) {
            reader.Skip();
            continue;
        }
        if (const QString value = reader.Text().trimmed(); !value.isEmpty())
            values.append(value);
    }
    return values;
}

void ReadMapping(Xml::Reader &reader, Key &key)
{
    key.OtherWorth = AttributeOf(reader, "defaultValue"_L1).toDouble();
    while (reader.NextChild()) {
        if (Is(reader, "mapEntry"_L1))
            key.Worth.insert(AttributeOf(reader, "mapKey"_L1), AttributeOf(reader, "mappedValue"_L1).toDouble());
        reader.Skip();
    }
}

}

Key Key::Of(Xml::Reader &reader)
{
    Key key;
    key.Cardinality = AttributeOf(reader, "cardinality"_L1);
    while (reader.NextChild()) {
        if (Is(reader, "correctResponse"_L1))
            key.Correct += ReadValues(reader);
        else if (Is(reader, "defaultValue"_L1))
            key.Defaults += ReadValues(reader);
        else if (Is(reader, "mapping"_L1))
            ReadMapping(reader, key);
        else
            reader.Skip();
    }
    return key;
}

QSet<QString> Key::Right(const QStringList &choices, bool isMultiple) const
{
    if (!Correct.isEmpty())
        return QSet<QString>(Correct.begin(), Correct.end());
    QSet<QString> right;
    double most = 0;
    for (const QString &choice : choices) {
        const double worth = Worth.value(choice, OtherWorth);
        if (!isMultiple && worth > most)
            right.clear();
        if (worth > 0 && (isMultiple || worth >= most))
            right.insert(choice);
        most = std::max(most, worth);
    }
    return right;
}

}
