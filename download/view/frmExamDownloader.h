// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "download/Conversation.h"
#include "download/Downloader.h"
#include "download/Transfer.h"

#include <QDialog>
#include <QElapsedTimer>
#include <QTimer>

class Panel;
class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class TextBlock;

// The window that fetches and installs what the candidate has bought.
class frmExamDownloader : public QDialog, private ConversationPort {
    Q_OBJECT
public:
    explicit frmExamDownloader(QWidget *owner);
    ~frmExamDownloader() override;

    // Of both transfers; see there.
    void SetTimeouts(int connectTime, int silenceTime, int headerTime);
    // However the window is closed, by its button, its close box or Escape.
    void reject() override;

    // Ends the current run; a successful one closes the window soon.
    void EndRun(bool success) override;
    // Sizes in bytes; below 1 there is nothing to tell.
    void UpdateStatus(const QString &text, double total, double downloaded, double rate);
    void SetProgress(double fraction);
    void DownloadNext() { m_conversation.DownloadNext(); }

Q_SIGNALS:
    // The pack has arrived and is about to be run. No events run from then on
    // until it has ended.
    void Installing(const QString &examID);

protected:
    void showEvent(QShowEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    int Ask(const QString &text, int style, const QVariantList &values) override;
    void UpdateStatus(const QString &text) override;
    void Post(const QString &message) override;
    void Fetch(const QString &sessionID, const QString &examID) override;
    void Install(const QString &examID) override;
    bool IsInstalled(const QString &examID) override;
    void OfferStart() override;
    void CloseWindow() override;

    void Build();
    void Open();
    void cmdAction_Click();
    void lblRemember_Click();
    void icRequestDispatcher_StateChanged(int state);
    void m_oDownloader_DownloadStarted();
    void m_oDownloader_ChunkDownloaded();
    void m_oDownloader_DownloadComplete();
    void ReadReply();

    Conversation m_conversation;
    Transfer icRequestDispatcher;
    Transfer icDownloader;
    Downloader m_oDownloader;
    QTimer tmrProgressSimulator;
    QTimer tmrAutoClose;
    QElapsedTimer m_sinceUpdate;
    float m_simulated = 0;
    double m_fullWidth = 0; // twips
    double m_barWidth = 0;
    QString m_endpoint;
    QString m_status;
    QString m_downloadFailure; // why the pack that was fetched last is not whole

    QLineEdit *txtEmail;
    QLineEdit *txtPassword;
    QCheckBox *chkRemember;
    QLabel *lblRemember;
    TextBlock *lblInfo;
    Panel *picProgress;
    QWidget *shpProgress;
    QLabel *lblTotal;
    QLabel *lblDownloaded;
    QLabel *lblRate;
    QPushButton *cmdAction;
};
