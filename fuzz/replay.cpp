// SPDX-License-Identifier: Apache-2.0
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

using Bytes = std::vector<uint8_t>;

// Seeds are smaller; of what a fuzzer has found, the whole is enough.
constexpr size_t LargestDamaged = 512;

void Give(const Bytes &bytes)
{
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

// The bytes cut short and longer by one, and with other values at every place: what
// a count, a size or a flag there could be at worst, and each bit of a byte.
void GiveDamaged(const Bytes &bytes)
{
    for (size_t length = 0; length < bytes.size(); ++length)
        Give(Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length)));
    Bytes longer = bytes;
    longer.push_back('x');
    Give(longer);
    for (size_t place = 0; place < bytes.size(); ++place) {
        for (int bit = 0; bit < 8; ++bit) {
            Bytes changed = bytes;
            changed[place] ^= static_cast<uint8_t>(1U << bit);
            Give(changed);
        }
        for (const uint32_t value : { 0U, 0xFFFFFFFFU, 0x7FFFFFFFU, 0x80000000U, 0x10000000U, 0x00010000U }) {
            Bytes changed = bytes;
            for (size_t i = 0; i < 4 && place + i < bytes.size(); ++i)
                changed[place + i] = static_cast<uint8_t>(value >> 8 * i);
            Give(changed);
        }
    }
}

}

// replay [--damaged] FOLDER...: gives every file of the folders to the target, whole, and
// with --damaged everything that can be wrong with it too.
int main(int argc, char **argv)
{
    LLVMFuzzerInitialize(&argc, &argv);
    const bool isDamaged = argc > 1 && std::strcmp(argv[1], "--damaged") == 0;
    int files = 0;
    for (int i = isDamaged ? 2 : 1; i < argc; ++i) {
        for (const auto &entry : std::filesystem::directory_iterator(argv[i])) {
            if (!entry.is_regular_file())
                continue;
            std::printf("%s\n", entry.path().string().c_str());
            std::fflush(stdout);
            std::ifstream stream(entry.path(), std::ios::binary);
            const std::vector<char> bytes{ std::istreambuf_iterator<char>(stream), {} };
            Give({ bytes.begin(), bytes.end() });
            if (isDamaged && bytes.size() <= LargestDamaged)
                GiveDamaged({ bytes.begin(), bytes.end() });
            ++files;
        }
    }
    // A folder that moved must not pass for one without a fault.
    return files > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
