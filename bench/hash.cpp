// SPDX-License-Identifier: Apache-2.0
// bench_hash SECONDS: how many passwords a second this machine can check at the
// most, on as many threads as the service uses for that. Nothing else is done. Prints
// the rate, and behind it the hash of the password "secret".

#include "service/HttpServer.h"
#include "service/Password.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

int main(int argc, char **argv)
{
    const QString password = QStringLiteral("secret");
    const QByteArray hash = Password::Hash(password);
    const auto begin = std::chrono::steady_clock::now();
    const auto end = begin + std::chrono::seconds(argc > 1 ? std::atoi(argv[1]) : 1);
    std::atomic<int> count = 0;
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < HttpServer::Options().LoginThreads; ++i) {
        threads.emplace_back([&] {
            for (; std::chrono::steady_clock::now() < end; ++count) {
                if (!Password::Matches(hash, password))
                    std::abort();
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    std::printf("%.2f %s\n", count / seconds, hash.constData());
    return 0;
}
