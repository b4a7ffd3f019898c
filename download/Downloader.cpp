// SPDX-License-Identifier: Apache-2.0
#include "download/Downloader.h"

#include "common/TrapErrors.h"
#include "model/IO.h"

#include <QCoreApplication>

#include <limits>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 EventsEvery = 5; // milliseconds

Error Refusal(const QString &text)
{
    return Error(InvalidCall, text, u"Downloader::ReceiveBody()"_s);
}

}

Downloader::Downloader(const Clock &clock, QObject *parent)
    : QObject(parent)
    , m_clock(clock)
{
}

void Downloader::Initialize(Transfer *transfer)
{
    m_transfer = transfer;
    connect(transfer, &Transfer::StateChanged, this, [this](int state) {
        TrapErrors([&] { StateChanged(state); }, [this](const Error &error) { Q_EMIT Raised(error); });
    });
}

QString Downloader::TargetFile() const
{
    return IO::CombinePath(m_targetPath, m_fileName);
}

void Downloader::GetFile(const QString &url, const QString &targetPath, const QString &fileName)
{
    m_fileName = fileName.isEmpty() ? url.mid(url.lastIndexOf(u'/') + 1) : fileName;
    m_targetPath = targetPath;
    m_state = State::Fetching;
    m_fileSize = 0;
    m_downloaded = 0;
    m_transfer->Execute(url, "GET");
    Q_EMIT DownloadStarted();
}

void Downloader::Cancel()
{
    if (m_state == State::Fetching)
        m_state = State::Cancelled;
}

void Downloader::StateChanged(int state)
{
    // An answer that has broken by now is reported by state 11.
    if (state != Transfer::Completed || m_transfer->IsBrokenOff())
        return;
    try {
        m_fileSize = AnnouncedSize();
        CreateFile();
        QCoreApplication::processEvents();
        ReceiveBody();
    } catch (const Error &error) {
        m_transfer->Cancel();
        m_file.Abandon();
        m_state = State::Incomplete;
        Q_EMIT DownloadFailed(error.Description());
        return;
    }
    Q_EMIT DownloadComplete();
}

qint32 Downloader::AnnouncedSize() const
{
    if (m_transfer->ResponseCode() != 200)
        throw Refusal(u"The server does not send a file"_s);
    if (m_transfer->IsEncoded() || !m_transfer->GetHeader("Transfer-Encoding").isEmpty())
        throw Refusal(u"The server sends the file encoded"_s);
    bool isNumber = false;
    const qint64 length = m_transfer->GetHeader("Content-Length").trimmed().toLongLong(&isNumber);
    if (!isNumber)
        throw Error::RunTime(TypeMismatch);
    if (length < 0 || length > std::numeric_limits<qint32>::max())
        throw Error::RunTime(Overflow);
    return static_cast<qint32>(length);
}

void Downloader::CreateFile()
{
    // Without a folder the file would lie wherever the program happens to be.
    if (m_targetPath.isEmpty())
        throw Refusal(u"There is no folder for the file"_s);
    if (!IsPlainFileName(m_fileName))
        throw Refusal(u"The name of the file leads out of its folder"_s);
    m_file.Create(TargetFile());
}

void Downloader::ReceiveBody()
{
    qint64 eventsAt = m_clock.Elapsed().count();
    qint64 timeReadAt = -1;
    double secondOfDay = 0;
    qint64 written = 0;
    int restarts = m_transfer->Restarts();
    while (m_state == State::Fetching) {
        const QByteArray chunk = m_transfer->GetChunk(ChunkBytes);
        if (restarts != m_transfer->Restarts() && !m_transfer->IsBrokenOff()) {
            restarts = m_transfer->Restarts();
            m_fileSize = AnnouncedSize();
            m_downloaded = 0;
            written = 0;
            m_file.StartOver();
        }
        if (chunk.isEmpty())
            break;
        m_file.Write(chunk.constData(), chunk.size());
        written += chunk.size();
        // The system looks up the zone of local time in its files for each call.
        const qint64 now = m_clock.Elapsed().count();
        if (std::exchange(timeReadAt, now) != now)
            secondOfDay = m_clock.Now().toLocalTime().time().msecsSinceStartOfDay() / 1000.0;
        Account(static_cast<qint32>(chunk.size()), secondOfDay);
        Q_EMIT ChunkDownloaded();
        // A fast server fills many chunks in the time in which nobody can press
        // a button.
        if (now - eventsAt >= EventsEvery) {
            QCoreApplication::processEvents();
            eventsAt = m_clock.Elapsed().count();
        }
    }
    m_file.Close();
    if (m_state == State::Fetching) {
        const bool isComplete = !m_transfer->IsBrokenOff() && written == m_fileSize;
        m_state = isComplete ? State::Complete : State::Incomplete;
    }
    if (m_transfer->StillExecuting())
        m_transfer->Cancel();
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
