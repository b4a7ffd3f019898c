// SPDX-License-Identifier: Apache-2.0
#include "model/Exam.h"

#include "common/Common.h"
#include "model/RecordIO.h"
#include "model/TextEncoding.h"

using namespace ExamFormat;
using namespace Qt::Literals::StringLiterals;

namespace {

void OpenExam(File &file, const QString &path)
{
    file.OpenFile(path, File::BinaryMode, File::ReadAccess, File::OpenExisting);
    RequireFileSize(file.SizeAtOpening());
}

template <class Title> void ReadTitle(File &file, Title &title, const QString &what)
{
    ReadLimited(file, title, MostTitleCharacters, [&] { return TitleTooLong(what); });
}

}

void Exam::SetCode(const QString &code)
{
    m_code = code;
    if (m_codePage != 0) {
        m_reserved = TextEncoding::Write({ m_codePage, m_code, m_name });
        m_plainCode = TextEncoding::Plain(m_code, m_codePage);
    }
}

void Exam::SetName(const QString &name)
{
    m_name = name;
    if (m_codePage != 0) {
        m_reserved = TextEncoding::Write({ m_codePage, m_code, m_name });
        m_plainName = TextEncoding::Plain(m_name, m_codePage);
    }
}

void Exam::SetCodePage(int page)
{
    if (page != 0 && !Ansi::IsSupported(page))
        throw Error::RunTime(InvalidCall);
    if (std::exchange(m_codePage, page) != 0)
        m_reserved.clear();
    SetCode(m_code);
    SetName(m_name);
}

const Ansi::CodePage &Exam::SealedPage() const
{
    return m_codePage != 0 ? Ansi::PageOf(m_codePage) : Ansi::SystemCodePage();
}

template <class After> void Exam::ReadTitles(File &file, const After &after)
{
    // An opaque block stays when the file has none, as every field does. One that says
    // how another file is written says nothing of this one.
    SetCodePage(0);
    ReadLimited(file, m_reserved, MostReservedBytes, ReservedTooLong);
    const auto block = TextEncoding::Read(m_reserved);
    if (block) {
        m_codePage = block->CodePage;
        m_code = block->Code;
        m_name = block->Name;
        m_plainCode.clear();
        m_plainName.clear();
    }
    const auto read = [&](auto &title, const QString &what) {
        after();
        ReadTitle(file, title, what);
    };
    if (block) {
        read(m_plainCode, u"code"_s);
        read(m_plainName, u"name"_s);
    } else {
        read(m_code, u"code"_s);
        read(m_name, u"name"_s);
    }
    after();
}

bool Exam::LoadHeader(const QString &Path)
{
    return WithSource(u"Exam::LoadHeader()", [&] {
        File file;
        OpenExam(file, Path);
        // A file that ends inside it yields what is there.
        ReadTitles(file, [] {});
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
    qint64 bytes = ShortestHeader + m_reserved.size();
    bytes += m_codePage != 0 ? m_plainCode.size() + m_plainName.size() : m_code.size() + m_name.size();
    qint64 options = 0;
    for (const auto &question : m_questions) {
        RequireCount(question->Choices().Count(), Choice::Plural());
        RequireItemCharacters(question->Characters());
        RequireOptionsInAll(options += question->Choices().Count());
        RequireFileSize(bytes += question->RecordBytes(SealedPage()));
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
    if (m_codePage != 0) {
        file.WriteData(m_plainCode, WithCount);
        file.WriteData(m_plainName, WithCount);
    } else {
        file.WriteData(m_code, WithCount);
        file.WriteData(m_name, WithCount);
    }
    file.WriteData(m_maxScore);
    file.WriteData(m_passScore);
    file.WriteData(m_duration);
    file.SetSealedPage(SealedPage());
    return m_questions.Serialize(file);
}

bool Exam::Deserialize(File &file)
{
    ReadTitles(file, [&] { RequireWhole(file); });
    Read(file, m_maxScore);
    Read(file, m_passScore);
    Read(file, m_duration);
    file.SetSealedPage(SealedPage());
    return m_questions.Deserialize(file);
}
