// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QVariant>

#include <memory>

namespace Ansi {
class CodePage;
}

// A fixed-point amount: Scaled is the value times 10,000.
struct Currency {
    qint64 Scaled = 0;
    bool operator==(const Currency &) const = default;
};
Q_DECLARE_METATYPE(Currency)

// One open file with typed reads and writes; their encoding is the encoding of
// the exam file (docs/exam-file.md). Reads and writes are buffered, which
// changes how often the system is called and nothing else: Position, Size and
// IsEOF are exact at every moment. Only regular files can be opened.
//
// Every operation that the system refuses raises the system error.
class File {
public:
    static constexpr qint32 TextMode = 0;
    static constexpr qint32 BinaryMode = 1;
    static constexpr quint32 ReadAccess = 0x80000000;
    static constexpr quint32 WriteAccess = 0x40000000;
    enum Disposition : quint32 { CreateNew = 1, CreateAlways = 2, OpenExisting = 3, OpenAlways = 4, TruncateExisting = 5 };
    enum SeekMethod : quint32 { FromStart = 0, FromCurrent = 1, FromEnd = 2 };

    File();
    ~File();
    File(const File &) = delete;
    File &operator=(const File &) = delete;

    // Opens the path, less its double quotes and the blanks at both ends, and
    // reads the attributes. Other programs may read and write the file too.
    // CreationDisposition is a Disposition; any other is refused.
    // True, or an error under "File::OpenFile()".
    bool OpenFile(const QString &FileName, qint32 Mode, quint32 Access, quint32 CreationDisposition);
    // Writes what is buffered and closes; false when no file was open. A disk
    // that is full by now raises the system error, the file being closed all
    // the same.
    bool CloseFile();
    // Writes what is buffered and has the system bring it to the disk; false
    // when no file is open.
    bool Flush();
    // Moves by Distance, taken as unsigned, and returns the new position (low
    // 32 bits). Method is a SeekMethod; any other raises InvalidCall. Without
    // an open file the system's error is raised.
    quint32 SeekTo(qint32 Distance, quint32 Method);

    // The attribute word of Path, or of the own file for an empty Path.
    bool GetAttributes(const QString &Path = {});
    bool SetAttributes(const QString &Path = {});

    // Read one value of the type of Data and return the bytes that the last
    // read of the system delivered. A file that ends early is no error: the
    // value is built from what arrived (missing bytes of a number are 0, of a
    // count before a text or a block too), and Shortfall gives how much was
    // missing.
    //
    // Length matters for texts and byte blocks only. Below 0: a 32-bit count
    // stands before the bytes; a count of 0 or less leaves Data as it is.
    // Above 0: that many bytes. 0: for a text as many bytes as Data has
    // characters, in text mode the rest of the file; for a byte block nothing.
    //
    // No count makes the program reserve more than what is left of the file.
    // In text mode every value is read as text and converted (TypeMismatch).
    qint32 ReadData(qint16 &Data, qint32 Length = 0);
    qint32 ReadData(qint32 &Data, qint32 Length = 0);
    qint32 ReadData(bool &Data, qint32 Length = 0);
    qint32 ReadData(QString &Data, qint32 Length);
    qint32 ReadData(QByteArray &Data, qint32 Length);
    // The type is the one that Data holds at the moment: one of those above, a
    // float, double, Currency, QDateTime or quint8. Any other raises
    // InvalidCall, "Unsupported data type provided".
    qint32 ReadData(QVariant &Data, qint32 Length);

    // Bytes that the last ReadData was asked for and did not find, those of a
    // count before a text or a block included; 0 when the value is whole.
    qint64 Shortfall() const { return m_shortfall; }

    // Write one value. Length for texts and byte blocks: below 0 the count
    // first and then everything; 0 the text whole without a count, of a block
    // nothing; above 0 exactly that many bytes, NULs behind a shorter value.
    // A text is as many bytes as it has characters, whatever its page.
    void WriteData(qint16 Data, qint32 Length = 0);
    void WriteData(qint32 Data, qint32 Length = 0);
    void WriteData(bool Data, qint32 Length = 0);
    void WriteData(const QString &Data, qint32 Length);
    void WriteData(const QByteArray &Data, qint32 Length);
    void WriteData(const QVariant &Data, qint32 Length);

