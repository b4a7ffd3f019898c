// SPDX-License-Identifier: Apache-2.0
#include "install/view/frmInstall.h"

#include "common/TrapErrors.h"
#include "resources/Artwork.h"
#include "ui/Accessible.h"
#include "ui/Layout.h"
#include "ui/Messages.h"
#include "ui/TextBlock.h"
#include "ui/Theme.h"

#include <QCoreApplication>
#include <QDir>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QThread>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int WindowWidth = 480;

QString Count(int count, const QString &one, const QString &many)
{
    return u"%1 %2"_s.arg(count).arg(count == 1 ? one : many);
}

// The text has the width that the window gives it, however long it is.
TextBlock *NewBlock(const QString &name, QWidget *parent)
{
    auto *block = new TextBlock(parent);
    block->setObjectName(name);
    QSizePolicy policy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    block->setSizePolicy(policy);
    return block;
}

QString ItemsOf(const Installation::Title &exam)
{
    return Count(exam.Items, u"item"_s, u"items"_s);
}

}

frmInstall::frmInstall(const QString &path)
    : m_path(path)
    , lblHeading(NewBlock(u"lblHeading"_s, this))
    , lblText(NewBlock(u"lblText"_s, this))
    , m_rows(new QFormLayout)
    , prgBusy(new QProgressBar(this))
    , cmdAction(new QPushButton(this))
    , cmdCancel(new QPushButton(u"Cancel"_s, this))
{
    setObjectName(u"frmInstall"_s);
    setWindowTitle(u"Install Exam - "_s + ApplicationTitle);
    setWindowIcon(Artwork::ApplicationIcon());
    Theme::ScaleFont(lblHeading, 1.25, QFont::DemiBold);
    prgBusy->setObjectName(u"prgBusy"_s);
    prgBusy->setAccessibleName(u"Progress"_s);
    // It shows that something goes on, not how much of it is done.
    prgBusy->setRange(0, 0);
    prgBusy->setTextVisible(false);
    cmdAction->setObjectName(u"cmdAction"_s);
    cmdCancel->setObjectName(u"cmdCancel"_s);
    cmdCancel->setAutoDefault(false);
    m_rows->setHorizontalSpacing(16);
    m_rows->setVerticalSpacing(6);
    m_rows->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);

    auto *picIcon = new QLabel(this);
    picIcon->setPixmap(Artwork::ApplicationIcon().pixmap(QSize(48, 48), devicePixelRatioF()));
    auto *head = new QHBoxLayout;
    head->setSpacing(16);
    head->addWidget(picIcon, 0, Qt::AlignTop);
    head->addWidget(lblHeading, 1, Qt::AlignVCenter);
    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    buttons->addStretch();
    buttons->addWidget(cmdAction);
    buttons->addWidget(cmdCancel);
    m_page = NewPage(this);
    auto *layout = new QVBoxLayout(m_page);
    layout->setContentsMargins(22, 20, 22, 18);
    layout->setSpacing(14);
    layout->addLayout(head);
    layout->addLayout(m_rows);
    layout->addWidget(lblText);
    layout->addWidget(prgBusy);
    layout->addLayout(buttons);

    connect(cmdAction, &QPushButton::clicked, this, &frmInstall::Press);
    connect(cmdCancel, &QPushButton::clicked, this, &frmInstall::reject);
    ShowState(State::Looking, u"Looking at the exam…"_s, QDir::toNativeSeparators(m_path));
}

frmInstall::~frmInstall()
{
    // Wherever the thread is, it does not wait for an answer any longer.
    m_isClosing = true;
    if (m_thread && m_state != State::Installing)
        Answer(false);
    if (m_thread)
        m_thread->wait();
}

void frmInstall::Start()
{
    m_thread = QThread::create([this] { Work(); });
    m_thread->setParent(this);
    m_thread->start();
}

// Runs in the thread.
void frmInstall::Work()
{
    bool isInstalled = false;
    QString failure;
    const auto ask = [this](const Installation::Offer &offer) {
        QMetaObject::invokeMethod(
            this, [this, offer] { Ask(offer); }, Qt::QueuedConnection);
        m_answered.acquire();
        return m_isAgreed;
    };
    TrapErrors([&] { isInstalled = Installation::Run(m_path, ask); },
               [&](const Error &error) { failure = error.Description(); });
    QMetaObject::invokeMethod(
        this, [this, isInstalled, failure] { Finish(isInstalled, failure); }, Qt::QueuedConnection);
}

