// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "app/Program.h"
#include "tour/Driver.h"

// A whole sitting, from the choice of the exam to the review after it, and another
// of an exam in the languages of the world.
class SittingTour : private Driver {
public:
    // Pictures and the printed report go into the folder.
    SittingTour(Program &program, const QString &folder);

    // The number of pictures.
    int Run();

private:
    void ChooseExam();
    void AnswerItems();
    void LookAtExhibits();
    void ReadLongItem();
    void ReviewItems();
    void EndExam();
    void ReadReport(QWidget *report);
    void ReviewAfterTheExam();
    void SitLanguages();
    void Leave();

    // Starts the exam of that code from the main window.
    void Start(const QString &code, const QString &picture);
    QWidget *ExamWindow();
    void GoTo(int item);

    Program &m_program;
};
