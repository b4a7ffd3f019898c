// SPDX-License-Identifier: Apache-2.0
#pragma once

// Lets a program remove unfinished files before it ends. While an object exists,
// the signals that end a program (SIGINT, SIGTERM, SIGHUP; on Windows Ctrl+C,
// Ctrl+Break and the closing of the console) only set a flag. From the first
// object on, writing beyond a limit of the system or into a closed pipe is an
// error and no longer ends the program. At most one object at a time.
class Cancellation {
public:
    Cancellation();
    ~Cancellation();
    Cancellation(const Cancellation &) = delete;
    Cancellation &operator=(const Cancellation &) = delete;

    // Raises ECANCELED (on Windows ERROR_CANCELLED), "Cancelled", when such a
    // signal has arrived since the last object was constructed.
    static void Check();
};
