// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QDialog>

class QPlainTextEdit;

// The explanation of one item, read-only, as plain text without blanks at its
// ends. One that is empty is replaced by a sentence that says so.
class frmExplain : public QDialog {
    Q_OBJECT
public:
    explicit frmExplain(QWidget *owner);

    // 1-based position of the item in the current exam; set before Load.
    qint16 QuestionNumber = 0;
    // Fills the window; the caller shows it. Raises InvalidCall without a current
    // exam and SubscriptOutOfRange for an item that is not there.
    void Load();

private:
    void ShowCode();

    QPlainTextEdit *txtExplaination;
};
