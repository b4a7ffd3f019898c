// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Twips.h"

#include <QString>

class Exam;

// What a bar of the report shows, each in a colour of its own.
enum class ScoreBar { Required, Passed, Failed };

// The result of an exam: its three scores, and what the report says of them.
struct ScoreReport {
    qint16 TotalScore = 0; // the maximum
    qint16 RequiredScore = 0; // the cut score
    qint16 ObtainedScore = 0;

    // Computes the score from the answers as they stand, whether the exam has
    // ended or not. Raises what Exam::CalculateScore raises: DivisionByZero for an
    // exam without items, and Overflow.
    static ScoreReport Of(const Exam &exam);

    // A score equal to the required one passes.
    bool IsPassed() const { return ObtainedScore >= RequiredScore; }
    // Percent of TotalScore, rounded to an integer, ties to even; it may be above
    // 100. Raise DivisionByZero for a TotalScore of 0, and Overflow.
    qint16 RequiredShare() const;
    qint16 ObtainedShare() const;

    ScoreBar ObtainedBar() const { return IsPassed() ? ScoreBar::Passed : ScoreBar::Failed; }

    QString Headline() const;
    // Headline, required and obtained score, a line each, divided by CR and LF.
    QString Message() const;
};

// Where the parts of the report window go.
namespace ReportLayout {

using Twips::Box;

// All lengths are twips.
struct Boxes {
    Box Logo;
    Box Message;
    Box Scores;
    Box Print;
    Box Exit;
};
// The boxes come in with their sizes; logo, message and scores are in the
// middle of the window already, and keep their left edges. The rest is set: the
// three stand below each other, the buttons below the edges of the scores, near
// the bottom of the window.
Boxes Arrange(double innerHeight, const Boxes &centred);

// The width of a bar in an area, in the unit of areaWidth; a share, in percent,
// above 100 gives more than the area and one below 0 a negative width.
float BarWidth(qint16 share, float areaWidth);

}
