// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QWidget>

class CatalogueModel;
class LinkLabel;
class QLabel;
class QPushButton;
class QTreeView;

// The main window: the installed exams and the ways to everything else. What
// it opens is asked for by signals, which return when that is done.
class frmMain : public QWidget {
    Q_OBJECT
public:
    frmMain();

    // Fills the window. It can be on the screen by then: what is slow about a
    // first window is everything that has a text.
    void Load();
    // Rebuilds the list, which then has the focus; a failure is reported in a
    // message box.
    void RefreshExamList();

Q_SIGNALS:
    // The current exam has been loaded and is to be sat.
    void ExamLoaded();
    void DownloadRequested();
    void AboutRequested();

protected:
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void Build();
    void cmdStart_Click();
    // What a key does in the list without a selection; false leaves it to the
    // list.
    bool TakesListKey(const QKeyEvent &event);

    CatalogueModel *m_catalogue = nullptr;
    QTreeView *lvwExams = nullptr;
    QLabel *lblStatus = nullptr;
    LinkLabel *lblDownload = nullptr;
    LinkLabel *lblAbout = nullptr;
    LinkLabel *lblProductLink = nullptr;
    QPushButton *cmdStart = nullptr;
    QPushButton *cmdExit = nullptr;
    bool m_isAskingToExit = false;
};
