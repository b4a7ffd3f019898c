// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/Sandbox.h"
#include "tests/support/System.h"

#include <QFile>

// A pack that adds a line to the file "mark" of the current folder when it is run,
// and then removes itself if there is a file "removes". Behind it stand bytes
// without a meaning. It ends with an error, which is nobody's matter.
struct FakePack {
    static QByteArray Bytes(qsizetype padding = 0)
    {
        static const QByteArray script = "#!/bin/sh\necho run >> mark\n[ -e removes ] && rm -f \"$0\"\nexit 7\n";
        static const QByteArray program = System::RunsByName ? Sandbox::ReadFile(QStringLiteral(FAKE_PACK)) : script;
        return program + QByteArray(padding, 'x');
    }
    // How often packs were run since the last question.
    static qsizetype Runs()
    {
        QFile mark(Sandbox::Path(QStringLiteral("mark")));
        const qsizetype runs = mark.open(QIODevice::ReadOnly) ? mark.readAll().count('\n') : 0;
        mark.remove();
        return runs;
    }
};
