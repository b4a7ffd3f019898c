// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "author/Draft.h"

#include <QByteArray>
#include <QHash>

#include <vector>

// What a build says of the questions that it read.
namespace BuildReport {

// The reasons why questions were left out, the most frequent first, as lines such as
// "12 left out: a matching question has no options"; reasons that differ in a name or
// a number alone are one. What does not fit in the lines is the last of them.
QStringList ReasonLines(const std::vector<Draft::Fate> &fates, int mostLines);

// A report with a line for each question, in their order: place, title, fate
// ("taken", "left out" or "not chosen"), reason and warnings.
QByteArray ToJson(const std::vector<Draft::Fate> &fates);
QByteArray ToHtml(const std::vector<Draft::Fate> &fates, const QString &title);

}
