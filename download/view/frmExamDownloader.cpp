// SPDX-License-Identifier: Apache-2.0
#include "download/frmExamDownloader.h"

#include "common/Ansi.h"
#include "common/Common.h"
#include "common/Error.h"
#include "download/Credentials.h"
#include "download/DownloadText.h"
#include "model/Globals.h"
#include "model/IO.h"
#include "ui/Guard.h"
#include "ui/Messages.h"
#include "ui/Panel.h"
#include "ui/TextBlock.h"
#include "ui/Theme.h"
#include "ui/Twips.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString StartCaption = u"&Start"_s;
const QString CancelCaption = u"&Cancel"_s;
const QString CloseCaption = u"&Close"_s;
constexpr qsizetype ReplyChunk = 1024;
constexpr qsizetype LongestReply = 1024 * 1024;
constexpr int SimulatorPeriod = 100; // milliseconds
constexpr int AutoClosePeriod = 1000;
constexpr qint64 UpdateEvery = 40;
constexpr int ProgressHeight = 18; // pixels
// Characters of what the server names, so that the reason behind it is not cut off.
constexpr qsizetype LongestLoggedName = 500;

}

frmExamDownloader::frmExamDownloader(QWidget *owner)
    : QDialog(owner)
    , m_conversation(*this)
    , m_endpoint(Credentials::Endpoint())
    , txtEmail(new QLineEdit(this))
    , txtPassword(new QLineEdit(this))
    , chkRemember(new QCheckBox(this))
    , lblRemember(new QLabel(u"Remember"_s, this))
    , lblInfo(new TextBlock(this))
    , picProgress(new Panel(this))
    , shpProgress(new QWidget(picProgress))
    , lblTotal(new QLabel(this))
    , lblDownloaded(new QLabel(this))
    , lblRate(new QLabel(this))
    , cmdAction(new QPushButton(this))
{
    Build();
    m_oDownloader.Initialize(&icDownloader);
    tmrProgressSimulator.setInterval(SimulatorPeriod);
    tmrAutoClose.setInterval(AutoClosePeriod);
    connect(cmdAction, &QPushButton::clicked, this, [this] { Guard([&] { cmdAction_Click(); }); });
    connect(&icRequestDispatcher, &Transfer::StateChanged, this,
            [this](int state) { Guard([&] { icRequestDispatcher_StateChanged(state); }); });
    connect(&icDownloader, &Transfer::StateChanged, this, [this](int state) {
        if (state == Transfer::Failed)
            Guard([&] { m_conversation.TransportFailed(icDownloader.ResponseCode(), icDownloader.ResponseInfo()); });
    });
    connect(&m_oDownloader, &Downloader::DownloadStarted, this, [this] { Guard([&] { m_oDownloader_DownloadStarted(); }); });
    connect(&m_oDownloader, &Downloader::ChunkDownloaded, this, [this] { Guard([&] { m_oDownloader_ChunkDownloaded(); }); });
    connect(&m_oDownloader, &Downloader::DownloadComplete, this, [this] {
        // Nothing follows a cancel, whoever it came from; a failure is told as
        // the transfer's state.
        if (!icDownloader.IsBrokenOff())
            Guard([&] { m_oDownloader_DownloadComplete(); });
    });
    // A pack that did not come is one that cannot be installed; the run goes on.
    connect(&m_oDownloader, &Downloader::DownloadFailed, this, [this](const QString &text) {
        m_downloadFailure = text;
        Guard([&] { m_oDownloader_DownloadComplete(); });
    });
    connect(&tmrProgressSimulator, &QTimer::timeout, this, [this] {
        m_simulated = DownloadText::NextSimulated(m_simulated);
        SetProgress(m_simulated);
    });
    connect(&tmrAutoClose, &QTimer::timeout, this, &QWidget::close);
    Open();
}

frmExamDownloader::~frmExamDownloader() = default;

