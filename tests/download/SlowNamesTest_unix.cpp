// SPDX-License-Identifier: Apache-2.0
#include "download/HttpExchange.h"
#include "download/Transfer.h"

#include "tests/support/Test.h"

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
        CanAnswer.tryAcquire(1, 30'000);
        Answered.release();
        return EAI_NONAME;
    }
    static const auto real = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    return real(name, service, hints, found);
}

// A name server that does not answer keeps nobody who cancels, nor who closes the window.
TEST(SlowNamesTest, Cancelled)
{
    {
        Transfer line(std::make_unique<HttpTransport>());
        line.Execute(u"http://slow.invalid/x"_s, "GET");
        ASSERT_TRUE(QTest::qWaitFor([] { return Asked.tryAcquire(); }));
        line.Cancel();
    }
    EXPECT_EQ(Answered.available(), 0) << "the name is still being looked up";
    CanAnswer.release();
    Answered.acquire();
}
