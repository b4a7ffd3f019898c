// SPDX-License-Identifier: Apache-2.0
#include "session/view/frmExhibit.h"

#include "model/Globals.h"
#include "model/IO.h"
#include "picture/Picture.h"
#include "session/ExhibitLayout.h"
#include "ui/Accessible.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QWheelEvent>
#include <QWindow>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int StepsAcross = 8; // that a window wider than the screen takes to move by a screen

// Wayland lets no program move its windows.
bool IsPlacedByTheSystem()
{
    return QGuiApplication::platformName().startsWith("wayland"_L1);
}

}

// The whole picture at its natural size, smooth on a screen with finer pixels.
class PictureView : public QWidget {
public:
    using QWidget::QWidget;

    void SetImage(const QImage &image)
    {
        m_image = image;
        m_image.setDevicePixelRatio(1);
        resize(m_image.size());
        update();
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        // Drawings with a transparent ground are made for white paper.
        painter.fillRect(rect(), Qt::white);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(rect(), m_image);
    }

private:
    QImage m_image;
};

frmExhibit::frmExhibit(QWidget *owner)
    : QDialog(owner)
    , picClipper(new QWidget(this))
    , picExhibit(new PictureView(picClipper))
    , vsbScroll(new QScrollBar(Qt::Vertical, this))
    , cmdClose(new QPushButton(u"&Close"_s, this))
{
    setObjectName(u"frmExhibit"_s);
    setWindowTitle(u"Exhibit"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    picClipper->setObjectName(u"picClipper"_s);
    picExhibit->setObjectName(u"picExhibit"_s);
    SetAccessibleRole(picExhibit, QAccessible::Graphic);
    picExhibit->setAccessibleName(u"Exhibit picture"_s);
    vsbScroll->setObjectName(u"vsbScroll"_s);
    vsbScroll->setAccessibleName(u"Scroll the exhibit"_s);
    cmdClose->setObjectName(u"cmdClose"_s);
    cmdClose->setDefault(true);
    // The button would take the arrow keys for a move of the focus.
    cmdClose->installEventFilter(this);
    connect(cmdClose, &QPushButton::clicked, this, &QWidget::close);
    connect(vsbScroll, &QScrollBar::valueChanged, this,
            [this](int value) { picExhibit->move(picExhibit->x(), -Twips::ToPixels(value)); });
}

void frmExhibit::SetExhibit(const QString &name)
{
    m_path = IO::CombinePath(IO::GetFolder(Globals::CurrentExam ? Globals::CurrentExam->FileName() : QString()), name);
    picExhibit->SetImage(Picture::Load(m_path));
    picExhibit->setAccessibleDescription(name);
    vsbScroll->setValue(0);
    picExhibit->move(0, 0);
    Arrange();
}

// The frame of a window is known only some time after the window manager has
// shown it. Until then it is taken to be like the owner's.
QMargins frmExhibit::Frame() const
{
    const auto frameOf
        = [](const QWidget *window) { return window->windowHandle() ? window->windowHandle()->frameMargins() : QMargins(); };
    const QMargins own = frameOf(this);
    return own.isNull() ? frameOf(parentWidget()) : own;
}

void frmExhibit::Arrange()
{
    m_frame = Frame();
    ExhibitLayout::Sizes sizes;
    sizes.PictureWidth = Twips::FromPixels(picExhibit->width());
    sizes.PictureHeight = Twips::FromPixels(picExhibit->height());
    sizes.ScreenHeight = Twips::FromPixels(screen()->size().height());
    sizes.ScrollBarWidth = Twips::FromPixels(vsbScroll->sizeHint().width());
    sizes.ButtonWidth = Twips::FromPixels(cmdClose->sizeHint().width());
    sizes.ButtonHeight = Twips::FromPixels(cmdClose->sizeHint().height());
    sizes.FrameWidth = Twips::FromPixels(m_frame.left() + m_frame.right());
    sizes.FrameHeight = Twips::FromPixels(m_frame.top() + m_frame.bottom());
    const ExhibitLayout::Boxes boxes = ExhibitLayout::Arrange(sizes);

    const QRect area = screen()->availableGeometry();
    const QSize whole(Twips::ToPixels(boxes.WindowWidth - sizes.FrameWidth),
                      Twips::ToPixels(boxes.WindowHeight - sizes.FrameHeight));
    const int outerWidth = whole.width() + m_frame.left() + m_frame.right();
    m_beyond = IsPlacedByTheSystem() ? std::max(0, outerWidth - area.width()) : 0;
    setFixedSize(whole.width() - m_beyond, whole.height());
    picClipper->setGeometry(boxes.Viewport.ToPixels().adjusted(0, 0, -m_beyond, 0));
    cmdClose->setGeometry(boxes.Button.ToPixels().translated(-m_beyond / 2, 0));
    vsbScroll->setVisible(boxes.HasScrollBar);
    vsbScroll->setGeometry(boxes.ScrollBar.ToPixels().translated(-m_beyond, 0));
    vsbScroll->setRange(0, boxes.Max);
    vsbScroll->setSingleStep(boxes.SmallChange);
    vsbScroll->setPageStep(boxes.LargeChange);

    picExhibit->move(std::max(picExhibit->x(), -m_beyond), picExhibit->y());
    if (m_beyond == 0 && outerWidth > area.width()) {
        const int outerHeight = height() + m_frame.top() + m_frame.bottom();
        move(Twips::ToPixels(ExhibitLayout::LeftOnScreen(boxes, Twips::FromPixels(m_frame.left()),
                                                         Twips::FromPixels(area.left()), Twips::FromPixels(area.width()))),
             std::max(area.top(), area.center().y() - outerHeight / 2));
    }
}

bool frmExhibit::event(QEvent *event)
{
    const bool isDone = QDialog::event(event);
    switch (event->type()) {
    case QEvent::Show:
    case QEvent::Move:
    case QEvent::Resize:
    case QEvent::WindowActivate:
        // One of these events follows once the frame is known.
        if (isVisible() && Frame() != m_frame)
            Arrange();
        break;
    default: break;
    }
    return isDone;
}

bool frmExhibit::eventFilter(QObject *, QEvent *event)
{
    return event->type() == QEvent::KeyPress && PressKey(static_cast<QKeyEvent *>(event));
}

void frmExhibit::keyPressEvent(QKeyEvent *event)
{
    if (!PressKey(event))
        QDialog::keyPressEvent(event); // Enter and Escape
}

bool frmExhibit::PressKey(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Left: MoveAcross(1); return true;
    case Qt::Key_Right: MoveAcross(-1); return true;
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
    case Qt::Key_Home:
    case Qt::Key_End: QCoreApplication::sendEvent(vsbScroll, event); return true;
    default: return false;
    }
}

void frmExhibit::MoveAcross(int steps)
{
    const QRect area = screen()->availableGeometry();
    if (m_beyond > 0) {
        picExhibit->move(std::clamp(picExhibit->x() + steps * area.width() / StepsAcross, -m_beyond, 0), picExhibit->y());
        return;
    }
    const QRect frame = frameGeometry();
    if (frame.width() > area.width())
        move(std::clamp(frame.left() + steps * area.width() / StepsAcross, area.right() + 1 - frame.width(), area.left()),
             frame.top());
}

void frmExhibit::wheelEvent(QWheelEvent *event)
{
    if (m_beyond > 0 && event->angleDelta().x() != 0)
        MoveAcross(event->angleDelta().x() > 0 ? 1 : -1);
    else if (vsbScroll->isVisible())
        QCoreApplication::sendEvent(vsbScroll, event);
}
