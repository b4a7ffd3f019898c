#include "ui/Browser.h"
#include "ui/LinkLabel.h"
#include "ui/Panel.h"
#include "ui/TextBlock.h"
#include "ui/Theme.h"

#include "tests/support/Messages.h"
#include "tests/support/Sandbox.h"
#include "tests/support/Windows.h"

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QSignalSpy>

using namespace Qt::Literals::StringLiterals;
using namespace Windows;

namespace {

const QString BrowserLog = u"browser.log"_s;

// A desktop whose browser writes down what it is asked to open.
class BrowserTest : public testing::Test {
protected:
    BrowserTest()
    {
        Sandbox::WriteFile(Sandbox::Path(u"bin/xdg-open"_s),
                           "#!/bin/sh\nprintf '%s|' \"$@\" > \"" + Sandbox::Path(u"partial"_s).toUtf8() + "\"\n/bin/mv \""
                               + Sandbox::Path(u"partial"_s).toUtf8() + "\" \"" + Sandbox::Path(BrowserLog).toUtf8() + "\"\n");
        QFile::setPermissions(Sandbox::Path(u"bin/xdg-open"_s), QFile::ReadOwner | QFile::ExeOwner);
        qputenv("PATH", Sandbox::Path(u"bin"_s).toLocal8Bit());
        QFile::remove(Sandbox::Path(BrowserLog));
    }
    ~BrowserTest() override
    {
        qputenv("PATH", m_path);
        QDir::setCurrent(Sandbox::Path(u"."_s));
    }
    // What was opened, once something was.
    QString Opened()
    {
        EXPECT_TRUE(QTest::qWaitFor([] { return QFile::exists(Sandbox::Path(BrowserLog)); }));
        const QString opened = QString::fromUtf8(Sandbox::ReadFile(Sandbox::Path(BrowserLog)));
        QFile::remove(Sandbox::Path(BrowserLog));
        return opened;
    }

    Messages Boxes;

private:
    const QByteArray m_path = qgetenv("PATH");
};

using LinkLabelTest = BrowserTest;

}

TEST_F(BrowserTest, OpensTheAddress)
{
    for (const QString &address : { u"http://a.example/b?c=1&d='e f'"_s, u"x"_s }) {
        LaunchBrowser(address);
        EXPECT_EQ(Opened(), address + u'|');
        EXPECT_FALSE(QFile::exists(u"temp.htm"_s));
    }
}

TEST_F(BrowserTest, TellsWhatGoesWrong)
{
    QFile::remove(Sandbox::Path(u"bin/xdg-open"_s));
    Boxes.Expect(u"Unable to launch the browser"_s, ExclamationMessage);
    LaunchBrowser(u"http://a.example"_s);
    EXPECT_FALSE(QFile::exists(u"temp.htm"_s));

    // A program that the system cannot start.
    Sandbox::WriteFile(Sandbox::Path(u"bin/xdg-open"_s), "#!/none/such\n");
    QFile::setPermissions(Sandbox::Path(u"bin/xdg-open"_s), QFile::ReadOwner | QFile::ExeOwner);
    Boxes.Expect(u"Unable to load webpage"_s, ExclamationMessage);
    LaunchBrowser(u"http://a.example"_s);
    EXPECT_FALSE(QFile::exists(u"temp.htm"_s));

    // A folder of that name keeps even root from writing the file.
    QDir().mkpath(Sandbox::Path(u"full/temp.htm"_s));
    QDir::setCurrent(Sandbox::Path(u"full"_s));
    Boxes.Expect(u"Cannot launch browser because an error occured writing to temporary file."_s, PlainMessage);
    LaunchBrowser(u"http://a.example"_s);
    EXPECT_TRUE(QFile::exists(u"temp.htm"_s)) << "what was there stays";
}

TEST_F(LinkLabelTest, Defaults)
{
    QWidget form;
    LinkLabel link(&form);
    link.setObjectName(u"lblLink1"_s);
    link.InitProperties();
    EXPECT_EQ(link.Caption(), u"lblLink1"_s);
    EXPECT_TRUE(link.Font().underline());
    EXPECT_EQ(link.ForeColor(), 0xFF0000U);
    EXPECT_EQ(link.findChild<QLabel *>()->palette().color(QPalette::WindowText), QColor(0, 0, 255));

    form.setFont(QFont(form.font().family(), 31));
    link.ReadProperties({});
    const QVariantMap store = link.WriteProperties();
    EXPECT_EQ(store.keys(), (QStringList{ u"BackColor"_s, u"Caption"_s, u"Enabled"_s, u"Font"_s, u"ForeColor"_s, u"HRef"_s }));
    EXPECT_EQ(store[u"Caption"_s], u"LinkLabel"_s);
    EXPECT_EQ(store[u"HRef"_s], u""_s);
    EXPECT_EQ(store[u"ForeColor"_s], 0xFF0000U);
    EXPECT_EQ(store[u"BackColor"_s], 0x8000000FU);
    EXPECT_EQ(store[u"Enabled"_s], true);
    EXPECT_EQ(link.Font().pointSize(), 31) << "the form's own";
}

