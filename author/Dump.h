// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

class Exam;

namespace Dump {

// The exam as one JSON object in UTF-8 without a line break at its end, its
// keys in the order of the file, every text as it is stored, each item on a line
// of its own. "codePage" is null when the file does not say what its texts are in.
QByteArray ToJson(const Exam &exam);

}
