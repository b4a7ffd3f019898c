// SPDX-License-Identifier: Apache-2.0
#pragma once

// While an object exists, what is written to the error output of the process is
// lost. libtiff writes there what it finds wrong with a picture, as its plugin
// leaves it. Not for more than one thread.
class MutedErrors {
public:
    MutedErrors();
    ~MutedErrors();
    MutedErrors(const MutedErrors &) = delete;
    MutedErrors &operator=(const MutedErrors &) = delete;

private:
    int m_kept; // a copy of the descriptor; below 0 when there is none
};
