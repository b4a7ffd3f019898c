// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QObject>
#include <QString>

#include <memory>
#include <optional>

// What is sent to a server. The address is http or https, all in ASCII; each of
// the headers is a name, a colon and a value.
struct HttpRequest {
    QByteArray Url;
    QByteArray Operation; // the method: "GET", "POST"
    QByteArray Body = {}; // sent as it is, and not at all with GET
    QByteArrayList Headers = {};
};

// One request on its way and its answer, as far as it has arrived. Redirections
// are the caller's matter; of those and of answers with a status of 400 and above
// only the headers are read. Destroying it ends the request wherever it stands.
// No function waits.
class Exchange {
public:
    virtual ~Exchange() = default;

    // The request has gone out.
    virtual bool IsSent() const = 0;
    // The first byte of the answer is here.
    virtual bool HasBegun() const = 0;
    // All headers of the last answer are here. Informational answers, with a status
    // below 200, are not the last one.
    virtual bool HasHeaders() const = 0;
    // The status code of the answer that has come last, informational ones
    // included, and the words behind it, which may be empty. 0 before any.
    virtual int Status() const = 0;
    virtual QString Reason() const = 0;
    // The value of a header by its name, in any letter case; empty without one,
    // joined by commas when there are several (RFC 9110).
    virtual QByteArray Header(const QByteArray &name) const = 0;
    // Where a redirection leads, as the server wrote it; empty when it is none.
    QByteArray Redirection() const { return Status() >= 300 && Status() < 400 ? Header("Location") : QByteArray(); }
    // The body comes in chunks of the protocol (RFC 9112), so that its length was
    // not announced. Their frames are no part of the body below.
    virtual bool IsInChunks() const = 0;

    // Bytes of the body that have arrived in all.
    virtual qint64 Received() const = 0;
    // Those of them that have not been taken yet.
    virtual qsizetype Available() const = 0;
    // Up to size bytes of what is available, empty when nothing is. What had to
    // wait may arrive meanwhile.
    virtual QByteArray Take(qsizetype size) = 0;
    // The server waits until more of the body has been taken.
    virtual bool IsPaused() const = 0;

    // The answer was given up, because a limit was exceeded or its form is not
    // accepted.
    virtual bool IsRefused() const = 0;
    // Why the request ended with that result, a CURLcode; the reason of the refusal
    // when IsRefused.
    virtual QString TextOf(int result) const = 0;
};

// Starts requests, one at a time: an exchange is destroyed before the next one
// starts, and before the transport is.
class Transport : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    // Returns at once; the caller owns the exchange. Raises an Error when the
    // request cannot be started.
    virtual std::unique_ptr<Exchange> Start(const HttpRequest &request) = 0;

Q_SIGNALS:
    // From the event loop: the exchange may have gone on, and may be destroyed
    // now. With its result, a CURLcode, when it has ended, which is once; without
    // one as often as anything may have changed.
    void HasRun(std::optional<int> result);
};
