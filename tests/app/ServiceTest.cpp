// SPDX-License-Identifier: Apache-2.0
#include "app/Program.h"

#include "common/Registry.h"
#include "download/Credentials.h"
#include "tests/support/Windows.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QProcess>
#include <QTreeView>

using namespace Windows;

namespace {

const QString User = u"candidate@practorium.example"_s;
const QString Password = u"a b&c=d;e?f%g"_s;

// The program against the download service, both as they are delivered.
class ServiceTest : public testing::Test {
protected:
    ServiceTest()
    {
        QDir(Sandbox::ExamsFolder()).removeRecursively();
        QDir().mkpath(Packs);
    }
    ~ServiceTest() override
    {
        Service.terminate();
        EXPECT_TRUE(Service.waitForFinished(Patience));
    }

    QString Tool(const char *program, const QStringList &arguments, const QByteArray &input = {})
    {
        QProcess tool;
        tool.start(QString::fromUtf8(program), arguments);
        tool.write(input);
        tool.closeWriteChannel();
        EXPECT_TRUE(tool.waitForFinished(Patience) && tool.exitCode() == 0)
            << program << arguments.join(u' ').toStdString() << tool.readAllStandardError().constData();
        return QString::fromUtf8(tool.readAllStandardOutput());
    }
    void Sell(const QString &code, const QString &name)
    {
        const auto exam = NewExam({ code, name, 1000, 700, 60 });
        AddItem(*exam, { u"stem"_s, { u"*one"_s, u"two"_s } });
        const QString folder = Sandbox::Path(u"sold/"_s + code);
        QDir().mkpath(folder);
        exam->Save(folder + u'/' + code + u".exam"_s);
        Tool(AUTHOR_PROGRAM, { u"pack"_s, folder, u"--out"_s, Packs + u'/' + code + u".exe"_s, u"--replace"_s });
        Tool(SERVICE_PROGRAM, { u"grant"_s, u"--database"_s, Database, User, code });
    }
    void Serve()
    {
        Service.start(QStringLiteral(SERVICE_PROGRAM), { u"serve"_s, u"--database"_s, Database, u"--packs"_s, Packs });
        ASSERT_TRUE(Service.waitForReadyRead(Patience));
        Registry::WriteValue(Credentials::RegistryKey, Credentials::EndpointName,
                             QString::fromUtf8(Service.readLine()).trimmed(), Registry::Text, Registry::CurrentUser);
    }
    QStringList Reports()
    {
        return Tool(SERVICE_PROGRAM, { u"list-reports"_s, u"--database"_s, Database }).split(u'\n', Qt::SkipEmptyParts);
    }
    // From the main window's link until the download window has closed.
    void Download(const QString &password)
    {
        const WhenOpen window(u"frmExamDownloader"_s, [&](QWidget *opened) {
            Find<QLineEdit>(opened, u"txtEmail"_s)->setText(User);
            Find<QLineEdit>(opened, u"txtPassword"_s)->setText(password);
            Click(opened, u"cmdAction"_s);
            EXPECT_TRUE(QTest::qWaitFor(
                [&] { return !opened->isVisible() || Find<QAbstractButton>(opened, u"cmdAction"_s)->text() == u"&Start"_s; },
                Patience));
            opened->close();
        });
        Click(&Started.Main(), u"lblDownload"_s);
    }
    QStringList Listed()
    {
        const auto *model = Find<QTreeView>(&Started.Main(), u"lvwExams"_s)->model();
        QStringList exams;
        for (int row = 0; row < model->rowCount(); ++row)
            exams.append(model->index(row, 0).data().toString() + u' ' + model->index(row, 1).data().toString());
        exams.sort();
        return exams;
    }

    const QString Packs = Sandbox::Path(u"packs"_s);
    const QString Database = Sandbox::Path(u"service.db"_s);
    QProcess Service;
    Messages Shown;
    Program Started;
};

}

TEST_F(ServiceTest, FromStartToTheReport)
{
    Tool(SERVICE_PROGRAM, { u"add-user"_s, u"--database"_s, Database, User }, Password.toUtf8() + '\n');
    Sell(u"NET-1"_s, u"Networks"_s);
    Sell(u"LNX-1"_s, u"Linux"_s);
    Serve();
    Started.Start();
    Show(&Started.Main());

    Shown.Expect(u"Cannot continue because the User ID or password is incorrect"_s, CriticalMessage);
    Download(Password + u'x');
    EXPECT_TRUE(Listed().isEmpty() && Reports().isEmpty());

    Download(Password);
    EXPECT_EQ(Listed(), QStringList({ u"LNX-1 Linux"_s, u"NET-1 Networks"_s }));
    ASSERT_EQ(Reports().size(), 1);
    EXPECT_TRUE(Reports().constFirst().contains(User + u"\tNET-1,LNX-1\t"_s)) << Reports().constFirst().toStdString();
    EXPECT_TRUE(QDir(QString::fromLocal8Bit(qgetenv("TMPDIR"))).isEmpty()) << "no pack stays behind";

    // The one is declined, the other replaced by what is sold now.
    Sell(u"LNX-1"_s, u"Linux, second edition"_s);
    const auto overwrite = [&](const QString &exam, MessageAnswer answer) {
        Shown.Expect(u"Exam "_s + exam
                         + u" is already installed on this computer. Do you want to overwrite the existing exam?"_s,
                     QuestionMessage, answer);
    };
    overwrite(u"NET-1"_s, AnswerNo);
    overwrite(u"LNX-1"_s, AnswerYes);
    Download(Password);
    EXPECT_EQ(Listed(), QStringList({ u"LNX-1 Linux, second edition"_s, u"NET-1 Networks"_s }));
    ASSERT_EQ(Reports().size(), 2);
    EXPECT_TRUE(Reports().constLast().contains(u"\tLNX-1\t"_s));
}
