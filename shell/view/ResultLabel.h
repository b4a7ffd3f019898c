// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QColor>
#include <QLabel>

// The result of an exam in three lines: the headline on a band of its colour,
// which may be too light to be read as text, and two sentences.
class ResultLabel : public QLabel {
    Q_OBJECT
public:
    explicit ResultLabel(QWidget *parent);

    // The lines, divided by CR and LF, and the colour of the headline's band. Its
    // letters are white or dark, whichever can be read on it.
    void SetResult(const QString &message, const QColor &color);

    // The size at which no line is cut; a line beyond the maximum width wraps.
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QFont HeadlineFont() const;
    int BandHeight() const;
    // Of a line below the headline, in as many rows as that width makes of it.
    QSize SizeOf(const QString &line, int width) const;

    QColor m_color;
};
