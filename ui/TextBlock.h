// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QLabel>
#include <QTextLayout>

#include <memory>

// A label for texts of any length out of a stranger's file: always plain,
// wrapped to its width even inside a word, with code in columns (CodeFont), laid
// out once for each width and painted only where it shows. Ends at the text's
// first NUL. A text whose first letter is of a script that is written from right to
// left stands at the right.
class TextBlock : public QLabel {
    Q_OBJECT
public:
    explicit TextBlock(QWidget *parent = nullptr);

    void SetText(const QString &text);
    // Lays a text out, as the present one is laid out, that SetText is expected to bring
    // next. Without effect before the present one is.
    void Prepare(const QString &text);
    // The text with invisible places to break inside what is unreasonably long
    // without one: laying that out costs the square of its length.
    static QString Breakable(const QString &text);
    // What a block without insets would need for the text in that font, in pixels:
    // the width at which nothing is wrapped, and the height at the given width.
    struct Extent {
        int Unwrapped = 0;
        int Height = 0;
    };
    static Extent ExtentOf(const QString &text, const QFont &font, int width);
    // Room to the left of the lines and above the first one, in pixels, part of
    // the width and the height.
    void SetInsets(int left, int top);
    // Whether dots lead from the left edge to the first line of a text that stands at
    // the right, because what belongs to it is on the left. Off at first.
    void SetHasLeader(bool hasLeader);
    int HeightForWidth(int width) const;

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override { return HeightForWidth(width); }

Q_SIGNALS:
    void Clicked();

protected:
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    // A text and, unless the width is -1, its lines.
    struct Content {
        explicit Content(const QString &text);

        QString Text;
        QTextLayout Layout;
        int Width = -1;
        int Height = 0;
    };

    void LayOut(Content &content, int width) const;
    // Font or insets have changed.
    void ForgetLines();
    void PaintLeader(QPainter &painter) const;
    // Fills the layout and returns where its last line ends.
    static qreal LayOutLines(QTextLayout &layout, int width, QPoint corner);

    int m_leftInset = 0;
    int m_topInset = 0;
    bool m_hasLeader = false;
    std::unique_ptr<Content> m_content;
    std::unique_ptr<Content> m_next;
};
