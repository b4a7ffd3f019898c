// SPDX-License-Identifier: Apache-2.0
#include "pack/Packer.h"

#include "pack/StubBytes.h"

#include <QFileInfo>
#include <QSaveFile>

using namespace Qt::Literals::StringLiterals;

namespace Packer {

using PackContents::Refused;

namespace {

void CheckTarget(const QString &file, bool replace)
{
    const QFileInfo info(file);
    if (!info.exists() && !info.isSymLink())
        return;
    if (info.isSymLink() || !info.isFile())
        throw Refused(u"%1: it is there already and no regular file"_s.arg(file));
    if (!replace)
        throw Refused(u"%1: it exists already (--replace replaces it)"_s.arg(file));
}

}

void Write(const QString &folder, const QString &file, Platform platform, bool replace, const std::function<void()> &step,
           const PackContents::Signer &signer)
{
    const QByteArrayView stub = StubBytes(platform);
    if (stub.isEmpty()) {
        const QString name = platform == Platform::Windows ? u"Windows"_s : u"Linux"_s;
        throw Refused(u"this program was built without what packs for %1 need"_s.arg(name));
    }
    CheckTarget(file, replace);
    const PackContents::Package package = PackContents::OfFolder(folder);

    // Without a commit nothing of it stays.
    QSaveFile pack(file);
    if (!pack.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        throw Refused(pack);
    PackContents::Write(pack, stub, package, step, signer);
    const QFile::Permissions read = pack.permissions() & (QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther);
    // The bit to run stands two places below the bit to read.
    const auto run = QFile::Permissions::fromInt(read.toInt() >> 2);
    step();
    if (!pack.setPermissions(pack.permissions() | run) || !pack.commit())
        throw Refused(pack);
}

}
