// SPDX-License-Identifier: Apache-2.0
#include "shell/view/frmReport.h"

#include "common/Error.h"
#include "model/Globals.h"
#include "shell/view/LogoView.h"
#include "shell/view/ResultLabel.h"
#include "shell/view/ScoreColors.h"
#include "shell/view/SheetPainter.h"
#include "ui/Accessible.h"
#include "ui/Busy.h"
#include "ui/Guard.h"
#include "ui/Layout.h"
#include "ui/Messages.h"
#include "ui/Theme.h"

#include <QFileDialog>
#include <QGridLayout>
#include <QLabel>
#include <QLocale>
#include <QPrinter>
#include <QPushButton>
#include <QScreen>

using namespace Qt::Literals::StringLiterals;

namespace {

// Pixels in a window of the height that the sizes were drawn for; they grow
// and shrink with it.
constexpr QSize Least(280, 180);
constexpr double DrawnHeight = 860;
constexpr double SmallestScale = 0.6;
constexpr double LargestScale = 1.5;
constexpr int LogoWidth = 400;
constexpr int BarHeight = 38;
constexpr int BarGap = 22;
constexpr int AreaWidth = 520;
constexpr double MessageScale = 1.5;
constexpr QMargins GridMargins(22, 20, 22, 14);
constexpr int GridSpacing = 18;
constexpr int SideMargin = 20;
constexpr int ScrollBarRoom = 18;
constexpr int LeastRoom = 60; // above and below what stands on the page
constexpr int ButtonWidth = 120;
constexpr int ButtonGap = 6;

}

frmReport::frmReport(QWidget *owner, const Clock &clock)
    : QDialog(owner, Qt::Window)
    , m_clock(clock)
    , m_page(NewPage(this))
    , picLogo(new LogoView(LogoWidth, m_page))
    , lblMessage(new ResultLabel(m_page))
    , fraScores(new QFrame(m_page))
    , picScores(new QWidget(fraScores))
    , lblRequired(new QLabel(fraScores))
    , lblObtained(new QLabel(fraScores))
    , shpRequired(new QFrame(picScores))
    , shpObtained(new QFrame(picScores))
    , cmdPrint(new QPushButton(u"&Print"_s, m_page))
    , cmdSavePdf(new QPushButton(u"&Save as PDF..."_s, m_page))
    , cmdExit(new QPushButton(u"&Exit"_s, m_page))
{
    setObjectName(u"frmReport"_s);
    setWindowTitle(u"Score Report"_s);
    setMinimumSize(Least);
    lblMessage->setObjectName(u"lblMessage"_s);
    SetAccessibleRole(fraScores, QAccessible::Grouping);
    fraScores->setObjectName(u"fraScores"_s);
    fraScores->setFrameShape(QFrame::StyledPanel);
    picScores->setObjectName(u"picScores"_s);
    SetAccessibleRole(picScores, QAccessible::Graphic);
    picScores->setAutoFillBackground(true);
    picScores->setBackgroundRole(QPalette::Base);
    shpRequired->setObjectName(u"shpRequired"_s);
    shpObtained->setObjectName(u"shpObtained"_s);
    m_names = new QVBoxLayout;
    m_names->addWidget(lblRequired);
    m_names->addWidget(lblObtained);
    auto *scale = new QHBoxLayout;
    scale->addWidget(new QLabel(u"0%"_s, fraScores));
    scale->addStretch();
    scale->addWidget(new QLabel(u"100%"_s, fraScores));
    auto *grid = new QGridLayout(fraScores);
    grid->setContentsMargins(GridMargins);
    grid->setHorizontalSpacing(GridSpacing);
    grid->addLayout(m_names, 0, 0);
    grid->addWidget(picScores, 0, 1);
    grid->addLayout(scale, 1, 1);

    cmdPrint->setObjectName(u"cmdPrint"_s);
    cmdSavePdf->setObjectName(u"cmdSavePdf"_s);
    cmdExit->setObjectName(u"cmdExit"_s);
    for (QPushButton *button : { cmdPrint, cmdSavePdf, cmdExit }) {
        button->setAutoDefault(false);
        button->resize(button->sizeHint() + QSize(0, 6));
    }
    cmdExit->setDefault(true);
    cmdExit->setFocus();
    connect(cmdPrint, &QPushButton::clicked, this, [this] { Guard([&] { PrintReport(); }); });
    connect(cmdSavePdf, &QPushButton::clicked, this, [this] { Guard([&] { SavePdf(); }); });
    connect(cmdExit, &QPushButton::clicked, this, &QDialog::accept);
}

void frmReport::ShowModal(QWidget *owner)
{
    frmReport window(owner);
    window.Load();
    window.exec();
}

void frmReport::Load()
{
    if (!Globals::CurrentExam)
        throw Error::RunTime(InvalidCall);
    m_exam = Globals::CurrentExam;
    m_report = ScoreReport::Of(*m_exam);
    CoverWorkArea(this);
}

void frmReport::SetBar(QWidget *bar, qint16 percent, const QColor &color)
{
    QPalette fill;
    fill.setColor(QPalette::Window, color);
    bar->setPalette(fill);
    bar->setBackgroundRole(QPalette::Window);
    bar->setAutoFillBackground(true);
    const float width = ReportLayout::BarWidth(percent, static_cast<float>(Twips::FromPixels(picScores->width())));
    bar->resize(std::max(0, Twips::ToPixels(width)), bar->height());
}

