#pragma once

#include <QDialog>

class PictureView;
class QPushButton;
class QScrollBar;

// Shows the picture of an item in a window as large as the picture, up to a
// share of the screen's height; a taller one scrolls.
class frmExhibit : public QDialog {
    Q_OBJECT
public:
    explicit frmExhibit(QWidget *owner);

    // The path of the picture last asked for.
    const QString &Exhibit() const { return m_path; }
    // Loads a picture from the folder of the current exam's file, by its file
    // name. Raises an Error, the window unchanged, when it cannot be shown.
    void SetExhibit(const QString &name);

protected:
    void showEvent(QShowEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    void Arrange();

    QString m_path;
    QWidget *picClipper;
    PictureView *picExhibit;
    QScrollBar *vsbScroll;
    QPushButton *cmdClose;
};
