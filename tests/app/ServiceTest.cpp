// SPDX-License-Identifier: Apache-2.0
#include "app/Program.h"

#include "common/Registry.h"
#include "download/Credentials.h"
#include "tests/support/Program.h"
#include "tests/support/Windows.h"

#include <QLineEdit>
#include <QTreeView>

using namespace Windows;

namespace {

const QString User = u"candidate@practorium.example"_s;
const QString Password = u"a b&c=d;e?f%g"_s;

QString Service(const QString &command, const QStringList &arguments, const QByteArray &input = {})
{
    const QStringList all = QStringList{ command, u"--database"_s, u"service.db"_s } + arguments;
    const Outcome outcome = OutcomeOf(QStringLiteral(SERVICE_PROGRAM), all, {}, input);
    EXPECT_EQ(outcome.Code, 0) << outcome.Err.toStdString();
    return outcome.Out;
}

}

// The program, the service and a pack, all as they are delivered; scripts/tour
// goes through the rest of a download.
TEST(ServiceTest, FromTheMainWindowToTheReport)
{
    const auto exam = NewExam({ u"NET-1"_s, u"Networks"_s, 1000, 700, 60 });
    AddItem(*exam, { u"stem"_s, { u"*one"_s, u"two"_s } });
    QDir().mkpath(u"sold/NET-1"_s);
    QDir().mkpath(u"packs"_s);
    exam->Save(u"sold/NET-1/NET-1.exam"_s);
    const QStringList pack = { u"pack"_s, u"sold/NET-1"_s, u"--out"_s, u"packs/NET-1.exe"_s };
    EXPECT_EQ(OutcomeOf(QStringLiteral(AUTHOR_PROGRAM), pack).Code, 0);
    Service(u"add-user"_s, { User }, Password.toUtf8() + '\n');
    Service(u"grant"_s, { User, u"NET-1"_s });
    QProcess service;
    service.start(QStringLiteral(SERVICE_PROGRAM), { u"serve"_s, u"--database"_s, u"service.db"_s, u"--packs"_s, u"packs"_s });
    ASSERT_TRUE(service.waitForReadyRead(Patience));
    Registry::WriteValue(Credentials::RegistryKey, Credentials::EndpointName, QString::fromUtf8(service.readLine()).trimmed(),
                         Registry::Text, Registry::CurrentUser);

    Messages shown;
    Program program;
    program.Start();
    Show(&program.Main());
    const auto *list = Find<QTreeView>(&program.Main(), u"lvwExams"_s)->model();
    EXPECT_EQ(list->rowCount(), 0);
    const WhenOpen window(u"frmExamDownloader"_s, [&](QWidget *opened) {
        Find<QLineEdit>(opened, u"txtEmail"_s)->setText(User);
        Find<QLineEdit>(opened, u"txtPassword"_s)->setText(Password);
        Click(opened, u"cmdAction"_s);
        EXPECT_TRUE(QTest::qWaitFor([&] { return !opened->isVisible(); }, Patience));
    });
    Click(&program.Main(), u"lblDownload"_s);
    ASSERT_EQ(list->rowCount(), 1);
    EXPECT_EQ(list->index(0, 0).data().toString() + list->index(0, 1).data().toString(), u"NET-1Networks"_s);
    EXPECT_TRUE(QDir(QString::fromLocal8Bit(qgetenv("TMPDIR"))).isEmpty()) << "no pack stays behind";
    service.terminate();
    EXPECT_EQ(EndOf(service).Code, 0);
    const QString reports = Service(u"list-reports"_s, {});
    EXPECT_TRUE(reports.contains(User + u"\tNET-1\t"_s) && reports.count(u'\n') == 1) << reports.toStdString();
}
