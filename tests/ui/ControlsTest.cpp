// SPDX-License-Identifier: Apache-2.0
#include "ui/Browser.h"
#include "ui/LinkLabel.h"
#include "ui/Panel.h"
#include "ui/TextBlock.h"

#include "tests/support/Windows.h"
#include "tests/ui/FakeBrowser.h"

#include <QLabel>
#include <QSignalSpy>

using namespace Windows;

namespace {

class BrowserTest : public testing::Test {
protected:
    ~BrowserTest() override { QDir::setCurrent(Sandbox::Path(u"."_s)); }

    Messages Boxes;
    FakeBrowser Browser;
};

using LinkLabelTest = BrowserTest;

}

TEST_F(BrowserTest, OpensTheAddress)
{
    const QString address = u"http://a.example/b?c=1&d='e f'"_s;
    LaunchBrowser(address);
    EXPECT_EQ(Browser.Opened(), address);
    EXPECT_FALSE(QFile::exists(u"temp.htm"_s));
}

TEST_F(BrowserTest, TellsWhatGoesWrong)
{
    Browser.Remove();
    Boxes.Expect(u"Unable to launch the browser"_s, ExclamationMessage);
    LaunchBrowser(u"http://a.example"_s);
    EXPECT_FALSE(QFile::exists(u"temp.htm"_s));

    if (Browser.Spoil()) {
        Boxes.Expect(u"Unable to load webpage"_s, ExclamationMessage);
        LaunchBrowser(u"http://a.example"_s);
        EXPECT_FALSE(QFile::exists(u"temp.htm"_s));
    }

    // A folder of that name keeps even root from writing the file.
    QDir().mkpath(Sandbox::Path(u"full/temp.htm"_s));
    QDir::setCurrent(Sandbox::Path(u"full"_s));
    Boxes.Expect(u"Cannot launch browser because an error occured writing to temporary file."_s, PlainMessage);
    LaunchBrowser(u"http://a.example"_s);
    EXPECT_TRUE(QFile::exists(u"temp.htm"_s)) << "what was there stays";
}

TEST_F(LinkLabelTest, Settings)
{
    LinkLabel link;
    link.ReadProperties({});
    EXPECT_EQ(link.Caption(), u"LinkLabel"_s);
    EXPECT_EQ(link.BackColor(), 0x8000000FU);
    EXPECT_EQ(link.findChild<QLabel *>()->palette().color(QPalette::WindowText), QColor(0, 0, 255));
    link.SetHRef(u" http://a.example "_s);
    link.SetForeColor(0x123456);
    link.SetEnabled(false);
    link.SetFont(QFont(link.font().family(), 23));
    link.SetCaption(u"<b>AT&T</b>"_s);
    LinkLabel copy;
    copy.ReadProperties(link.WriteProperties());
    EXPECT_EQ(copy.WriteProperties(), link.WriteProperties());
    EXPECT_EQ(copy.WriteProperties().size(), 6);
    EXPECT_EQ(copy.HRef(), u" http://a.example "_s);
    EXPECT_FALSE(copy.Enabled());
    EXPECT_EQ(copy.findChild<QLabel *>()->textFormat(), Qt::PlainText);
    EXPECT_EQ(copy.findChild<QLabel *>()->palette().color(QPalette::Active, QPalette::WindowText), QColor(0x56, 0x34, 0x12));
}

TEST_F(LinkLabelTest, EnabledIsTheControlsOwnState)
{
    QWidget window;
    LinkLabel link(&window);
    Panel panel(&window);
    for (const bool own : { true, false }) {
        link.SetEnabled(own);
        panel.SetEnabled(own);
        window.setEnabled(false);
        for (const QVariantMap &store : { link.WriteProperties(), panel.WriteProperties() })
            EXPECT_EQ(store[u"Enabled"_s].toBool(), own);
        window.setEnabled(true);
    }
}

