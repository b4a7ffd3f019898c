// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "install/Installation.h"

#include <QDialog>
#include <QSemaphore>

class QFormLayout;
class QLabel;
class QProgressBar;
class QPushButton;
class QThread;
class TextBlock;

// The window of practorium-install: shows what a file or a folder would install, asks
// once, installs it, and shows the result. The work is done by a thread of its own. The
// window cannot be closed while it installs; closed before that, it goes as soon as the
// thread has ended.
class frmInstall : public QDialog {
    Q_OBJECT
public:
    // The path may be relative; one that is empty, or where nothing stands, is a failure
    // that the window shows.
    explicit frmInstall(const QString &path);
    ~frmInstall() override;

    // Looks at what was given. To be called once.
    void Start();
    // Whether the exam has been installed.
    bool IsInstalled() const { return m_isInstalled; }

    void reject() override;

private:
    enum class State { Looking, Asking, Installing, Installed, Failed };

    void Work();
    void Ask(const Installation::Offer &offer);
    void Answer(bool isAgreed);
    void Finish(bool isInstalled, const QString &failure);
    void ShowState(State state, const QString &heading, const QString &text);
    void AddRow(const QString &caption, const QString &name, const QString &text);
    void Press();

    const QString m_path;
    State m_state = State::Looking;
    bool m_isClosing = false;
    bool m_isInstalled = false;
    // What the thread waits for, and what it then finds.
    QSemaphore m_answered;
    bool m_isAgreed = false;
    QThread *m_thread = nullptr;

    QWidget *m_page = nullptr;
    TextBlock *lblHeading;
    TextBlock *lblText;
    QFormLayout *m_rows;
    QProgressBar *prgBusy;
    QPushButton *cmdAction;
    QPushButton *cmdCancel;
};
