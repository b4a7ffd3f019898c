// SPDX-License-Identifier: Apache-2.0
#include "model/Question.h"

#include "common/Common.h"
#include "model/RecordIO.h"

QString Question::Explaination() const
{
    return Common::TrimBlanks(StoredExplaination());
}

qint16 Question::AnswerCount() const
{
    return Common::ToInt16(static_cast<double>(
        std::count_if(m_choices.begin(), m_choices.end(), [](const auto &choice) { return choice->IsSolution(); })));
}

QString Question::CorrectAnswer() const
{
    QString answer;
    for (const auto &choice : m_choices) {
        if (!choice->IsSolution())
            continue;
        if (!answer.isEmpty())
            answer += u',';
        answer += QString::number(choice->Number());
    }
    return answer;
}

void Question::CalculateSolutionCount()
{
    m_solutionCount = AnswerCount();
}

qint64 Question::RecordBytes(const Ansi::CodePage &page) const
{
    qint64 bytes
        = ShortestRecord + m_exhibit.size() + page.FromText(Problem()).size() + page.FromText(StoredExplaination()).size();
    for (const auto &choice : m_choices)
        bytes += choice->RecordBytes(page);
    return bytes;
}

qint64 Question::Characters() const
{
    qint64 count = Problem().size() + StoredExplaination().size();
    for (const auto &choice : m_choices)
        count += choice->Statement().size();
    return count;
}

bool Question::Serialize(File &file) const
{
    file.WriteData(m_number);
    file.WriteData(m_solutionCount);
    file.WriteData(m_hasHint);
    file.WriteData(m_exhibit, ExamFormat::WithCount);
    CryptoAPI::WriteSecureData(file, Problem());
    CryptoAPI::WriteSecureData(file, StoredExplaination());
    return m_choices.Serialize(file);
}

bool Question::Deserialize(File &file)
{
    const quint32 begin = file.Position();
    ExamFormat::Read(file, m_number);
    ExamFormat::Read(file, m_solutionCount);
    ExamFormat::Read(file, m_hasHint);
    ExamFormat::Read(file, m_exhibit, ExamFormat::WithCount);
    ExamFormat::ReadSealed(file, m_problem);
    ExamFormat::ReadSealed(file, m_explaination);
    m_choices.Deserialize(file);
    // A character has a byte in the file at least, so few items have to be counted.
    if (file.Position() - begin > ExamFormat::MostItemCharacters)
        ExamFormat::RequireItemCharacters(Characters());
    return true;
}

template class Collection<Question>;
