// SPDX-License-Identifier: Apache-2.0
#include "model/File.h"
#include "model/File_p.h"

#include "common/Ansi.h"
#include "common/Common.h"
#include "common/Error.h"

#include <QCoreApplication>
#include <QLocale>
#include <QtEndian>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 CopyBlock = 4096;
// The first look into a file reads as much as most headers need; a reader that
// goes on gets larger pieces.
constexpr qint64 FirstRead = 512;
constexpr qint64 FurtherRead = 128 * 1024;
constexpr qint64 WriteBuffer = 64 * 1024;

const QDate DateOrigin(1899, 12, 30);
constexpr double MillisecondsADay = 86'400'000.0;

// A date is a number of whole days, and the fraction is the time of day even
// where the days are negative.
double DateNumber(const QDateTime &date)
{
    const double days = static_cast<double>(DateOrigin.daysTo(date.date()));
    const double time = date.time().msecsSinceStartOfDay() / MillisecondsADay;
    return days < 0 ? days - time : days + time;
}

QDateTime DateOfNumber(double number)
{
    if (!(std::abs(number) < 1e7))
        return {};
    const double days = std::trunc(number);
    const QDateTime date(DateOrigin.addDays(static_cast<qint64>(days)), QTime(0, 0), Qt::UTC);
    const double time = std::abs(number - days) * MillisecondsADay;
    const QDateTime moment = date.addMSecs(std::llround(time));
    return QDateTime(moment.date(), moment.time());
}

// How a value of fixed width stands in the file, little-endian.
template <class Number> struct Codec {
    static constexpr qsizetype Width = sizeof(Number);
    static Number Get(const char *bytes) { return qFromLittleEndian<Number>(bytes); }
    static void Put(Number value, char *bytes) { qToLittleEndian(value, bytes); }
    static Number Of(const QString &text)
    {
        bool isNumber = false;
        const double value = QLocale::system().toDouble(Common::TrimBlanks(text), &isNumber);
        // The locale takes "nan" and "inf" for numbers.
        if (!isNumber || !std::isfinite(value))
            throw Error::RunTime(TypeMismatch);
        const double number = std::is_integral_v<Number> ? std::nearbyint(value) : value;
        if (number < std::numeric_limits<Number>::lowest() || number > std::numeric_limits<Number>::max())
            throw Error::RunTime(Overflow);
        return static_cast<Number>(number);
    }
    static QVariant Plain(Number value) { return QVariant::fromValue(value); }
};

// Four bytes, twice the width of the value in memory. Only the low half means
// something; the high half is written as 0.
template <> struct Codec<bool> {
    static constexpr qsizetype Width = 4;
    static bool Get(const char *bytes) { return qFromLittleEndian<quint16>(bytes) != 0; }
    static void Put(bool value, char *bytes) { qToLittleEndian<quint32>(value ? 0xFFFF : 0, bytes); }
    static bool Of(const QString &text)
    {
        if (text.compare("true"_L1, Qt::CaseInsensitive) == 0)
            return true;
        if (text.compare("false"_L1, Qt::CaseInsensitive) == 0)
            return false;
        return Codec<double>::Of(text) != 0;
    }
    static QVariant Plain(bool value) { return value; }
};

