// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "shell/ScoreReport.h"
#include "ui/Theme.h"

// The colours of the bars, on the screen and on paper.
inline QColor ColorOf(ScoreBar bar)
{
    switch (bar) {
    case ScoreBar::Required: return Theme::Blue;
    case ScoreBar::Passed: return Theme::Green;
    case ScoreBar::Failed: break;
    }
    return Theme::Orange;
}
