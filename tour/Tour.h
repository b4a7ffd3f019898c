#pragma once

#include "app/Program.h"

#include <QString>

#include <functional>

class QAbstractButton;

// Drives the real windows through a whole sitting by mouse and key events, and
// takes a picture of each. A window or control that does not turn up, or does
// not say what it should, ends the program with a line on stderr.
class Tour {
public:
    // Pictures and the printed report go into this folder.
    Tour(Program &program, QString folder);

    void Run();
    int Pictures() const { return m_pictures; }

private:
    void ChooseExam();
    void AnswerItems();
    void ReviewItems();
    void EndExam();
    void ReadReport(QWidget *report);
    void ReviewAfterTheExam();
    void Leave();

    QWidget *ExamWindow();
    // Has the step done in the window of that object name as soon as it shows.
    void When(const QString &window, std::function<void(QWidget *)> step);
    // The same for the next message box, which then gets the button pressed.
    void WhenAsked(const QString &picture, int button);
    void Picture(QWidget *window, const QString &name);
    void GoTo(int item);

    Program &m_program;
    QString m_folder;
    int m_pictures = 0;
    int m_waiting = 0;
};