template <> struct Codec<Currency> {
    static constexpr qsizetype Width = 8;
    static Currency Get(const char *bytes) { return { qFromLittleEndian<qint64>(bytes) }; }
    static void Put(Currency value, char *bytes) { qToLittleEndian(value.Scaled, bytes); }
    static Currency Of(const QString &text)
    {
        const double scaled = Codec<double>::Of(text) * 10'000;
        if (!(std::abs(scaled) < 9.2e18))
            throw Error::RunTime(Overflow);
        return { std::llrint(scaled) };
    }
    static QVariant Plain(Currency value) { return static_cast<double>(value.Scaled) / 10'000; }
};

template <> struct Codec<QDateTime> {
    static constexpr qsizetype Width = 8;
    static QDateTime Get(const char *bytes) { return DateOfNumber(qFromLittleEndian<double>(bytes)); }
    static void Put(const QDateTime &value, char *bytes) { qToLittleEndian(DateNumber(value), bytes); }
    static QDateTime Of(const QString &text)
    {
        const QDateTime date = QLocale::system().toDateTime(text, QLocale::ShortFormat);
        if (!date.isValid())
            throw Error::RunTime(TypeMismatch);
        return date;
    }
    static QVariant Plain(const QDateTime &value) { return QLocale::system().toString(value, QLocale::ShortFormat); }
};

template <class Value> constexpr bool IsText = std::is_same_v<Value, QString>;
template <class Value> constexpr bool IsBlock = std::is_same_v<Value, QByteArray>;

// Calls the function with Data as the type that it holds.
template <class Function> auto WithHeldType(const QVariant &Data, Function &&function)
{
    switch (Data.typeId()) {
    case QMetaType::Short: return function(Data.value<qint16>());
    case QMetaType::Int: return function(Data.value<qint32>());
    case QMetaType::Float: return function(Data.value<float>());
    case QMetaType::Double: return function(Data.value<double>());
    case QMetaType::QDateTime: return function(Data.value<QDateTime>());
    case QMetaType::Bool: return function(Data.value<bool>());
    case QMetaType::UChar: return function(Data.value<quint8>());
    case QMetaType::QString: return function(Data.value<QString>());
    case QMetaType::QByteArray: return function(Data.value<QByteArray>());
    default: break;
    }
    if (Data.typeId() != qMetaTypeId<Currency>())
        throw Error(InvalidCall, u"Unsupported data type provided"_s);
    return function(Data.value<Currency>());
}

}

File::File() = default;

File::~File()
{
    try {
        CloseFile();
    } catch (const Error &) {
        // A caller that needs everything to have reached the disk calls
        // CloseFile.
    }
}

bool File::OpenFile(const QString &FileName, qint32 Mode, quint32 Access, quint32 CreationDisposition)
{
    return WithSource(u"File::OpenFile()", [&] {
        CloseFile();
        QString path = FileName;
        m_name = Common::TrimBlanks(path.remove(u'"'));
        m_mode = Mode;
        m_access = Access;
        m_position = 0;
        auto handle = std::make_unique<Handle>();
        Common::CheckApiResult(handle->Open(m_name, Access, CreationDisposition, m_attributes, m_sizeAtOpening));
        m_handle = std::move(handle);
        return true;
    });
}

bool File::CloseFile()
{
    if (!m_handle)
        return false;
    std::optional<Error> failure;
    try {
        WritePending();
    } catch (const Error &error) {
        failure = error;
    }
    m_written.clear();
    m_read.clear();
    m_readLength = 0;
    const auto handle = std::move(m_handle);
    Common::CheckApiResult(failure.has_value() || handle->Close());
    if (failure)
        throw *failure;
    return true;
}

bool File::Flush()
{
    WritePending();
    if (!m_handle)
        return false;
    Common::CheckApiResult(m_handle->Flush());
    return true;
}

quint32 File::SeekTo(qint32 Distance, quint32 Method)
{
    if (!m_handle)
        Common::SetLastSystemError(Handle::RefusalCode(false));
    Common::CheckApiResult(m_handle != nullptr);
    WritePending();
    const qint64 distance = static_cast<quint32>(Distance);
    switch (Method) {
    case FromStart: m_position = distance; break;
    case FromCurrent: m_position += distance; break;
    case FromEnd: m_position = ByteSize() + distance; break;
    default: throw Error::RunTime(InvalidCall);
    }
    return Position();
}

bool File::GetAttributes(const QString &Path)
{
    return WithSource(u"File::GetAttributes()", [&] {
        Common::CheckApiResult(Handle::ReadAttributes(Path.isEmpty() ? m_name : Path, m_attributes));
        return true;
    });
}

bool File::SetAttributes(const QString &Path)
{
    return WithSource(u"File::SetAttributes()", [&] {
        Common::CheckApiResult(Handle::WriteAttributes(Path.isEmpty() ? m_name : Path, m_attributes));
        return true;
    });
}

qint64 File::ByteSize() const
{
    if (!m_handle)
        return 0;
    const qint64 size = m_handle->Size();
    Common::CheckApiResult(size >= 0);
    return m_written.isEmpty() ? size : std::max(size, m_position);
}

const Ansi::CodePage &File::SealedPage() const
{
    return m_sealedPage ? *m_sealedPage : Ansi::SystemCodePage();
}

