// SPDX-License-Identifier: Apache-2.0
#include "download/view/frmExamDownloader.h"

#include "common/Twips.h"
#include "download/DownloadText.h"
#include "download/HttpExchange.h"
#include "download/view/ProgressPanel.h"
#include "ui/Accessible.h"
#include "ui/Guard.h"
#include "ui/Layout.h"
#include "ui/Messages.h"
#include "ui/TextBlock.h"
#include "ui/Theme.h"

#include <QApplication>
#include <QCheckBox>
#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QScreen>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int Width = 520; // pixels
constexpr int ProgressHeight = 18;

}

frmExamDownloader::frmExamDownloader(QWidget *owner)
    : QDialog(owner)
    , m_run(*this, std::make_unique<HttpTransport>(), std::make_unique<HttpTransport>())
    , txtEmail(new QLineEdit(this))
    , txtPassword(new QLineEdit(this))
    , chkRemember(new QCheckBox(this))
    , lblRemember(new QLabel(u"Remember"_s, this))
    , lblInfo(new TextBlock(this))
    , picProgress(new ProgressPanel(this))
    , shpProgress(new QWidget(picProgress))
    , lblTotal(new QLabel(this))
    , lblDownloaded(new QLabel(this))
    , lblRate(new QLabel(this))
    , cmdAction(new QPushButton(this))
{
    Build();
    connect(cmdAction, &QPushButton::clicked, this, [this] { Guard([&] { cmdAction_Click(); }); });
    Open();
}

frmExamDownloader::~frmExamDownloader() = default;

void frmExamDownloader::SetTimes(const Transfer::Times &times)
{
    m_run.SetTimes(times);
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
    picProgress->SetBackColor(OleColors::WindowBack);
    picProgress->setFixedHeight(ProgressHeight);
    shpProgress->setObjectName(u"shpProgress"_s);
    shpProgress->setAutoFillBackground(true);
    Theme::WithLook(shpProgress, [this] {
        picProgress->SetBorderColor(OleColors::Of(Theme::Current().Outline));
        const bool isContrast = Theme::CurrentLook() == Theme::Look::HighContrast;
        QPalette fill;
        fill.setColor(QPalette::Window, isContrast ? QApplication::palette().color(QPalette::Highlight) : Brand::Blue);
        shpProgress->setPalette(fill);
    });
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
    // A narrow screen has no room for all three side by side.
    const bool isNarrow = screen()->availableSize().width() < Width;
    int cell = 0;
    for (const auto &[caption, label] :
         { std::pair{ u"Size:"_s, lblTotal }, std::pair{ u"Received:"_s, lblDownloaded }, std::pair{ u"Rate:"_s, lblRate } }) {
        const int row = isNarrow ? cell / 2 : 0;
        const int column = isNarrow ? 0 : cell;
        sizes->addWidget(new QLabel(caption, this), row, column);
        sizes->addWidget(label, row, column + 1);
        sizes->setColumnStretch(column + 1, 1);
        cell += 2;
    }
    QWidget *page = NewPage(this);
    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(22, 20, 22, 18);
    layout->setSpacing(12);
    layout->addLayout(entries);
    layout->addSpacing(6);
    layout->addWidget(lblInfo);
    layout->addWidget(picProgress);
    layout->addLayout(sizes);
    layout->addSpacing(6);
    layout->addWidget(cmdAction, 0, Qt::AlignRight);
    setFixedSize(QSize(Width, page->sizeHint().height()).boundedTo(screen()->availableSize()));
}

void frmExamDownloader::Open()
{
    for (QLabel *label : { lblTotal, lblDownloaded, lblRate })
        label->setText(DownloadText::Total(0));
    ShowState(State::Idle);
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
    m_fullWidth = Twips::FromPixels(picProgress->width() - 2);
    shpProgress->setGeometry(1, 1, 0, ProgressHeight - 2);
}

void frmExamDownloader::cmdAction_Click()
{
    m_run.Press({ txtEmail->text(), txtPassword->text() }, chkRemember->isChecked());
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

void frmExamDownloader::ShowState(State state)
{
    cmdAction->setText(state == State::Idle ? u"&Start"_s : state == State::Running ? u"&Cancel"_s : u"&Close"_s);
    cmdAction->setEnabled(true);
}

MessageAnswer frmExamDownloader::Ask(const QString &text, MessageStyle style, const QVariantList &values)
{
    return ShowUnpromptedMessage(text, style, values);
}

void frmExamDownloader::Warn(const QString &text)
{
    ShowMessage(text, ExclamationMessage);
}

void frmExamDownloader::FocusEntry(Entry entry)
{
    (entry == Entry::UserID ? txtEmail : txtPassword)->setFocus();
}

void frmExamDownloader::UpdateStatus(const QString &text, double total, double downloaded, double rate)
{
    if (text != m_status) {
        m_status = text;
        lblInfo->SetText(text);
        Announce(this, text);
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
    if (m_fullWidth > 0)
        picProgress->SetPercent(static_cast<int>(std::min(100.0, 100.0 * m_barWidth / m_fullWidth)));
}

void frmExamDownloader::InstallationStarts(const QString &examID)
{
    // What is shown while no events run is painted now.
    repaint();
    Q_EMIT Installing(examID);
}

void frmExamDownloader::CloseWindow()
{
    close();
}

void frmExamDownloader::Raised(const Error &error)
{
    ReportUnhandled(error);
}

void frmExamDownloader::reject()
{
    m_run.Close(chkRemember->isChecked());
    QDialog::reject();
}
