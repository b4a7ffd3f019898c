// SPDX-License-Identifier: Apache-2.0
#include "author/Package.h"

#include "console/Console.h"
#include "author/Limits.h"
#include "markup/PlainText.h"
#include "common/Ansi.h"
#include "common/Common.h"
#include "common/Error.h"
#include "model/ExamFormat.h"
#include "model/Globals.h"
#include "model/IO.h"
#include "picture/Picture.h"

#include <QDir>
#include <QHash>

using namespace Qt::Literals::StringLiterals;

namespace Package {

namespace {

// Thrown for an item that cannot become part of the exam.
struct LeftOutBecause {
    QString Reason;
};

QString CodeOf(char32_t character)
{
    return u"U+"_s + QString::number(character, 16).toUpper().rightJustified(4, u'0');
}

QString Described(char32_t character)
{
    return u"\"%1\" (%2)"_s.arg(QString::fromUcs4(&character, 1), CodeOf(character));
}

void RequireNoControl(const QString &text)
{
    if (const QString control = ControlCharacter(text); !control.isEmpty())
        throw LeftOutBecause{ u"it holds the control character %1"_s.arg(control) };
}

// The text in a form that the code page can encode: with precomposed characters
// if need be.
QString Encodable(const QString &text)
{
    const Ansi::CodePage &page = Ansi::SystemCodePage();
    if (page.CanHold(text))
        return text;
    const QString composed = text.normalized(QString::NormalizationForm_C);
    for (const char32_t character : composed.toUcs4()) {
        if (character == QChar::ReplacementCharacter)
            throw LeftOutBecause{ u"it holds bytes that are not UTF-8"_s };
        if (!page.CanHold(QString::fromUcs4(&character, 1)))
            throw LeftOutBecause{ u"the character %1 is not in code page %2"_s.arg(Described(character),
                                                                                   QString::number(page.Number())) };
    }
    return composed;
}

QString Prepared(const Markup::Text &text)
{
    // Before and after: rendering may drop one, or produce one from an entity.
    RequireNoControl(text.Source);
    const QString readable = PlainText::Readable(text);
    RequireNoControl(readable);
    return Encodable(readable);
}

// The general feedback, then that of each option after its letter.
QString ExplanationOf(const Bank::Item &item)
{
    QStringList lines;
    qint16 number = 0;
    for (const Bank::Option &option : item.Options) {
        ++number;
        if (const QString feedback = Prepared(option.Feedback); !feedback.isEmpty())
            lines.append(Globals::OptionLetter(number) + u": "_s + feedback);
    }
    QStringList parts = { Prepared(item.Feedback), lines.join(u'\n') };
    parts.removeAll(QString());
    return parts.join(u"\n\n"_s);
}

class Assembler {
public:
    Assembler(Content &content, QString pictureFolder)
        : m_content(content)
        , m_pictureFolder(std::move(pictureFolder))
    {
    }

    void Add(const Bank::Item &item)
    {
        try {
            if (m_content.Exam->Questions().Count() == Limits::MostItems)
                throw LeftOutBecause{ u"an exam holds no more than %1 items"_s.arg(Limits::MostItems) };
            m_content.Exam->Questions().Add(BuildQuestion(item));
        } catch (const LeftOutBecause &cause) {
            m_content.LeftOut.push_back({ item.Line, cause.Reason });
        }
    }

private:
    std::shared_ptr<Question> BuildQuestion(const Bank::Item &item)
    {
        if (!item.Refusal.isEmpty())
            throw LeftOutBecause{ item.Refusal };
        const auto count = static_cast<qint32>(item.Options.size());
        if (count < Limits::FewestOptions)
            throw LeftOutBecause{ u"it has fewer than %1 options"_s.arg(Limits::FewestOptions) };
        if (count > Limits::MostOptions)
            throw LeftOutBecause{ u"it has %1 options, and an exam has letters for %2"_s.arg(count).arg(Limits::MostOptions) };

        auto question = std::make_shared<Question>();
        question->SetProblem(Prepared(item.Problem));
        if (question->Problem().isEmpty())
            throw LeftOutBecause{ u"it has no question text"_s };
        for (const Bank::Option &option : item.Options)
            AddChoice(*question, option);
        question->Choices().ResetNumbers();
        question->CalculateSolutionCount();
        if (question->SolutionCount() == 0)
            throw LeftOutBecause{ u"no option is right"_s };
        question->SetHasHint(item.IsMultiple && !item.IsUnlimited);
        question->SetExplaination(ExplanationOf(item));
        if (question->Characters() > ExamFormat::MostItemCharacters)
            throw LeftOutBecause{ u"it has more than %1 characters"_s.arg(ExamFormat::MostItemCharacters) };
        if (item.Exhibit)
            question->SetExhibit(Exhibit(*item.Exhibit));
        return question;
    }