quint32 File::Size() const
{
    return static_cast<quint32>(ByteSize());
}

quint32 File::Position() const
{
    return static_cast<quint32>(m_position);
}

bool File::IsEOF() const
{
    return static_cast<qint32>(Position()) >= static_cast<qint32>(Size());
}

void File::RequireAccess(quint32 access) const
{
    const bool allowed = m_handle && (m_access & access) != 0;
    if (!allowed)
        Common::SetLastSystemError(Handle::RefusalCode(m_handle != nullptr));
    Common::CheckApiResult(allowed);
}

qint64 File::ReadBytes(char *out, qint64 count)
{
    WritePending();
    qint64 done = 0;
    while (done < count) {
        const qint64 ahead = m_readStart + m_readLength - m_position;
        if (ahead > 0 && m_position >= m_readStart) {
            const qint64 part = std::min(count - done, ahead);
            std::memcpy(out + done, m_read.constData() + (m_position - m_readStart), part);
            done += part;
            m_position += part;
            continue;
        }
        const qint64 want = m_read.isEmpty() ? FirstRead : FurtherRead;
        // Of exactly that size, where resize would leave room to grow.
        if (m_read.size() < want)
            m_read = QByteArray(want, Qt::Uninitialized);
        m_readStart = m_position;
        m_readLength = m_handle->Read(m_read.data(), want, m_position);
        const bool failed = m_readLength < 0;
        if (failed)
            m_readLength = 0;
        Common::CheckApiResult(!failed);
        if (m_readLength == 0)
            break;
    }
    m_shortfall = count - done;
    return done;
}

void File::ReadBlock(QByteArray &block, qint64 count)
{
    const qint64 ahead = m_position >= m_readStart ? m_readStart + m_readLength - m_position : 0;
    const qint64 left = count <= ahead ? count : std::clamp<qint64>(ByteSize() - m_position, 0, count);
    // Room that is there already is used again, if nobody else has the bytes.
    if (block.isDetached() && block.capacity() >= left)
        block.resize(left);
    else
        block = QByteArray(left, Qt::Uninitialized);
    block.truncate(ReadBytes(block.data(), left));
    m_shortfall = count - block.size();
}

qint32 File::ReadText(QString &Data, qint32 Length)
{
    qint64 count = Length;
    if (Length < 0) {
        // The count is read like any number, in text mode as a text.
        qint32 prefix = 0;
        const qint32 delivered = Read(prefix, 0);
        if (prefix <= 0)
            return delivered;
        count = prefix;
    } else if (Length == 0) {
        count = m_mode == TextMode ? std::max<qint64>(ByteSize() - m_position, 0) : Data.size();
    }
    const qint64 ofCount = Length < 0 ? m_shortfall : 0;
    m_shortfall = 0;
    if (count == 0)
        return 0;
    // The bytes of a text that lies in the read-ahead are converted from there.
    if (m_position >= m_readStart && m_readStart + m_readLength - m_position >= count) {
        Data = Ansi::ToText(QByteArrayView(m_read.constData() + (m_position - m_readStart), count));
        m_position += count;
        return static_cast<qint32>(count);
    }
    QByteArray bytes;
    ReadBlock(bytes, count);
    m_shortfall += ofCount;
    Data = Ansi::ToText(bytes);
    return static_cast<qint32>(bytes.size());
}

qint32 File::ReadByteBlock(QByteArray &Data, qint32 Length)
{
    qint64 count = Length;
    if (Length < 0) {
        qint32 prefix = 0;
        const qint32 delivered = ReadFixed(prefix);
        if (prefix <= 0)
            return delivered;
        count = prefix;
    }
    const qint64 ofCount = Length < 0 ? m_shortfall : 0;
    m_shortfall = 0;
    if (count == 0)
        return 0;
    ReadBlock(Data, count);
    m_shortfall += ofCount;
    return static_cast<qint32>(Data.size());
}

template <class Value> qint32 File::ReadFixed(Value &Data)
{
    std::array<char, Codec<Value>::Width> bytes{};
    const qint64 delivered = ReadBytes(bytes.data(), bytes.size());
    Data = Codec<Value>::Get(bytes.data());
    return static_cast<qint32>(delivered);
}

