// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "author/Draft.h"
#include "author/Exhibits.h"
#include "bank/Bank.h"

#include <QHash>

#include <functional>
#include <optional>

// Turns the items of question banks into drafts, one by one, and keeps what
// became of each.
class Assembler : public Bank::Receiver {
public:
    struct Settings {
        // Looked through for pictures before what the source itself offers; null
        // for none.
        std::shared_ptr<const Bank::Files> Pictures = {};
        // The page that all texts have to fit; 0: none yet.
        int CodePage = 0;
        // Options keep the letters that they carry themselves.
        bool KeepsLetters = false;
        // Arrows and relations become "->", "<=".
        bool IsAscii = false;
        // A picture that cannot be had leaves its item out.
        bool NeedsPictures = false;
        // More items are not built: the exam takes the first ones. Nothing: all are.
        std::optional<size_t> Room = {};
    };

    Assembler(Settings settings, Exhibits &exhibits);

    // The source that the next items come from, as messages name it.
    void Begin(const QString &source);
    // Called with each message, one line: what is left out and what is lost.
    std::function<void(const QString &line)> Report;

    void Add(Bank::Item &&item) override;
    void SetName(const QString &name) override;
    void Warn(int line, const QString &text) override;
    // The source as a whole cannot be read.
    void Refuse(const QString &reason);

    std::vector<Draft::Item> Items;
    std::vector<Draft::Fate> Fates;
    QString Name; // what the first bank calls itself; may be empty
    int Warnings = 0; // in all
    // The reason of what was left out because there was no room, without a message.
    static QString Full() { return QStringLiteral("the exam is full"); }

private:
    class Builder;

    Settings m_settings;
    Exhibits &m_exhibits;
    QString m_source;
    QHash<QString, QString> m_named; // the package's name of an exhibit, by the source's
};
