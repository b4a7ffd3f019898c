// SPDX-License-Identifier: Apache-2.0
#include "model/Exam.h"

#include "common/Common.h"
#include "model/RecordIO.h"

using namespace ExamFormat;
using namespace Qt::Literals::StringLiterals;

namespace {

void OpenExam(File &file, const QString &path)
{
    file.OpenFile(path, File::BinaryMode, File::ReadAccess, File::OpenExisting);
    RequireFileSize(file.ByteSize());
}

// The header up to the name. A file that ends inside it yields what is there.
void ReadReserved(File &file, QByteArray &block)
{
    ReadLimited(file, block, MostReservedBytes, ReservedTooLong);
}

void ReadTitle(File &file, QString &title, const QString &what)
{
    ReadLimited(file, title, MostTitleCharacters, [&] { return TitleTooLong(what); });
}

}

bool Exam::LoadHeader(const QString &Path)
{
    return WithSource(u"Exam::LoadHeader()", [&] {
        File file;
        OpenExam(file, Path);
        ReadReserved(file, m_reserved);
        ReadTitle(file, m_code, u"code"_s);
        ReadTitle(file, m_name, u"name"_s);
        file.ReadData(m_maxScore);
        file.ReadData(m_passScore);
        file.ReadData(m_duration);
        m_fileName = Path;
        return true;
    });
}

bool Exam::Load(const QString &Path)
{
    return WithSource(u"Exam::Save()", [&] {
        File file;
        OpenExam(file, Path);
        m_questions.Clear();
        Deserialize(file);
        file.CloseFile();
        m_fileName = Path;
        return true;
    });
}

void Exam::RequireLimits() const
{
    RequireReserved(m_reserved.size());
    RequireTitle(m_code.size(), u"code"_s);
    RequireTitle(m_name.size(), u"name"_s);
    RequireCount(m_questions.Count(), Question::Plural());
    qint64 bytes = ShortestHeader + m_reserved.size() + m_code.size() + m_name.size();
    qint64 options = 0;
    for (const auto &question : m_questions) {
        RequireCount(question->Choices().Count(), Choice::Plural());
        RequireItemCharacters(question->Characters());
        RequireOptionsInAll(options += question->Choices().Count());
        RequireFileSize(bytes += question->RecordBytes());
    }
    RequireFileSize(bytes);
}

bool Exam::Save(const QString &Path)
{
    return WithSource(u"Exam::Save()", [&] {
        // Before the file that is there is emptied.
        RequireLimits();
        File file;
        file.OpenFile(Path, File::BinaryMode, File::WriteAccess, File::CreateAlways);
        Serialize(file);
        m_fileName = Path;
        file.CloseFile();
        return false;
    });
}

qint16 Exam::CalculateScore() const
{
    const auto isRight = [](const auto &question) { return question->Answer() == question->CorrectAnswer(); };
    const qint16 correct = Common::ToInt16(static_cast<double>(std::count_if(m_questions.begin(), m_questions.end(), isRight)));
    if (m_questions.Count() == 0)
        throw Error::RunTime(DivisionByZero);
    return Common::ToInt16(static_cast<double>(correct) / m_questions.Count() * m_maxScore);
}

bool Exam::Serialize(File &file) const
{
    file.WriteData(m_reserved, WithCount);
    file.WriteData(m_code, WithCount);
    file.WriteData(m_name, WithCount);
    file.WriteData(m_maxScore);
    file.WriteData(m_passScore);
    file.WriteData(m_duration);
    return m_questions.Serialize(file);
}

bool Exam::Deserialize(File &file)
{
    ReadReserved(file, m_reserved);
    RequireWhole(file);
    ReadTitle(file, m_code, u"code"_s);
    RequireWhole(file);
    ReadTitle(file, m_name, u"name"_s);
    RequireWhole(file);
    Read(file, m_maxScore);
    Read(file, m_passScore);
    Read(file, m_duration);
    return m_questions.Deserialize(file);
}
