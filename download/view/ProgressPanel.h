// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ui/Panel.h"

// The area that a bar fills. Assistive technology sees a progress bar.
class ProgressPanel : public Panel {
    Q_OBJECT
public:
    explicit ProgressPanel(QWidget *parent);

    // How full it is, 0 to 100; each change is reported to assistive technology.
    int Percent() const { return m_percent; }
    void SetPercent(int percent);

private:
    int m_percent = 0;
};
