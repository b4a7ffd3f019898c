// SPDX-License-Identifier: Apache-2.0
#include "shell/SystemInformation.h"

#include "common/Common.h"
#include "model/IO.h"

#include <QProcess>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype LongestValue = 1024; // bytes, of a text one for each character

}

bool GetKeyValue(Registry::Hive hive, const QString &SubKey, const QString &ValueName, QString &Value)
{
    Value.clear();
    Registry::StoredValue stored;
    if (Registry::OpenKey(hive, SubKey, false, Registry::ReadAndWrite) != 0
        || Registry::QueryStored(hive, SubKey, ValueName, stored) != 0
        || stored.Bytes.size() > (stored.Type == Registry::Text ? 2 * LongestValue : LongestValue))
        return false;
    if (stored.Type == Registry::Text) {
        Value = QString::fromUtf16(reinterpret_cast<const char16_t *>(stored.Bytes.constData()), stored.Bytes.size() / 2);
        if (Value.endsWith(QChar(u'\0')))
            Value.chop(1);
    } else if (stored.Type == Registry::Number) {
        QString digits;
        for (auto byte = stored.Bytes.crbegin(); byte != stored.Bytes.crend(); ++byte)
            digits += QString::number(static_cast<uchar>(*byte), 16);
        Value = QString::number(static_cast<qint32>(digits.toUInt(nullptr, 16)));
    }
    return true;
}

bool StartSystemInformationTool()
{
    QString path;
    if (GetKeyValue(Registry::LocalMachine, u"SOFTWARE\\Microsoft\\Shared Tools\\MSINFO"_s, u"PATH"_s, path))
        return QProcess::startDetached(path, {});
    if (!GetKeyValue(Registry::LocalMachine, u"SOFTWARE\\Microsoft\\Shared Tools Location"_s, u"MSINFO"_s, path))
        return false;
    path += u"\\MSINFO32.EXE"_s;
    return IO::FileExists(path) && QProcess::startDetached(path, {});
}
