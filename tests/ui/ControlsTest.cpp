// SPDX-License-Identifier: Apache-2.0
#include "ui/Browser.h"
#include "ui/LinkLabel.h"
#include "ui/Panel.h"
#include "ui/TextBlock.h"
#include "ui/Theme.h"

#include "tests/support/Sketch.h"
#include "tests/support/SmallDisk.h"

#include <QAccessible>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>

using namespace Windows;

namespace {

// The browser of a desktop: whether there is one that starts, and what it was to open.
struct Desktop {
    bool HasBrowser = true, Starts = true;
    QString Opened = {};
} desktop;

class BrowserTest : public testing::Test {
protected:
    BrowserTest() { desktop = {}; }
    ~BrowserTest() override { QDir::setCurrent(Sandbox::Path(u"."_s)); }

    Messages Boxes;
};

using LinkLabelTest = BrowserTest;

}

// In place of the system's.
QString FindDocumentProgram(const QString &document)
{
    EXPECT_TRUE(QFile::exists(document)) << "only a document can be asked for its program";
    return desktop.HasBrowser ? u"browser "_s : QString();
}
bool OpenWithProgram(const QString &program, const QString &url)
{
    desktop.Opened += program + url;
    return desktop.Starts;
}

TEST_F(BrowserTest, OpensTheAddressOrTellsWhatGoesWrong)
{
    const QString address = u"http://a.example/b?c=1&d='e f'"_s;
    LaunchBrowser(address);
    EXPECT_EQ(desktop.Opened, u"browser "_s + address);
    desktop = { .Starts = false };
    Boxes.Expect(u"Unable to load webpage"_s, ExclamationMessage);
    LaunchBrowser(address);
    desktop = { .HasBrowser = false };
    Boxes.Expect(u"Unable to launch the browser"_s, ExclamationMessage);
    LaunchBrowser(address);
    EXPECT_EQ(desktop.Opened, u""_s);
    EXPECT_FALSE(QFile::exists(u"temp.htm"_s));

    // A folder of that name keeps even root from writing the file, and so does a full disk.
    const QString noFile = u"Cannot launch browser because an error occured writing to temporary file."_s;
    QDir().mkpath(Sandbox::Path(u"full/temp.htm"_s));
    QDir::setCurrent(Sandbox::Path(u"full"_s));
    Boxes.Expect(noFile, PlainMessage);
    LaunchBrowser(address);
    EXPECT_TRUE(QFile::exists(u"temp.htm"_s)) << "what was there stays";
    QDir::setCurrent(Sandbox::Path(u"."_s));
    if (!SmallDisk::WhyNot()) {
        Boxes.Expect(noFile, PlainMessage);
        const SmallDisk disk(4);
        LaunchBrowser(address);
    }
}

// A change is reported; what is stored looks the same when it is read again.
TEST_F(LinkLabelTest, Settings)
{
    QWidget window;
    LinkLabel link, copy;
    link.setObjectName(u"lblLink"_s);
    link.InitProperties();
    copy.ReadProperties({});
    EXPECT_EQ(link.Caption() + copy.Caption(), u"lblLinkLinkLabel"_s);
    EXPECT_TRUE(link.Font().underline() && !copy.Font().underline());
    copy.SetFont(QFont(link.font().family(), 40));
    EXPECT_TRUE(Colours(copy.grab().toImage()).contains(qRgb(0, 0, 255)));

    QStringList changes;
    QObject::connect(&link, &LinkLabel::PropertyChanged, [&](const QString &name) { changes += name; });
    link.SetHRef(u" http://a.example "_s);
    link.SetForeColor(0x123456);
    link.SetBackColor(0x00FFFF);
    link.SetFont(copy.Font());
    link.SetCaption(u"<b>AT&T</b>"_s);
    copy.ReadProperties(link.WriteProperties());
    EXPECT_EQ(copy.HRef(), u" http://a.example "_s);
    for (LinkLabel *shown : { &link, &copy }) {
        EXPECT_TRUE(Colours(shown->grab().toImage()).contains({ qRgb(0x56, 0x34, 0x12), qRgb(255, 255, 0) }));
        const QSize text = QFontMetrics(link.Font()).size(0, link.Caption());
        EXPECT_EQ(shown->size().expandedTo(text), shown->size()) << "as large as its text";
        EXPECT_EQ(QAccessible::queryAccessibleInterface(shown)->text(QAccessible::Name), link.Caption());
        EXPECT_EQ(QAccessible::queryAccessibleInterface(shown)->role(), QAccessible::Link);
    }
    link.setParent(&window);
    window.setEnabled(false);
    EXPECT_TRUE(link.WriteProperties()[u"Enabled"_s].toBool()) << "its own state";
    link.SetEnabled(false);
    copy.ReadProperties(link.WriteProperties());
    EXPECT_FALSE(copy.Enabled());
    EXPECT_EQ(changes, (QStringList{ u"HRef"_s, u"ForeColor"_s, u"BackColor"_s, u"Font"_s, u"Caption"_s, u"Enabled"_s }));
}

