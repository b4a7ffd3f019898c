// SPDX-License-Identifier: Apache-2.0
#include "tests/ui/FakeBrowser.h"

#include "common/WidePath_win.h"

#include <QDir>

#include <windows.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// Wine does not look at the user's own classes.
const HKEY Hive = HKEY_LOCAL_MACHINE;
const QString Classes = u"Software\\Classes\\"_s;
const QString Document = u".htm"_s;
const QString OwnClass = u"PractoriumFakeBrowser"_s;

QString ClassOf(const QString &key)
{
    wchar_t value[256] = {};
    DWORD size = sizeof value - sizeof(wchar_t);
    RegGetValueW(Hive, Wide(Classes + key), nullptr, RRF_RT_REG_SZ, nullptr, value, &size);
    return QString::fromWCharArray(value);
}

void SetClass(const QString &key, const QString &value)
{
    RegSetKeyValueW(Hive, Wide(Classes + key), nullptr, REG_SZ, Wide(value), static_cast<DWORD>((value.size() + 1) * 2));
}

}

FakeBrowser::FakeBrowser()
    : m_before(ClassOf(Document))
{
    SetClass(Document, OwnClass);
    SetClass(OwnClass + u"\\shell\\open\\command"_s,
             u'"' + QDir::toNativeSeparators(QStringLiteral(FAKE_BROWSER)) + u"\" \"%1\""_s);
    qputenv("FAKE_BROWSER_LOG", m_log.toLocal8Bit());
    QFile::remove(m_log);
}

FakeBrowser::~FakeBrowser()
{
    Remove();
    SetClass(Document, m_before);
}

void FakeBrowser::Remove()
{
    RegDeleteTreeW(Hive, Wide(Classes + OwnClass));
}

// The shell tells of it by a number above 0, and only 0 counts.
bool FakeBrowser::Spoil()
{
    return false;
}
