// SPDX-License-Identifier: Apache-2.0
#include "pack/stub/Steps.h"

#include <cstring>

WorkName::WorkName(const unsigned char (&random)[WorkDigits / 2])
{
    char *end = std::copy(WorkPrefix.begin(), WorkPrefix.end(), Text);
    for (const unsigned char byte : random) {
        *end++ = "0123456789abcdef"[byte & 0xF];
        *end++ = "0123456789abcdef"[byte >> 4];
    }
    *end = '\0';
}

bool IsWorkName(std::string_view name)
{
    return name.starts_with(WorkPrefix) && name.size() == WorkPrefix.size() + WorkDigits
        && name.find_first_not_of("0123456789abcdef", WorkPrefix.size()) == std::string_view::npos;
}

std::string_view KeptPackage(std::string_view name)
{
    if (!name.starts_with(KeptPrefix))
        return {};
    name.remove_prefix(KeptPrefix.size());
    return PackFormat::IsPlainName(name) ? name : std::string_view();
}

int InstallPack(const char *file)
{
    ErrorOutput port;
    return InstallPack(file, port);
}

void Complain(const char *about, const char *text, const char *reason)
{
    char line[1024];
    std::size_t length = 0;
    const auto add = [&](const char *part) {
        const std::size_t count = std::min(std::strlen(part), sizeof line - 1 - length);
        std::copy_n(part, count, line + length);
        length += count;
    };
    add("Exam pack: ");
    for (const char *part : { about, text, reason }) {
        if (part && part != about && length > std::strlen("Exam pack: "))
            add(": ");
        if (part)
            add(part);
    }
    line[length++] = '\n';
    WriteErrorLine(line, length);
}