void frmExamDownloader::SetTimeouts(int connectTime, int silenceTime, int headerTime)
{
    icRequestDispatcher.SetTimeouts(connectTime, silenceTime, headerTime);
    icDownloader.SetTimeouts(connectTime, silenceTime, headerTime);
}

void frmExamDownloader::Build()
{
    setObjectName(u"frmExamDownloader"_s);
    setWindowTitle(u"Download Exams"_s);
    const auto name = [](QWidget *widget, const QString &objectName, const QString &accessible = {}) {
        widget->setObjectName(objectName);
        widget->setAccessibleName(accessible);
    };
    name(txtEmail, u"txtEmail"_s, u"User ID"_s);
    name(txtPassword, u"txtPassword"_s, u"Password"_s);
    txtPassword->setEchoMode(QLineEdit::Password);
    name(chkRemember, u"chkRemember"_s, u"Remember user ID and password"_s);
    name(lblRemember, u"lblRemember"_s);
    lblRemember->installEventFilter(this);
    name(lblInfo, u"lblInfo"_s);
    lblInfo->setMinimumHeight(lblInfo->fontMetrics().height() * 2);
    name(picProgress, u"picProgress"_s, u"Progress"_s);
    picProgress->SetBackColor(0xFFFFFF);
    picProgress->SetBorderColor(0xDACFC6);
    picProgress->setFixedHeight(ProgressHeight);
    shpProgress->setObjectName(u"shpProgress"_s);
    shpProgress->setAutoFillBackground(true);
    QPalette blue = palette();
    blue.setColor(QPalette::Window, Theme::Blue);
    shpProgress->setPalette(blue);
    name(lblTotal, u"lblTotal"_s);
    name(lblDownloaded, u"lblDownloaded"_s);
    name(lblRate, u"lblRate"_s);
    name(cmdAction, u"cmdAction"_s);
    cmdAction->setDefault(true);
    cmdAction->setMinimumSize(120, cmdAction->sizeHint().height() + 6);

    auto *lblEmail = new QLabel(u"&User ID:"_s, this);
    lblEmail->setBuddy(txtEmail);
    auto *lblPassword = new QLabel(u"&Password:"_s, this);
    lblPassword->setBuddy(txtPassword);
    auto *remember = new QHBoxLayout;
    remember->setSpacing(6);
    remember->addWidget(chkRemember);
    remember->addWidget(lblRemember);
    remember->addStretch();
    auto *entries = new QGridLayout;
    entries->setHorizontalSpacing(12);
    entries->setVerticalSpacing(8);
    entries->addWidget(lblEmail, 0, 0);
    entries->addWidget(txtEmail, 0, 1);
    entries->addWidget(lblPassword, 1, 0);
    entries->addWidget(txtPassword, 1, 1);
    entries->addLayout(remember, 2, 1);
    auto *sizes = new QGridLayout;
    sizes->setHorizontalSpacing(12);
    int column = 0;
    for (const auto &[caption, label] :
         { std::pair{ u"Size:"_s, lblTotal }, std::pair{ u"Received:"_s, lblDownloaded }, std::pair{ u"Rate:"_s, lblRate } }) {
        sizes->addWidget(new QLabel(caption, this), 0, column++);
        sizes->addWidget(label, 0, column);
        sizes->setColumnStretch(column++, 1);
    }
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(22, 20, 22, 18);
    layout->setSpacing(12);
    layout->addLayout(entries);
    layout->addSpacing(6);
    layout->addWidget(lblInfo);
    layout->addWidget(picProgress);
    layout->addLayout(sizes);
    layout->addSpacing(6);
    layout->addWidget(cmdAction, 0, Qt::AlignRight);
    setFixedSize(520, sizeHint().height());
}

void frmExamDownloader::Open()
{
    for (QLabel *label : { lblTotal, lblDownloaded, lblRate })
        label->setText(DownloadText::Total(0));
    cmdAction->setText(StartCaption);
    const Credentials::Pair remembered = Credentials::Load();
    txtEmail->setText(remembered.UserID);
    if (!remembered.UserID.isEmpty()) {
        txtPassword->setText(remembered.Password);
        chkRemember->setChecked(true);
    }
}

