// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/Choice.h"

#include <QString>

// One item: stem, options, key, exhibit and explanation, and for the running
// sitting the candidate's answer and mark, which no file ever holds.
class Question : public ISerializable {
public:
    static constexpr qint64 ShortestRecord = ExamFormat::QuestionBytes;
    static QString Plural() { return QStringLiteral("items"); }

    qint16 Number() const { return m_number; }
    void SetNumber(qint16 number) { m_number = number; }
    // As stored in the file, until CalculateSolutionCount brings it up to date.
    qint16 SolutionCount() const { return m_solutionCount; }
    // Whether the candidate may tick no more options than are right.
    bool HasHint() const { return m_hasHint; }
    void SetHasHint(bool hasHint) { m_hasHint = hasHint; }
    QString Problem() const { return m_problem.Text(); }
    void SetProblem(const QString &problem) { m_problem.Set(problem); }
    // Without the blanks at both ends; the stored text keeps them.
    QString Explaination() const;
    QString StoredExplaination() const { return m_explaination.Text(); }
    void SetExplaination(const QString &explaination) { m_explaination.Set(explaination); }
    // A file name beside the exam file; empty for an item without an exhibit.
    const QString &Exhibit() const { return m_exhibit; }
    void SetExhibit(const QString &exhibit) { m_exhibit = exhibit; }
    bool HasExhibit() const { return !m_exhibit.isEmpty(); }
    // Option numbers in the form of CorrectAnswer; empty for no answer.
    const QString &Answer() const { return m_answer; }
    void SetAnswer(const QString &answer) { m_answer = answer; }
    bool IsMarked() const { return m_isMarked; }
    void SetIsMarked(bool isMarked) { m_isMarked = isMarked; }

    ::Choices &Choices() { return m_choices; }
    const ::Choices &Choices() const { return m_choices; }

    // How many choices are solutions, counted anew. Raises Overflow.
    qint16 AnswerCount() const;
    // The numbers of the solutions in collection order, such as "1,3".
    QString CorrectAnswer() const;
    void CalculateSolutionCount();

    // Of the question, its choices and its explanation together.
    qint64 Characters() const;
    // The length in bytes of what Serialize writes to a file with that SealedPage.
    qint64 RecordBytes(const Ansi::CodePage &page) const;
    bool Serialize(File &file) const override;
    bool Deserialize(File &file) override;

private:
    qint16 m_number = 0;
    qint16 m_solutionCount = 0;
    bool m_hasHint = false;
    bool m_isMarked = false;
    StoredText m_problem;
    StoredText m_explaination;
    QString m_exhibit;
    QString m_answer;
    ::Choices m_choices;
};

using Questions = Collection<Question>;
