// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QList>
#include <QSize>
#include <Qt>

class QAbstractItemView;
class QTreeView;
class QWidget;

// Where a column header keeps its share of the list's width, in percent.
constexpr int ColumnTagRole = Qt::UserRole;

// The widths of columns in the unit of ListWidth: each its percentage, and the
// widest (the first of several, none when all are 0) 50 twips less, so that
// all fit inside the list's border.
QList<float> ColumnWidths(float ListWidth, const QList<float> &Tags);

// Gives each column of the list its width; a column whose header has no number
// as its tag keeps the one it has. Reports nothing.
void SizeColumns(QTreeView *List);

// Moves the control to the middle of the container's inner width.
void CenterHorizontally(const QWidget *Container, QWidget *Control);

// The screen without its bars, in twips.
struct WorkArea {
    qint32 Left = 0;
    qint32 Top = 0;
    qint32 Right = 0;
    qint32 Bottom = 0;
};
WorkArea GetWorkArea();

// Gives the window its size and its least size, both in pixels, as far as the
// screen has room for them.
void FitWorkArea(QWidget *Window, QSize Size, QSize Least);

// Room for the controls of the window, as large as the window: what the window has no
// room for can be scrolled to, by keys too, and comes into view with the focus. The
// window gets a layout of its own for it; the caller lays out the page.
QWidget *NewPage(QWidget *Window);
// Shows the page in a window that is on the screen already. The caller has filled it by
// then, so that its first picture is laid out. A page that is shown stays as it is.
void ShowPage(QWidget *Page);

// Lets the list, which scrolls by itself, be as low as a few rows.
void ShrinkList(QAbstractItemView *List);

// Has the window cover the work area once it is shown.
void CoverWorkArea(QWidget *Window);
