// SPDX-License-Identifier: Apache-2.0
#include "service/Commands.h"

#include "common/Error.h"
#include "console/Console.h"
#include "service/Responder.h"
#include "service/HttpServer.h"
#include "service/StopSignals.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray ReadFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw Error(InvalidCall, u"%1: %2"_s.arg(path, file.errorString()), u"Command::Serve()"_s);
    const QByteArray bytes = file.readAll();
    if (bytes.isEmpty())
        throw Error(InvalidCall, u"%1: is empty"_s.arg(path), u"Command::Serve()"_s);
    return bytes;
}

void Describe(QCommandLineParser &parser)
{
    parser.setApplicationDescription(
        u"Runs the download service until it receives SIGTERM or SIGINT. Its URL is printed to the standard output as soon "
        "as it accepts connections. Users, exams and packs may be changed meanwhile; replace a pack by renaming a new file "
        "to its name."_s);
    parser.addOptions({
        { u"packs"_s,
          u"The folder that contains the pack of each exam as EXAM.exe; in its folders \"windows\" and \"linux\" those "
          "for one system."_s,
          u"DIR"_s },
        { u"accel-prefix"_s,
          u"Let the trusted proxies send the packs: the path at which they have the folder, for X-Accel-Redirect."_s,
          u"PATH"_s },
        { u"address"_s, u"The IP address to listen on. Default: 127.0.0.1."_s, u"ADDRESS"_s, u"127.0.0.1"_s },
        { u"port"_s, u"The port to listen on. Default: 0, any free port."_s, u"PORT"_s, u"0"_s },
        { u"trusted-proxy"_s,
          u"Use X-Forwarded-For of this reverse proxy: an address, or a range such as 10.0.0.0/8. Can be repeated."_s,
          u"ADDRESS[/PREFIX]"_s },
        { u"rate"_s, u"For trials: limit the bytes of packs sent per second. Default: 0, no limit."_s, u"BYTES"_s, u"0"_s },
        { u"certificate"_s, u"For HTTPS: the certificate chain, as a file in PEM format."_s, u"FILE"_s },
        { u"key"_s, u"For HTTPS: the key of the certificate, as a file in PEM format."_s, u"FILE"_s },
    });
}

void Log(const QString &line)
{
    Console::Complain(Clock::System().Now().toString(Qt::ISODate) + u' ' + line);
}

bool IsLoopback(const QString &address)
{
    return address.startsWith("127."_L1) || address == "::1"_L1;
}

}

int Command::Serve(const QStringList &arguments)
{
    QCommandLineParser parser;
    Describe(parser);
    if (const auto code = ParseWithDatabase(parser, arguments, 0, 0))
        return *code;
    HttpServer::Options options;
    options.Packs = parser.value(u"packs"_s);
    if (!QFileInfo(options.Packs).isDir())
        return Misused(u"--packs must name a folder"_s);
    options.Address = parser.value(u"address"_s);
    bool isNumber = false;
    options.Port = parser.value(u"port"_s).toUShort(&isNumber);
    if (!isNumber)
        return Misused(u"--port must be a number from 0 to 65535"_s);
    options.BytesPerSecond = parser.value(u"rate"_s).toUInt(&isNumber);
    if (!isNumber)
        return Misused(u"--rate must be a number of bytes"_s);
    for (const QString &proxy : parser.values(u"trusted-proxy"_s)) {
        if (!options.Proxies.Add(proxy))
            return Misused(u"--trusted-proxy: \"%1\" is no address and no range"_s.arg(proxy));
    }
    static const QRegularExpression path(u"^/([A-Za-z0-9_-][A-Za-z0-9._-]*/)*\\z"_s);
    options.AccelPrefix = parser.value(u"accel-prefix"_s);
    if (parser.isSet(u"accel-prefix"_s) && !path.match(options.AccelPrefix).hasMatch())
        return Misused(u"--accel-prefix must be a path such as /packs/"_s);
    if (parser.isSet(u"accel-prefix"_s) && !parser.isSet(u"trusted-proxy"_s))
        return Misused(u"--accel-prefix needs --trusted-proxy"_s);
    if (parser.isSet(u"certificate"_s) != parser.isSet(u"key"_s))
        return Misused(u"--certificate and --key belong together"_s);
    if (parser.isSet(u"certificate"_s)) {
        options.Certificate = ReadFile(parser.value(u"certificate"_s));
        options.Key = ReadFile(parser.value(u"key"_s));
    } else if (!IsLoopback(options.Address)) {
        Console::Complain(u"Without --certificate and --key, everybody on the way can read the passwords."_s);
    }

    StopSignals::Block();
    Store store(parser.value(u"database"_s));
    store.Check();
    Sessions sessions(Clock::System());
    LoginThrottle throttle(Clock::System());
    Responder responder(store, sessions, throttle, Log);
    HttpServer server(responder, options);
    Console::Print(server.Endpoint());
    if (!Console::Flush())
        return Failure;
    while (!StopSignals::WaitFor(std::chrono::seconds(1)))
        server.CloseOverdue();
    return Success;
}
