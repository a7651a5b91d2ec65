// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/samplefile.h"
#include "files/safewrite.h"
#include "samplephotos.h"

#include <QCommandLineParser>
#include <QDir>
#include <QGuiApplication>
#include <QTextStream>

namespace
{

/// One photo of the sample folder. Those without EXIF have their data in the coordinates file alone.
struct SamplePhoto {
    const char *path;
    QSize size;
    int orientation;
    bool exif;
    GeoPosition position;
    std::optional<double> heading;
    std::optional<double> altitude;
    const char *taken;
};

constexpr SamplePhoto samplePhotos[] = {
    {"DSC_0001.JPG", {4000, 3000}, 1, true, {-33.35721, -70.31452}, 42.5, 2347.2, "2026-03-14T09:12:05"},
    {"DSC_0002.JPG", {1600, 1200}, 1, true, {-33.35795, -70.31398}, 118.0, 2352.8, "2026-03-14T09:15:41"},
    {"DSC_0003.jpg", {640, 480}, 1, true, {-33.35902, -70.31207}, 271.25, 2361.4, "2026-03-14T09:21:10"},
    {"DSC_0004.jpg", {1200, 1600}, 1, true, {-33.36011, -70.31166}, 8.0, 2370.9, "2026-03-14T09:24:33"},
    {"girada-3.jpg", {1600, 1200}, 3, true, {-33.36088, -70.31049}, 181.5, 2378.0, "2026-03-14T09:30:02"},
    {"girada-6.jpg", {1200, 1600}, 6, true, {-33.36154, -70.30977}, 226.0, 2383.6, "2026-03-14T09:33:47"},
    {"girada-8.jpg", {1200, 1600}, 8, true, {-33.36223, -70.30885}, 330.75, 2391.1, "2026-03-14T09:37:18"},
    {"lámina.png", {1600, 1200}, 1, true, {-33.36301, -70.30812}, 64.0, 2398.5, "2026-03-14T09:42:26"},
    {"escaneada.tiff", {1600, 1200}, 1, true, {-33.36377, -70.30731}, 92.0, 2404.7, "2026-03-14T09:48:59"},
    {"sin-datos-1.jpg", {1600, 1200}, 1, false, {-33.36442, -70.3066}, 15.0, {}, "2026-03-14T09:55:13"},
    {"sin-datos-2.png", {640, 480}, 1, false, {-33.36519, -70.30577}, {}, 2417.3, "2026-03-14T09:58:40"},
    {"sin-datos-3.tiff", {640, 480}, 1, false, {-33.3659, -70.30503}, 140.0, 2421.9, "2026-03-14T10:02:16"},
    {"norte/DSC_11.JPG", {4000, 3000}, 1, true, {-33.34118, -70.32005}, 305.0, 2512.0, "2026-03-15T16:02:11"},
    {"norte/DSC_12.JPG", {1600, 1200}, 6, true, {-33.34046, -70.32091}, 77.5, 2519.4, "2026-03-15T16:05:30"},
    {"norte/DSC_13.JPG", {640, 480}, 1, false, {-33.33981, -70.32168}, 200.0, 2525.8, "2026-03-15T16:09:04"},
};

void say(const QString &line)
{
    QTextStream(stdout) << line << Qt::endl;
}

void makeFolder(const QString &path)
{
    if (!QDir().mkpath(path))
        qFatal("No se pudo crear la carpeta %s", qPrintable(path));
}

// The sample: photos of every kind in "fotos", and beside them a logo and a coordinates file.
void makeSample(const QDir &folder)
{
    makeFolder(folder.filePath(QStringLiteral("fotos/norte")));
    const QString coordinatesPath = folder.filePath(QStringLiteral("coordenadas.csv"));
    QList<SampleRow> rows;
    quint32 seed = 0;
    for (const SamplePhoto &photo : samplePhotos) {
        const QString path = folder.filePath(QStringLiteral("fotos/") + QString::fromUtf8(photo.path));
        QImage image = paintLandscape(photo.size, seed);
        addGrain(image, seed++, 3);
        const FreshTags tags{photo.position, photo.heading, photo.altitude,
                             QDateTime::fromString(QString::fromLatin1(photo.taken), Qt::ISODate)};
        writeCameraPhoto(path, image, photo.exif ? std::optional(tags) : std::nullopt, photo.orientation);
        rows.append({QFileInfo(path).fileName(), latLonToUtm(tags.position.latitude, tags.position.longitude),
                     tags.orientation, tags.altitude, tags.dateTime});
        say(QStringLiteral("Foto: ") + path);
    }
    QString error;
    if (!writeWhole(coordinatesPath, sampleFileContents(rows), &error))
        qFatal("No se pudo escribir %s: %s", qPrintable(coordinatesPath), qPrintable(error));
    if (!paintLogo(400).save(folder.filePath(QStringLiteral("logo.png"))))
        qFatal("No se pudo escribir el logo");
    say(QStringLiteral("Logo: ") + folder.filePath(QStringLiteral("logo.png")));
    say(QStringLiteral("Coordenadas: ") + coordinatesPath);
}

// Photos as a camera of 8 to 12 megapixels leaves them, all with position, heading, altitude and date.
void makeCameraPhotos(const QDir &folder, int count)
{
    constexpr std::array<QSize, 3> sizes = {QSize(4000, 3000), QSize(3648, 2736), QSize(3264, 2448)};
    makeFolder(folder.path());
    const QDateTime first(QDate(2026, 3, 14), QTime(8, 0));
    for (int index = 0; index < count; ++index) {
        const auto seed = static_cast<quint32>(index);
        QImage image = paintLandscape(sizes[seed % sizes.size()], seed);
        addGrain(image, seed, 9);
        const FreshTags tags{{-33.35 + index * 2e-4, -70.31 - index * 3e-4},
                             index * 7 % 360,
                             2300.0 + index,
                             first.addSecs(qint64(37) * index)};
        writeCameraPhoto(
            folder.filePath(QStringLiteral("DSC_%1.JPG").arg(index + 1, 5, 10, QLatin1Char('0'))), image,
            tags);
    }
    say(QStringLiteral("%1 fotos en %2").arg(QString::number(count), folder.path()));
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Pinta fotos de muestra, un logo y un archivo de coordenadas."));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Muestra esta ayuda y termina."));
    const QCommandLineOption camera(
        QStringLiteral("camara"),
        QStringLiteral("En vez de la muestra, N fotos de cámara de 8 a 12 megapíxeles."),
        QStringLiteral("N"));
    parser.addOptions({help, camera});
    parser.addPositionalArgument(QStringLiteral("CARPETA"), QStringLiteral("Dónde escribirlas."));

    const bool parsed = parser.parse(QCoreApplication::arguments());
    bool counted = true;
    const int count = parser.isSet(camera) ? parser.value(camera).toInt(&counted) : 0;
    if (parser.isSet(help)) {
        say(parser.helpText());
        return 0;
    }
    if (!parsed || !counted || count < 0 || parser.positionalArguments().size() != 1) {
        QTextStream(stderr) << parser.helpText();
        return 2;
    }
    const QDir folder(parser.positionalArguments().constFirst());
    if (parser.isSet(camera))
        makeCameraPhotos(folder, count);
    else
        makeSample(folder);
    return 0;
}
