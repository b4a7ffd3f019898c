// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "app/Program.h"
#include "tour/Driver.h"

#include <QStringList>

// A download from a service that is really there: what is asked when something
// is missing or wrong, the packs arriving and being installed one by one, and
// the exams in the main window's list.
class DownloadTour : private Driver {
public:
    // What the account is that has bought exams.
    struct Account {
        QString UserID;
        QString Password;
    };

    DownloadTour(Program &program, const QString &folder, Account account);

    // The number of pictures.
    int Run();

private:
    void LogOnWrongly(QWidget *window);
    void Download(QWidget *window);
    void DownloadAgain(QWidget *window);
    void MissTheService(QWidget *window);

    void Open(void (DownloadTour::*step)(QWidget *));
    void Enter(QWidget *window, const QString &userID, const QString &password);
    QString Status(QWidget *window);
    // Presses the button and waits until the window has closed by itself, a
    // picture taken of each new status.
    void RunToTheEnd(QWidget *window, const QString &picture);

    QStringList Installed();

    Program &m_program;
    Account m_account;
};
