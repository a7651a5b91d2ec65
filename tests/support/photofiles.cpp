// SPDX-License-Identifier: GPL-3.0-or-later
#include "photofiles.h"

#include "processing/exifreader.h"
#include "processing/exiv2compat.h"

#include <QFile>
#include <QMutex>
#include <QThreadPool>

namespace
{

Exiv2Compat::ImagePtr opened(const QString &path)
{
    Exiv2Compat::ImagePtr file = Exiv2::ImageFactory::open(qPathToNativeStdString(path));
    file->readMetadata();
    return file;
}

Exiv2::Metadatum &tagIn(Exiv2::Image &file, const QByteArray &key)
{
    const std::string name = key.toStdString();
    if (key.startsWith("Iptc."))
        return file.iptcData()[name];
    if (key.startsWith("Xmp."))
        return file.xmpData()[name];
    return file.exifData()[name];
}

} // namespace

QImage plainImage(QSize size, const QColor &colour)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    return image;
}

void writePhoto(const QString &path, const QImage &image, const Tags &tags)
{
    if (!image.save(path, nullptr, 95))
        qFatal("cannot write %s", qPrintable(path));
    if (tags.isEmpty())
        return;
    const Exiv2Compat::ImagePtr file = opened(path);
    for (auto tag = tags.begin(); tag != tags.end(); ++tag)
        tagIn(*file, tag.key()).setValue(tag.value().toStdString());
    file->writeMetadata();
}

Tags gpsTags()
{
    return {{"Exif.GPSInfo.GPSLatitude", "33/1 27/1 0/1"},
            {"Exif.GPSInfo.GPSLatitudeRef", "S"},
            {"Exif.GPSInfo.GPSLongitude", "70/1 40/1 0/1"},
            {"Exif.GPSInfo.GPSLongitudeRef", "W"},
            {"Exif.GPSInfo.GPSImgDirection", "905/10"},
            {"Exif.GPSInfo.GPSAltitude", "52025/100"},
            {"Exif.Photo.DateTimeOriginal", "2024:03:05 14:07:09"}};
}

QByteArray tagOf(const QString &path, const QByteArray &key)
{
    return QByteArray::fromStdString(tagIn(*opened(path), key).toString());
}

QByteArray bytesOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeText(const QString &path, const QByteArray &text)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
        qFatal("cannot write %s", qPrintable(path));
}

BatchReport runBatch(const QString &folder, const ProcessOptions &options, int threads)
{
    // The thread sanitizer sees what a new thread is given, but not what Qt gives to one that waits for more.
    QThreadPool::globalInstance()->waitForDone();
    BatchReport report;
    QMutex mutex;
    PhotoProcessor processor;
    processor.setOptions(options);
    processor.setThreadCount(threads);
    processor.renamePhotosWithUTM(
        folder,
        [&](const QString &line) {
            const QMutexLocker locker(&mutex);
            report.log.append(line);
        },
        [&](int done, int total) {
            const QMutexLocker locker(&mutex);
            report.progress.append({done, total});
        });
    report.summary = processor.summary();
    return report;
}
