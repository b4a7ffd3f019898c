// SPDX-License-Identifier: Apache-2.0
#include "service/Commands.h"

#include "common/Error.h"
#include "console/Console.h"
#include "service/AdminServer.h"
#include "service/HttpServer.h"
#include "service/Log.h"
#include "service/Responder.h"
#include "service/Signals.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <atomic>

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
        u"Runs the download service until it receives SIGTERM or SIGINT; a second one does not wait for anything. Its URL is "
        "printed to the standard output as soon as it accepts connections. Users, exams and packs may be changed meanwhile; "
        "replace a pack by renaming a new file to its name. SIGHUP reads the certificate and its key again."_s);
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
        { u"admin-port"_s,
          u"Answer /health and /metrics on this port, without HTTPS; 0 means any free port, whose URL is printed too. Default: "
          "not at all."_s,
          u"PORT"_s },
        { u"admin-address"_s, u"The IP address for --admin-port. Default: 127.0.0.1."_s, u"ADDRESS"_s, u"127.0.0.1"_s },
        { u"grace"_s, u"How long requests in progress are completed before the end. Default: 30."_s, u"SECONDS"_s, u"30"_s },
    });
}

// What the options say.
struct Settings {
    HttpServer::Options Server;
    QString CertificateFile;
    QString KeyFile;
    QString AdminAddress;
    std::optional<quint16> AdminPort;
    std::chrono::seconds Grace{ 0 };
};

// The exit code if the options are wrong.
std::optional<int> Read(const QCommandLineParser &parser, Settings &settings)
{
    HttpServer::Options &options = settings.Server;
    options.Packs = parser.value(u"packs"_s);
    if (!QFileInfo(options.Packs).isDir())
        return Command::Misused(u"--packs must name a folder"_s);
    options.Address = parser.value(u"address"_s);
    settings.AdminAddress = parser.value(u"admin-address"_s);
    bool isNumber = false;
    options.Port = parser.value(u"port"_s).toUShort(&isNumber);
    if (!isNumber)
        return Command::Misused(u"--port must be a number from 0 to 65535"_s);
    if (parser.isSet(u"admin-port"_s)) {
        settings.AdminPort = parser.value(u"admin-port"_s).toUShort(&isNumber);
        if (!isNumber)
            return Command::Misused(u"--admin-port must be a number from 0 to 65535"_s);
    }
    settings.Grace = std::chrono::seconds(parser.value(u"grace"_s).toUShort(&isNumber));
    if (!isNumber)
        return Command::Misused(u"--grace must be a number of seconds up to 65535"_s);
    options.BytesPerSecond = parser.value(u"rate"_s).toUInt(&isNumber);
    if (!isNumber)
        return Command::Misused(u"--rate must be a number of bytes"_s);
    for (const QString &proxy : parser.values(u"trusted-proxy"_s)) {
        if (!options.Proxies.Add(proxy))
            return Command::Misused(u"--trusted-proxy: \"%1\" is no address and no range"_s.arg(proxy));
    }
    static const QRegularExpression path(u"^/([A-Za-z0-9_-][A-Za-z0-9._-]*/)*\\z"_s);
    options.AccelPrefix = parser.value(u"accel-prefix"_s);
    if (parser.isSet(u"accel-prefix"_s) && !path.match(options.AccelPrefix).hasMatch())
        return Command::Misused(u"--accel-prefix must be a path such as /packs/"_s);
    if (parser.isSet(u"accel-prefix"_s) && !parser.isSet(u"trusted-proxy"_s))
        return Command::Misused(u"--accel-prefix needs --trusted-proxy"_s);
    settings.CertificateFile = parser.value(u"certificate"_s);
    settings.KeyFile = parser.value(u"key"_s);
    if (settings.CertificateFile.isEmpty() != settings.KeyFile.isEmpty())
        return Command::Misused(u"--certificate and --key belong together"_s);
    return {};
}

// Runs a step that must not end the service.
void Try(const std::function<void()> &step)
{
    try {
        step();
    } catch (const Error &error) {
        Log::ToStandardError(Log::Line(u"error"_s).Text(u"reason"_s, error.Description()));
    }
}

void ReloadCertificate(const Settings &settings, HttpServer &server)
{
    try {
        server.UseCertificate(ReadFile(settings.CertificateFile), ReadFile(settings.KeyFile));
        Log::ToStandardError(Log::Line(u"certificate_loaded"_s));
    } catch (const Error &error) {
        Log::ToStandardError(Log::Line(u"certificate_kept"_s).Text(u"reason"_s, error.Description()));
    }
}

// Why the service cannot do its work at the moment; empty if it can.
QByteArray Fault(const Database &database, bool isStopping)
{
    if (isStopping)
        return "stopping";
    try {
        database.Ping();
        return {};
    } catch (const Error &) {
        return "no database";
    }
}

}

int Command::Serve(const QStringList &arguments)
{
    QCommandLineParser parser;
    Describe(parser);
    if (const auto code = ParseWithDatabase(parser, arguments, 0, 0))
        return *code;
    Settings settings;
    if (const auto code = Read(parser, settings))
        return *code;
    const bool isSecure = !settings.CertificateFile.isEmpty();
    if (isSecure) {
        settings.Server.Certificate = ReadFile(settings.CertificateFile);
        settings.Server.Key = ReadFile(settings.KeyFile);
    } else if (!ListenAddress(settings.Server.Address, settings.Server.Port).IsLoopback()) {
        Console::Complain(u"Without --certificate and --key, everybody on the way can read the passwords."_s);
    }

    Signals::Block(isSecure);
    Database database(parser.value(u"database"_s));
    database.Check();
    Store store(database);
    Sessions sessions(database, Clock::System());
    LoginThrottle throttle(database, Clock::System());
    Metrics metrics;
    Responder responder(store, sessions, throttle, metrics, Log::ToStandardError);
    std::optional<HttpServer> server(std::in_place, responder, metrics, settings.Server);
    std::atomic<bool> isStopping = false;
    std::optional<AdminServer> admin;
    if (settings.AdminPort)
        admin.emplace(settings.AdminAddress, *settings.AdminPort,
                      AdminServer::Sources{ [&] { return Fault(database, isStopping); }, [&] { return metrics.ToText(); } });
    Console::Print(server->Endpoint());
    if (admin)
        Console::Print(admin->Health());
    if (!Console::Flush())
        return Failure;

    const auto upkeep = [&] {
        server->CloseOverdue();
        Try([&] { sessions.StoreUses(Sessions::Which::Due); });
    };
    for (std::optional<Signals::Signal> signal; signal != Signals::Signal::Stop;) {
        signal = Signals::WaitFor(std::chrono::seconds(1));
        if (signal == Signals::Signal::Reload && isSecure)
            ReloadCertificate(settings, *server);
        upkeep();
    }

    isStopping = true;
    server->StopAccepting();
    const auto end = Clock::System().Elapsed() + settings.Grace;
    while (metrics.Value(Metrics::RequestsInProgress) > 0 && Clock::System().Elapsed() < end
           && Signals::WaitFor(std::chrono::milliseconds(100)) != Signals::Signal::Stop)
        upkeep();
    server.reset();
    Try([&] { sessions.StoreUses(Sessions::Which::All); });
    return Success;
}
