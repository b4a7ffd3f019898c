// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "download/DownloadRun.h"

#include <QDialog>

class ProgressPanel;
class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class TextBlock;

// The window that fetches and installs what the candidate has bought. It shows
// a DownloadRun and passes on what is pressed. It is to be shown modal. What an
// action of the candidate, or a callback of the run, raises is reported by Guard.
class frmExamDownloader : public QDialog, private DownloadPort {
    Q_OBJECT
public:
    // Fills the entries with the remembered credentials. Raises what HttpTransport
    // raises.
    explicit frmExamDownloader(QWidget *owner);
    ~frmExamDownloader() override;

    // Of both transfers, in milliseconds; see there.
    void SetTimes(const Transfer::Times &times);
    // However the window is closed, by its button, its close box or Escape: ends
    // the run, and forgets the credentials unless they are to be remembered.
    void reject() override;

    // Ends the current run; a successful one closes the window after a second.
    void EndRun(bool success) { m_run.EndRun(success); }
    // Sizes in bytes; of a value below 1 "NA" is shown. A total above 0 also sets
    // the progress.
    void UpdateStatus(const QString &text, double total, double downloaded, double rate) override;
    // A fraction of the bar; a change too small to be seen is left out.
    void SetProgress(double fraction) override;
    // The exam at the front of the queue; see Conversation.
    void DownloadNext() { m_run.DownloadNext(); }

Q_SIGNALS:
    // The whole pack has arrived and is about to be run. The program waits for it:
    // no events run from then on until it has ended.
    void Installing(const QString &examID);

protected:
    void showEvent(QShowEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void ShowState(State state) override;
    MessageAnswer Ask(const QString &text, MessageStyle style, const QVariantList &values) override;
    void Warn(const QString &text) override;
    void FocusEntry(Entry entry) override;
    void InstallationStarts(const QString &examID) override;
    void CloseWindow() override;
    void Raised(const Error &error) override;

    void Build();
    void Open();
    void cmdAction_Click();
    void lblRemember_Click();

    DownloadRun m_run;
    double m_fullWidth = 0; // twips
    double m_barWidth = 0;
    QString m_status;

    QLineEdit *txtEmail;
    QLineEdit *txtPassword;
    QCheckBox *chkRemember;
    QLabel *lblRemember;
    TextBlock *lblInfo;
    ProgressPanel *picProgress;
    QWidget *shpProgress;
    QLabel *lblTotal;
    QLabel *lblDownloaded;
    QLabel *lblRate;
    QPushButton *cmdAction;
};
