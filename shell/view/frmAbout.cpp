// SPDX-License-Identifier: Apache-2.0
#include "shell/view/frmAbout.h"

#include "common/Common.h"
#include "shell/view/LogoView.h"
#include "shell/SystemInformation.h"
#include "ui/Guard.h"
#include "ui/Layout.h"
#include "ui/Messages.h"
#include "ui/Theme.h"

#include <QDate>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int LogoWidth = 300; // pixels
constexpr int SmallMargin = 12;

}

frmAbout::frmAbout(QWidget *owner)
    : QDialog(owner)
    , picLogo(new LogoView(LogoWidth, this))
{
    setObjectName(u"frmAbout"_s);
    setWindowTitle(u"About "_s + ApplicationTitle);
    auto *lblVersion = new QLabel(Common::FormatText(u"Version: {1}.{2} Build: {3}"_s,
                                                     { PRACTORIUM_MAJOR, PRACTORIUM_MINOR, PRACTORIUM_REVISION }),
                                  this);
    lblVersion->setObjectName(u"lblVersion"_s);
    Theme::ScaleFont(lblVersion, 1.1, QFont::DemiBold);
    auto *lblNotice
        = new QLabel(Common::FormatText(
                         u"Copyright © {1} the authors of Practorium.\nFree software under the Apache License, version 2.0."_s,
                         { QDate::currentDate().year() }),
                     this);
    lblNotice->setObjectName(u"lblNotice"_s);
    lblNotice->setAlignment(Qt::AlignCenter);
    auto *cmdSysInfo = new QPushButton(u"&System Info..."_s, this);
    cmdSysInfo->setObjectName(u"cmdSysInfo"_s);
    cmdSysInfo->setAutoDefault(false);
    auto *cmdOK = new QPushButton(u"OK"_s, this);
    cmdOK->setObjectName(u"cmdOK"_s);
    cmdOK->setDefault(true);
    setTabOrder(cmdOK, cmdSysInfo);

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(cmdSysInfo);
    buttons->addStretch();
    buttons->addWidget(cmdOK);
    QWidget *page = NewPage(this);
    picLogo->setParent(page);
    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(36, 32, 36, 22);
    picLogo->move(0, layout->contentsMargins().top());
    layout->setSpacing(12);
    auto *logo = new QSpacerItem(picLogo->width(), picLogo->height());
    layout->addItem(logo);
    layout->addSpacing(10);
    layout->addWidget(lblVersion, 0, Qt::AlignHCenter);
    layout->addWidget(lblNotice, 0, Qt::AlignHCenter);
    layout->addSpacing(16);
    layout->addLayout(buttons);
    const int room = screen()->availableSize().width();
    if (layout->sizeHint().width() > room) {
        layout->setContentsMargins(SmallMargin, SmallMargin, SmallMargin, SmallMargin);
        lblNotice->setWordWrap(true);
        // What is left has a scroll bar beside it.
        picLogo->SetWidth(room - 4 * SmallMargin);
        logo->changeSize(picLogo->width(), picLogo->height());
        layout->invalidate();
        picLogo->move(0, SmallMargin);
    }
    setFixedSize(page->sizeHint().boundedTo(screen()->availableSize()));

    connect(cmdOK, &QPushButton::clicked, this, &QDialog::accept);
    connect(cmdSysInfo, &QPushButton::clicked, this, [] { Guard([] { StartSysInfo(); }); });
}

void frmAbout::resizeEvent(QResizeEvent *event)
{
    QDialog::resizeEvent(event);
    CenterHorizontally(this, picLogo);
}

void frmAbout::StartSysInfo()
{
    if (!StartSystemInformationTool())
        CurrentMessagePort().Show(u"System Information Is Unavailable At This Time"_s, PlainMessage);
}