TEST_F(LinkLabelTest, SettingsAreKept)
{
    LinkLabel link;
    QSignalSpy changes(&link, &LinkLabel::PropertyChanged);
    link.SetHRef(u" http://a.example "_s);
    link.SetForeColor(0x123456);
    link.SetEnabled(false);
    link.SetFont(QFont(link.font().family(), 23));
    link.SetCaption(u"<b>AT&T</b>"_s);
    link.SetBackColor(0x80000005);
    QStringList names;
    for (const QList<QVariant> &change : changes)
        names.append(change.first().toString());
    EXPECT_EQ(names, (QStringList{ u"HRef"_s, u"ForeColor"_s, u"Enabled"_s, u"Font"_s, u"Caption"_s, u"BackColor"_s }));
    LinkLabel copy;
    copy.ReadProperties(link.WriteProperties());
    EXPECT_EQ(copy.HRef(), u" http://a.example "_s);
    EXPECT_EQ(copy.ForeColor(), 0x123456U);
    EXPECT_FALSE(copy.Enabled());
    EXPECT_EQ(copy.Font().pointSize(), 23);
    EXPECT_EQ(copy.Caption(), u"<b>AT&T</b>"_s);
    EXPECT_EQ(copy.BackColor(), 0x80000005U);
    EXPECT_EQ(copy.findChild<QLabel *>()->textFormat(), Qt::PlainText);
    EXPECT_EQ(copy.findChild<QLabel *>()->palette().color(QPalette::Active, QPalette::WindowText), QColor(0x56, 0x34, 0x12));
}

TEST_F(LinkLabelTest, IsAsLargeAsItsText)
{
    LinkLabel link;
    Show(&link);
    const auto fits = [&] {
        const auto *label = link.findChild<QLabel *>();
        return link.size() == label->sizeHint() && label->geometry() == link.rect();
    };
    link.SetCaption(u"short"_s);
    const int width = link.width();
    EXPECT_TRUE(fits());
    link.SetCaption(u"a much longer caption"_s);
    EXPECT_TRUE(fits());
    EXPECT_GT(link.width(), width * 2);
    const int height = link.height();
    link.SetFont(QFont(link.font().family(), 40));
    EXPECT_TRUE(fits());
    EXPECT_GT(link.height(), height);
}

TEST_F(LinkLabelTest, ClicksAndKeys)
{
    LinkLabel link;
    link.SetCaption(u"a link"_s);
    Show(&link);
    QSignalSpy clicks(&link, &LinkLabel::Click);
    struct Row { QString HRef; std::function<void()> Press; QString Opened; bool IsClick = true; };
    const Row rows[] = {
        { u"  http://a.example "_s, [&] { Click(&link); }, u"http://a.example|"_s },
        { u"http://b.example"_s, [&] { QTest::keyClick(&link, Qt::Key_Return); }, u"http://b.example|"_s },
        { u"http://c.example"_s, [&] { QTest::keyClick(&link, Qt::Key_Space); }, u"http://c.example|"_s },
        { u""_s, [&] { Click(&link); }, u""_s },
        { u"   "_s, [&] { QTest::keyClick(&link, Qt::Key_Enter); }, u""_s },
        { u"http://d.example"_s, [&] { QTest::mouseClick(&link, Qt::RightButton); }, u""_s, false },
        { u"http://e.example"_s, [&] { QTest::keyClick(&link, Qt::Key_X); }, u""_s, false },
        { u"http://f.example"_s, [&] {
             QTest::mousePress(&link, Qt::LeftButton);
             QTest::mouseRelease(&link, Qt::LeftButton, Qt::NoModifier, QPoint(-5, -5));
         }, u""_s, false },
    };
    for (const Row &row : rows) {
        clicks.clear();
        link.SetHRef(row.HRef);
        row.Press();
        EXPECT_EQ(clicks.count(), row.IsClick ? 1 : 0) << row.HRef.toStdString();
        if (!row.Opened.isEmpty()) {
            EXPECT_EQ(Opened(), row.Opened);
        }
        // Were it to be opened, the probe beside would come first.
        EXPECT_FALSE(QFile::exists(Sandbox::Path(BrowserLog))) << row.HRef.toStdString();
    }
}