template <class Value> qint32 File::Read(Value &Data, qint32 Length)
{
    return WithSource(u"File::ReadData()", [&] {
        RequireAccess(ReadAccess);
        if constexpr (IsText<Value>) {
            return ReadText(Data, Length);
        } else {
            if (m_mode == TextMode) {
                QString text;
                const qint32 delivered = ReadText(text, Length);
                if constexpr (IsBlock<Value>)
                    Data = Ansi::FromText(text);
                else
                    Data = Codec<Value>::Of(text);
                return delivered;
            }
            if constexpr (IsBlock<Value>)
                return ReadByteBlock(Data, Length);
            else
                return ReadFixed(Data);
        }
    });
}

qint32 File::ReadData(qint16 &Data, qint32 Length)
{
    return Read(Data, Length);
}
qint32 File::ReadData(qint32 &Data, qint32 Length)
{
    return Read(Data, Length);
}
qint32 File::ReadData(bool &Data, qint32 Length)
{
    return Read(Data, Length);
}
qint32 File::ReadData(QString &Data, qint32 Length)
{
    return Read(Data, Length);
}
qint32 File::ReadData(QByteArray &Data, qint32 Length)
{
    return Read(Data, Length);
}

qint32 File::ReadData(QVariant &Data, qint32 Length)
{
    return WithSource(u"File::ReadData()", [&] {
        return WithHeldType(Data, [&](auto value) {
            const qint32 delivered = Read(value, Length);
            Data = QVariant::fromValue(value);
            return delivered;
        });
    });
}

void File::WritePending()
{
    if (m_written.isEmpty())
        return;
    const QByteArray bytes = std::exchange(m_written, {});
    Common::CheckApiResult(m_handle->Write(bytes.constData(), bytes.size(), m_position - bytes.size()));
}

void File::WriteBytes(const char *bytes, qint64 count)
{
    // What was read ahead may be what is overwritten now.
    m_readLength = 0;
    m_written.append(bytes, count);
    m_position += count;
    if (m_written.size() >= WriteBuffer)
        WritePending();
}

void File::WriteBlock(const QByteArray &bytes, qint64 count)
{
    const qint64 own = std::min<qint64>(bytes.size(), count);
    WriteBytes(bytes.constData(), own);
    if (own < count)
        WriteBytes(QByteArray(count - own, '\0').constData(), count - own);
}

template <class Value> void File::Write(const Value &Data, qint32 Length)
{
    WithSource(u"File::WriteData()", [&] {
        RequireAccess(WriteAccess);
        if constexpr (IsText<Value> || IsBlock<Value>) {
            QByteArray bytes;
            if constexpr (IsText<Value>)
                bytes = Ansi::FromText(Data);
            else
                bytes = Data;
            const bool whole = Length < 0 || (Length == 0 && (IsText<Value> || m_mode == TextMode));
            const qint64 count = whole ? Data.size() : Length;
            if (Length < 0)
                Write(static_cast<qint32>(count), 0);
            WriteBlock(bytes, count);
        } else if (m_mode == TextMode) {
            Write(Common::ToText(Codec<Value>::Plain(Data)), Length);
        } else {
            std::array<char, Codec<Value>::Width> bytes{};
            Codec<Value>::Put(Data, bytes.data());
            WriteBytes(bytes.data(), bytes.size());
        }
    });
}

void File::WriteData(qint16 Data, qint32 Length)
{
    Write(Data, Length);
}
void File::WriteData(qint32 Data, qint32 Length)
{
    Write(Data, Length);
}
void File::WriteData(bool Data, qint32 Length)
{
    Write(Data, Length);
}
void File::WriteData(const QString &Data, qint32 Length)
{
    Write(Data, Length);
}
void File::WriteData(const QByteArray &Data, qint32 Length)
{
    Write(Data, Length);
}

void File::WriteData(const QVariant &Data, qint32 Length)
{
    WithSource(u"File::WriteData()", [&] { WithHeldType(Data, [&](const auto &value) { Write(value, Length); }); });
}

void File::CopyTo(File &Target)
{
    QByteArray block;
    while (!IsEOF()) {
        const qint32 delivered = ReadData(block, CopyBlock);
        // Another program may have cut the file short in between.
        if (delivered == 0)
            break;
        Target.WriteData(block, delivered);
        QCoreApplication::processEvents();
    }
}
