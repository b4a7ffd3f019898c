// SPDX-License-Identifier: Apache-2.0
#include "download/Downloader.h"

#include "common/Error.h"
#include "model/IO.h"
#include "ui/Guard.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTime>

#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 EventsEvery = 5; // milliseconds

}

void Downloader::Initialize(Transfer *transfer)
{
    m_transfer = transfer;
    connect(transfer, &Transfer::StateChanged, this, [this](int state) { Guard([&] { StateChanged(state); }); });
}

QString Downloader::TargetFile() const
{
    return IO::CombinePath(m_targetPath, m_fileName);
}

void Downloader::GetFile(const QString &url, const QString &targetPath, const QString &fileName)
{
    m_fileName = fileName.isEmpty() ? url.mid(url.lastIndexOf(u'/') + 1) : fileName;
    m_targetPath = targetPath;
    m_isCancelled = false;
    m_isWhole = false;
    m_fileSize = 0;
    m_downloaded = 0;
    m_transfer->Execute(url, "GET");
    Q_EMIT DownloadStarted();
}

void Downloader::StateChanged(int state)
{
    // An answer that has broken by now is told by state 11.
    if (state != Transfer::Completed || m_transfer->IsBrokenOff())
        return;
    try {
        ReceiveBody();
    } catch (const Error &error) {
        m_transfer->Cancel();
        m_file.Abandon();
        Q_EMIT DownloadFailed(error.Description());
        return;
    }
    Q_EMIT DownloadComplete();
}

void Downloader::ReceiveBody()
{
    const auto refuse = [](const QString &text) { return Error(InvalidCall, text, u"Downloader::ReceiveBody()"_s); };
    if (m_transfer->ResponseCode() != 200)
        throw refuse(u"The server does not send a file"_s);
    if (m_transfer->IsEncoded() || !m_transfer->GetHeader("Transfer-Encoding").isEmpty())
        throw refuse(u"The server sends the file encoded"_s);
    bool isNumber = false;
    const qint64 length = m_transfer->GetHeader("Content-Length").trimmed().toLongLong(&isNumber);
    if (!isNumber)
        throw Error::RunTime(TypeMismatch);
    if (length < 0 || length > std::numeric_limits<qint32>::max())
        throw Error::RunTime(Overflow);
    m_fileSize = static_cast<qint32>(length);
    // Without a folder the file would lie wherever the program happens to be.
    if (m_targetPath.isEmpty())
        throw refuse(u"There is no folder for the file"_s);
    if (!IsPlainFileName(m_fileName))
        throw refuse(u"The name of the file leads out of its folder"_s);
    m_file.Create(TargetFile());
    QCoreApplication::processEvents();

    QElapsedTimer sinceEvents;
    sinceEvents.start();
    qint64 written = 0;
    for (;;) {
        if (m_isCancelled) {
            m_transfer->Cancel();
            break;
        }
        const QByteArray chunk = m_transfer->GetChunk(ChunkBytes);
        if (chunk.isEmpty())
            break;
        m_file.Write(chunk.constData(), chunk.size());
        written += chunk.size();
        Account(static_cast<qint32>(chunk.size()), QTime::currentTime().msecsSinceStartOfDay() / 1000.0);
        Q_EMIT ChunkDownloaded();
        // A fast server fills many chunks in the time in which nobody can press
        // a button.
        if (sinceEvents.elapsed() >= EventsEvery) {
            QCoreApplication::processEvents();
            sinceEvents.start();
        }
    }
    m_file.Close();
    const bool wasBrokenOff = m_isCancelled || m_transfer->IsBrokenOff();
    if (m_transfer->StillExecuting())
        m_transfer->Cancel();
    m_isWhole = !wasBrokenOff && written == length;
}

void Downloader::Account(qint32 bytes, double now)
{
    m_downloaded = static_cast<qint32>(std::min<qint64>(qint64(m_downloaded) + bytes, m_fileSize));
    if (m_windowStart == 0)
        m_windowStart = now;
    if (static_cast<float>(m_windowStart) + 1.0F <= static_cast<float>(now)) {
        // The chunk that closes a window counts in neither.
        m_transferRate = m_windowBytes;
        m_windowBytes = 0;
        m_windowStart = 0;
    } else {
        m_windowBytes += bytes;
    }
}
