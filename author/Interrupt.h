// SPDX-License-Identifier: Apache-2.0
#pragma once

// A user's wish to stop a program that has half-made files lying about. While
// an object lives, the signals that would end the program on the spot only
// leave a note. A write past a limit of the system is an error at all times
// once an object was made.
class Interrupt {
public:
    Interrupt();
    ~Interrupt();
    Interrupt(const Interrupt &) = delete;
    Interrupt &operator=(const Interrupt &) = delete;

    // Raises an error, "Cancelled", when such a signal has come.
    static void Check();
};
