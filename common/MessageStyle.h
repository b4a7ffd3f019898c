// SPDX-License-Identifier: Apache-2.0
#pragma once

// What a message box looks like: a set of buttons plus an icon. The numbers are
// those of the system's own message boxes.
enum MessageStyle : int {
    PlainMessage = 0, // OK
    CriticalMessage = 16, // OK, for unexpected failures
    QuestionMessage = 36, // Yes and No, for confirmations
    ExclamationMessage = 48, // OK, for the user's mistakes
    InformationMessage = 64, // OK, for hints
};

// Which button answered a message box. NoAnswer: there was nothing to show.
enum MessageAnswer : int { NoAnswer = 0, AnswerOK = 1, AnswerYes = 6, AnswerNo = 7 };
