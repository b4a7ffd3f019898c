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
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

frmAbout::frmAbout(QWidget *owner)
    : QDialog(owner)
    , picLogo(new LogoView(300, this))
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
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(36, 32, 36, 22);
    picLogo->move(0, layout->contentsMargins().top());
    layout->setSpacing(12);
    layout->addItem(new QSpacerItem(picLogo->width(), picLogo->height()));
    layout->addSpacing(10);
    layout->addWidget(lblVersion, 0, Qt::AlignHCenter);
    layout->addWidget(lblNotice, 0, Qt::AlignHCenter);
    layout->addSpacing(16);
    layout->addLayout(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);

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
