// SPDX-License-Identifier: Apache-2.0
#include "service/PackResponse.h"

#include <QFile>

#include <microhttpd.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr size_t ThrottledBufferSize = 64 * 1024;
constexpr quint32 PiecesPerSecond = 20;

// A pack that is sent as if over a slow network.
struct ThrottledPack {
    int Descriptor;
    quint32 BytesPerSecond;

    ThrottledPack(int descriptor, quint32 bytesPerSecond)
        : Descriptor(descriptor)
        , BytesPerSecond(bytesPerSecond)
    {
    }
    ~ThrottledPack() { ::close(Descriptor); }
    ssize_t Read(quint64 position, char *bytes, size_t size) const
    {
        const size_t piece = std::clamp<size_t>(BytesPerSecond / PiecesPerSecond, 1, size);
        const ssize_t count = ::pread(Descriptor, bytes, piece, static_cast<off_t>(position));
        if (count <= 0)
            return MHD_CONTENT_READER_END_WITH_ERROR;
        std::this_thread::sleep_for(std::chrono::duration<double>(static_cast<double>(count) / BytesPerSecond));
        return count;
    }
};

}

std::optional<OpenPack> OpenPackOf(const QString &folder, const QString &exam)
{
    const QByteArray path = QFile::encodeName(u"%1/%2.exe"_s.arg(folder, exam));
    // Without O_NONBLOCK, opening a FIFO would block.
    const int descriptor = ::open(path.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0)
        return {};
    struct stat status;
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode))
        return OpenPack{ descriptor, static_cast<quint64>(status.st_size) };
    ::close(descriptor);
    return {};
}

MHD_Response *MakePackResponse(const OpenPack &pack, quint32 bytesPerSecond)
{
    if (bytesPerSecond == 0) {
        MHD_Response *response = MHD_create_response_from_fd64(pack.Size, pack.Descriptor);
        if (!response)
            ::close(pack.Descriptor);
        return response;
    }
    auto throttled = std::make_unique<ThrottledPack>(pack.Descriptor, bytesPerSecond);
    const auto read = [](void *self, uint64_t position, char *bytes, size_t size) {
        return static_cast<ThrottledPack *>(self)->Read(position, bytes, size);
    };
    const auto release = [](void *self) { delete static_cast<ThrottledPack *>(self); };
    MHD_Response *response = MHD_create_response_from_callback(pack.Size, ThrottledBufferSize, read, throttled.get(), release);
    if (response)
        static_cast<void>(throttled.release()); // owned by the response
    return response;
}
