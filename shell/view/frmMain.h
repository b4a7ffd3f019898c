// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QWidget>

class CatalogueModel;
class LinkLabel;
class LogoView;
class QLabel;
class QPushButton;
class QTreeView;

// The main window: the installed exams and the ways to everything else. What
// it opens is asked for by signals, which return when that is done; only after
// ExamLoaded the sitting goes on. Closing the window asks, and on any answer but
// No hides it and ends the program's event loop with the exit code 0.
class frmMain : public QWidget {
    Q_OBJECT
public:
    frmMain();

    // Fills the window and its list. It can be on the screen by then: what is slow
    // about a first window is everything that has a text. The controls are created
    // by the first call alone.
    void Load();
    // Rebuilds the list, which then has the focus; a failure is reported in a
    // message box. Load must have come before.
    void RefreshExamList();

Q_SIGNALS:
    // The whole file is in Globals::CurrentExam and is to be sat. Not emitted when
    // the file cannot be loaded, which Guard reports.
    void ExamLoaded();
    // The list is rebuilt once the slots have returned.
    void DownloadRequested();
    void AboutRequested();

protected:
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void Build();
    void FitPage();
    void cmdStart_Click();
    // What a key does in the list without a selection; false leaves it to the
    // list.
    bool TakesListKey(const QKeyEvent &event);

    CatalogueModel *m_catalogue = nullptr;
    QWidget *m_page = nullptr;
    LogoView *picLogo = nullptr;
    QTreeView *lvwExams = nullptr;
    QLabel *lblStatus = nullptr;
    QLabel *lblNoExams = nullptr; // in the list while it is empty: how exams come in
    LinkLabel *lblDownload = nullptr;
    LinkLabel *lblAbout = nullptr;
    LinkLabel *lblProductLink = nullptr;
    QPushButton *cmdStart = nullptr;
    QPushButton *cmdExit = nullptr;
    bool m_isAskingToExit = false;
};
