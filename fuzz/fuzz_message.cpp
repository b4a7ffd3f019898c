// SPDX-License-Identifier: Apache-2.0
#include "common/Error.h"
#include "protocol/Message.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

// Any characters as a message: taken apart, put together and taken apart again.

namespace {

void Require(bool condition, const char *what)
{
    if (condition)
        return;
    std::fprintf(stderr, "violated: %s\n", what);
    std::abort();
}

// Whether a message can be taken apart, by its form alone.
qint32 ExpectedError(const QString &text)
{
    const qsizetype end = text.indexOf(u';');
    const qsizetype question = text.indexOf(u'?');
    if (end < 0)
        return MESSAGE::InvalidMessage;
    if (question < 0)
        return 0;
    if (end < question)
        return InvalidCall;
    qsizetype begin = question + 1;
    while (begin < end || (begin == end && begin > question + 1)) {
        qsizetype next = text.indexOf(u'&', begin);
        next = next < 0 || next > end ? end : next;
        const qsizetype equals = text.indexOf(u'=', begin);
        if (equals < 0 || equals >= next)
            return MESSAGE::BadParameters;
        begin = next + 1;
    }
    return 0;
}

qint32 Raised(MESSAGE &message, const QString &text)
{
    try {
        message.UnPack(text);
        return 0;
    } catch (const Error &error) {
        Require(error.Source() == QLatin1StringView("Message::UnPack()"), "the operation's name");
        return error.Number();
    }
}

}

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // As it comes from the wire, one byte a character.
    const QString text = QString::fromLatin1(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    MESSAGE message;
    const qint32 error = Raised(message, text);
    Require(error == ExpectedError(text), "the error that belongs to the form");
    Require(message.Text() == text, "the text as it was");
    qint32 index = 0;
    for (const auto &parameter : message.Parameters()) {
        Require(message.Parameters().GetIndex(parameter->Name()) == ++index, "names of their own");
        Require(message.Parameters().Item(parameter->Name()) == parameter, "an entry that is found");
    }
    if (error != 0 || message.Command().isEmpty())
        return 0;

    message.Pack();
    MESSAGE again;
    Require(Raised(again, message.Text()) == 0, "a packed message that can be taken apart");
    Require(again.Command() == message.Command() && again.Parameters().Count() == message.Parameters().Count(),
            "the same message");
    auto other = again.Parameters().begin();
    for (const auto &parameter : message.Parameters()) {
        Require((*other)->Name() == parameter->Name() && (*other)->value() == parameter->value(), "the same parameter");
        ++other;
    }
    const QString packed = message.Text();
    again.Pack();
    Require(again.Text() == packed, "the same text again");
    while (again.Parameters().Count() > 0)
        again.Parameters().RemoveAt(1 + static_cast<qint32>(size) % again.Parameters().Count());
    return 0;
}
