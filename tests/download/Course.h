// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "download/Transfer.h"
#include "tests/support/Test.h"

#include <QTest>

constexpr int Never = 20'000; // milliseconds
constexpr qsizetype Endless = 3 << 20; // bytes

// What a request comes to: the code with the body or with the text of a failure,
// the error that its reader gets, or that there is no end; empty when cancelled.
inline QString Course(Transfer &line, const QString &url, const QByteArray &operation = "POST")
{
    QString end;
    const QObject here;
    QObject::connect(&line, &Transfer::StateChanged, &here, [&](int state) {
        if (state == Transfer::Failed)
            end = u"%1 %2"_s.arg(line.ResponseCode()).arg(line.ResponseInfo());
        if (state != Transfer::Completed)
            return;
        QByteArray body;
        QString chunk;
        // A reader who is slower than the server.
        do {
            chunk = ResultOf([&] { return QString::fromLatin1(line.GetChunk(256)); });
            body += chunk.toLatin1();
            QCoreApplication::processEvents();
        } while (!chunk.isEmpty() && !line.IsBrokenOff() && body.size() < Endless);
        if (!chunk.isEmpty())
            end = body.size() < Endless ? chunk : u"endless"_s;
        else if (!line.IsBrokenOff())
            end = u"%1 "_s.arg(line.ResponseCode()) + QLatin1StringView(body);
    });
    line.Execute(url, operation, operation == "POST" ? "a;b" : "", "Content-Type: x/y");
    const auto isOver = [&] { return !end.isEmpty() || !line.StillExecuting(); };
    EXPECT_TRUE(QTest::qWaitFor(isOver, testing::Test::HasFailure() ? 100 : Never)) << "goes on";
    QCoreApplication::processEvents();
    return end;
}
