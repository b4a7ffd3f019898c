// SPDX-License-Identifier: Apache-2.0
#include "author/Exhibits.h"

#include "common/Common.h"
#include "model/File.h"

#include "common/Error.h"
#include "packformat/PackFormat.h"
#include "picture/Conversion.h"
#include "picture/Picture.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QPainter>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype LongestStem = 60; // characters of a name before its extension
constexpr int Gap = 16; // pixels between pictures that are joined

Error Refused(const QString &text)
{
    return Error(InvalidCall, text, u"Exhibits::Add()"_s);
}

QByteArray DigestOf(const QByteArray &content)
{
    return QCryptographicHash::hash(content, QCryptographicHash::Sha256);
}

QByteArray PngOf(const QImage &image)
{
    QBuffer buffer;
    if (!image.save(&buffer, "PNG"))
        throw Refused(u"The picture cannot be saved"_s);
    return buffer.data();
}

QImage ImageOf(const QByteArray &file, QStringList &losses)
{
    if (!Picture::FormatOf(file).isEmpty())
        return Picture::Decode(file);
    if (Conversion::KindOf(file).isEmpty())
        throw Refused(u"The file is not a BMP, GIF, JPEG, ICO, PNG, WebP, SVG or TIFF picture"_s);
    return Conversion::Decode(file, losses);
}

// The file of an exhibit.
QByteArray FileOf(const QByteArray &file, QStringList &losses)
{
    const QImage image = ImageOf(file, losses);
    return Picture::FormatOf(file).isEmpty() ? PngOf(image) : file;
}

QByteArray JoinedOf(const std::vector<QByteArray> &files, QStringList &losses)
{
    std::vector<QImage> images;
    QSize size(0, -Gap);
    for (const QByteArray &file : files) {
        images.push_back(ImageOf(file, losses));
        size = { std::max(size.width(), images.back().width()), size.height() + Gap + images.back().height() };
        if (size.height() > Picture::MostSide || qint64(size.width()) * size.height() > Picture::MostPixels)
            throw Refused(u"The pictures are too large together"_s);
    }
    if (images.empty())
        throw Refused(u"There is no picture"_s);
    QImage joined(size, QImage::Format_RGB32);
    joined.fill(Qt::white);
    QPainter painter(&joined);
    int top = 0;
    for (const QImage &image : images) {
        painter.drawImage(QRect(QPoint(0, top), image.size()), image);
        top += image.height() + Gap;
    }
    painter.end();
    return PngOf(joined);
}

bool IsPictureExtension(const QString &extension)
{
    static const QStringList known = { u"bmp"_s, u"dib"_s,  u"gif"_s, u"jpg"_s, u"jpeg"_s, u"jpe"_s,  u"jfif"_s,
                                       u"ico"_s, u"webp"_s, u"png"_s, u"svg"_s, u"tif"_s,  u"tiff"_s, u"svgz"_s };
    return known.contains(extension.toLower());
}

bool Fits(const QString &extension, const QByteArray &format)
{
    const QString small = extension.toLower();
    return small == QLatin1StringView(format) || (format == "jpeg" && small == "jpg"_L1);
}

// Letters without their marks, digits and a few signs.
QString Ascii(const QString &text)
{
    QString kept;
    for (const QChar c : text.normalized(QString::NormalizationForm_KD)) {
        if (c.unicode() < 0x80 && (c.isLetterOrNumber() || QStringView(u" ._-()").contains(c)))
            kept += c;
    }
    while (kept.startsWith(u'.') || kept.startsWith(u' '))
        kept.remove(0, 1);
    while (kept.endsWith(u'.') || kept.endsWith(u' '))
        kept.chop(1);
    return kept;
}

}

Exhibits::Exhibits()
{
    if (!m_folder.isValid())
        throw Refused(u"No folder for pictures can be made: "_s + m_folder.errorString());
}

template <class Make>
QString Exhibits::Named(const QByteArray &digest, const QString &wantedName, QStringList *losses, const Make &make)
{
    auto outcome = m_outcomes.constFind(digest);
    if (outcome == m_outcomes.constEnd()) {
        Outcome made;
        try {
            const QByteArray picture = make(made.Losses);
            made.Name = Keep(picture, wantedName);
        } catch (const Error &error) {
            // A full disk is no fault of the picture.
            if (error.Number() != InvalidCall)
                throw;
            made.Fault = error.Description();
        }
        outcome = m_outcomes.insert(digest, made);
    }
    if (!outcome->Fault.isEmpty())
        throw Refused(outcome->Fault);
    if (losses)
        *losses += outcome->Losses;
    return outcome->Name;
}

QString Exhibits::Add(const QByteArray &file, const QString &wantedName, QStringList *losses)
{
    return Named(DigestOf(file), wantedName, losses, [&](QStringList &lost) { return FileOf(file, lost); });
}

QString Exhibits::Join(const std::vector<QByteArray> &files, const QString &wantedName, QStringList *losses)
{
    if (files.size() == 1)
        return Add(files.front(), wantedName, losses);
    QByteArray digests("joined");
    for (const QByteArray &file : files)
        digests += DigestOf(file);
    return Named(DigestOf(digests), wantedName, losses, [&](QStringList &lost) { return JoinedOf(files, lost); });
}

QString Exhibits::Keep(const QByteArray &picture, const QString &wantedName)
{
    const QString name = NewName(wantedName, Picture::FormatOf(picture));
    const QString path = QDir(Folder()).filePath(name);
    try {
        File file;
        file.OpenFile(path, File::BinaryMode, File::WriteAccess, File::CreateNew);
        file.WriteData(picture, static_cast<qint32>(picture.size()));
        file.Flush();
    } catch (const Error &error) {
        throw Error(error.Number(), QDir::toNativeSeparators(path) + u": "_s + Common::OneLine(error), u"Exhibits::Add()"_s);
    }
    return name;
}

QString Exhibits::NewName(const QString &wantedName, const QByteArray &format)
{
    QString stem = wantedName.section(u'/', -1).section(u'\\', -1);
    QString extension = QString::fromLatin1(format == "jpeg" ? "jpg"_ba : format);
    if (const qsizetype dot = stem.lastIndexOf(u'.'); dot >= 0 && IsPictureExtension(stem.mid(dot + 1))) {
        if (Fits(stem.mid(dot + 1), format))
            extension = stem.mid(dot + 1);
        stem.truncate(dot);
    }
    stem = Ascii(Ascii(stem).left(LongestStem));
    if (stem.isEmpty())
        stem = u"picture"_s;
    else if (PackFormat::IsDeviceName(stem.toStdString()))
        stem.prepend(u"picture-"_s);
    QString name = stem + u'.' + extension;
    for (int &count = m_counts[name.toLower()]; m_names.contains(name.toLower());)
        name = u"%1-%2.%3"_s.arg(stem, QString::number(++count + 1), extension);
    m_names.insert(name.toLower());
    return name;
}
