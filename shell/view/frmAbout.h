// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QDialog>

class LogoView;

// The about box.
class frmAbout : public QDialog {
    Q_OBJECT
public:
    explicit frmAbout(QWidget *owner);

    // Starts the system's system-information tool, or reports that there is none.
    static void StartSysInfo();

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    LogoView *picLogo;
};
