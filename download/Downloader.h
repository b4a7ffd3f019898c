// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Clock.h"
#include "common/Error.h"
#include "download/PackFile.h"
#include "download/Transfer.h"

#include <QObject>
#include <QString>

// Fetches one file over HTTP into a folder, in chunks, and counts what has
// arrived and how fast. One file at a time. The body is received inside a slot of
// the transfer's state 12, which lasts until the last chunk and runs events
// meanwhile; the owner must not destroy this object from one of them.
class Downloader : public QObject {
    Q_OBJECT
public:
    static constexpr qsizetype ChunkBytes = 1024;

    // The clock, not owned, by which the rate is measured, as local time of day.
    explicit Downloader(const Clock &clock = Clock::System(), QObject *parent = nullptr);

    // The transfer object, not owned, whose states this instance then handles. To
    // be called once, before GetFile.
    void Initialize(Transfer *transfer);
    const QString &TargetPath() const { return m_targetPath; }
    const QString &FileName() const { return m_fileName; }
    // Path and name joined.
    QString TargetFile() const;
    // Bytes, as the server announced them; 0 until its answer has begun. Another
    // size when it has begun again with another version of the file.
    qint32 FileSize() const { return m_fileSize; }
    // Bytes written, never more than FileSize. 0 again when the file had to be
    // begun again.
    qint32 Downloaded() const { return m_downloaded; }
    // Bytes of the last measuring window of at least one second, not divided by its
    // length; 0 before the first one has ended. A new download does not reset it.
    qint32 TransferRate() const { return m_transferRate; }
    // The transfer stops at the next chunk, and what has been written stays on the
    // disk. Ignored when nothing is being fetched.
    void Cancel();
    // Starts a download and returns at once; for an empty name the one behind
    // the address's last "/" is taken. It fails when a file of that name is there.
    // Raises what Transfer::Execute raises.
    void GetFile(const QString &url, const QString &targetPath, const QString &fileName);

    // True when every announced byte has been written and nothing was cancelled.
    bool IsComplete() const { return m_state == State::Complete; }
    // The file that was written, for as long as no other download starts.
    PackFile &File() { return m_file; }

    // Counts a chunk that arrived at that many seconds since midnight. A window
    // that is open at midnight does not end for a day at least, and TransferRate
    // stays as it is.
    void Account(qint32 bytes, double now);

Q_SIGNALS:
    // From inside GetFile. Nothing has arrived yet.
    void DownloadStarted();
    // After every chunk. Waiting events run every few milliseconds, not after
    // each.
    void ChunkDownloaded();
    // Also after a cancel while the body arrives, and before the transfer's state
    // 11 when the server stopped sending in the middle: IsComplete says whether all
    // is there.
    void DownloadComplete();
    // In its place: the answer is no pack, could not be written or ended early.
    // The text is the description of what was raised. Neither comes for a request
    // that fails or is cancelled before its answer.
    void DownloadFailed(const QString &text);
    // What nothing here expects, such as a lack of memory, in place of both.
    void Raised(const Error &error);

private:
    enum class State {
        Idle, // nothing has been asked for
        Fetching,
        Cancelled,
        Incomplete,
        Complete,
    };

    void StateChanged(int state);
    // The size that the answer announces. Raises an Error unless it is a file.
    qint32 AnnouncedSize() const;
    void CreateFile();
    void ReceiveBody();

    const Clock &m_clock;
    Transfer *m_transfer = nullptr;
    State m_state = State::Idle;
    QString m_targetPath;
    QString m_fileName;
    qint32 m_transferRate = 0;
    qint32 m_fileSize = 0;
    qint32 m_downloaded = 0;
    double m_windowStart = 0; // seconds since midnight; 0 when none is open
    qint32 m_windowBytes = 0;
    PackFile m_file;
};
