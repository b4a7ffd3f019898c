// SPDX-License-Identifier: Apache-2.0
#include "tests/support/System.h"

#include "common/Common.h"
#include "common/WidePath_win.h"
#include "tests/support/Program.h"
#include "tests/support/SmallDisk.h"

#include <cerrno>

#include <windows.h>

using namespace Qt::Literals::StringLiterals;

namespace System {

const int NotFound = ERROR_FILE_NOT_FOUND;
const int FolderNotFound = ERROR_PATH_NOT_FOUND;
const int Exists = ERROR_FILE_EXISTS;
const int IsFolder = ERROR_ACCESS_DENIED;
const int IsDevice = ERROR_INVALID_PARAMETER;
const int NotOpen = ERROR_INVALID_HANDLE;
const int NotAllowed = ERROR_ACCESS_DENIED;
const int BelowAFile = ENOENT;

const bool RunsByName = true;

const QString Device = u"NUL"_s;

QString TextOf(int code)
{
    return Common::ShownText(Common::SystemErrorText(code)).simplified();
}

QString ProgramFiles()
{
    return qEnvironmentVariable("ProgramFiles");
}

void ForgetSettings(const QString &key)
{
    for (const HKEY hive : { HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE })
        RegDeleteTreeW(hive, Wide(key));
}

bool HasWidgets()
{
    return GetModuleHandleW(L"Qt6Widgets.dll") != nullptr;
}

// Pipes lie in a place of their own here.
bool MakePipe(const QString &)
{
    return false;
}

// Wine makes no links, and Windows requires a right for it that users have not.
bool MakeLink(const QString &, const QString &)
{
    return false;
}

}

bool HearsSignals(QProcess &process)
{
    // It would come through the console.
    if (GetConsoleCP() == 0)
        return false;
    process.setCreateProcessArgumentsModifier(
        [](QProcess::CreateProcessArguments *arguments) { arguments->flags |= CREATE_NEW_PROCESS_GROUP; });
    return true;
}

// Every signal is the one that ends a group of programs in a console.
void Signal(const QProcess &process, int)
{
    GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, static_cast<DWORD>(process.processId()));
}

Preparation SmallFiles(quint64)
{
    return {};
}

struct SmallDisk::System { };

SmallDisk::SmallDisk(quint64) { }

SmallDisk::~SmallDisk() = default;

const char *SmallDisk::WhyNot()
{
    return "Wine limits no file's size, and Windows no file's of one process";
}