void frmExamDownloader::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    // A window that comes back from the task bar keeps its progress.
    if (m_fullWidth > 0)
        return;
    m_fullWidth = Twips::Of(picProgress->width() - 2);
    shpProgress->setGeometry(1, 1, 0, ProgressHeight - 2);
}

void frmExamDownloader::cmdAction_Click()
{
    if (cmdAction->text() != StartCaption) {
        EndRun(false);
        close();
        return;
    }
    const QString userID = Common::TrimBlanks(txtEmail->text());
    if (userID.isEmpty()) {
        ShowMessage(u"Please enter your User ID."_s, ExclamationMessage);
        txtEmail->setFocus();
        return;
    }
    const QString password = Common::TrimBlanks(txtPassword->text());
    if (password.isEmpty()) {
        ShowMessage(u"Please enter your password."_s, ExclamationMessage);
        txtPassword->setFocus();
        return;
    }
    if (chkRemember->isChecked()) {
        try {
            Credentials::Store({ txtEmail->text(), txtPassword->text() });
        } catch (const Error &error) {
            // What cannot be remembered can be typed again; the exams matter more.
            ShowMessage(error.Description(), ExclamationMessage);
        }
    }
    // Before the conversation starts: what goes wrong at once changes it again.
    cmdAction->setText(CancelCaption);
    m_conversation.Start(userID, password);
}

void frmExamDownloader::lblRemember_Click()
{
    chkRemember->setChecked(!chkRemember->isChecked());
}

bool frmExamDownloader::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == lblRemember && event->type() == QEvent::MouseButtonRelease) {
        const auto *release = static_cast<QMouseEvent *>(event);
        if (release->button() == Qt::LeftButton && lblRemember->rect().contains(release->position().toPoint()))
            lblRemember_Click();
    }
    return QDialog::eventFilter(watched, event);
}

// These come when the network answers, not when the candidate expects them.
int frmExamDownloader::Ask(const QString &text, int style, const QVariantList &values)
{
    return ShowUnaskedMessage(text, style, values);
}

void frmExamDownloader::UpdateStatus(const QString &text)
{
    UpdateStatus(text, 0, 0, 0);
}

void frmExamDownloader::UpdateStatus(const QString &text, double total, double downloaded, double rate)
{
    if (text != m_status) {
        m_status = text;
        lblInfo->SetText(text);
    }
    const auto show = [](QLabel *label, const QString &value) {
        if (label->text() != value)
            label->setText(value);
    };
    show(lblTotal, DownloadText::Total(total));
    show(lblDownloaded, DownloadText::Received(downloaded));
    show(lblRate, DownloadText::Rate(rate));
    if (total > 0)
        SetProgress(downloaded / total);
}

void frmExamDownloader::SetProgress(double fraction)
{
    m_barWidth = DownloadText::BarWidth(m_fullWidth, m_barWidth, fraction);
    shpProgress->resize(Twips::ToPixels(m_barWidth), shpProgress->height());
}

void frmExamDownloader::EndRun(bool success)
{
    m_conversation.Stop();
    tmrProgressSimulator.stop();
    if (icRequestDispatcher.StillExecuting())
        icRequestDispatcher.Cancel();
    if (icDownloader.StillExecuting())
        icDownloader.Cancel();
    m_oDownloader.Cancel();
    cmdAction->setText(CloseCaption);
    cmdAction->setEnabled(true);
    if (success)
        tmrAutoClose.start();
    else
        tmrAutoClose.stop();
}

void frmExamDownloader::OfferStart()
{
    cmdAction->setText(StartCaption);
    txtEmail->setFocus();
}

void frmExamDownloader::CloseWindow()
{
    close();
}

void frmExamDownloader::Post(const QString &message)
{
    while (m_conversation.IsRunning() && icRequestDispatcher.StillExecuting())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    if (!m_conversation.IsRunning())
        return;
    icRequestDispatcher.Execute(m_endpoint, "POST", Ansi::FromText(message), "Content-Type: application/x-www-form-urlencoded");
}

