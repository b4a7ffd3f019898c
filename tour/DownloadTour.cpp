// SPDX-License-Identifier: Apache-2.0
#include "tour/DownloadTour.h"

#include "common/Registry.h"
#include "common/ServiceKey.h"
#include "download/Credentials.h"
#include "download/view/frmExamDownloader.h"
#include "model/IO.h"

#include <QCheckBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <QTreeView>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

// Nothing listens on the port that this one is reserved as.
const QString NoService = u"http://127.0.0.1:1/"_s;

}

DownloadTour::DownloadTour(Program &program, const QString &folder, Account account)
    : Driver(folder)
    , m_program(program)
    , m_account(std::move(account))
{
}

int DownloadTour::Run()
{
    frmMain &main = m_program.Main();
    WaitForExposed(&main, u"the main window"_s);
    Picture(&main, u"nothing-installed"_s);
    Expect(Installed().isEmpty(), u"no exam in the list"_s);
    Open(&DownloadTour::LogOnWrongly);
    Open(&DownloadTour::Download);
    const QStringList exams = Installed();
    Expect(exams.size() > 1, u"the downloaded exams in the list"_s);
    Picture(&main, u"installed"_s);
    Open(&DownloadTour::DownloadAgain);
    Expect(Installed() == exams, u"the exams still in the list"_s);
    Registry::WriteValue(ServiceKey, Credentials::EndpointName, NoService, Registry::Text, Registry::CurrentUser);
    Open(&DownloadTour::MissTheService);
    WhenAsked(u"really-exit"_s, QMessageBox::Yes);
    Click(Find<QPushButton>(&main, u"cmdExit"_s));
    Expect(Waiting() == 0, u"every window that was to show"_s);
    return Pictures();
}

QStringList DownloadTour::Installed()
{
    const auto *list = Find<QTreeView>(&m_program.Main(), u"lvwExams"_s);
    QStringList exams;
    for (int row = 0; row < list->model()->rowCount(); ++row)
        exams.append(list->model()->index(row, 0).data().toString());
    return exams;
}

void DownloadTour::Open(void (DownloadTour::*step)(QWidget *))
{
    When(u"frmExamDownloader"_s, [this, step](QWidget *window) { (this->*step)(window); });
    Click(Find<QWidget>(&m_program.Main(), u"lblDownload"_s));
}

QString DownloadTour::Status(QWidget *window)
{
    return Find<QLabel>(window, u"lblInfo"_s)->text();
}

void DownloadTour::Enter(QWidget *window, const QString &userID, const QString &password)
{
    for (const auto &[name, text] : { std::pair{ u"txtEmail"_s, userID }, std::pair{ u"txtPassword"_s, password } }) {
        auto *entry = Find<QLineEdit>(window, name);
        entry->selectAll();
        QTest::keyClicks(entry, text);
    }
}

void DownloadTour::LogOnWrongly(QWidget *window)
{
    auto *action = Find<QPushButton>(window, u"cmdAction"_s);
    Picture(window, u"idle"_s);
    WhenAsked(u"no-user-id"_s, QMessageBox::Ok);
    Click(action);
    Enter(window, m_account.UserID, {});
    WhenAsked(u"no-password"_s, QMessageBox::Ok);
    Click(action);
    Enter(window, m_account.UserID, m_account.Password + u'?');
    WhenAsked(u"wrong-password"_s, QMessageBox::Ok);
    Click(action);
    Picture(window, u"connecting"_s);
    WaitFor([&] { return Status(window) == "Authentication failed!"_L1; }, u"the password to be refused"_s);
    Expect(action->text() == "&Start"_L1, u"another try to be offered"_s);
    Picture(window, u"authentication-failed"_s);
    QTest::keyClick(window, Qt::Key_Escape);
}

