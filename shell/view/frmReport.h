// SPDX-License-Identifier: Apache-2.0
#pragma once

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
// printed on demand or saved as a PDF file.
class frmReport : public QDialog {
    Q_OBJECT
public:
    explicit frmReport(QWidget *owner);

    // Loads the report of the current exam, shows it and waits until it is
    // closed.
    static void ShowModal(QWidget *owner);
    // Reads the scores from the current exam. Raises what they raise.
    void Load();

    qint16 TotalScore() const { return m_report.TotalScore; }
    void SetTotalScore(qint16 score) { m_report.TotalScore = score; }
    qint16 RequiredScore() const { return m_report.RequiredScore; }
    void SetRequiredScore(qint16 score) { m_report.RequiredScore = score; }
    qint16 ObtainedScore() const { return m_report.ObtainedScore; }
    void SetObtainedScore(qint16 score) { m_report.ObtainedScore = score; }

    // Fills the bar with the colour and makes it that share of the area wide.
    void SetBar(QWidget *bar, qint16 percent, const QColor &color);
    // One page to the default printer; a failure is reported in a message box.
    void PrintReport();

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    void Scale();
    void Arrange();
    void SavePdf();
    ReportSheet::Data SheetData() const;
    template <class Job> void RunJob(Job &&job);

    std::shared_ptr<Exam> m_exam; // the window may outlast the sitting
    ScoreReport m_report;
    QVBoxLayout *m_names = nullptr;
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
