// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "session/view/frmExam.h"
#include "shell/view/frmMain.h"

#include <QObject>
#include <QPointer>

#include <memory>

// The windows and how they hang together: each asks upward by signals, here
// they are answered.
class Program : public QObject {
    Q_OBJECT
public:
    Program();
    ~Program() override;

    // Opens the main window.
    void Start();
    // Closes all windows without a question, and ends the event loop with code 0.
    static void End();
    frmMain &Main() { return *m_main; }
    // The exam window of the sitting; null between sittings.
    frmExam *ExamWindow() { return m_exam; }

private:
    void StartSitting();

    std::unique_ptr<frmMain> m_main;
    QPointer<frmExam> m_exam;
};