TEST(PanelTest, BorderFollowsTheEdges)
{
    QWidget form;
    Panel panel(&form);
    EXPECT_EQ(panel.WriteProperties(), (QVariantMap{ { u"BackColor"_s, 0x8000000FU }, { u"BorderColor"_s, 0x80000008U }, { u"Enabled"_s, true } }));
    QSignalSpy changes(&panel, &Panel::PropertyChanged);
    panel.SetBackColor(0x00FFFF);
    panel.SetBorderColor(0x0000FF);
    panel.SetEnabled(false);
    EXPECT_EQ(changes.count(), 3);
    Panel copy;
    copy.ReadProperties(panel.WriteProperties());
    EXPECT_EQ(copy.WriteProperties(), panel.WriteProperties());
    copy.ReadProperties({});
    EXPECT_EQ(copy.BackColor(), 0x8000000FU);
    EXPECT_TRUE(copy.Enabled());
    for (const QSize size : { QSize(40, 30), QSize(7, 90), QSize(3, 3) }) {
        panel.resize(size);
        const QImage image = panel.grab().toImage();
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const bool isEdge = x == 0 || y == 0 || x == image.width() - 1 || y == image.height() - 1;
                ASSERT_EQ(image.pixelColor(x, y), isEdge ? QColor(255, 0, 0) : QColor(255, 255, 0)) << size.width() << ": " << x << ' ' << y;
            }
        }
    }
}

TEST(TextBlockTest, WrapsAnything)
{
    TextBlock block;
    const int line = block.HeightForWidth(400);
    EXPECT_GT(line, 0) << "an empty text takes a line";
    const int wide = block.fontMetrics().horizontalAdvance(u"M"_s.repeated(20)) + 2;
    struct Row { QString Text; int Lines; };
    const Row rows[] = {
        { u"M"_s, 1 }, { u"M"_s.repeated(20), 1 }, { u"M"_s.repeated(21), 2 }, { u"M"_s.repeated(100'000), 5'000 },
        { u"a\r\nb\rc\nd"_s, 4 }, { u"a\r\n\r\nb"_s, 3 }, { u"a\0\nb"_s, 1 }, { u"<br><br>"_s, 1 },
    };
    for (const Row &row : rows) {
        block.SetText(row.Text);
        EXPECT_NEAR(block.HeightForWidth(wide), row.Lines * line, row.Lines * 0.1 + 1) << row.Text.left(30).toStdString();
        EXPECT_LE(block.HeightForWidth(wide * 2), block.HeightForWidth(wide));
    }
    // This size would hang were each line's time to grow with the text.
    block.SetText(u"M"_s.repeated(1'000'000));
    EXPECT_NEAR(block.HeightForWidth(wide), 50'000 * line, 5'000 * 1.0);
    block.SetText(u"M"_s.repeated(100));
    const int plain = block.HeightForWidth(wide);
    block.SetInsets(wide / 2, 33);
    EXPECT_NEAR(block.HeightForWidth(wide), plain * 2 + 33, 3) << "the insets are part of the size";
    Theme::ScaleFont(&block, 2);
    EXPECT_GT(block.HeightForWidth(wide), plain * 4) << "a larger font is laid out anew";
}

TEST(TextBlockTest, LongRunsAreBreakable)
{
    const QString run(1'000, u'x');
    const QString gap(QChar(0x200B));
    const QString pair = u"\U0001F600"_s;
    struct Row { QString Text, Expected; };
    for (const Row &row : { Row{ run, run }, Row{ run + u' ' + run, run + u' ' + run }, Row{ run + u'y', run + gap + u'y' },
                            Row{ run + run + run + u'y', run + gap + run + gap + run + gap + u'y' },
                            Row{ run.left(999) + pair, run.left(999) + pair }, Row{ run + pair, run + gap + pair } })
        EXPECT_EQ(TextBlock::Breakable(row.Text), row.Expected) << row.Text.size();
}

TEST(TextBlockTest, PaintsWhatLooksLikeMarkup)
{
    const auto picture = [](const QString &text) {
        TextBlock block;
        block.SetText(text);
        block.resize(300, 40);
        return block.grab().toImage();
    };
    const QImage empty = picture(u""_s);
    EXPECT_NE(picture(u"<b></b>"_s), empty);
    EXPECT_NE(picture(u"A&T"_s), picture(u"AT"_s));
    EXPECT_EQ(picture(u"a\0b"_s), picture(u"a"_s));
}
