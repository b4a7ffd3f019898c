// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>

#include <vector>

// What the items of question banks are until an exam is made of them: readable
// texts in Unicode, which still can be chosen from, shuffled and lettered.
namespace Draft {

struct Option {
    QString Statement;
    QString Feedback;
    bool IsRight = false;
    bool IsFixed = false; // keeps its place when options are shuffled
};

struct Item {
    QString Stem;
    std::vector<Draft::Option> Options;
    QString Feedback; // the general feedback
    QString Exhibit; // its name in the package; empty for none
    QString Category; // parted by "/"; empty for none
    bool IsLimited = false; // no more options can be ticked than are right
    bool KeepsOrder = false; // its options were to be shuffled and could not be
    size_t Fate = 0; // its place among the fates
};

// What became of a question of a bank.
struct Fate {
    QString Place; // "bank.gift:12", "bank.zip/item1.xml:3"
    QString Title; // empty when the source gives none
    QString Category; // parted by "/"; empty for none
    QString Reason; // why it was left out; empty when it was not
    QStringList Warnings;
    bool IsChosen = true; // false: taken, but not picked for the exam
};

}
