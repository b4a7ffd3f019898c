// SPDX-License-Identifier: Apache-2.0
#include "common/Common.h"

#include "common/Error.h"

#include <windows.h>

using namespace Qt::Literals::StringLiterals;

namespace Common {

qint32 SyncShell(const QString &command)
{
    // The system writes into the text that it is given.
    std::wstring line = command.toStdWString();
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, NORMAL_PRIORITY_CLASS, nullptr, nullptr, &startup,
                        &process)) {
        const DWORD code = GetLastError();
        const Error error(InvalidCall, u"Unable to execute command "_s + command, u"SyncShell()"_s);
        SetLastError(code);
        throw error;
    }
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return static_cast<qint32>(code);
}

}
