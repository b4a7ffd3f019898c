// SPDX-License-Identifier: Apache-2.0
#include "author/Package.h"

#include "author/TextPage.h"
#include "common/Common.h"
#include "model/ExamFormat.h"
#include "model/Globals.h"
#include "model/IO.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Package {

namespace {

// The general feedback, then that of each option after its letter.
QString ExplanationOf(const Draft::Item &item)
{
    QStringList lines;
    qint16 number = 0;
    for (const Draft::Option &option : item.Options) {
        ++number;
        if (!option.Feedback.isEmpty())
            lines.append(Globals::OptionLetter(number) + u": "_s + option.Feedback);
    }
    QStringList parts = { item.Feedback, lines.join(u'\n') };
    parts.removeAll(QString());
    return parts.join(u"\n\n"_s);
}

int PageFor(const std::vector<Draft::Item> &items, const Header &header)
{
    TextPage::Repertoire characters;
    characters.Add(header.Code);
    characters.Add(header.Name);
    for (const Draft::Item &item : items) {
        characters.Add(item.Stem);
        characters.Add(item.Feedback);
        for (const Draft::Option &option : item.Options) {
            characters.Add(option.Statement);
            characters.Add(option.Feedback);
        }
    }
    return characters.IsAscii() ? 0 : characters.NarrowestPage();
}

std::shared_ptr<Question> QuestionOf(const Draft::Item &item, int page)
{
    const auto fitted = [page](const QString &text) { return page == 0 ? text : TextPage::Fitted(text, page); };
    auto question = std::make_shared<Question>();
    question->SetProblem(fitted(item.Stem));
    for (const Draft::Option &option : item.Options) {
        auto choice = std::make_shared<Choice>();
        choice->SetStatement(fitted(option.Statement));
        choice->SetIsSolution(option.IsRight);
        question->Choices().Add(std::move(choice));
    }
    question->Choices().ResetNumbers();
    question->CalculateSolutionCount();
    question->SetHasHint(item.IsLimited);
    question->SetExplaination(fitted(ExplanationOf(item)));
    question->SetExhibit(item.Exhibit);
    return question;
}

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

std::shared_ptr<Exam> Compose(const std::vector<Draft::Item> &items, const Header &header, int page)
{
    if (page == 0)
        page = PageFor(items, header);
    auto exam = std::make_shared<Exam>();
    exam->SetCodePage(page);
    exam->SetCode(header.Code);
    exam->SetName(header.Name);
    exam->SetMaxScore(header.MaxScore);
    exam->SetPassScore(header.PassScore);
    exam->SetDuration(header.Minutes);
    for (const Draft::Item &item : items)
        exam->Questions().Add(QuestionOf(item, page));
    exam->Questions().ResetNumbers();
    return exam;
}

}
