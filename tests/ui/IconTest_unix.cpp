// SPDX-License-Identifier: Apache-2.0
#include "resources/Artwork.h"
#include "tests/support/Test.h"

#include <QIcon>
#include <QImage>
#include <QPixmap>

#include <cstdlib>

// Desktops show the icon of a file, windows the one that is painted.
TEST(IconTest, TheFileIsThePaintedOne)
{
    QImage file(QStringLiteral(ICONS_FOLDER "/practorium.svg"));
    ASSERT_FALSE(file.isNull()) << "no reader of SVG is installed";
    constexpr QSize size(128, 128);
    file = file.scaled(size).convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const QImage painted = Artwork::ApplicationIcon().pixmap(size, 1.0).toImage().convertToFormat(file.format());
    int different = 0;
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            const QRgb one = file.pixel(x, y), other = painted.pixel(x, y);
            const int most = std::max({ std::abs(qRed(one) - qRed(other)), std::abs(qBlue(one) - qBlue(other)),
                                        std::abs(qAlpha(one) - qAlpha(other)) });
            constexpr int edge = 64; // both are smoothed, not alike
            different += most > edge ? 1 : 0;
        }
    }
    EXPECT_LT(different, 40);
}
