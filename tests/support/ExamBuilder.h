// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/Exam.h"

#include <QStringList>

#include <memory>

// Exams for tests, in memory.

struct ExamSheet {
    QString Code = QStringLiteral("EX-101");
    QString Name = QStringLiteral("Sample");
    qint16 MaxScore = 1000;
    qint16 PassScore = 700;
    qint16 Duration = 60;
};
std::shared_ptr<Exam> NewExam(const ExamSheet &sheet = {});

struct ItemSheet {
    QString Problem = {};
    // One statement for each option; those beginning with "*" are solutions.
    QStringList Options = {};
    bool HasHint = false;
    QString Exhibit = {};
    QString Explaination = {};
};
// Appends an item with the numbers and the solution count that belong to it.
std::shared_ptr<Question> AddItem(Exam &exam, const ItemSheet &sheet);

// Saves the exam as an installed package of the sandbox; the exam file's path.
QString Install(Exam &exam, const QString &package);
