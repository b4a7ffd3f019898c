// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/Collection.h"
#include "model/ExamFormat.h"
#include "model/StoredText.h"

#include <QString>

// One answer option of an item.
class Choice : public ISerializable {
public:
    static constexpr qint64 ShortestRecord = ExamFormat::ChoiceBytes;
    static QString Plural() { return QStringLiteral("options"); }

    qint16 Number() const { return m_number; }
    void SetNumber(qint16 number) { m_number = number; }
    QString Statement() const { return m_statement.Text(); }
    void SetStatement(const QString &statement) { m_statement.Set(statement); }
    bool IsSolution() const { return m_isSolution; }
    void SetIsSolution(bool isSolution) { m_isSolution = isSolution; }

    // The length in bytes of what Serialize writes to a file with that SealedPage.
    qint64 RecordBytes(const Ansi::CodePage &page) const;
    bool Serialize(File &file) const override;
    bool Deserialize(File &file) override;

private:
    qint16 m_number = 0;
    bool m_isSolution = false;
    StoredText m_statement;
};

using Choices = Collection<Choice>;
