// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Clock.h"
#include "model/Exam.h"
#include "shell/ReportSheet.h"

#include <QDialog>

#include <memory>

class LogoView;
class QFrame;
class QLabel;
class QPushButton;
class QVBoxLayout;
class ResultLabel;

// The score report of the current exam: the result in words and as two bars,
// printed on demand or saved as a PDF file. Its sizes grow and shrink with the
// height of the window.
class frmReport : public QDialog {
    Q_OBJECT
public:
    // The clock gives the date of the printed page and must outlive the window.
    explicit frmReport(QWidget *owner, const Clock &clock = Clock::System());

    // Loads the report of the current exam, shows it and waits until it is
    // closed, with events running. Raises what Load raises.
    static void ShowModal(QWidget *owner);
    // Reads the scores from the current exam, which the window keeps. To be called
    // before the window is shown. Raises InvalidCall without a current exam, and
    // what Exam::CalculateScore raises.
    void Load();

    // What is printed next, and shown from the next change of the window's size.
    qint16 TotalScore() const { return m_report.TotalScore; }
    void SetTotalScore(qint16 score) { m_report.TotalScore = score; }
    qint16 RequiredScore() const { return m_report.RequiredScore; }
    void SetRequiredScore(qint16 score) { m_report.RequiredScore = score; }
    qint16 ObtainedScore() const { return m_report.ObtainedScore; }
    void SetObtainedScore(qint16 score) { m_report.ObtainedScore = score; }

    // Fills the bar with the colour and makes it that share of the area wide, not
    // limited to 100; below 0 the bar has no width.
    void SetBar(QWidget *bar, qint16 percent, const QColor &color);
    // One page to the default printer; a failure is reported in a message box.
    // Load must have come before.
    void PrintReport();

protected:
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void Scale();
    void Arrange();
    void SavePdf();
    ReportSheet::Data SheetData() const;
    template <class Job> void RunJob(Job &&job);

    const Clock &m_clock;
    std::shared_ptr<Exam> m_exam; // the window may outlast the sitting
    ScoreReport m_report;
    QVBoxLayout *m_names = nullptr;
    QWidget *m_page;
    LogoView *picLogo;
    ResultLabel *lblMessage;
    QFrame *fraScores;
    QWidget *picScores;
    QLabel *lblRequired;
    QLabel *lblObtained;
    QFrame *shpRequired;
    QFrame *shpObtained;
    QPushButton *cmdPrint;
    QPushButton *cmdSavePdf;
    QPushButton *cmdExit;
};
