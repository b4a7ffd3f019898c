// SPDX-License-Identifier: Apache-2.0
#include "service/Metrics.h"

#include <algorithm>

namespace {

constexpr std::array<const char *, Metrics::KindCount> KindNames = { "login", "list", "report", "pack", "other" };

// The samples of several counters can be one metric with different labels.
struct Sample {
    const char *Metric;
    const char *Labels;
    const char *Help;
};
constexpr const char *LoginsHelp = "Logins by result.";
constexpr const char *RefusedHelp = "What was refused without an answer to its content.";
constexpr std::array<Sample, Metrics::CounterCount> CounterNames = { {
    { "practorium_logins_total", R"({result="ok"})", LoginsHelp },
    { "practorium_logins_total", R"({result="failed"})", LoginsHelp },
    { "practorium_logins_total", R"({result="delayed"})", LoginsHelp },
    { "practorium_logins_total", R"({result="busy"})", LoginsHelp },
    { "practorium_refused_total", R"({what="connection"})", RefusedHelp },
    { "practorium_refused_total", R"({what="request"})", RefusedHelp },
    { "practorium_pack_bytes_total", "", "Bytes of packs that were sent completely." },
} };
constexpr std::array<Sample, Metrics::GaugeCount> GaugeNames = { {
    { "practorium_login_queue", "", "Logins that wait for the check of their password." },
    { "practorium_requests_in_progress", "", "Requests from their headers to the end of the response." },
    { "practorium_connections", "", "Open connections." },
} };

void AddHeader(QByteArray &text, const char *metric, const char *help, const char *type)
{
    const QByteArray header = QByteArray("# HELP ") + metric + ' ' + help + "\n# TYPE " + metric + ' ' + type + '\n';
    if (!text.contains(header))
        text += header;
}

QByteArray Seconds(double seconds)
{
    return QByteArray::number(seconds, 'g', 12);
}

}

Metrics::Kind Metrics::KindOf(const QByteArray &message)
{
    const auto end = std::find_if(message.begin(), message.end(), [](char c) { return c == '?' || c == ';'; });
    const QByteArrayView command(message.begin(), end);
    for (const auto &[kind, name] : { std::pair{ Login, "LOGIN" }, std::pair{ List, "LIST" }, std::pair{ Report, "REPORT" } }) {
        if (command == QByteArrayView(name))
            return kind;
    }
    return Other;
}

void Metrics::AddRequest(Kind kind, unsigned status, std::chrono::nanoseconds time)
{
    const auto *known = std::find(StatusClasses.begin(), StatusClasses.end(), status / 100);
    ++m_requests[kind]
                [static_cast<size_t>((known == StatusClasses.end() ? StatusClasses.begin() : known) - StatusClasses.begin())];
    const auto *bound
        = std::find_if(Bounds.begin(), Bounds.end(), [time](int most) { return time <= std::chrono::milliseconds(most); });
    Latency &latency = m_latencies[kind];
    ++latency.Buckets[static_cast<size_t>(bound - Bounds.begin())];
    latency.Nanoseconds += static_cast<quint64>(time.count());
}

QByteArray Metrics::ToText() const
{
    QByteArray text;
    for (size_t i = 0; i < CounterCount; ++i) {
        AddHeader(text, CounterNames[i].Metric, CounterNames[i].Help, "counter");
        text += QByteArray(CounterNames[i].Metric) + CounterNames[i].Labels + ' ' + QByteArray::number(m_counters[i]) + '\n';
    }
    for (size_t i = 0; i < GaugeCount; ++i) {
        AddHeader(text, GaugeNames[i].Metric, GaugeNames[i].Help, "gauge");
        text += QByteArray(GaugeNames[i].Metric) + ' ' + QByteArray::number(m_gauges[i]) + '\n';
    }
    const char *requests = "practorium_requests_total";
    AddHeader(text, requests, "Requests by kind and by the class of their status; broken: without a whole response.",
              "counter");
    for (size_t kind = 0; kind < KindCount; ++kind) {
        for (size_t i = 0; i < StatusClasses.size(); ++i) {
            const QByteArray status = StatusClasses[i] == 0 ? "broken" : QByteArray::number(StatusClasses[i]) + "xx";
            text += QByteArray(requests) + "{kind=\"" + KindNames[kind] + "\",status=\"" + status + "\"} "
                + QByteArray::number(m_requests[kind][i]) + '\n';
        }
    }
    const QByteArray latency = "practorium_request_seconds";
    AddHeader(text, latency, "Time from the headers of a request to the end of the response.", "histogram");
    for (size_t kind = 0; kind < KindCount; ++kind) {
        const QByteArray label = QByteArray("kind=\"") + KindNames[kind] + '"';
        quint64 count = 0;
        for (size_t i = 0; i <= Bounds.size(); ++i) {
            count += m_latencies[kind].Buckets[i];
            const QByteArray bound = i < Bounds.size() ? Seconds(Bounds[i] / 1e3) : QByteArray("+Inf");
            text += latency + "_bucket{" + label + ",le=\"" + bound + "\"} " + QByteArray::number(count) + '\n';
        }
        text += latency + "_sum{" + label + "} " + Seconds(static_cast<double>(m_latencies[kind].Nanoseconds) / 1e9) + '\n';
        text += latency + "_count{" + label + "} " + QByteArray::number(count) + '\n';
    }
    return text;
}
