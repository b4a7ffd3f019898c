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
    OpenPack Pack;
    quint32 BytesPerSecond;

    ThrottledPack(OpenPack pack, quint32 bytesPerSecond)
        : Pack(std::move(pack))
        , BytesPerSecond(bytesPerSecond)
    {
    }
    ssize_t Read(quint64 position, char *bytes, size_t size) const
    {
        const size_t piece = std::clamp<size_t>(BytesPerSecond / PiecesPerSecond, 1, size);
        const ssize_t count = ::pread(Pack.File, bytes, piece, static_cast<off_t>(position));
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
    UniqueHandle file(::open(path.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    struct stat status;
    if (!file.IsOpen() || ::fstat(file, &status) != 0 || !S_ISREG(status.st_mode))
        return {};
    return OpenPack{ std::move(file), static_cast<quint64>(status.st_size) };
}

MHD_Response *MakePackResponse(OpenPack pack, quint32 bytesPerSecond)
{
    if (bytesPerSecond == 0) {
        MHD_Response *response = MHD_create_response_from_fd64(pack.Size, pack.File);
        if (response)
            pack.File.Release(); // the response closes it
        return response;
    }
    const quint64 size = pack.Size;
    auto throttled = std::make_unique<ThrottledPack>(std::move(pack), bytesPerSecond);
    const auto read = [](void *self, uint64_t position, char *bytes, size_t count) {
        return static_cast<ThrottledPack *>(self)->Read(position, bytes, count);
    };
    const auto release = [](void *self) { delete static_cast<ThrottledPack *>(self); };
    MHD_Response *response = MHD_create_response_from_callback(size, ThrottledBufferSize, read, throttled.get(), release);
    if (response)
        static_cast<void>(throttled.release()); // owned by the response
    return response;
}