    static void AddChoice(Question &question, const Bank::Option &option)
    {
        auto choice = std::make_shared<Choice>();
        choice->SetStatement(Prepared(option.Statement));
        if (choice->Statement().isEmpty())
            throw LeftOutBecause{ u"option %1 is empty"_s.arg(question.Choices().Count() + 1) };
        choice->SetIsSolution(option.IsRight);
        question.Choices().Add(choice);
    }

    // The name, when the exam window can show that exhibit.
    QString Exhibit(const QString &name)
    {
        if (!IsPlainName(name))
            throw LeftOutBecause{ u"the exhibit \"%1\" is not a plain file name"_s.arg(name) };
        RequireNoControl(name);
        if (IO::GetExtension(name).compare(QStringView(ExamFormat::Extension), Qt::CaseInsensitive) == 0)
            throw LeftOutBecause{ u"the exhibit \"%1\" is named like an exam"_s.arg(name) };
        if (!HoldsPlain(name))
            throw LeftOutBecause{ u"the name of the exhibit \"%1\" is not in code page %2"_s.arg(
                name, QString::number(Ansi::SystemCodePage().Number())) };
        if (!m_faults.contains(name)) {
            m_faults.insert(name, FaultOf(name));
            if (m_faults.value(name).isEmpty())
                m_content.Pictures.append(name);
        }
        if (const QString fault = m_faults.value(name); !fault.isEmpty())
            throw LeftOutBecause{ u"the exhibit \"%1\": %2"_s.arg(name, fault) };
        return name;
    }

    QString FaultOf(const QString &name) const
    {
        try {
            Picture::Load(QDir(m_pictureFolder).absoluteFilePath(name));
        } catch (const Error &error) {
            return Console::OneLine(error);
        }
        return {};
    }

    Content &m_content;
    QString m_pictureFolder;
    QHash<QString, QString> m_faults; // by exhibit; empty: none
};

}

bool HoldsPlain(QStringView text)
{
    const Ansi::CodePage &page = Ansi::SystemCodePage();
    return page.CanHold(text) && page.FromText(text).size() == text.size();
}

QString ControlCharacter(QStringView text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        const bool isBreak = c == u'\n' || (c == u'\r' && text.sliced(i).startsWith(u"\r\n"));
        if (c.category() == QChar::Other_Control && c != u'\t' && !isBreak)
            return CodeOf(c.unicode());
    }
    return {};
}

bool IsPlainName(const QString &name)
{
    const bool hasSeparator = std::any_of(name.begin(), name.end(), [](QChar c) {
        return c == u'/' || c == u'\\' || c == u':' || c == u'"' || c.isNull();
    });
    return !name.isEmpty() && !hasSeparator && name != "."_L1 && name != ".."_L1 && name == Common::TrimBlanks(name);
}

QString ExamFileName(const QString &folder)
{
    QString name = IO::GetFileName(folder, false);
    return IO::ChangeExtension(name, QString::fromUtf16(ExamFormat::Extension));
}

Content Assemble(const std::vector<Bank::Item> &items, const Header &header, const QString &pictureFolder)
{
    Content content;
    content.Exam = std::make_shared<Exam>();
    content.Exam->SetCode(header.Code);
    content.Exam->SetName(header.Name);
    content.Exam->SetMaxScore(header.MaxScore);
    content.Exam->SetPassScore(header.PassScore);
    content.Exam->SetDuration(header.Minutes);
    Assembler assembler(content, pictureFolder);
    for (const Bank::Item &item : items)
        assembler.Add(item);
    content.Exam->Questions().ResetNumbers();
    return content;
}

}
