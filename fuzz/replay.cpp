// SPDX-License-Identifier: Apache-2.0
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

// Gives every file of the folders named on the command line to the target.
int main(int argc, char **argv)
{
    LLVMFuzzerInitialize(&argc, &argv);
    int files = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto &entry : std::filesystem::directory_iterator(argv[i])) {
            if (!entry.is_regular_file())
                continue;
            std::printf("%s\n", entry.path().string().c_str());
            std::fflush(stdout);
            std::ifstream stream(entry.path(), std::ios::binary);
            const std::vector<char> bytes{ std::istreambuf_iterator<char>(stream), {} };
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
            ++files;
        }
    }
    // A folder that moved must not pass for one without a fault.
    return files > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
