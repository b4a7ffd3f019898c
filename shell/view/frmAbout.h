// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QDialog>

class LogoView;

// The about box, to be shown modal.
class frmAbout : public QDialog {
    Q_OBJECT
public:
    explicit frmAbout(QWidget *owner);

    // Starts the system's system-information tool without waiting for it, or
    // reports in a message box that it is not available.
    static void StartSysInfo();

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    LogoView *picLogo;
};