void frmReport::Scale()
{
    const double scale = std::clamp(height() / DrawnHeight, SmallestScale, LargestScale);
    const auto scaled = [scale](int pixels) { return qRound(pixels * scale); };
    picLogo->SetWidth(std::min(scaled(LogoWidth), width() - 2 * SideMargin));
    lblMessage->setFont(font());
    Theme::ScaleFont(lblMessage, MessageScale * scale, QFont::DemiBold);
    lblMessage->setMaximumWidth(width() - ScrollBarRoom);
    fraScores->layout()->activate();
    const int beside
        = m_names->sizeHint().width() + GridMargins.left() + GridMargins.right() + GridSpacing + 2 * fraScores->frameWidth();
    picScores->setFixedSize(std::max(0, std::min(scaled(AreaWidth), width() - ScrollBarRoom - beside)),
                            2 * scaled(BarHeight) + 3 * scaled(BarGap));
    // The names stand level with their bars.
    m_names->setContentsMargins(0, scaled(BarGap), 0, scaled(BarGap));
    m_names->setSpacing(scaled(BarGap));
    lblRequired->setFixedHeight(scaled(BarHeight));
    lblObtained->setFixedHeight(scaled(BarHeight));
    shpRequired->setGeometry(0, scaled(BarGap), shpRequired->width(), scaled(BarHeight));
    shpObtained->setGeometry(0, 2 * scaled(BarGap) + scaled(BarHeight), shpObtained->width(), scaled(BarHeight));
}

void frmReport::resizeEvent(QResizeEvent *event)
{
    QDialog::resizeEvent(event);
    Guard([&] { Arrange(); });
}

void frmReport::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    // One that is restored has been read out.
    if (!event->spontaneous())
        Announce(this, lblMessage->text().simplified() + u". "_s + lblRequired->text() + u". "_s + lblObtained->text());
}

void frmReport::Arrange()
{
    lblRequired->setText(u"Required Score: %1"_s.arg(m_report.RequiredScore));
    lblObtained->setText(u"Your Score: %1"_s.arg(m_report.ObtainedScore));
    Scale();
    SetBar(shpRequired, m_report.RequiredShare(), ColorOf(ScoreBar::Required));
    lblMessage->SetResult(m_report.Message(), ColorOf(m_report.ObtainedBar()));
    SetBar(shpObtained, m_report.ObtainedShare(), ColorOf(m_report.ObtainedBar()));
    picScores->setAccessibleName(
        u"Required %1 percent, yours %2 percent"_s.arg(m_report.RequiredShare()).arg(m_report.ObtainedShare()));
    lblMessage->resize(lblMessage->sizeHint());
    fraScores->layout()->activate();
    fraScores->resize(fraScores->sizeHint());
    for (QPushButton *button : { cmdPrint, cmdSavePdf, cmdExit }) {
        const int natural = std::max(ButtonWidth, button->sizeHint().width());
        button->resize(std::min(natural, (fraScores->width() - 2 * ButtonGap) / 3), button->height());
    }
    // A low window shows a part of the page.
    const int least = picLogo->height() + lblMessage->height() + fraScores->height() + 2 * cmdPrint->height() + LeastRoom;
    m_page->setMinimumHeight(least);
    m_page->resize(width() - (least > height() ? ScrollBarRoom : 0), std::max(least, height()));

    for (QWidget *control : std::initializer_list<QWidget *>{ picLogo, fraScores, lblMessage })
        CenterHorizontally(m_page, control);
    const auto boxOf = [](const QWidget *widget) {
        return Twips::Box{ Twips::FromPixels(widget->x()), 0, Twips::FromPixels(widget->width()),
                           Twips::FromPixels(widget->height()) };
    };
    const ReportLayout::Boxes boxes
        = ReportLayout::Arrange(Twips::FromPixels(m_page->height()),
                                { boxOf(picLogo), boxOf(lblMessage), boxOf(fraScores), boxOf(cmdPrint), boxOf(cmdExit) });
    const auto place = [](QWidget *widget, const Twips::Box &box) { widget->move(box.ToPixels().topLeft()); };
    place(picLogo, boxes.Logo);
    place(lblMessage, boxes.Message);
    place(fraScores, boxes.Scores);
    place(cmdPrint, boxes.Print);
    place(cmdExit, boxes.Exit);
    // Half-way between the two that have their places.
    cmdSavePdf->move((cmdPrint->geometry().right() + cmdExit->x() - cmdSavePdf->width()) / 2, cmdPrint->y());
}

ReportSheet::Data frmReport::SheetData() const
{
    return { m_exam->Code(), m_exam->Name(),
             QLocale::system().toString(m_clock.Now().toLocalTime().date(), QLocale::LongFormat), m_report };
}

template <class Job> void frmReport::RunJob(Job &&job)
{
    try {
        const WaitCursor cursor;
        job();
    } catch (const std::exception &) {
        ShowMessage(u"Error printing report"_s, CriticalMessage);
    }
}

void frmReport::PrintReport()
{
    RunJob([&] {
        QPrinter printer(QPrinter::HighResolution);
        SheetPainter::Print(printer, SheetData());
    });
}

void frmReport::SavePdf()
{
    QString path
        = QFileDialog::getSaveFileName(this, u"Save the score report"_s, u"Score report.pdf"_s, u"PDF documents (*.pdf)"_s);
    if (path.isEmpty())
        return;
    if (!path.endsWith(u".pdf"_s, Qt::CaseInsensitive))
        path += u".pdf"_s;
    RunJob([&] { SheetPainter::SavePdf(path, SheetData()); });
}
