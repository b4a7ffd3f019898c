// SPDX-License-Identifier: Apache-2.0
#include "app/Program.h"

#include "download/view/frmExamDownloader.h"
#include "resources/Artwork.h"
#include "shell/view/frmAbout.h"
#include "shell/view/frmReport.h"
#include "shell/view/frmReview.h"
#include "ui/Guard.h"

#include <QApplication>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

Program::Program()
    : m_main(std::make_unique<frmMain>())
{
    // The end comes through the main window's own question, not because some
    // window was the last one visible.
    QApplication::setQuitOnLastWindowClosed(false);
    // The windows and their texts are the same in every language of the desktop.
    QApplication::setLayoutDirection(Qt::LeftToRight);
    connect(m_main.get(), &frmMain::ExamLoaded, this, [this] { Guard([&] { StartSitting(); }); });
    connect(m_main.get(), &frmMain::AboutRequested, this, [this] { Guard([&] { frmAbout(m_main.get()).exec(); }); });
    connect(m_main.get(), &frmMain::DownloadRequested, this,
            [this] { Guard([&] { frmExamDownloader(m_main.get()).exec(); }); });
}

Program::~Program()
{
    delete m_exam;
}

void Program::Start()
{
    // The system puts the window on the screen while the exams are looked up;
    // it is painted when they are in the list.
    m_main->show();
    m_main->Load();
    // The window is painted first.
    QTimer::singleShot(0, this, [] { QApplication::setWindowIcon(Artwork::ApplicationIcon()); });
}

void Program::End()
{
    // A question that is open counts as closed without an answer.
    for (QWidget *window : QApplication::topLevelWidgets()) {
        // Its end decides what is remembered of the user.
        if (auto *download = qobject_cast<frmExamDownloader *>(window); download && download->isVisible())
            download->reject();
        window->hide();
    }
    QCoreApplication::exit(0);
}

void Program::StartSitting()
{
    auto *exam = new frmExam;
    m_exam = exam;
    connect(exam, &frmExam::Starting, m_main.get(), &QWidget::hide);
    connect(exam, &frmExam::ReviewRequested, this, [exam] {
        Guard([&] {
            frmReview window(exam->Session(), exam);
            window.Load();
            window.exec();
        });
    });
    connect(exam, &frmExam::ReportRequested, this, [exam] { Guard([&] { frmReport::ShowModal(exam); }); });
    connect(exam, &frmExam::Unloaded, this, [this, exam] {
        m_main->show();
        exam->deleteLater();
    });
    exam->StartExam();
}
