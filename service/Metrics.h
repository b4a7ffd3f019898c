// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

#include <array>
#include <atomic>
#include <chrono>

// What the service has done since it was started, in numbers. All functions may be
// called from several threads at once.
class Metrics {
public:
    enum Counter {
        LoginsSucceeded,
        LoginsFailed, // wrong user ID or password
        LoginsDelayed, // refused during a delay
        LoginsBusy, // refused because too many were waiting
        ConnectionsRefused, // because of the limit of their network
        RequestsRefused, // the same behind a trusted proxy, malformed or too long
        PackBytes, // of packs that were sent completely
        CounterCount
    };
    enum Gauge {
        WaitingLogins,
        RequestsInProgress, // messages and packs
        Connections,
        GaugeCount
    };
    enum Kind { Login, List, Report, Pack, Other, KindCount };

    void Add(Counter counter, quint64 amount = 1) { m_counters[counter] += amount; }
    void Change(Gauge gauge, int amount) { m_gauges[gauge] += amount; }
    qint64 Value(Gauge gauge) const { return m_gauges[gauge]; }

    // The kind of a request that was posted, by its body.
    static Kind KindOf(const QByteArray &message);
    // Counts a request with the status of its response, 0 if it was broken off, and the
    // time from its first header line to the end of the response.
    void AddRequest(Kind kind, unsigned status, std::chrono::nanoseconds time);

    // Everything in the text format of Prometheus, version 0.0.4.
    QByteArray ToText() const;

private:
    // Upper bounds in milliseconds; one more entry counts what is longer.
    static constexpr std::array<int, 11> Bounds = { 1, 2, 5, 10, 25, 50, 100, 250, 1'000, 10'000, 60'000 };
    static constexpr std::array<unsigned, 5> StatusClasses = { 0, 2, 3, 4, 5 };

    struct Latency {
        std::array<std::atomic<quint64>, Bounds.size() + 1> Buckets{};
        std::atomic<quint64> Nanoseconds = 0;
    };

    std::array<std::atomic<quint64>, CounterCount> m_counters{};
    std::array<std::atomic<qint64>, GaugeCount> m_gauges{};
    std::array<Latency, KindCount> m_latencies;
    std::array<std::array<std::atomic<quint64>, StatusClasses.size()>, KindCount> m_requests{};
};
