// SPDX-License-Identifier: GPL-3.0-or-later

// Times of single parts of the work, each as the median of several runs.

#include "data/coordinatesfile.h"
#include "data/runrequest.h"
#include "render/fontregistry.h"
#include "render/overlay.h"
#include "samplephotos.h"

#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <functional>

namespace
{

constexpr int runs = 11;

double medianMilliseconds(const std::function<void()> &part)
{
    QList<double> times;
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer timer;
        timer.start();
        part();
        times << static_cast<double>(timer.nsecsElapsed()) / 1e6;
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

void measureOverlay(const QImage &photo, int compassStyle)
{
    RunRequest request;
    request.preset = Preset::atStart();
    ProcessOptions options = request.options();
    options.logoRatio = request.preset.logoRatio;
    options.compassStyle = compassStyle;
    OverlayData data;
    data.dateTime = QDateTime(QDate(2026, 3, 14), QTime(9, 12, 5));
    data.utm = {19, 'G', 377695.95, 6308339.97};
    data.orientation = 42.5;
    data.altitude = 2347.2;
    const Logo logo(paintLogo(400));
    const OverlayResources resources{&logo, registeredFontFamily(options.fontPath).value_or(QString())};
    QImage image = photo.copy();
    const double time =
        medianMilliseconds([&] { drawOverlay(image, data, options, resources, [](const QString &) {}); });
    report(qPrintable(QStringLiteral("overlay on 12 megapixels, compass style %1").arg(compassStyle)), time);
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    measureCoordinatesFile(100000);
    const QImage photo = paintLandscape({4000, 3000}, 1);
    for (int style = 0; style < 4; ++style)
        measureOverlay(photo, style);
}
