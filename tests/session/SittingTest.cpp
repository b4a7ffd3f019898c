// SPDX-License-Identifier: Apache-2.0
#include "tests/session/Candidate.h"
#include "tests/support/Seed.h"

namespace {

// Without a window: what it would show is what it was last asked to show.
class SessionHands : public Hands {
public:
    SessionHands()
    {
        Port.Shown = [this] { m_shown = Sketched(m_session.Page()); };
    }
    ExamSession &Session() override { return m_session; }
    void Choose(int row, SelectorKind kind, bool isChosen) override
    {
        if (kind == SelectorKind::Radio)
            m_session.optChoices_Click(row);
        else
            m_session.chkChoices_Click(row, isChosen);
    }
    void ClickText(int row) override { m_session.lblChoices_Click(row); }
    void PressLetter(QChar letter, bool isOption) override { EXPECT_EQ(m_session.PressLetter(letter), isOption); }
    void Mark(bool isMarked) override { m_session.chkMarked_Click(isMarked); }
    void Next() override { m_session.cmdNext_Click(); }
    void Previous() override { m_session.cmdPrev_Click(); }
    void Review() override { m_session.cmdReview_Click(); }
    void Exhibit() override { m_session.cmdExhibit_Click(); }
    void Why() override { m_session.cmdWhy_Click(); }
    bool Close() override { return m_session.QueryClose(); }
    QStringList Shown() override
    {
        EXPECT_EQ(m_shown, Sketched(m_session.Page())) << "the window is behind";
        return m_shown;
    }

private:
    ExamSession m_session{ Port };
    QStringList m_shown;
};

}

// Whatever a candidate does, session and rules agree after every step.
TEST(SittingTest, AnySteps)
{
    constexpr int Sittings = 2000, Steps = 150;
    const unsigned seed = TestSeed();
    for (unsigned sitting = 0; sitting < Sittings && !HasFailure(); ++sitting) {
        SCOPED_TRACE(testing::Message() << "seed " << seed + sitting);
        SessionHands hands;
        Candidate(hands, seed + sitting, int(sitting) % 3).Sit(Steps);
    }
}
