// SPDX-License-Identifier: Apache-2.0
#include "download/Transfer.h"
#include "download/HttpExchange.h"

#include "tests/support/Test.h"

#include <QElapsedTimer>
#include <QSemaphore>
#include <QTest>

#include <dlfcn.h>
#include <netdb.h>

namespace {

QSemaphore Asked;
QSemaphore CanAnswer;
QSemaphore Answered;

}

// In place of the system's, which the other names still reach.
extern "C" int getaddrinfo(const char *name, const char *service, const addrinfo *hints, addrinfo **found)
{
    if (qstrcmp(name, "slow.invalid") == 0) {
        Asked.release();
        CanAnswer.tryAcquire(1, 5000);
        Answered.release();
        return EAI_NONAME;
    }
    static const auto real = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    return real(name, service, hints, found);
}

// A name server that does not answer keeps nobody who cancels.
TEST(SlowNamesTest, Cancelled)
{
    // A machine that does something else can make any one of them late.
    qint64 best = 50;
    for (int i = 0; i < 5 && best >= 50; ++i) {
        auto line = std::make_unique<Transfer>(std::make_unique<HttpTransport>());
        line->Execute(u"http://slow.invalid/x"_s, "GET");
        ASSERT_TRUE(QTest::qWaitFor([] { return Asked.tryAcquire(); }));
        QElapsedTimer timer;
        timer.start();
        line->Cancel();
        line.reset();
        best = timer.elapsed();
        CanAnswer.release();
        Answered.acquire();
    }
    EXPECT_LT(best, 50) << "nor who closes the window";
}