void DownloadTour::Download(QWidget *window)
{
    Enter(window, m_account.UserID, m_account.Password);
    Click(Find<QLabel>(window, u"lblRemember"_s));
    Expect(Find<QCheckBox>(window, u"chkRemember"_s)->isChecked(), u"the account to be remembered"_s);
    Picture(window, u"ready"_s);
    const auto *status = Find<QLabel>(window, u"lblInfo"_s);
    const auto *rate = Find<QLabel>(window, u"lblRate"_s);
    const auto *bar = Find<QWidget>(window, u"shpProgress"_s);
    const auto *room = Find<QWidget>(window, u"picProgress"_s);
    // A fast service is done before there is a rate; then there is no such picture.
    const QPointer<QWidget> open(window);
    At([=] { return !open || (rate->text() != "NA"_L1 && bar->width() * 2 > room->width()); },
       [this, open] {
           if (open)
               Picture(open, u"downloading"_s);
       },
       u"half of a pack"_s);
    bool isInstalling = false;
    QObject::connect(qobject_cast<frmExamDownloader *>(window), &frmExamDownloader::Installing, window, [&] {
        if (!std::exchange(isInstalling, true))
            Picture(window, u"installing"_s);
    });
    Click(Find<QPushButton>(window, u"cmdAction"_s));
    Expect(Find<QPushButton>(window, u"cmdAction"_s)->text() == "&Cancel"_L1, u"the run to be on its way"_s);
    WaitFor([&] { return status->text() == "Completed"_L1; }, u"the packs to be installed and reported"_s);
    Expect(isInstalling, u"the installation to be reported"_s);
    Expect(Find<QPushButton>(window, u"cmdAction"_s)->text() == "&Close"_L1, u"the run to be over"_s);
    Picture(window, u"completed"_s);
    WaitFor([&] { return !window->isVisible(); }, u"the window to close by itself"_s);
}

// A pack that cannot be written, one whose download is cancelled; both exams
// stay as they are.
void DownloadTour::DownloadAgain(QWidget *window)
{
    Expect(Find<QLineEdit>(window, u"txtPassword"_s)->text() == m_account.Password, u"the password to be remembered"_s);
    QString inTheWay;
    // Each box is expected before the one ahead of it is answered: from there
    // on the window goes on by itself.
    When(u"QMessageBox"_s, [&](QWidget *overwrite) {
        Picture(overwrite, u"overwrite"_s);
        // "Exam NET-101 is already installed"
        const QString exam = qobject_cast<QMessageBox *>(overwrite)->text().section(u' ', 1, 1);
        inTheWay = IO::CombinePath(IO::GetTempFolder(), exam + u".exe"_s);
        QDir().mkpath(inTheWay);
        When(u"QMessageBox"_s, [&](QWidget *failed) {
            Picture(failed, u"installation-failed"_s);
            When(u"QMessageBox"_s, [](QWidget *other) { Press(other, QMessageBox::Yes); });
            Press(failed, QMessageBox::Ok);
        });
        Press(overwrite, QMessageBox::Yes);
    });
    auto *action = Find<QPushButton>(window, u"cmdAction"_s);
    Click(action);
    // A fast service leaves nothing to cancel.
    const auto isOver = [&] { return !window->isVisible() || action->text() == "&Close"_L1; };
    WaitFor([&] { return Waiting() == 0 && (Status(window).startsWith("Downloading: "_L1) || isOver()); },
            u"the second pack"_s);
    if (window->isVisible())
        Click(action);
    Expect(!window->isVisible(), u"Cancel to close the window"_s);
    QDir().rmdir(inTheWay);
}

void DownloadTour::MissTheService(QWidget *window)
{
    auto *action = Find<QPushButton>(window, u"cmdAction"_s);
    WhenAsked(u"no-service"_s, QMessageBox::Ok);
    Click(action);
    WaitFor([&] { return action->text() == "&Close"_L1; }, u"the run to end"_s);
    Picture(window, u"ended"_s);
    Click(action);
}
