#include "session/frmExhibit.h"

#include "model/Globals.h"
#include "model/IO.h"
#include "picture/Picture.h"
#include "session/ExhibitLayout.h"
#include "ui/Theme.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QTimer>
#include <QWheelEvent>

using namespace Qt::Literals::StringLiterals;

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
    picExhibit->setAccessibleName(u"Exhibit picture"_s);
    vsbScroll->setObjectName(u"vsbScroll"_s);
    vsbScroll->setAccessibleName(u"Scroll the exhibit"_s);
    Theme::ShowThumb(vsbScroll);
    cmdClose->setObjectName(u"cmdClose"_s);
    cmdClose->setDefault(true);
    connect(cmdClose, &QPushButton::clicked, this, &QWidget::close);
    connect(vsbScroll, &QScrollBar::valueChanged, this, [this](int value) { picExhibit->move(0, -Twips::ToPixels(value)); });
}

void frmExhibit::SetExhibit(const QString &name)
{
    m_path = IO::CombinePath(IO::GetFolder(Globals::CurrentExam ? Globals::CurrentExam->FileName() : QString()), name);
    picExhibit->SetImage(Picture::Load(m_path));
    picExhibit->setAccessibleDescription(name);
    picExhibit->move(0, 0);
    vsbScroll->setValue(0);
    Arrange();
}

void frmExhibit::Arrange()
{
    // Before the window is shown its frame is taken to be like its owner's.
    const QWidget *framed = isVisible() ? this : parentWidget();
    ExhibitLayout::Sizes sizes;
    sizes.PictureWidth = Twips::Of(picExhibit->width());
    sizes.PictureHeight = Twips::Of(picExhibit->height());
    sizes.ScreenHeight = Twips::Of(screen()->size().height());
    sizes.ScrollBarWidth = Twips::Of(vsbScroll->sizeHint().width());
    sizes.ButtonWidth = Twips::Of(cmdClose->sizeHint().width());
    sizes.ButtonHeight = Twips::Of(cmdClose->sizeHint().height());
    sizes.FrameWidth = Twips::Of(framed->frameGeometry().width() - framed->width());
    sizes.FrameHeight = Twips::Of(framed->frameGeometry().height() - framed->height());
    const ExhibitLayout::Boxes boxes = ExhibitLayout::Arrange(sizes);

    setFixedSize(Twips::ToPixels(boxes.WindowWidth - sizes.FrameWidth),
                 Twips::ToPixels(boxes.WindowHeight - sizes.FrameHeight));
    picClipper->setGeometry(boxes.Viewport.ToPixels());
    cmdClose->setGeometry(boxes.Button.ToPixels());
    vsbScroll->setVisible(boxes.HasScrollBar);
    if (!boxes.HasScrollBar)
        return;
    vsbScroll->setGeometry(boxes.ScrollBar.ToPixels());
    vsbScroll->setRange(0, boxes.Max);
    vsbScroll->setSingleStep(boxes.SmallChange);
    vsbScroll->setPageStep(boxes.LargeChange);
}

void frmExhibit::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    // Only now does the window manager tell the frame's size.
    QTimer::singleShot(0, this, &frmExhibit::Arrange);
}

void frmExhibit::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
    case Qt::Key_Home:
    case Qt::Key_End: QCoreApplication::sendEvent(vsbScroll, event); break;
    default: QDialog::keyPressEvent(event); // Enter and Escape
    }
}

void frmExhibit::wheelEvent(QWheelEvent *event)
{
    if (vsbScroll->isVisible())
        QCoreApplication::sendEvent(vsbScroll, event);
}
