// SPDX-License-Identifier: Apache-2.0
#include "markup/Characters.h"
#include "markup/OptionLetters.h"
#include "markup/Readable.h"

#include <QGuiApplication>

#include <cstdio>
#include <cstdlib>

// Any characters as a marked-up text; the first byte chooses the kind.

namespace {

void Require(bool condition, const char *what)
{
    if (condition)
        return;
    std::fprintf(stderr, "violated: %s\n", what);
    std::abort();
}

bool IsHeld(char32_t c)
{
    return c < 0x100;
}

bool IsHeldByLess(char32_t c)
{
    return c < 0x80 || c == 0xB2 || (c >= 0x2070 && c <= 0x2074);
}

void RequireSteady(const QString &text)
{
    const QString clean = Characters::Clean(text);
    Require(clean.size() <= text.size() && Characters::Clean(clean) == clean, "nothing more to clean");
    for (const auto &holds : { IsHeld, IsHeldByLess }) {
        const QString fitted = Characters::Fit(text, holds);
        Require(Characters::Fit(fitted, holds) == fitted, "nothing more to fit");
    }
    const QString ascii = Characters::Ascii(text);
    Require(Characters::Ascii(ascii) == ascii, "nothing more to spell in ASCII");
}

void RequireLines(const QString &text)
{
    Require(text.isEmpty() || !text.back().isSpace(), "no white space at the end");
    Require(!text.contains(QStringLiteral(" \n")), "no blanks at the end of a line");
}

}

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static int count = 1;
    static char name[] = "fuzz_markup";
    static char *arguments[] = { name, nullptr };
    static const QGuiApplication application(count, arguments);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const auto kind = static_cast<Markup::Kind>(data[0] % 4);
    const QString source = QString::fromUtf8(reinterpret_cast<const char *>(data) + 1, static_cast<qsizetype>(size) - 1);
    const Markup::Readable readable = Markup::Read({ source.trimmed(), kind });
    const auto signs = readable.Text.count(QChar(QChar::ObjectReplacementCharacter));
    Require(signs == static_cast<qsizetype>(readable.Pictures.size()), "a sign for each picture");
    for (const QChar own : { QChar(0xFDD0), QChar(0xFDD1), QChar(0xFDD2) })
        Require(!readable.Text.contains(own), "no character of the reader's own");
    RequireLines(readable.Text);
    const QString spelled = Markup::Spelled(readable, false);
    RequireLines(Markup::Spelled(readable, true));
    RequireSteady(source);
    RequireSteady(spelled);
    QStringList options = spelled.split(u'\n');
    const QStringList before = options;
    Require(OptionLetters::Remove(options) != (options == before), "options that are changed or not");
    return 0;
}
