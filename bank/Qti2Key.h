// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Xml.h"

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

namespace Qti2 {

// What a declaration of a variable says of its values.
struct Key {
    QString Cardinality;
    QStringList Defaults;
    QStringList Correct;
    // What each choice is worth, and what those are that are not named.
    QHash<QString, double> Worth;
    double OtherWorth = 0;

    // Of the current element, which is read to its end.
    static Key Of(Xml::Reader &reader);

    // Nothing in it says what is right.
    bool IsEmpty() const { return Correct.isEmpty() && Worth.isEmpty(); }
    // The identifiers of what is right: the correct ones; or without them each choice
    // that is worth something, or only those that are worth most.
    QSet<QString> Right(const QStringList &choices, bool isMultiple) const;
};

}
