// SPDX-License-Identifier: Apache-2.0
// bench_logins SERVICE FOLDER: how long a class of 60 behind one address takes
// to log on at once, each with a password of its own to be checked and again
// after a while where the service is busy; how long a LIST of somebody else
// takes meanwhile; and how long it takes while 15 wrong passwords a second come
// from as many addresses. All on the loopback interface, for half a minute at
// most; the database lies in the folder.

#include "service/Password.h"
#include "service/Store.h"

#include <QCoreApplication>
#include <QProcess>
#include <QUrl>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;
using SteadyClock = std::chrono::steady_clock;

namespace {

constexpr int Class = 60;
constexpr int Guessers = 15;
constexpr auto Guessing = 10s;
constexpr auto Pace = 5ms; // of the LIST that is measured

[[noreturn]] void Fail(const QByteArray &text)
{
    std::fprintf(stderr, "bench_logins: %s\n", text.constData());
    std::_Exit(1);
}

struct Reply {
    int Status;
    int RetryAfter; // seconds
    QByteArray Body;
};

// One connection, from an address of its own.
class Client {
public:
    Client(quint16 port, quint32 from)
        : m_socket(::socket(AF_INET, SOCK_STREAM, 0))
    {
        const int yes = 1;
        ::setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
        const sockaddr_in here = Address(from, 0);
        const sockaddr_in there = Address(INADDR_LOOPBACK, port);
        if (::bind(m_socket, reinterpret_cast<const sockaddr *>(&here), sizeof here) != 0
            || ::connect(m_socket, reinterpret_cast<const sockaddr *>(&there), sizeof there) != 0)
            Fail("no connection");
    }
    ~Client() { ::close(m_socket); }
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;

    Reply Ask(const QByteArray &message)
    {
        const QByteArray request = "POST /PackCourier.asp HTTP/1.1\r\nHost: here\r\nContent-Length: "
            + QByteArray::number(message.size()) + "\r\n\r\n" + message;
        if (::send(m_socket, request.constData(), static_cast<size_t>(request.size()), MSG_NOSIGNAL) != request.size())
            Fail("nothing can be sent");
        QByteArray reply;
        qsizetype head = -1;
        while ((head = reply.indexOf("\r\n\r\n")) < 0
               || reply.size() < head + 4 + Number(reply.left(head), "Content-Length: ")) {
            char bytes[4096];
            const ssize_t count = ::recv(m_socket, bytes, sizeof bytes, 0);
            if (count <= 0)
                Fail("no reply to " + message);
            reply.append(bytes, count);
        }
        const QByteArray lines = reply.left(head);
        return { Number(lines, "HTTP/1.1 "), Number(lines, "Retry-After: "), reply.mid(head + 4) };
    }

private:
    static sockaddr_in Address(quint32 address, quint16 port)
    {
        sockaddr_in ip = {};
        ip.sin_family = AF_INET;
        ip.sin_addr.s_addr = htonl(address);
        ip.sin_port = htons(port);
        return ip;
    }
    // The number behind a text; 0 where that is not there.
    static int Number(const QByteArray &lines, const QByteArray &name)
    {
        const qsizetype at = lines.indexOf(name);
        return at < 0 ? 0 : std::atoi(lines.constData() + at + name.size());
    }

    int m_socket;
};

QByteArray LoggedOn(Client &client, int user)
{
    for (;;) {
        const Reply reply = client.Ask("LOGIN?email=user" + QByteArray::number(user) + "&pwd=secret;");
        if (reply.Body.startsWith("LOGIN?status=OK&sid="))
            return reply.Body.mid(20).chopped(1);
        if (reply.Status != 429)
            Fail(reply.Body);
        std::this_thread::sleep_for(std::chrono::seconds(reply.RetryAfter));
    }
}

void List(Client &client, const QByteArray &session)
{
    const Reply reply = client.Ask("LIST?sid=" + session + ';');
    if (reply.Body != "LIST?status=OK&data=NET-101;")
        Fail(reply.Body);
}

// Runs something on so many threads side by side and returns how long a LIST
// takes until the last is through: the 99th percentile in milliseconds.
template <class Work> double ListBeside(quint16 port, int threads, Work work)
{
    Client client(port, INADDR_LOOPBACK);
    const QByteArray session = LoggedOn(client, 0);
    std::atomic<int> left = threads;
    std::vector<std::thread> others;
    for (int i = 0; i < threads; ++i) {
        others.emplace_back([&left, &work, i] {
            work(i);
            --left;
        });
    }
    std::vector<double> times;
    while (left > 0) {
        const auto begin = SteadyClock::now();
        List(client, session);
        times.push_back(std::chrono::duration<double, std::milli>(SteadyClock::now() - begin).count());
        std::this_thread::sleep_until(begin + Pace);
    }
    for (std::thread &thread : others)
        thread.join();
    std::sort(times.begin(), times.end());
    return times[times.size() * 99 / 100];
}

}

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QString database = application.arguments().value(2) + u"/logins.db"_s;
    {
        Database tables(database, Database::IfMissing::Make);
        Store store(tables);
        const QByteArray hash = Password::Hash(u"secret"_s);
        for (int i = 0; i <= Class; ++i) {
            store.AddUser(u"user%1"_s.arg(i), hash);
            store.Grant(u"user%1"_s.arg(i), { u"NET-101"_s });
        }
    }
    QProcess service;
    service.setStandardErrorFile(QProcess::nullDevice());
    // It ends with this program, however that ends.
    service.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
    service.start(application.arguments().value(1),
                  { u"serve"_s, u"--database"_s, database, u"--packs"_s, application.arguments().value(2) });
    while (!service.canReadLine() && service.waitForReadyRead()) { }
    const auto port = static_cast<quint16>(QUrl(QString::fromLatin1(service.readLine()).trimmed()).port());

    const auto begin = SteadyClock::now();
    const double classList = ListBeside(port, Class, [port](int i) {
        Client client(port, INADDR_LOOPBACK);
        List(client, LoggedOn(client, i + 1));
    });
    const double classTime = std::chrono::duration<double>(SteadyClock::now() - begin).count();
    const double guessList = ListBeside(port, Guessers, [port](int i) {
        Client client(port, INADDR_LOOPBACK + 256 * static_cast<quint32>(i + 1));
        const auto start = SteadyClock::now() + i * 1s / Guessers;
        for (auto turn = start; turn < start + Guessing; turn += 1s) {
            std::this_thread::sleep_until(turn);
            client.Ask("LOGIN?email=nobody" + QByteArray::number(i) + '.' + QByteArray::number((turn - start) / 1s)
                       + "&pwd=x;");
        }
    });
    service.terminate();
    service.waitForFinished();
    std::printf("a class of %d logs on at once|%.2f|10|s\n", Class, classTime);
    std::printf("LIST meanwhile, 99th percentile|%.2f|50|ms\n", classList);
    std::printf("LIST under %d wrong passwords a second, 99th percentile|%.2f|50|ms\n", Guessers, guessList);
    return 0;
}
