// SPDX-License-Identifier: Apache-2.0
#include "fuzz/MemoryFile.h"

#include "common/Error.h"
#include "picture/Essentials.h"
#include "picture/Picture.h"

#include <QCoreApplication>

using namespace Qt::Literals::StringLiterals;

// Any bytes as an exhibit: cut down to what a decoder needs, and shown.

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    // The decoders are plugins, which an application finds. It is never destroyed:
    // LeakSanitizer, which runs at the end, crashed where it had been.
    static const auto *application = new QCoreApplication(*argc, *argv);
    Q_UNUSED(application)
    // They say what is wrong with a picture.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const MemoryFile input;
    input.Fill(data, size);
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    bool isKnown = false;
    try {
        const Picture::Essentials picture = Picture::EssentialsOf(bytes);
        isKnown = true;
        Require(picture.Bytes.size() <= bytes.size(), "no more bytes than there were");
        const Picture::Essentials again = Picture::EssentialsOf(picture.Bytes);
        Require(again.Format == picture.Format && again.Bytes == picture.Bytes, "nothing more to leave out");
    } catch (const Error &error) {
        Require(error.Number() == InvalidCall && !isKnown, "a refusal at the first look alone");
    }
    try {
        const QImage image = Picture::Load(input.Path());
        Require(isKnown, "a known picture");
        Require(!image.isNull() && qint64(image.width()) * image.height() <= Picture::MostPixels,
                "a picture within the limits");
    } catch (const Error &error) {
        Require(error.Number() == InvalidCall && error.Source() == "Picture::Load()"_L1, "a known error");
    }
    return 0;
}
