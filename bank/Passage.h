// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Bank.h"

namespace Bank {

// The passage that the items behind it share. Descriptions that follow one another
// are its paragraphs; one behind an item begins a new passage.
class Passage {
public:
    explicit Passage(Receiver &receiver)
        : m_receiver(receiver)
    {
    }

    // The entry is the file in a package that holds the line; empty outside packages.
    void Take(int line, const Markup::Text &description, const QString &entry = {});
    // Gives the item what it shares; nothing to one that is refused. Refuses it once
    // all that was given exceeds MostCharacters.
    void Give(Item &item);
    // What it belongs to ends. A passage that no item follows is warned of.
    void End();

    // Each item has a copy in the exam.
    static constexpr qint64 MostCharacters = 32 << 20;

private:
    Receiver &m_receiver;
    Markup::Text m_text;
    int m_line = 0;
    QString m_entry;
    qint64 m_given = 0; // characters
    bool m_isPending = false; // no item follows yet
};

// Appends a text to another in a paragraph of its own. Both become HTML where they
// are not of one kind.
void Append(Markup::Text &text, const Markup::Text &paragraph);

}
