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

    // The lines, divided by line breaks, and the headline's colour.
    void SetResult(const QString &message, const QColor &color);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QFont HeadlineFont() const;
    int BandHeight() const;

    QColor m_color;
};
