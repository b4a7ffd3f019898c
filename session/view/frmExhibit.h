// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QDialog>
#include <QMargins>

class PictureView;
class QPushButton;
class QScrollBar;

// Shows the picture of an item in a window as large as the picture, up to a
// share of the screen's height; a taller one scrolls. A window wider than the
// screen opens with its Close button in view, and the keys Left and Right move
// it across. It is deleted when it is closed.
class frmExhibit : public QDialog {
    Q_OBJECT
public:
    // The owner, which must not be null, is the exam window.
    explicit frmExhibit(QWidget *owner);

    // The full path of the picture last asked for, whether it could be shown or
    // not; empty before SetExhibit.
    const QString &Exhibit() const { return m_path; }
    // Loads a picture from the folder of the current exam's file, by its file
    // name, and fits the window to it; the window is not shown by that. Raises
    // what Picture::Load raises, the window unchanged.
    void SetExhibit(const QString &name);

protected:
    bool event(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    void Arrange();
    QMargins Frame() const;
    bool PressKey(QKeyEvent *event);
    void MoveAcross(int steps);

    QString m_path;
    // What a screen has no room for, in pixels, where the window cannot be moved: the
    // picture moves in it.
    int m_beyond = 0;
    QMargins m_frame; // as the window is arranged for
    QWidget *picClipper;
    PictureView *picExhibit;
    QScrollBar *vsbScroll;
    QPushButton *cmdClose;
};
