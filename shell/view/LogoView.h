// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QWidget>

// The program's logo at a fixed width, in pixels; the height follows from it.
class LogoView : public QWidget {
    Q_OBJECT
public:
    LogoView(int width, QWidget *parent);
    void SetWidth(int width);

protected:
    void paintEvent(QPaintEvent *event) override;
};
