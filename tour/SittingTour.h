// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "app/Program.h"
#include "tour/Driver.h"

// A whole sitting, from the choice of the exam to the review after it.
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
    void Leave();

    QWidget *ExamWindow();
    void GoTo(int item);

    Program &m_program;
};
