// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Twips.h"

#include <QString>

class Exam;

// What a bar of the report shows, each in a colour of its own.
enum class ScoreBar { Required, Passed, Failed };

// The result of an exam and how the report window lays it out.
struct ScoreReport {
    qint16 TotalScore = 0;
    qint16 RequiredScore = 0;
    qint16 ObtainedScore = 0;

    // Raises what Exam::CalculateScore raises.
    static ScoreReport Of(const Exam &exam);

    // A score equal to the required one passes.
    bool IsPassed() const { return ObtainedScore >= RequiredScore; }
    // Percent of TotalScore, which may be above 100. Raise DivisionByZero for
    // a TotalScore of 0, and Overflow.
    qint16 RequiredShare() const;
    qint16 ObtainedShare() const;

    ScoreBar ObtainedBar() const { return IsPassed() ? ScoreBar::Passed : ScoreBar::Failed; }

    QString Headline() const;
    // Headline, required and obtained score, a line each.
    QString Message() const;
};

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
// middle of the window already.
Boxes Arrange(double innerHeight, const Boxes &centred);

// The width of a bar in an area; a share above 100 gives more than the area.
float BarWidth(qint16 share, float areaWidth);

}
