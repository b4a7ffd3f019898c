// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QDialog>

class QPlainTextEdit;

// The explanation of one item, read-only.
class frmExplain : public QDialog {
    Q_OBJECT
public:
    explicit frmExplain(QWidget *owner);

    // 1-based position of the item in the current exam; set before Load.
    qint16 QuestionNumber = 0;
    // Fills the window. Raises SubscriptOutOfRange for an item that is not there.
    void Load();

private:
    QPlainTextEdit *txtExplaination;
};