TEST_F(LinkLabelTest, ClicksAndKeys)
{
    QWidget window;
    LinkLabel link(&window), other(&window);
    link.SetCaption(u"a link"_s);
    window.resize(300, 100);
    Show(&window);
    other.move(150, 50);
    // The one with the focus has a line around it.
    link.setFocus();
    for (const bool isHere : { false, true }) {
        QTest::keyClick(&window, Qt::Key_Tab);
        const QRect all = link.rect();
        for (const QRect &edge : { all & QRect(0, 0, 999, 1), all & QRect(0, 0, 1, 999), all & QRect(0, all.bottom(), 999, 1),
                                   all & QRect(all.right(), 0, 1, 999) })
            EXPECT_EQ(Colours(link.grab(edge).toImage()).contains(Theme::Current().Focus.rgb()), isHere);
    }
    QSignalSpy clicks(&link, &LinkLabel::Click);
    const auto pressTwice = [&] { QTest::mouseDClick(window.windowHandle(), Qt::LeftButton, {}, QPoint(5, 5)); };
    const auto leave = [&] {
        QTest::mousePress(&link, Qt::LeftButton);
        QTest::mouseRelease(&link, Qt::LeftButton, {}, QPoint(-5, -5));
    };
    const struct {
        QString HRef;
        std::function<void()> Press;
        QString Opened;
        int Clicks = 1;
    } rows[] = {
        { u"  http://a.example "_s, [&] { Click(&link); }, u"browser http://a.example"_s },
        { u"http://b.example"_s, [&] { QTest::keyClick(&link, Qt::Key_Return); }, u"browser http://b.example"_s },
        { u"   "_s, [&] { QTest::keyClick(&link, Qt::Key_Space); }, u""_s },
        { u" "_s, pressTwice, u""_s },
        { u"http://e.example"_s, [&] { QTest::mouseClick(window.windowHandle(), Qt::RightButton, {}, QPoint(5, 5)); }, u""_s,
          0 },
        { u"http://f.example"_s, leave, u""_s, 0 },
    };
    for (const auto &row : rows) {
        clicks.clear();
        link.SetHRef(row.HRef);
        row.Press();
        EXPECT_EQ(clicks.count(), row.Clicks) << row.HRef.toStdString();
        EXPECT_EQ(std::exchange(desktop.Opened, {}), row.Opened) << row.HRef.toStdString();
    }
}

TEST(PanelTest, BorderFollowsTheEdges)
{
    Panel panel;
    QStringList changes;
    QObject::connect(&panel, &Panel::PropertyChanged, [&](const QString &name) { changes += name; });
    panel.SetBackColor(0x00FFFF);
    panel.SetBorderColor(0x0000FF);
    panel.SetEnabled(false);
    EXPECT_EQ(changes, (QStringList{ u"BackColor"_s, u"BorderColor"_s, u"Enabled"_s }));
    Panel copy;
    copy.ReadProperties(panel.WriteProperties());
    EXPECT_FALSE(copy.Enabled());
    EXPECT_NE(QAccessible::queryAccessibleInterface(&copy)->role(), QAccessible::Link);
    copy.resize(40, 7);
    const QImage image = copy.grab().toImage();
    EXPECT_EQ(Colours(image.copy(image.rect().adjusted(1, 1, -1, -1))), QSet<QRgb>{ qRgb(255, 255, 0) });
    for (const QRect &edge : { QRect(0, 0, 40, 1), QRect(0, 6, 40, 1), QRect(0, 0, 1, 7), QRect(39, 0, 1, 7) })
        EXPECT_EQ(Colours(Part(image, edge)), QSet<QRgb>{ qRgb(255, 0, 0) });
}

