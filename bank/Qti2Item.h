// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Bank.h"

#include <QByteArray>
#include <QString>

#include <vector>

// Reads one item of QTI 2 or QTI 3.
namespace Qti2 {

// A passage in a file of its own that an item refers to.
struct StimulusRef {
    QString Path; // in the package; empty when it leads out of it
    QString Name; // as it is written
};

struct ParsedItem {
    Bank::Item Item; // without Entry, Category, Passage and Files
    // It has a text, but nothing to answer; Item.Problem is its text though it has a
    // Refusal.
    bool IsDescription = false;
    std::vector<StimulusRef> Stimuli;
};

// The item of a file; folder is the file's in its package. Raises InvalidCall as
// Xml::Reader does, also where the root is no item.
ParsedItem ReadItem(const QByteArray &bytes, const QString &name, const QString &folder);

// The text of a passage's file, in the same way; what is lost of it is added to the
// warnings.
Markup::Text ReadStimulus(const QByteArray &bytes, const QString &name, const QString &folder, QStringList &warnings);

}
