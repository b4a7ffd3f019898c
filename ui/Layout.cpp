// SPDX-License-Identifier: Apache-2.0
#include "ui/Layout.h"

#include "common/Common.h"
#include "common/Twips.h"

#include <QAbstractItemModel>
#include <QGuiApplication>
#include <QHeaderView>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QTreeView>
#include <QVBoxLayout>

namespace {

constexpr float BorderAllowance = 50; // twips
constexpr int LeastRows = 5;

}

QList<float> ColumnWidths(float ListWidth, const QList<float> &Tags)
{
    QList<float> widths;
    qsizetype widest = -1;
    for (const float tag : Tags) {
        widths.append(ListWidth * tag / 100.0F);
        if (widths.last() > (widest < 0 ? 0.0F : widths.at(widest)))
            widest = widths.size() - 1;
    }
    if (widest >= 0)
        widths[widest] -= BorderAllowance;
    return widths;
}

void SizeColumns(QTreeView *List)
{
    QList<int> columns;
    QList<float> tags;
    for (int column = 0; column < List->model()->columnCount(); ++column) {
        bool isNumber = false;
        const float tag = List->model()->headerData(column, Qt::Horizontal, ColumnTagRole).toFloat(&isNumber);
        if (!isNumber)
            continue;
        columns.append(column);
        tags.append(tag);
    }
    // A vertical scroll bar takes its width from the columns.
    const QScrollBar *bar = List->verticalScrollBar();
    const int width = List->width() - (bar->isVisibleTo(List) ? bar->width() : 0);
    const QList<float> widths = ColumnWidths(static_cast<float>(Twips::FromPixels(width)), tags);
    for (qsizetype i = 0; i < columns.size(); ++i)
        // Rounded down, as two columns rounded up would be wider than the room within the border.
        List->setColumnWidth(columns.at(i), Twips::ToPixels(widths.at(i) - Twips::PerPixel / 2));
}

void CenterHorizontally(const QWidget *Container, QWidget *Control)
{
    const double left = Twips::Centred(Twips::FromPixels(Container->width()), Twips::FromPixels(Control->width()));
    Control->move(Twips::ToPixels(left), Control->y());
}

WorkArea GetWorkArea()
{
    const QRect area = QGuiApplication::primaryScreen()->availableGeometry();
    const auto edge = [](int pixels) { return static_cast<qint32>(Twips::FromPixels(pixels)); };
    return { edge(area.left()), edge(area.top()), edge(area.left() + area.width()), edge(area.top() + area.height()) };
}

void FitWorkArea(QWidget *Window, QSize Size, QSize Least)
{
    const QSize room = Window->screen()->availableSize();
    Window->setMinimumSize(Least.boundedTo(room));
    Window->resize(Size.boundedTo(room));
}

QWidget *NewPage(QWidget *Window)
{
    auto *view = new QScrollArea(Window);
    view->setFrameShape(QFrame::NoFrame);
    view->setWidgetResizable(true);
    view->setFocusPolicy(Qt::NoFocus);
    auto *page = new QWidget;
    view->setWidget(page);
    for (QWidget *clear : { page, view->viewport() })
        clear->setAutoFillBackground(false);
    auto *layout = new QVBoxLayout(Window);
    layout->setContentsMargins({});
    layout->addWidget(view);
    return page;
}

void ShowPage(QWidget *Page)
{
    // The viewport stands between page and view.
    Page->parentWidget()->parentWidget()->show();
}

void ShrinkList(QAbstractItemView *List)
{
    List->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Ignored);
    List->setMinimumHeight(LeastRows * List->fontMetrics().height());
}

void CoverWorkArea(QWidget *Window)
{
    const WorkArea area = GetWorkArea();
    const Twips::Box box{ double(area.Left), double(area.Top), double(area.Right - area.Left), double(area.Bottom - area.Top) };
    Window->setGeometry(box.ToPixels());
    // The width of the frame around that is known to the window manager alone,
    // and with several monitors that of the bars, too.
    Window->setWindowState(Window->windowState() | Qt::WindowMaximized);
}