// A visible control shows a change at once.
TEST(PanelTest, WhatChangesIsPaintedAgain)
{
    struct Painted : QObject {
        bool eventFilter(QObject *, QEvent *event) override { return Is = Is || event->type() == QEvent::Paint, false; }
        bool Is = false;
    } painted;
    Panel panel;
    LinkLabel link;
    const std::pair<QWidget *, std::function<void()>> changes[] = {
        { &panel, [&] { panel.SetBackColor(0x00FFFF); } }, { &panel, [&] { panel.SetBorderColor(0x0000FF); } },
        { &panel, [&] { panel.ReadProperties({}); } },     { &link, [&] { link.SetForeColor(0x00FFFF); } },
        { &link, [&] { link.SetCaption(u"x"_s); } },
    };
    for (const auto &[control, change] : changes) {
        Show(control);
        QCoreApplication::processEvents();
        control->installEventFilter(&painted);
        painted.Is = false;
        change();
        EXPECT_TRUE(QTest::qWaitFor([&] { return painted.Is; }, 1'000)) << &change - &changes[0].second;
    }
}

// The numbers that Windows gives its colours (GetSysColor).
TEST(ThemeTest, SystemColours)
{
    using Role = QPalette;
    const std::pair<OleColor, QPalette::ColorRole> rows[]
        = { { 5, Role::Base },    { 8, Role::WindowText }, { 13, Role::Highlight },   { 14, Role::HighlightedText },
            { 15, Role::Window }, { 16, Role::Dark },      { 18, Role::ButtonText },  { 20, Role::Light },
            { 21, Role::Shadow }, { 22, Role::Midlight },  { 23, Role::ToolTipText }, { 24, Role::ToolTipBase },
            { 26, Role::Link } };
    QPalette palette;
    for (int role = 0; role < QPalette::NColorRoles; ++role)
        palette.setColor(static_cast<QPalette::ColorRole>(role), QColor(role, 1, 2));
    for (const auto &[number, role] : rows)
        EXPECT_EQ(OleColors::ToColor(0x80000000 | number, palette), palette.color(role)) << number;
}

// Letters are of one ink on every ground, and paler where something is disabled.
TEST(ThemeTest, InkAndSizes)
{
    QLabel label(u"M"_s);
    QPushButton button(u"M"_s);
    QLineEdit edit(u"M"_s);
    TextBlock block;
    block.SetText(u"M"_s);
    for (QWidget *widget : std::initializer_list<QWidget *>{ &label, &button, &edit, &block }) {
        widget->setFont(QFont(widget->font().family(), 40));
        widget->resize(widget->sizeHint());
        for (const bool isEnabled : { true, false }) {
            widget->setEnabled(isEnabled);
            EXPECT_EQ(Colours(widget->grab().toImage()).contains(Brand::Ink.rgb()), isEnabled)
                << widget->metaObject()->className();
        }
    }
    Theme::ScaleFont(&label, 1.5, QFont::Bold);
    EXPECT_TRUE(label.font().pointSizeF() == 60 && label.font().bold());
}

TEST(TextBlockTest, WrapsAnything)
{
    TextBlock block;
    const int line = block.HeightForWidth(400);
    EXPECT_GT(line, 0) << "an empty text takes a line";
    const int wide = block.fontMetrics().horizontalAdvance(u"M"_s.repeated(20)) + 2;
    const std::pair<QString, int> rows[] = { { u"M"_s.repeated(20), 1 },
                                             { u"M"_s.repeated(21), 2 },
                                             { u"a\r\nb\rc\nd"_s, 4 },
                                             { u"a\r\n\r\nb"_s, 3 },
                                             { u"a\0\nb"_s, 1 },
                                             { u"<br><br>"_s, 1 },
                                             { u""_s, 1 } };
    for (const auto &[text, lines] : rows) {
        SCOPED_TRACE(text.left(30).toStdString());
        block.SetText(text);
        EXPECT_NEAR(block.HeightForWidth(wide), lines * line, lines * 0.1 + 1);
        const auto extent = TextBlock::ExtentOf(text, block.font(), wide);
        EXPECT_NEAR(extent.Height, block.HeightForWidth(wide), 1);
        EXPECT_EQ(extent.Unwrapped > wide, text.size() > 20);
        EXPECT_EQ(block.HeightForWidth(extent.Unwrapped), block.HeightForWidth(10'000));
    }
    // This size would hang were each line's time to grow with the text.
    block.SetText(u"M"_s.repeated(1'000'000));
    EXPECT_NEAR(block.HeightForWidth(wide), 50'000 * line, 5'000 * 1.0);
    block.SetText(u"M"_s.repeated(100));
    const int plain = block.HeightForWidth(wide);
    block.SetInsets(wide / 2, 33);
    EXPECT_NEAR(block.HeightForWidth(wide), plain * 2 + 33, 3) << "the insets are part of the size";
    block.SetInsets(wide / 2, 0);
    EXPECT_NEAR(block.HeightForWidth(wide), plain * 2, 3);
    const QString word(600, u'x'), words = word + u'\t' + word + u'\n' + word + QChar::LineSeparator + word + u' ';
    EXPECT_EQ(TextBlock::Breakable(words), words);
    EXPECT_EQ(TextBlock::Breakable(words + QString(2500, u'x')).size(), words.size() + 2502) << "two places to break";
    block.setFont(QFont(block.font().family(), 40));
    EXPECT_GT(block.HeightForWidth(wide), plain * 2 + 33) << "larger letters";
}

// Only faster: what is painted is the same, whatever happens meanwhile.
TEST(TextBlockTest, PreparedTexts)
{
    const QString text = u"a text of some words that is wrapped, and\ra\0 line that is not shown"_s;
    const auto nothing = [](TextBlock &) {};
    const std::function<void(TextBlock &)> changes[] = {
        nothing,
        [](TextBlock &block) { block.resize(50, 300); },
        [](TextBlock &block) { block.SetInsets(20, 10); },
        [](TextBlock &block) { block.setFont(QFont(block.font().family(), 20)); },
        [](TextBlock &block) { block.Prepare(u"another"_s); },
        [](TextBlock &block) { block.SetText(u"another"_s); },
    };
    for (const auto &change : changes) {
        QImage pictures[2];
        for (const bool isPrepared : { false, true }) {
            TextBlock block;
            block.resize(100, 300);
            block.SetText(u"present"_s);
            block.grab();
            if (isPrepared)
                block.Prepare(text);
            change(block);
            block.SetText(text);
            EXPECT_EQ(block.text(), text.left(text.indexOf(QChar(0))));
            pictures[isPrepared] = block.grab().toImage();
        }
        EXPECT_EQ(pictures[false], pictures[true]) << "change " << &change - changes;
    }
}

TEST(TextBlockTest, CodeStandsInColumns)
{
    const auto widthOf = [](const QString &text) { return TextBlock::ExtentOf(text, QFont(), 9999).Unwrapped; };
    EXPECT_EQ(widthOf(u"i\n    iiiin"_s), widthOf(u"W\n    WWWWn"_s));
    EXPECT_LT(widthOf(u"i\n  iiiin"_s), widthOf(u"W\n  WWWWn"_s));
    EXPECT_EQ(widthOf(u"i\n\tiiiin"_s), widthOf(u"W\n    WWWWn"_s));
}

TEST(TextBlockTest, PaintsWhatLooksLikeMarkup)
{
    TextBlock block;
    block.resize(300, 40);
    const auto picture = [&](const QString &text) {
        block.SetText(text);
        return block.grab().toImage();
    };
    const QImage empty = picture(u""_s);
    EXPECT_NE(picture(u"<b></b>"_s), empty);
    EXPECT_NE(picture(u"A&T"_s), picture(u"AT"_s));
    EXPECT_EQ(picture(u"a\0b"_s), picture(u"a"_s));
    // Part by part it is the same picture, with room where the insets are.
    block.SetInsets(30, 25);
    block.resize(300, 400);
    const QImage whole = picture(u"many words "_s.repeated(60));
    EXPECT_FALSE(HasInk(whole, { 0, 0, 30, 400 }) || HasInk(whole, { 0, 0, 300, 25 }));
    for (int y = 0; y < 393; y += 7)
        EXPECT_EQ(block.grab(QRect(0, y, 300, 7)).toImage(), Part(whole, QRect(0, y, 300, 7))) << y;
}
