// SPDX-License-Identifier: GPL-3.0-or-later

// Processor times of single parts of the work, each as the median of several runs.

#include "data/coordinatesfile.h"
#include "data/runrequest.h"
#include "processing/jpegcodec.h"
#include "processing/jpegcoefficients.h"
#include "processing/photometadata.h"
#include "render/fontregistry.h"
#include "render/overlay.h"
#include "samplephotos.h"

#include <QFile>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <QThreadPool>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>

namespace
{

constexpr int runs = 11;

double medianMilliseconds(const std::function<void()> &part)
{
    QList<double> times;
    for (int run = 0; run < runs; ++run) {
        const std::clock_t start = std::clock();
        part();
        times << 1e3 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    }
    std::sort(times.begin(), times.end());
    return times[runs / 2];
}

void report(const char *part, double milliseconds)
{
    std::printf("%-44s %9.2f ms\n", part, milliseconds);
}

void measureCoordinatesFile(int rows)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("coordenadas.csv"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        qFatal("cannot write %s", qPrintable(path));
    file.write(coordinatesHeader().toUtf8() + '\n');
    for (int row = 0; row < rows; ++row) {
        file.write(QStringLiteral("DSC_%1.JPG;19;G;%2.25;6308339.97;%3.5;2026-03-14T09:12:05;2347.2\n")
                       .arg(row, 6, 10, QLatin1Char('0'))
                       .arg(300000 + row)
                       .arg(row % 360)
                       .toUtf8());
    }
    file.close();
    qsizetype accepted = 0;
    const double time = medianMilliseconds([&] {
        accepted =
            readCoordinatesFile(path, [](const QString &line) { qFatal("%s", qPrintable(line)); }).size();
    });
    if (accepted != rows)
        qFatal("%lld rows of %d were accepted", static_cast<long long>(accepted), rows);
    report("coordinates file of 100,000 rows", time);
}

// What the overlays need, with the settings of the first start.
struct Stamp {
    Stamp()
    {
        RunRequest request;
        request.preset = Preset::atStart();
        options = request.options();
        options.logoRatio = request.preset.logoRatio;
        data.dateTime = QDateTime(QDate(2026, 3, 14), QTime(9, 12, 5));
        data.utm = {19, 'G', 377695.95, 6308339.97};
        data.orientation = 42.5;
        data.altitude = 2347.2;
    }

    Overlay overlay(QSize size) const
    {
        return Overlay(size, data, options,
                       {&logo, registeredFontFamily(options.fontPath).value_or(QString())}, {});
    }

    ProcessOptions options;
    OverlayData data;
    Logo logo{paintLogo(400)};
};

void measureOverlay(const QImage &photo, int compassStyle)
{
    Stamp stamp;
    stamp.options.compassStyle = compassStyle;
    QImage image = photo.copy();
    const double time = medianMilliseconds([&] { stamp.overlay(image.size()).paint(image); });
    report(qPrintable(QStringLiteral("overlay on 12 megapixels, compass style %1").arg(compassStyle)), time);
}

// The two ways of a photo and their phases, beside decoding and encoding alone.
void measureWays(const QByteArray &photo)
{
    PixelBuffers buffers;
    QString error;
    const Stamp stamp;
    const QImage image = decodedJpeg(photo, 2048, buffers);
    if (image.isNull())
        qFatal("no JPEG");
    const ChromaSampling sampling = jpegFormatOf(photo).sampling;
    const Overlay overlay = stamp.overlay(image.size());
    const Overlay nothing(image.size(), {}, {}, {}, {});
    const auto coefficients = [&](const Overlay &painted, bool keepTables) {
        return medianMilliseconds([&] {
            if (!stampedByCoefficients(photo, painted, {90, keepTables, {}}, buffers))
                qFatal("the photo was refused");
        });
    };
    const double decoding = medianMilliseconds([&] { decodedJpeg(photo, 2048, buffers); });
    const double encoding = medianMilliseconds([&] { encodedJpeg(image, 90, sampling, &error); });
    const double layout = medianMilliseconds([&] { stamp.overlay(image.size()); });
    const double pixels = medianMilliseconds([&] {
        QImage painted = decodedJpeg(photo, 2048, buffers);
        overlay.paint(painted);
        encodedJpeg(painted, 90, sampling, &error);
    });
    const double stamped = coefficients(overlay, false);
    const double requantised = coefficients(nothing, false);
    const double kept = coefficients(overlay, true);
    const double copied = coefficients(nothing, true);
    const PhotoMetadata metadata = readMetadata(photo, &error).value();
    const double reading = medianMilliseconds([&] { readMetadata(photo, &error); });
    const double writing = medianMilliseconds([&] { withMetadata(photo, metadata, &error); });

    std::printf("\nOne photo of %d × %d pixels; the floor is decoding and encoding\n", image.width(),
                image.height());
    const auto share = [floor = decoding + encoding](const char *part, double milliseconds) {
        std::printf("%-44s %9.2f ms %6.2f of the floor\n", part, milliseconds, milliseconds / floor);
    };
    share("decode", decoding);
    share("encode", encoding);
    share("lay the overlay out", layout);
    share("through pixels, painted", pixels);
    share("by coefficients, quality 90", stamped);
    share("  of it entropy coding and requantising", requantised);
    share("  of it pieces", stamped - requantised);
    share("by coefficients, the photo's own tables", kept);
    share("  of it entropy coding", copied);
    share("read metadata", reading);
    share("put metadata in", writing);
}

void measure(const QStringList &photos)
{
    measureCoordinatesFile(100000);
    const QImage photo = paintLandscape({4000, 3000}, 1);
    for (int style = 0; style < 4; ++style)
        measureOverlay(photo, style);
    for (const QString &path : photos) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            qFatal("cannot read %s", qPrintable(path));
        measureWays(file.readAll());
    }
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    QThreadPool::globalInstance()->start(
        [] { measure(QCoreApplication::arguments().mid(1)); }); // as a batch does
    QThreadPool::globalInstance()->waitForDone();
}