    // Copies from the current position to the end in blocks of 4,096 bytes and
    // lets waiting events run after each. Neither file may be destroyed by
    // such an event.
    void CopyTo(File &Target);

    // The page of the enciphered texts in this file: the system's, until SetSealedPage
    // names another, which is not owned and outlives the texts that are read. OpenFile
    // leaves it alone.
    const Ansi::CodePage &SealedPage() const;
    void SetSealedPage(const Ansi::CodePage &page) { m_sealedPage = &page; }

    const QString &Name() const { return m_name; }
    void SetName(const QString &name) { m_name = name; }
    // The whole length in bytes: what limits are compared with. 0 while no file
    // is open.
    qint64 ByteSize() const;
    // The same as it was when the file was opened, which asks nothing of the system.
    qint64 SizeAtOpening() const { return m_sizeAtOpening; }
    // From the current position to the end.
    qint64 BytesLeft() const { return ByteSize() - m_position; }
    // Low 32 bits each.
    quint32 Size() const;
    quint32 Position() const;
    // Position ≥ Size, compared as signed 32-bit numbers.
    bool IsEOF() const;
    quint32 Access() const { return m_access; }
    qint32 Mode() const { return m_mode; }

    // Flags of the cached attribute word; a setter changes the cached word
    // only, until SetAttributes. The system's own rules say which of them a
    // file can keep.
    bool IsArchive() const { return Has(Archive); }
    bool IsCompressed() const { return Has(Compressed); }
    bool IsDirectory() const { return Has(Directory); }
    bool IsHidden() const { return Has(Hidden); }
    bool IsNormal() const { return Has(Normal); }
    bool IsReadOnly() const { return Has(ReadOnly); }
    bool IsSystem() const { return Has(System); }
    bool IsTemporary() const { return Has(Temporary); }
    void SetIsArchive(bool on) { Set(Archive, on); }
    void SetIsCompressed(bool on) { Set(Compressed, on); }
    void SetIsHidden(bool on) { Set(Hidden, on); }
    void SetIsNormal(bool on) { Set(Normal, on); }
    void SetIsReadOnly(bool on) { Set(ReadOnly, on); }
    void SetIsSystem(bool on) { Set(System, on); }

    enum Attribute : quint32 {
        ReadOnly = 0x1,
        Hidden = 0x2,
        System = 0x4,
        Directory = 0x10,
        Archive = 0x20,
        Normal = 0x80,
        Temporary = 0x100,
        Compressed = 0x800,
    };

private:
    // The system's half: unbuffered access to one open file. A failing call
    // leaves the thread's last system error behind.
    struct Handle;

    bool Has(quint32 bit) const { return (m_attributes & bit) != 0; }
    void Set(quint32 bit, bool on) { m_attributes = on ? m_attributes | bit : m_attributes & ~bit; }

    // Fails as the system would, but at once: a write that is only buffered
    // and a read of nothing left do not come to the system.
    void RequireAccess(quint32 access) const;
    qint64 ReadBytes(char *out, qint64 count);
    // Up to count bytes, never more than the file has left.
    void ReadBlock(QByteArray &block, qint64 count);
    void WriteBytes(const char *bytes, qint64 count);
    void WritePending();
    void WriteBlock(const QByteArray &bytes, qint64 count);
    qint32 ReadText(QString &Data, qint32 Length);
    qint32 ReadByteBlock(QByteArray &Data, qint32 Length);
    template <class Value> qint32 ReadFixed(Value &Data);
    template <class Value> qint32 Read(Value &Data, qint32 Length);
    template <class Value> void Write(const Value &Data, qint32 Length);

    QString m_name;
    qint32 m_mode = TextMode;
    quint32 m_access = 0;
    quint32 m_attributes = 0;
    const Ansi::CodePage *m_sealedPage = nullptr;
    std::unique_ptr<Handle> m_handle;
    qint64 m_sizeAtOpening = 0;
    qint64 m_position = 0;
    qint64 m_shortfall = 0;
    // Read ahead: the file's bytes from m_readStart on.
    QByteArray m_read;
    qint64 m_readStart = 0;
    qint64 m_readLength = 0;
    // Written, not yet with the system: they belong right before m_position.
    QByteArray m_written;
};
