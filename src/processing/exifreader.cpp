// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/exifreader.h"

#include "processing/jpegsegments.h"
#include "processing/photometadata.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace
{

// Of a JPEG the beginning is enough, as long as it reaches the pixels.
QByteArray metadataBytes(const QString &path)
{
    constexpr qint64 usualHead = qint64(256) * 1024;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray head = file.read(usualHead);
    return JpegSegments(head).startOfPixels() > 0 ? head : head + file.readAll();
}

} // namespace

std::string qPathToNativeStdString(const QString &path)
{
    const QString absolutePath = path.isEmpty() ? QString() : QFileInfo(path).absoluteFilePath();
    if (absolutePath.isEmpty()) {
        qWarning() << "qPathToNativeStdString: No se pudo obtener la ruta absoluta para:" << path;
        return {};
    }
    return QDir::toNativeSeparators(absolutePath).toStdString();
}

PhotoTags readPhotoTags(const QString &path)
{
    QString error;
    const std::optional<Exiv2::ExifData> exif = readExif(metadataBytes(path), &error);
    if (exif)
        return {gpsOf(*exif), captureDateOf(*exif)};
    qDebug() << "Error leyendo EXIF:" << error;
    return {};
}
