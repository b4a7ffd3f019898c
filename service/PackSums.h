// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "service/PackFolder.h"
#include "service/Workers.h"

#include <QByteArray>
#include <QStringList>

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

// The SHA-256 digests of packs, which name their versions to clients. Each is
// computed once, on threads of its own, because that takes seconds for a large
// pack; a file that has changed since gets a new one. All functions may be called
// from several threads at once.
class PackSums {
public:
    // Called once, on any thread, when the digest is known or cannot be known.
    using Done = std::function<void()>;

    PackSums();
    ~PackSums() { Close(); }
    PackSums(const PackSums &) = delete;
    PackSums &operator=(const PackSums &) = delete;

    // The digest, 64 lower-case hexadecimal digits; empty if it is not known yet.
    QByteArray Find(const PackVersion &version) const;

    // Has the digest computed, without waiting for it. False if it is known already
    // or cannot be computed now; done is not called then. Done must not call this
    // object.
    bool Request(const OpenPack &pack, Done done = {});

    // Has the digests of all packs in the folders computed one after the other.
    // What is requested meanwhile does not wait for that.
    void RequestAll(const QStringList &folders);

    // Ends the computations, and calls what waits for them. Nothing is computed any
    // more.
    void Close();

private:
    bool IsKnown(const PackVersion &version) const;
    void Finish(const PackVersion &version, const QByteArray &digest);
    void Scan(const QString &folder);
    QByteArray DigestOf(int file, const PackVersion &version) const;

    mutable std::mutex m_mutex;
    // By device and node, so that a file that changes leaves nothing behind.
    std::map<std::pair<quint64, quint64>, std::pair<PackVersion, QByteArray>> m_digests;
    // Those that are being computed or are to be, with those who wait.
    std::map<PackVersion, std::vector<Done>> m_pending;
    std::atomic<bool> m_isClosing = false;
    Workers m_workers;
};
