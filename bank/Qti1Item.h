// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Bank.h"
#include "bank/Qti1Score.h"
#include "bank/Qti1Text.h"

#include <map>

namespace Qti1 {

// Reads one item of QTI 1.2.
class ItemReader {
public:
    // The folder is that of the file (see Texts), the files are those of its texts.
    ItemReader(Xml::Reader &reader, const QString &folder, std::shared_ptr<const Bank::Files> files);

    // Reads the current element, an item, and reads on to its end. The result has
    // line, title, texts, files, and key or refusal.
    Bank::Item Read();
    // Whether what was read asks nothing. Then its text is that of the Problem.
    bool IsDescription() const { return m_responses.empty(); }

private:
    struct Response {
        QString Kind; // the element, such as "response_lid"
        QString Cardinality;
        QString Renderer; // the element, such as "render_choice"
        QStringList Identifiers; // of the options
        std::vector<Bank::Option> Options;
    };

    void ReadMetadata();
    void ReadPresentation();
    void ReadResponse(Response &response);
    void ReadFeedback();
    QString RefusalOf() const;
    void Finish(Bank::Item &item);
    void AddFeedback(Bank::Item &item, const Score::Key &key, const QStringList &options);

    struct Feedback {
        Markup::Text Text;
        Markup::Text Solution;
        bool IsUsed = false;
    };

    Xml::Reader &m_reader;
    Texts m_texts;
    QString m_type; // of the question, in the words of its program; empty: unknown
    Markup::Text m_stem;
    std::vector<Response> m_responses;
    Score m_score;
    std::map<QString, Feedback> m_feedback;
};

}
