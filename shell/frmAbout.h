#pragma once

#include <QDialog>

// The about box.
class frmAbout : public QDialog {
    Q_OBJECT
public:
    explicit frmAbout(QWidget *owner);

    // Starts the system's system-information tool, or tells that there is none.
    static void StartSysInfo();
};
