// SPDX-License-Identifier: Apache-2.0
#include "shell/ScoreReport.h"

#include "common/Common.h"
#include "model/Exam.h"

using namespace Qt::Literals::StringLiterals;

ScoreReport ScoreReport::Of(const Exam &exam)
{
    return { exam.MaxScore(), exam.PassScore(), exam.CalculateScore() };
}

qint16 ScoreReport::RequiredShare() const
{
    return Common::ToInt16(Common::Percentage(RequiredScore, TotalScore));
}

qint16 ScoreReport::ObtainedShare() const
{
    return Common::ToInt16(Common::Percentage(ObtainedScore, TotalScore));
}

QString ScoreReport::Headline() const
{
    return IsPassed() ? u"Contratulations!"_s : u"Sorry!"_s;
}

QString ScoreReport::Message() const
{
    return Common::FormatText(u"{1}{CRLF}A score of {2} or better was required to pass this exam.{CRLF}Your score was {3}"_s,
                              { Headline(), RequiredScore, ObtainedScore });
}

namespace ReportLayout {

namespace {

constexpr double LogoTop = 500;
constexpr double ScoresGap = 200;

}

Boxes Arrange(double innerHeight, const Boxes &centred)
{
    Boxes boxes = centred;
    boxes.Logo.Top = LogoTop;
    boxes.Message.Top = boxes.Logo.Bottom();
    boxes.Scores.Top = boxes.Message.Bottom() + ScoresGap;
    boxes.Print.Left = boxes.Scores.Left;
    boxes.Exit.Left = boxes.Scores.Right() - boxes.Exit.Width;
    boxes.Print.Top = boxes.Exit.Top = innerHeight - 2 * boxes.Print.Height;
    return boxes;
}

float BarWidth(qint16 share, float areaWidth)
{
    return Common::PercentOf(areaWidth, share);
}

}
