// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "shell/ScoreReport.h"
#include "resources/Brand.h"

// The colours of the bars, on the screen in every look and on paper.
inline QColor ColorOf(ScoreBar bar)
{
    switch (bar) {
    case ScoreBar::Required: return Brand::Blue;
    case ScoreBar::Passed: return Brand::Green;
    case ScoreBar::Failed: break;
    }
    return Brand::Orange;
}
