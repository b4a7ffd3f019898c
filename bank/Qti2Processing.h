// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Xml.h"

#include <QHash>
#include <QString>
#include <QStringList>

namespace Qti2 {

// What the response processing of an item tells of its feedback.
struct Processing {
    // Stands for every answer that is not the correct one.
    static constexpr QLatin1StringView Incorrect = QLatin1StringView("incorrect");

    // It is written out, and not only named.
    bool HasRules = false;
    // For each value that an outcome is set to, the values that something is compared
    // with in the condition for it.
    QHash<QString, QStringList> Conditions;

    // Of the current element, which is read to its end.
    static Processing Of(Xml::Reader &reader);
};

}
