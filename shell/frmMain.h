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

    // Fills the window, before it is shown.
    void Load();
    // Rebuilds the list; a failure is told in a message box.
    void RefreshExamList();

Q_SIGNALS:
    // The current exam has been loaded and is to be sat.
    void ExamLoaded();
    void DownloadRequested();
    void AboutRequested();

protected:
    void closeEvent(QCloseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void cmdStart_Click();

    CatalogueModel *m_catalogue;
    QTreeView *lvwExams;
    QLabel *lblStatus;
    LinkLabel *lblDownload;
    LinkLabel *lblAbout;
    LinkLabel *lblProductLink;
    QPushButton *cmdStart;
    QPushButton *cmdExit;
    bool m_isAskingToExit = false;
};
