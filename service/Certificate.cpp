// SPDX-License-Identifier: Apache-2.0
#include "service/Certificate.h"

#include "common/Error.h"

#include <gnutls/abstract.h>
#include <gnutls/gnutls.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr unsigned LongestChain = 16;

gnutls_datum_t Datum(const QByteArray &bytes)
{
    return { reinterpret_cast<unsigned char *>(const_cast<char *>(bytes.constData())), static_cast<unsigned>(bytes.size()) };
}

void Check(int result)
{
    if (result < 0)
        throw Error(InvalidCall,
                    u"The certificate or its key cannot be used: %1"_s.arg(QString::fromUtf8(gnutls_strerror(result))),
                    u"Certificate::Load()"_s);
}

struct FreeCredentials {
    void operator()(gnutls_certificate_credentials_t credentials) const { gnutls_certificate_free_credentials(credentials); }
};

}

struct Certificate::Pair {
    std::vector<gnutls_pcert_st> Chain;
    gnutls_privkey_t Key = nullptr;

    Pair() = default;
    ~Pair()
    {
        for (gnutls_pcert_st &certificate : Chain)
            gnutls_pcert_deinit(&certificate);
        if (Key)
            gnutls_privkey_deinit(Key);
    }
    Pair(const Pair &) = delete;
    Pair &operator=(const Pair &) = delete;
};

std::unique_ptr<Certificate::Pair> Certificate::Load(const QByteArray &chain, const QByteArray &key)
{
    const gnutls_datum_t chainBytes = Datum(chain), keyBytes = Datum(key);
    // Only credentials compare the key with the certificate.
    gnutls_certificate_credentials_t made = nullptr;
    Check(gnutls_certificate_allocate_credentials(&made));
    const std::unique_ptr<gnutls_certificate_credentials_st, FreeCredentials> credentials(made);
    Check(gnutls_certificate_set_x509_key_mem2(made, &chainBytes, &keyBytes, GNUTLS_X509_FMT_PEM, nullptr, 0));

    auto pair = std::make_unique<Pair>();
    std::vector<gnutls_pcert_st> read(LongestChain);
    unsigned count = LongestChain;
    Check(gnutls_pcert_list_import_x509_raw(read.data(), &count, &chainBytes, GNUTLS_X509_FMT_PEM, 0));
    pair->Chain.assign(read.begin(), read.begin() + count);
    Check(gnutls_privkey_init(&pair->Key));
    Check(gnutls_privkey_import_x509_raw(pair->Key, &keyBytes, GNUTLS_X509_FMT_PEM, nullptr, 0));
    return pair;
}

Certificate::Certificate(const QByteArray &chain, const QByteArray &key)
{
    m_pairs.push_back(Load(chain, key));
}

Certificate::~Certificate() = default;

void Certificate::Replace(const QByteArray &chain, const QByteArray &key)
{
    auto pair = Load(chain, key);
    const std::lock_guard lock(m_mutex);
    m_pairs.push_back(std::move(pair));
}

void Certificate::Attach(gnutls_session_t session)
{
    gnutls_session_set_ptr(session, this);
}

void *Certificate::RetrieveCallback()
{
    gnutls_certificate_retrieve_function2 *const callback
        = [](gnutls_session_t session, const gnutls_datum_t *, int, const gnutls_pk_algorithm_t *, int, gnutls_pcert_st **chain,
             unsigned *count, gnutls_privkey_t *key) {
              auto *self = static_cast<Certificate *>(gnutls_session_get_ptr(session));
              const std::lock_guard lock(self->m_mutex);
              Pair &pair = *self->m_pairs.back();
              *chain = pair.Chain.data();
              *count = static_cast<unsigned>(pair.Chain.size());
              *key = pair.Key;
              return 0;
          };
    return reinterpret_cast<void *>(callback);
}
