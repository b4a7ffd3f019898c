// SPDX-License-Identifier: Apache-2.0
#include "download/PackFile.h"

#include "common/Common.h"
#include "common/Error.h"

using namespace Qt::Literals::StringLiterals;

qint32 PackFile::Run() const
{
    try {
        return Common::SyncShell(u'"' + RunPath().replace(u"\""_s, u"\"\"\""_s) + u'"');
    } catch (const Error &error) {
        const QString reason = Common::ShownText(Common::SystemErrorText(Common::LastSystemError())).trimmed();
        throw Error(error.Number(), error.Description() + u": "_s + reason, error.Source());
    }
}
