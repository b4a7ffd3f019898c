// SPDX-License-Identifier: Apache-2.0
#include "tests/ui/FakeBrowser.h"

using namespace Qt::Literals::StringLiterals;

namespace {

QString Program()
{
    return Sandbox::Path(u"bin/xdg-open"_s);
}

void Install(const QByteArray &script)
{
    QFile::remove(Program());
    Sandbox::WriteFile(Program(), script);
    QFile::setPermissions(Program(), QFile::ReadOwner | QFile::ExeOwner);
}

}

FakeBrowser::FakeBrowser()
    : m_before(qEnvironmentVariable("PATH"))
{
    const QByteArray log = m_log.toUtf8();
    Install("#!/bin/sh\nIFS='|'\nprintf '%s' \"$*\" > \"" + log + ".part\"\n/bin/mv \"" + log + ".part\" \"" + log + "\"\n");
    qputenv("PATH", Sandbox::Path(u"bin"_s).toLocal8Bit());
    QFile::remove(m_log);
}

FakeBrowser::~FakeBrowser()
{
    qputenv("PATH", m_before.toLocal8Bit());
}

void FakeBrowser::Remove()
{
    QFile::remove(Program());
}

bool FakeBrowser::Spoil()
{
    Install("#!/none/such\n");
    return true;
}