void frmInstall::Ask(const Installation::Offer &offer)
{
    if (m_isClosing)
        return;
    AddRow(u"Code:"_s, u"lblCode"_s, offer.Exam.Code);
    AddRow(u"Items:"_s, u"lblItems"_s, QString::number(offer.Exam.Items));
    AddRow(u"Size:"_s, u"lblSize"_s,
           u"%1 in %2"_s.arg(QLocale::c().formattedDataSize(offer.Bytes), Count(offer.Files, u"file"_s, u"files"_s)));
    AddRow(u"Folder:"_s, u"lblFolder"_s, offer.Folder);
    if (!offer.Signer.isEmpty())
        AddRow(u"Signed by:"_s, u"lblSigner"_s,
               u"%1, %2"_s.arg(offer.Signer, QLocale::c().toString(offer.SignedAt.date(), u"d MMMM yyyy"_s)));
    else if (offer.IsUnsigned)
        AddRow(u"Signed by:"_s, u"lblSigner"_s, u"nobody"_s);
    if (offer.Replaced) {
        const QString what = offer.Replaced->Items > 0
            ? u"%1, %2 (%3)"_s.arg(offer.Replaced->Code, offer.Replaced->Name, ItemsOf(*offer.Replaced))
            : u"an exam that cannot be read"_s;
        AddRow(u"Replaces:"_s, u"lblReplaces"_s, what);
    }
    QStringList notes;
    if (offer.IsShared)
        notes
            += u"An exam in a folder of that name is installed for everybody on this machine. Yours will be listed in its place."_s;
    if (offer.MissingExhibits > 0)
        notes += u"%1 missing and cannot be shown."_s.arg(Count(offer.MissingExhibits, u"exhibit is"_s, u"exhibits are"_s));
    ShowState(State::Asking, offer.Exam.Name.isEmpty() ? offer.Folder : offer.Exam.Name, notes.join(u"\n\n"_s));
}

void frmInstall::Answer(bool isAgreed)
{
    m_isAgreed = isAgreed;
    m_answered.release();
}

void frmInstall::Finish(bool isInstalled, const QString &failure)
{
    m_isInstalled = isInstalled;
    if (m_isClosing) {
        QDialog::reject();
        return;
    }
    if (isInstalled) {
        ShowState(State::Installed, lblHeading->text(),
                  u"The exam is installed. %1 lists it from its next start on."_s.arg(ApplicationTitle));
    } else {
        while (m_rows->rowCount() > 0)
            m_rows->removeRow(0);
        ShowState(State::Failed, u"The exam cannot be installed."_s, failure);
    }
}

void frmInstall::ShowState(State state, const QString &heading, const QString &text)
{
    m_state = state;
    lblHeading->SetText(heading);
    lblText->SetText(text);
    lblText->setVisible(!text.isEmpty());
    const bool isBusy = state == State::Looking || state == State::Installing;
    prgBusy->setVisible(isBusy);
    cmdAction->setVisible(state == State::Asking || state == State::Installed);
    cmdAction->setText(state == State::Installed ? u"&Open "_s + ApplicationTitle : u"&Install"_s);
    cmdCancel->setText(state == State::Installed || state == State::Failed ? u"Close"_s : u"Cancel"_s);
    cmdCancel->setEnabled(state != State::Installing);
    (state == State::Asking || state == State::Installed ? cmdAction : cmdCancel)->setDefault(true);
    (state == State::Asking || state == State::Installed ? cmdAction : cmdCancel)->setFocus();
    // As high as its texts need at that width.
    const QSize room = screen()->availableSize();
    const int width = qMin(WindowWidth, room.width());
    setFixedSize(width, qMin(m_page->layout()->totalHeightForWidth(width), room.height()));
    Announce(this, text.isEmpty() ? heading : heading + u". "_s + text);
}

void frmInstall::AddRow(const QString &caption, const QString &name, const QString &text)
{
    TextBlock *block = NewBlock(name, this);
    block->SetText(text);
    block->setAccessibleName(caption + u' ' + text);
    auto *label = new QLabel(caption, this);
    m_rows->addRow(label, block);
    // At once, because the height of the window counts them.
    label->show();
    block->show();
}

void frmInstall::Press()
{
    if (m_state == State::Asking) {
        ShowState(State::Installing, lblHeading->text(), u"Installing…"_s);
        Answer(true);
    } else if (m_state == State::Installed) {
        if (QProcess::startDetached(QDir(QCoreApplication::applicationDirPath()).filePath(u"practorium"_s), {}))
            accept();
        else
            ShowState(State::Failed, lblHeading->text(), u"The exam is installed, but Practorium cannot be started."_s);
    }
}

void frmInstall::reject()
{
    switch (m_state) {
    case State::Looking:
    case State::Asking:
        // The thread has the file open. The window goes when that has ended, which is at the
        // question.
        if (m_isClosing)
            break;
        m_isClosing = true;
        cmdAction->setEnabled(false);
        cmdCancel->setEnabled(false);
        Answer(false);
        break;
    case State::Installing: break;
    case State::Installed: accept(); break;
    case State::Failed: QDialog::reject(); break;
    }
}
