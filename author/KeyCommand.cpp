// SPDX-License-Identifier: Apache-2.0
#include "author/Commands.h"
#include "author/Signing.h"
#include "console/Console.h"
#include "console/PasswordPrompt.h"

using namespace Qt::Literals::StringLiterals;

namespace {

const QString Notes = uR"(
The secret key goes to KEY, sealed with a pass phrase, the public one to KEY.pub
and, as one line, to the standard output. The pass phrase is read from the
terminal or is the first line of the standard input. Both files are minisign's.
)"_s;

}

int Command::Key(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(u"Makes a key that signs packs."_s);
    parser.addOption({ u"out"_s, u"The file of the secret key."_s, u"KEY"_s });
    if (const auto code = Parse(parser, arguments, Notes))
        return *code;
    if (!parser.positionalArguments().isEmpty())
        return Misused(u"no other arguments are expected"_s);
    const QString file = parser.value(u"out"_s);
    if (file.isEmpty())
        return Misused(u"--out is missing"_s);
    const auto passPhrase = ReadNewPassword(u"Pass phrase: "_s, u"Again: "_s);
    if (!passPhrase) {
        Console::Complain(u"practorium-author: the two pass phrases differ"_s);
        return Failure;
    }
    Console::Print(Signing::MakeKey(file, *passPhrase).ToText());
    return Success;
}
