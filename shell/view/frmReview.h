// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/Exam.h"

#include <QDialog>

#include <memory>

class ExamSession;
class QLabel;
class QLineEdit;
class QListView;
class QPushButton;
class ReviewModel;

// The overview of all items, from which the candidate goes to any of them,
// narrows the exam window to marked ones, or ends the exam. Built anew each
// time it is opened.
class frmReview : public QDialog {
    Q_OBJECT
public:
    // Drives the session, which must outlive the window, of its owner, the exam
    // window; each choice is carried out there before this window closes. There
    // must be a current exam.
    frmReview(ExamSession &session, QWidget *owner);

    // Fills the window from the current exam, once. Raises what
    // ReviewList::Entries raises.
    void Load();

protected:
    bool event(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void cmdGoTo_Click();
    void cmdEnd_Click();
    void GotoSelected();
    void ShowReportAndClose();
    QWidget *Legend();

    ExamSession &m_session;
    std::shared_ptr<Exam> m_exam; // the window may outlast the sitting
    ReviewModel *m_items;
    QListView *lvwReview;
    QLineEdit *txtQuestion;
    QPushButton *cmdGoTo;
    QPushButton *cmdReviewAll;
    QPushButton *cmdReviewMarked;
    QPushButton *cmdEnd;
};
