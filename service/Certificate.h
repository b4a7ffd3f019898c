// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

#include <memory>
#include <mutex>
#include <vector>

using gnutls_session_t = struct gnutls_session_int *;

// The certificate chain and the key that a server shows to its clients. They can be
// replaced while it runs. All functions may be called from several threads at once.
class Certificate {
public:
    // Both in PEM format. Raises an error if they are not valid or do not belong
    // together.
    Certificate(const QByteArray &chain, const QByteArray &key);
    ~Certificate();
    Certificate(const Certificate &) = delete;
    Certificate &operator=(const Certificate &) = delete;

    // Lets new connections use another one. If that raises an error, as above, nothing
    // has changed.
    void Replace(const QByteArray &chain, const QByteArray &key);

    // To be called for each session before its handshake. The certificate must outlive
    // the session.
    void Attach(gnutls_session_t session);
    // The callback for the library, of the type gnutls_certificate_retrieve_function2,
    // for sessions with an attached certificate.
    static void *RetrieveCallback();

private:
    struct Pair;
    static std::unique_ptr<Pair> Load(const QByteArray &chain, const QByteArray &key);

    std::mutex m_mutex;
    // The last one is in use. The others are kept, because sessions refer to them.
    std::vector<std::unique_ptr<Pair>> m_pairs;
};
