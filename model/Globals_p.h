// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Globals {

// What PutBackExams does; the caller has seen to it that nobody moves exams.
void PutBackKept();

}
