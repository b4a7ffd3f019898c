// SPDX-License-Identifier: Apache-2.0
#include "tests/support/ExamBuilder.h"

#include "model/Globals.h"
#include "model/IO.h"
#include "tests/support/Sandbox.h"

#include <QDir>

std::shared_ptr<Exam> NewExam(const ExamSheet &sheet)
{
    auto exam = std::make_shared<Exam>();
    exam->SetCode(sheet.Code);
    exam->SetName(sheet.Name);
    exam->SetMaxScore(sheet.MaxScore);
    exam->SetPassScore(sheet.PassScore);
    exam->SetDuration(sheet.Duration);
    return exam;
}

std::shared_ptr<Question> AddItem(Exam &exam, const ItemSheet &sheet)
{
    auto question = std::make_shared<Question>();
    question->SetProblem(sheet.Problem);
    question->SetHasHint(sheet.HasHint);
    question->SetExhibit(sheet.Exhibit);
    question->SetExplaination(sheet.Explaination);
    for (const QString &option : sheet.Options) {
        auto choice = std::make_shared<Choice>();
        choice->SetIsSolution(option.startsWith(u'*'));
        choice->SetStatement(choice->IsSolution() ? option.mid(1) : option);
        question->Choices().Add(choice);
    }
    question->Choices().ResetNumbers();
    question->CalculateSolutionCount();
    exam.Questions().Add(question);
    exam.Questions().ResetNumbers();
    return question;
}

QString Install(Exam &exam, const QString &package)
{
    const QString folder = IO::CombinePath(Sandbox::ExamsFolder(), package);
    QDir().mkpath(folder);
    QString name = package;
    const QString path = IO::CombinePath(folder, IO::ChangeExtension(name, QStringLiteral("exam")));
    exam.Save(path);
    return path;
}
