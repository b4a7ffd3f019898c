// SPDX-License-Identifier: Apache-2.0
#include "pack/stub/Install.h"

int main(int argc, char **)
{
    PrepareProgram();
    if (argc > 1) {
        Complain(nullptr, "run it without arguments to install the exam", nullptr);
        return 2;
    }
    return InstallPack(nullptr);
}
