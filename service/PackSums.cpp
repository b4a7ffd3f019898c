// SPDX-License-Identifier: Apache-2.0
#include "service/PackSums.h"

#include <QDir>

#include <gnutls/crypto.h>

#include <fcntl.h>
#include <memory>
#include <type_traits>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr size_t BlockBytes = 1024 * 1024;
// One for all that there is when the service starts, one for what is requested.
constexpr unsigned Threads = 2;
// Each holds a file open.
constexpr size_t MostQueued = 64;

struct SumCloser {
    void operator()(gnutls_hash_hd_t sum) const { gnutls_hash_deinit(sum, nullptr); }
};
using UniqueSum = std::unique_ptr<std::remove_pointer_t<gnutls_hash_hd_t>, SumCloser>;

// A SHA-256 by the processor's own instructions, if it has any; nullptr when there is none.
UniqueSum NewSum()
{
    gnutls_hash_hd_t sum = nullptr;
    return UniqueSum(gnutls_hash_init(&sum, GNUTLS_DIG_SHA256) == 0 ? sum : nullptr);
}

}

PackSums::PackSums()
    : m_workers(Threads, MostQueued)
{
}

void PackSums::Close()
{
    m_isClosing = true;
    m_workers.Close();
}

QByteArray PackSums::Find(const PackVersion &version) const
{
    const std::lock_guard lock(m_mutex);
    return IsKnown(version) ? m_digests.at({ version.Device, version.Node }).second : QByteArray();
}

bool PackSums::IsKnown(const PackVersion &version) const
{
    const auto found = m_digests.find({ version.Device, version.Node });
    return found != m_digests.end() && found->second.first == version;
}

bool PackSums::Request(const OpenPack &pack, Done done)
{
    // Held while the job is added, so that nobody joins one that then is not.
    const std::lock_guard lock(m_mutex);
    if (IsKnown(pack.Version))
        return false;
    const auto [entry, isNew] = m_pending.try_emplace(pack.Version);
    if (isNew) {
        // Jobs are copied, files are not.
        auto file = std::make_shared<UniqueHandle>(::fcntl(pack.File, F_DUPFD_CLOEXEC, 0));
        const bool isAdded = file->IsOpen() && m_workers.Add([this, file, version = pack.Version](bool isCancelled) {
            Finish(version, isCancelled ? QByteArray() : DigestOf(*file, version));
        });
        if (!isAdded) {
            m_pending.erase(entry);
            return false;
        }
    }
    if (done)
        entry->second.push_back(std::move(done));
    return true;
}

void PackSums::RequestAll(const QStringList &folders)
{
    m_workers.Add([this, folders](bool isCancelled) {
        for (qsizetype i = 0; i < folders.size() && !isCancelled; ++i)
            Scan(folders[i]);
    });
}

void PackSums::Scan(const QString &folder)
{
    const QStringList names = QDir(folder).entryList({ u"*.exe"_s }, QDir::Files | QDir::NoSymLinks);
    for (const QString &name : names) {
        const auto pack = OpenPackOf(folder, {}, name.chopped(4));
        if (!pack)
            continue;
        {
            const std::lock_guard lock(m_mutex);
            if (m_isClosing || IsKnown(pack->Version) || !m_pending.try_emplace(pack->Version).second)
                continue;
        }
        Finish(pack->Version, DigestOf(pack->File, pack->Version));
    }
}

// Empty if the file is no longer the version that was opened.
QByteArray PackSums::DigestOf(int file, const PackVersion &version) const
{
    const UniqueSum sum = NewSum();
    std::vector<unsigned char> block(BlockBytes);
    quint64 position = 0;
    ssize_t count = 0;
    do {
        count = Uninterrupted([&] { return ::pread(file, block.data(), block.size(), static_cast<off_t>(position)); });
        if (count < 0 || m_isClosing || !sum || gnutls_hash(sum.get(), block.data(), static_cast<size_t>(count)) != 0)
            return {};
        position += static_cast<quint64>(count);
    } while (count > 0);
    if (position != version.Size || VersionOf(file) != version)
        return {};
    QByteArray digest(gnutls_hash_get_len(GNUTLS_DIG_SHA256), '\0');
    gnutls_hash_output(sum.get(), digest.data());
    return digest.toHex();
}

void PackSums::Finish(const PackVersion &version, const QByteArray &digest)
{
    std::vector<Done> waiting;
    {
        const std::lock_guard lock(m_mutex);
        if (!digest.isEmpty())
            m_digests.insert_or_assign({ version.Device, version.Node }, std::pair(version, digest));
        waiting = std::move(m_pending[version]);
        m_pending.erase(version);
    }
    for (const Done &done : waiting)
        done();
}
