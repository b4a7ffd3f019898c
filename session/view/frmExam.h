// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "session/ExamClock.h"
#include "session/ExamSession.h"

#include <QPointer>
#include <QWidget>

class frmExhibit;
class QCheckBox;
class QLabel;
class QPushButton;
class QTimer;
class QuestionFrame;

// The exam window: paints the session's page and passes on what the candidate
// does. The windows above it are asked for by signals, which return when they
// are closed. One window serves one sitting: once closed it must not be opened
// again. What an action of the candidate raises is reported by Guard.
class frmExam : public QWidget, private SessionPort {
    Q_OBJECT
public:
    frmExam();
    ~frmExam() override;

    // The session that the review list drives.
    ExamSession &Session() { return m_session; }
    // Begins a sitting on the current exam and shows the window. Returns at once.
    // Raises what ExamSession::StartExam raises.
    void StartExam();

Q_SIGNALS:
    // The window is about to be shown in place of the catalogue.
    void Starting();
    // By the Review button, or by Next at the last item; to be modal.
    void ReviewRequested();
    // The time has run out; to be modal. The review list opens the report itself.
    void ReportRequested();
    // The window is hidden and the current exam released. A message box of the
    // window may still be open: whoever deletes the window does it later, from
    // the event loop.
    void Unloaded();

protected:
    void resizeEvent(QResizeEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    MessageAnswer Ask(const QString &text, MessageStyle style, const QVariantList &values) override;
    MessageAnswer AskUnprompted(const QString &text, MessageStyle style) override;
    void ShowItem() override;
    void ShowChanges() override;
    void ShowExam() override;
    void StartClock() override;
    void StopClock() override;
    void ShowExhibit(const QString &name) override;
    void CloseExhibit() override;
    void ShowExplanation(qint16 index) override;
    void ShowReviewList() override;
    void ShowReport() override;

    void Arrange();
    void ArrangeButtons();
    void SetTextScale(double scale);
    bool PressScaleKey(int key);
    bool PressPanelKey(int key);
    bool PressLetter(QChar letter);
    // The same for keys that scroll the page and for Enter, whatever is held with them.
    bool PressPageKey(QKeyEvent *event);
    void AnnounceItem();
    void AnnounceOption(const QString &caption);
    void ShowTime(const QString &time);

    ExamSession m_session;
    ExamClock tmrTimer;
    QTimer *tmrAhead;
    double m_textScale = 1;
    QString m_announcedMinute;
    bool m_isReviewed = false;
    bool m_isClosing = false;
    QCheckBox *chkMarked;
    QLabel *lblTime;
    QuestionFrame *picBorder;
    QPushButton *cmdNext;
    QPushButton *cmdPrev;
    QPushButton *cmdExhibit;
    QPushButton *cmdReview;
    QPointer<frmExhibit> m_exhibit;
};
