// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QRectF>
#include <QSizeF>
#include <QString>

#include <functional>
#include <vector>

class Exam;

// An exam on paper, and its key: pages planned in millimetres from the left upper
// corner of the sheet. Nothing here paints, and no device is needed but for the
// Measures.
namespace Paper {

constexpr QSizeF A4{ 210, 297 };
constexpr QSizeF Letter{ 215.9, 279.4 };

struct Style {
    double Points = 11;
    bool IsBold = false;
    bool IsGrey = false; // what helps, but is not the exam's own text
    bool IsFixed = false; // in a font whose characters are all as wide
    bool operator==(const Style &) const = default;
};
constexpr Style Body{};

// A line of a text, as it was broken.
struct Line {
    QString Text;
    double Height = 0;
    double Ascent = 0; // from the top to the base line
    bool IsRightToLeft = false; // of the paragraph that it belongs to
    Paper::Style Style = {};
    double BlockWidth = 0; // of the code or table that it belongs to; 0 for any other line
};

struct Measures {
    // A text in lines that are no wider, of one empty line at least; a line break
    // and the width are where lines end. What stands in columns (CodeLines) is in a
    // font of fixed width, and a little smaller when it fits then.
    std::function<std::vector<Line>(const QString &text, Style style, double width)> Break;
    std::function<double(const QString &text, Style style)> Width;
    // The size of an exhibit in its own scale. May raise.
    std::function<QSizeF(const QString &exhibit)> Picture;
};

struct Mark {
    enum Kind {
        Text, // Content at the left edge of the place, right to left or with IsAtRight at its right edge
        Picture, // the exhibit named Content
        Circle, // where the candidate ticks one of several
        Square, // where the candidate ticks some of several
        Rule, // a line along the upper edge of the place
    };
    Kind What = Text;
    QRectF Place;
    QString Content = {};
    Paper::Style Style = {};
    bool IsRightToLeft = false; // the text itself
    bool IsAtRight = false;
};

using Page = std::vector<Mark>;

// The exam for the candidate: a title with room for the name and the date, then the
// items. An item stands on one page when it fits on one, and is divided between
// two lines otherwise. What is read from right to left is mirrored. An item whose
// candidate may tick no more options than are right says how many.
std::vector<Page> PlanExam(const Exam &exam, QSizeF sheet, const Measures &measures);

// For the teacher: the key, and the explanations of the items that have one.
std::vector<Page> PlanKey(const Exam &exam, QSizeF sheet, const Measures &measures);

}
