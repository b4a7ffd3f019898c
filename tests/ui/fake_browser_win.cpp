// SPDX-License-Identifier: Apache-2.0
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <windows.h>

// Writes what stands behind its name on the command line into a file.
int main()
{
    const char *line = GetCommandLineA();
    const char *end = *line == '"' ? std::strchr(line + 1, '"') + 1 : std::strchr(line, ' ');
    while (end && *end == ' ')
        ++end;
    const std::string log = std::getenv("FAKE_BROWSER_LOG");
    const std::string part = log + ".part";
    std::FILE *file = std::fopen(part.c_str(), "wb");
    std::fputs(end ? end : "", file);
    std::fclose(file);
    return std::rename(part.c_str(), log.c_str());
}
