// SPDX-License-Identifier: Apache-2.0
#include "service/PackResponse.h"

#include <microhttpd.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>

#include <unistd.h>

namespace {

constexpr size_t ThrottledBufferSize = 64 * 1024;
constexpr quint32 PiecesPerSecond = 20;

// A pack that is sent as if over a slow network.
struct ThrottledPack {
    OpenPack Pack;
    quint64 First;
    quint32 BytesPerSecond;

    ThrottledPack(OpenPack pack, quint64 first, quint32 bytesPerSecond)
        : Pack(std::move(pack))
        , First(first)
        , BytesPerSecond(bytesPerSecond)
    {
    }
    ssize_t Read(quint64 position, char *bytes, size_t size) const
    {
        const size_t piece = std::clamp<size_t>(BytesPerSecond / PiecesPerSecond, 1, size);
        const ssize_t count = ::pread(Pack.File, bytes, piece, static_cast<off_t>(First + position));
        if (count <= 0)
            return MHD_CONTENT_READER_END_WITH_ERROR;
        std::this_thread::sleep_for(std::chrono::duration<double>(static_cast<double>(count) / BytesPerSecond));
        return count;
    }
};

// The bytes of the part; an error has none.
MHD_Response *MakeBody(OpenPack pack, const PackConditions::Part &part, quint32 bytesPerSecond)
{
    if (bytesPerSecond == 0 || part.Size == 0) {
        MHD_Response *response = MHD_create_response_from_fd_at_offset64(part.Size, pack.File, part.First);
        if (response)
            pack.File.Release(); // the response closes it
        return response;
    }
    auto throttled = std::make_unique<ThrottledPack>(std::move(pack), part.First, bytesPerSecond);
    const auto read = [](void *self, uint64_t position, char *bytes, size_t count) {
        return static_cast<ThrottledPack *>(self)->Read(position, bytes, count);
    };
    const auto release = [](void *self) { delete static_cast<ThrottledPack *>(self); };
    MHD_Response *response = MHD_create_response_from_callback(part.Size, ThrottledBufferSize, read, throttled.get(), release);
    if (response)
        static_cast<void>(throttled.release()); // owned by the response
    return response;
}

}

QByteArray TagOf(const QByteArray &digest)
{
    return digest.isEmpty() ? QByteArray() : '"' + digest + '"';
}

MHD_Response *MakePackResponse(OpenPack pack, const PackConditions::Part &part, const QByteArray &digest,
                               quint32 bytesPerSecond)
{
    const QByteArray size = QByteArray::number(pack.Version.Size);
    MHD_Response *response = MakeBody(std::move(pack), part, bytesPerSecond);
    if (!response)
        return nullptr;
    const auto add
        = [&](const char *name, const QByteArray &value) { MHD_add_response_header(response, name, value.constData()); };
    // The system that is named there chooses the pack.
    add(MHD_HTTP_HEADER_VARY, MHD_HTTP_HEADER_USER_AGENT);
    add(MHD_HTTP_HEADER_ACCEPT_RANGES, digest.isEmpty() ? "none" : "bytes");
    if (!digest.isEmpty())
        add(MHD_HTTP_HEADER_ETAG, TagOf(digest));
    if (part.Status == MHD_HTTP_PARTIAL_CONTENT)
        add(MHD_HTTP_HEADER_CONTENT_RANGE,
            "bytes " + QByteArray::number(part.First) + '-' + QByteArray::number(part.First + part.Size - 1) + '/' + size);
    if (part.Status == MHD_HTTP_RANGE_NOT_SATISFIABLE)
        add(MHD_HTTP_HEADER_CONTENT_RANGE, "bytes */" + size);
    return response;
}