void frmExamDownloader::icRequestDispatcher_StateChanged(int state)
{
    if (state == Transfer::Requesting)
        tmrProgressSimulator.start();
    else if (state == Transfer::Failed)
        m_conversation.TransportFailed(icRequestDispatcher.ResponseCode(), icRequestDispatcher.ResponseInfo());
    else if (state == Transfer::Completed)
        ReadReply();
}

void frmExamDownloader::ReadReply()
{
    if (icRequestDispatcher.IsEncoded()) {
        const qint32 code = icRequestDispatcher.ResponseCode();
        icRequestDispatcher.Cancel();
        m_conversation.TransportFailed(code, u"The server sends its answer encoded"_s);
        return;
    }
    try {
        QByteArray body;
        for (;;) {
            const QByteArray chunk = icRequestDispatcher.GetChunk(ReplyChunk);
            if (chunk.isEmpty())
                break;
            body += chunk;
            if (body.size() > LongestReply)
                throw Error::RunTime(Overflow);
        }
        if (icRequestDispatcher.IsBrokenOff())
            return;
        m_conversation.Receive(Ansi::ToText(body));
        SetProgress(1.0);
        tmrProgressSimulator.stop();
    } catch (const Error &) {
        icRequestDispatcher.Cancel();
        m_conversation.HandlingFailed();
    }
}

bool frmExamDownloader::IsInstalled(const QString &examID)
{
    return Globals::IsExamInstalled(examID);
}

void frmExamDownloader::Fetch(const QString &sessionID, const QString &examID)
{
    const QString address = Common::FormatText(u"{1}?sid={2}&eid={3}"_s, { m_endpoint, sessionID, examID });
    const QString fileName = examID + u".exe"_s;
    const QString folder = IO::GetTempFolder();
    // A file of ours from an earlier run is in the way; anybody else's stays,
    // and then the pack cannot be written.
    if (!folder.isEmpty() && IsPlainFileName(fileName))
        RemoveOwnFile(IO::CombinePath(folder, fileName));
    m_downloadFailure = u"The pack did not come whole"_s;
    m_oDownloader.GetFile(address, folder, fileName);
}

void frmExamDownloader::m_oDownloader_DownloadStarted()
{
    UpdateStatus(u"Downloading: "_s + m_oDownloader.FileName());
}

void frmExamDownloader::m_oDownloader_ChunkDownloaded()
{
    // Faster than anybody reads, labels would only slow the transfer down.
    const bool isLast = m_oDownloader.Downloaded() >= m_oDownloader.FileSize();
    if (m_sinceUpdate.isValid() && m_sinceUpdate.elapsed() < UpdateEvery && !isLast)
        return;
    m_sinceUpdate.start();
    UpdateStatus(m_status, m_oDownloader.FileSize(), m_oDownloader.Downloaded(), m_oDownloader.TransferRate());
}

void frmExamDownloader::m_oDownloader_DownloadComplete()
{
    m_conversation.DownloadComplete();
}

void frmExamDownloader::Install(const QString &examID)
{
    try {
        if (!m_oDownloader.IsWhole())
            throw Error(InvalidCall, m_downloadFailure);
        m_oDownloader.File().MakeRunnable();
        // What is shown while no events run is painted now.
        repaint();
        Q_EMIT Installing(examID);
        m_oDownloader.File().Run();
        m_oDownloader.File().Remove();
    } catch (const Error &error) {
        // The box that follows says no more than that it failed.
        Common::Log(u"Installation of %1 (%2) failed: %3"_s.arg(examID.left(LongestLoggedName),
                                                                m_oDownloader.TargetFile().left(LongestLoggedName),
                                                                Common::OneLine(error)));
        throw;
    }
}

void frmExamDownloader::reject()
{
    EndRun(false);
    if (!chkRemember->isChecked())
        Credentials::Forget();
    QDialog::reject();
}
