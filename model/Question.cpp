// SPDX-License-Identifier: Apache-2.0
#include "model/Question.h"

#include "common/Ansi.h"
#include "common/Common.h"
#include "model/RecordIO.h"

QString Question::Explaination() const
{
    return Common::TrimBlanks(m_explaination);
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
    qint64 bytes = ShortestRecord + m_exhibit.size() + page.FromText(m_problem).size() + page.FromText(m_explaination).size();
    for (const auto &choice : m_choices)
        bytes += choice->RecordBytes(page);
    return bytes;
}

qint64 Question::Characters() const
{
    qint64 count = m_problem.size() + m_explaination.size();
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
    CryptoAPI::WriteSecureData(file, m_problem);
    CryptoAPI::WriteSecureData(file, m_explaination);
    return m_choices.Serialize(file);
}

bool Question::Deserialize(File &file)
{
    ExamFormat::Read(file, m_number);
    ExamFormat::Read(file, m_solutionCount);
    ExamFormat::Read(file, m_hasHint);
    ExamFormat::Read(file, m_exhibit, ExamFormat::WithCount);
    ExamFormat::ReadSealed(file, m_problem);
    ExamFormat::ReadSealed(file, m_explaination);
    m_choices.Deserialize(file);
    ExamFormat::RequireItemCharacters(Characters());
    return true;
}

template class Collection<Question>;
