// SPDX-License-Identifier: Apache-2.0
#include "tests/session/Candidate.h"
#include "tests/support/Seed.h"

// Whatever a candidate does, session and rules agree after every step.
TEST(SittingTest, AnySteps)
{
    constexpr int Sittings = 1500, Steps = 150;
    const unsigned seed = TestSeed();
    for (unsigned sitting = 0; sitting < Sittings && !HasFailure(); ++sitting) {
        SCOPED_TRACE(testing::Message() << "seed " << seed + sitting);
        ScriptedPort port;
        ExamSession session(port);
        Hands hands(session, port);
        Candidate(hands, seed + sitting).Sit(Steps);
    }
}
