// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>

#include <vector>

// What the columns of a table of questions mean.
namespace TableColumns {

// Numbers of columns from 0; -1 for one that the table does not have.
struct Columns {
    int Question = -1;
    // In the order of the letters A, B and so on. Only one: it holds all options.
    std::vector<int> Options;
    // Options are the wrong ones, and the key is the text of the right one.
    bool AreDistractors = false;
    // Of the feedback to each option; empty, or as many as Options.
    std::vector<int> Feedback;
    int Key = -1;
    int Explanation = -1;
    int Picture = -1;
    int Category = -1;
    int Title = -1;
    // The options are called by the letters of the Cyrillic alphabet.
    bool HasCyrillicLetters = false;

    bool IsUsed(int column) const;
};

// By the names in the first row, which may be English, German, French, Spanish,
// Italian, Portuguese, Polish, Dutch, Russian, Ukrainian, Chinese or Japanese.
Columns ByNames(const QStringList &names);

// Whether there is enough to say that these are names and the table one of questions.
bool AreKnown(const Columns &columns);

// Whether a column of that name is known and has no use here, such as "points".
bool IsWithoutUse(const QString &name);

// What Options::Columns says.
struct Request {
    struct Entry {
        QString Meaning;
        QStringList Values; // numbers from 1, ranges of them, or names
    };
    std::vector<Entry> Entries;

    // A value is a name, so that the first row holds names.
    bool HasNames() const;
};

// Raises InvalidCall for a text that is none.
Request RequestOf(const QString &text);
// Puts the columns that are asked for in the place of those there are. Raises
// InvalidCall for one that the table does not have.
void Apply(const Request &request, const QStringList &names, Columns &columns);

// The names as a sentence lists them, of many only the first.
QString Listed(const QStringList &names);

// Whether the word stands before the letter or the number of an option, such as
// "Answer" in "Answer B".
bool IsOptionWord(QStringView word);

}
