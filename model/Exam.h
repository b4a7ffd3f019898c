// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/Question.h"

#include <QByteArray>
#include <QString>

// The document: one practice exam and the state of the sitting on it. Content
// is loaded and saved; answers, marks and IsEnded live in memory only.
class Exam : public ISerializable {
public:
    // Reads code, name, scores and duration, and leaves Questions alone. A file
    // that ends inside them yields what was there. True, or an error under
    // "Exam::LoadHeader()", Overflow for a file beyond ExamFormat::LargestFile
    // and for a code or a name beyond ExamFormat::MostTitleCharacters.
    bool LoadHeader(const QString &Path);
    // Replaces the items, and every other field that is not empty in the file.
    // True, or an error under "Exam::Save()"; InputPastEnd when the file ends
    // too early, Overflow for an exam beyond the limits of ExamFormat.
    bool Load(const QString &Path);
    // Writes the file in place. Always false: only a raised error, under
    // "Exam::Save()", reports a failure. What Load would refuse is not written,
    // and the file that is there stays as it is: Overflow.
    bool Save(const QString &Path);

    // Setting one of them writes the block of CodePage anew, and the plain text
    // behind it.
    const QString &Code() const { return m_code; }
    void SetCode(const QString &code);
    const QString &Name() const { return m_name; }
    void SetName(const QString &name);
    // Minutes.
    qint16 Duration() const { return m_duration; }
    void SetDuration(qint16 duration) { m_duration = duration; }
    qint16 MaxScore() const { return m_maxScore; }
    void SetMaxScore(qint16 score) { m_maxScore = score; }
    qint16 PassScore() const { return m_passScore; }
    void SetPassScore(qint16 score) { m_passScore = score; }
    // The block at the start of the file, kept for Save: opaque, or the one that
    // CodePage comes from.
    const QByteArray &Reserved() const { return m_reserved; }
    // The page that the block names for the texts of the items, whatever the system's;
    // 0 without such a block, when all texts are in the system's page.
    int CodePage() const { return m_codePage; }
    // Puts a block for that page, which Ansi::IsSupported, in the place of any other;
    // 0 takes it away and leaves an opaque block alone. Raises InvalidCall.
    void SetCodePage(int page);

    // The path last loaded or saved, as it was given.
    const QString &FileName() const { return m_fileName; }
    ::Questions &Questions() { return m_questions; }
    const ::Questions &Questions() const { return m_questions; }

    bool IsEnded() const { return m_isEnded; }
    void EndExam() { m_isEnded = true; }

    // correct items ÷ items × MaxScore, ties to even; an item is right when its
    // Answer equals its CorrectAnswer to the letter. Raises DivisionByZero for
    // an exam without items, and Overflow.
    qint16 CalculateScore() const;

    bool Serialize(File &file) const override;
    bool Deserialize(File &file) override;

private:
    // Raises Overflow for what Load refuses.
    void RequireLimits() const;
    // Reserved block, code and name, each followed by what the function does.
    template <class After> void ReadTitles(File &file, const After &after);
    const Ansi::CodePage &SealedPage() const;

    QString m_code;
    QString m_name;
    qint16 m_duration = 0;
    qint16 m_maxScore = 0;
    qint16 m_passScore = 0;
    QByteArray m_reserved;
    int m_codePage = 0;
    // With a code page: the bytes behind the block, as they are in the file.
    QByteArray m_plainCode;
    QByteArray m_plainName;
    bool m_isEnded = false;
    QString m_fileName;
    ::Questions m_questions;
};