TEST_F(LinkLabelTest, ClicksAndKeys)
{
    LinkLabel link;
    link.SetCaption(u"a link"_s);
    Show(&link);
    QSignalSpy clicks(&link, &LinkLabel::Click);
    const struct {
        QString HRef;
        std::function<void()> Press;
        QString Opened;
        bool IsClick = true;
    } rows[] = {
        { u"  http://a.example "_s, [&] { Click(&link); }, u"http://a.example"_s },
        { u"http://b.example"_s, [&] { QTest::keyClick(&link, Qt::Key_Return); }, u"http://b.example"_s },
        { u"   "_s, [&] { QTest::keyClick(&link, Qt::Key_Enter); }, u""_s },
        { u" "_s,
          [&] {
              for (const auto button : { Qt::RightButton, Qt::LeftButton })
                  QTest::mouseDClick(link.windowHandle(), button);
          },
          u""_s },
        { u"http://f.example"_s,
          [&] {
              QTest::mousePress(&link, Qt::LeftButton);
              QTest::mouseRelease(&link, Qt::LeftButton, Qt::NoModifier, QPoint(-5, -5));
          },
          u""_s, false },
    };
    for (const auto &row : rows) {
        clicks.clear();
        link.SetHRef(row.HRef);
        row.Press();
        EXPECT_EQ(clicks.count(), row.IsClick ? 1 : 0) << row.HRef.toStdString();
        if (!row.Opened.isEmpty()) {
            EXPECT_EQ(Browser.Opened(), row.Opened);
        }
        // Were it to be opened, the probe beside would come first.
        EXPECT_FALSE(Browser.HasOpened()) << row.HRef.toStdString();
    }
}

TEST(PanelTest, BorderFollowsTheEdges)
{
    Panel panel;
    panel.SetBackColor(0x00FFFF);
    panel.SetBorderColor(0x0000FF);
    panel.SetEnabled(false);
    Panel copy;
    copy.ReadProperties(panel.WriteProperties());
    EXPECT_EQ(copy.WriteProperties(), panel.WriteProperties());
    EXPECT_FALSE(copy.Enabled());
    copy.resize(40, 7);
    const QImage image = copy.grab().toImage();
    const QRect edge = image.rect();
    for (const QPoint corner : { edge.topLeft(), edge.topRight(), edge.bottomLeft(), edge.bottomRight() })
        EXPECT_EQ(image.pixelColor(corner), QColor(255, 0, 0)) << corner.x() << ' ' << corner.y();
    EXPECT_EQ(image.pixelColor(1, 1), QColor(255, 255, 0));
    EXPECT_EQ(image.pixelColor(38, 5), QColor(255, 255, 0));
}

TEST(TextBlockTest, WrapsAnything)
{
    TextBlock block;
    const int line = block.HeightForWidth(400);
    EXPECT_GT(line, 0) << "an empty text takes a line";
    const int wide = block.fontMetrics().horizontalAdvance(u"M"_s.repeated(20)) + 2;
    const struct {
        QString Text;
        int Lines;
    } rows[] = {
        { u"M"_s.repeated(20), 1 }, { u"M"_s.repeated(21), 2 }, { u"a\r\nb\rc\nd"_s, 4 },
        { u"a\r\n\r\nb"_s, 3 },     { u"a\0\nb"_s, 1 },         { u"<br><br>"_s, 1 },
    };
    for (const auto &row : rows) {
        block.SetText(row.Text);
        EXPECT_NEAR(block.HeightForWidth(wide), row.Lines * line, row.Lines * 0.1 + 1) << row.Text.left(30).toStdString();
    }
    // This size would hang were each line's time to grow with the text.
    block.SetText(u"M"_s.repeated(1'000'000));
    EXPECT_NEAR(block.HeightForWidth(wide), 50'000 * line, 5'000 * 1.0);
    block.SetText(u"M"_s.repeated(100));
    const int plain = block.HeightForWidth(wide);
    block.SetInsets(wide / 2, 33);
    EXPECT_NEAR(block.HeightForWidth(wide), plain * 2 + 33, 3) << "the insets are part of the size";
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
