// SPDX-License-Identifier: Apache-2.0
#include "common/Ansi.h"
#include "common/Common.h"
#include "tests/support/Test.h"

#include <csignal>

using namespace Common;

TEST(SystemTest, SyncShellAndSignals)
{
    // Whoever started the program may have left the signal ignored.
    for (const auto disposition : { SIG_DFL, SIG_IGN }) {
        const auto before = std::signal(SIGCHLD, disposition);
        EXPECT_EQ(SyncShell(u"sh -c \"exit 200\""_s), 200);
        EXPECT_EQ(SyncShell(u"sh -c \"kill -TERM $$\""_s), 143);
        EXPECT_EQ(std::signal(SIGCHLD, before), disposition);
    }
}

TEST(SystemTest, TheCodePageFollowsTheVariableOfCharacters)
{
    // The last is what the tests run with.
    const struct {
        const char *All, *Characters, *Language;
        int Page;
    } rows[] = {
        { "ja_JP.UTF-8", "ru_RU", "pl_PL", 932 },
        { "", "ru_RU.UTF-8", "pl_PL", 1251 },
        { "", "", "pl_PL", 1250 },
        { "", "", "", 1252 },
        { "C", "ja_JP", "ja_JP", 1252 },
        { "", "sr_RS.UTF-8@latin", "", 1250 },
        { "", "", "sr_RS", 1251 },
        { "", "", "uz_UZ@cyrillic", 1251 },
        { "zh_HK.UTF-8", "", "", 950 },
        { "zh_CN", "", "", 936 },
        { "el_GR", "", "", 1253 },
        { "tr_TR", "", "", 1254 },
        { "C.UTF-8", "", "", 1252 },
    };
    qputenv("LANGUAGE", "el_GR"), qputenv("LC_MESSAGES", "el_GR");
    for (const auto &row : rows) {
        qputenv("LC_ALL", row.All), qputenv("LC_CTYPE", row.Characters), qputenv("LANG", row.Language);
        EXPECT_EQ(Ansi::SystemPageNumber(), row.Page) << row.All << " " << row.Characters << " " << row.Language;
    }
}
