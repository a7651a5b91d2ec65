// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/arguments.h"

#include "data/geojson.h"
#include "data/preset.h"
#include "data/runrequest.h"
#include "data/settings.h"
#include "files/folderidentity.h"
#include "files/folders.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <limits>
#include <optional>

namespace
{

struct OptionRow {
    const char *name;
    const char *value; ///< what follows the option; null: nothing
    const char *description;
};

constexpr OptionRow optionRows[] = {
    {"perfil", "ARCHIVO", "Perfil JSON guardado desde la ventana."},
    {"coordenadas", "ARCHIVO",
     "Toma los datos del archivo de coordenadas (sin ella, del EXIF de las fotos)."},
    {"logo", "IMAGEN", "Logo (sin ella, el del perfil)."},
    {"sin-logo", nullptr, "No dibuja ningún logo."},
    {"salida", "CARPETA", "Guarda las fotos modificadas en una carpeta separada."},
    {"subcarpetas", nullptr, "Incluye los subdirectorios."},
    {"sin-renombrar", nullptr, "No renombra las fotos."},
    {"sin-respaldo", nullptr, "No guarda copia de las fotos originales."},
    {"sin-incrustar", nullptr, "No incrusta los datos del archivo de coordenadas en el EXIF."},
    {"prefijo", "TEXTO", "Agrega el prefijo al nombre."},
    {"calidad", "N",
     "Calidad JPEG, 1 a 100 (sin ella, la de la configuración), u «original»: sin pérdida fuera del sello."},
    {"hilos", "N", "Hilos de trabajo (sin ella, los del equipo)."},
    {"parte", "K/N", "Hace solo la parte K de N, para repartir el trabajo entre tareas (con --salida)."},
    {"reanudar", nullptr, "Lleva un diario y sigue donde quedó la tarea interrumpida (con --salida)."},
    {"geojson", "ARCHIVO", "Escribe un mapa con un punto por cada foto terminada."},
};

const QString noFolder = QStringLiteral("Seleccione un directorio de fotos válido.");
const QString helpOption = QStringLiteral("help");
const QString versionOption = QStringLiteral("version");

void addOptions(QCommandLineParser &parser)
{
    parser.setApplicationDescription(QStringLiteral(
        "Renombra fotografías según su posición UTM y les incrusta fecha, coordenadas, orientación, altitud, "
        "logo y rosa de los vientos."));
    parser.addOption({{QStringLiteral("h"), helpOption}, QStringLiteral("Muestra esta ayuda y termina.")});
    parser.addOption({{QStringLiteral("v"), versionOption}, QStringLiteral("Muestra la versión y termina.")});
    for (const OptionRow &row : optionRows) {
        parser.addOption({QString::fromLatin1(row.name), QString::fromUtf8(row.description),
                          row.value ? QString::fromLatin1(row.value) : QString()});
    }
    parser.addPositionalArgument(QStringLiteral("CARPETA"), QStringLiteral("Carpeta de fotos."));
}

// The whole number in the value of an option, or nothing when it is none or out of range.
std::optional<int> wholeNumber(const QString &text, int lowest, int highest)
{
    bool ok = false;
    const int number = text.toInt(&ok);
    return ok && number >= lowest && number <= highest ? std::optional(number) : std::nullopt;
}

// Whether a folder is `root` or lies in it, whatever the paths look like.
bool isWithin(const QString &folder, const QString &root)
{
    const std::optional<FileId> rootId = fileId(root);
    QString at = QFileInfo(folder).canonicalFilePath();
    while (fileId(at) != rootId) {
        if (at == folderOf(at))
            return false;
        at = folderOf(at);
    }
    return true;
}

bool isSet(const QCommandLineParser &parser, const char *name)
{
    return parser.isSet(QString::fromLatin1(name));
}

QString valueOf(const QCommandLineParser &parser, const char *name)
{
    return parser.value(QString::fromLatin1(name));
}

// The profile, if any, and what the command line says above it. Nothing when the profile cannot be read.
std::optional<Preset> presetFrom(const QCommandLineParser &parser)
{
    Preset preset = Preset::atStart();
    if (isSet(parser, "perfil")) {
        const std::optional<QJsonObject> profile = readProfile(valueOf(parser, "perfil"));
        if (!profile)
            return std::nullopt;
        preset.apply(*profile);
    }
    if (isSet(parser, "logo"))
        preset.logoPath = valueOf(parser, "logo");
    if (isSet(parser, "sin-renombrar"))
        preset.renamePhotos = false;
    if (isSet(parser, "prefijo")) {
        preset.usePrefix = true;
        preset.prefix = valueOf(parser, "prefijo");
    }
    return preset;
}

// The run that the command line asks for on top of the profile.
RunRequest requestFrom(const QCommandLineParser &parser, const Preset &preset)
{
    RunRequest request;
    request.directory = parser.positionalArguments().constFirst();
    request.preset = preset;
    request.drawLogo = !isSet(parser, "sin-logo") && !preset.logoPath.isEmpty();
    request.run.useExif = !isSet(parser, "coordenadas");
    request.run.txtPath = valueOf(parser, "coordenadas");
    request.run.includeSubfolders = isSet(parser, "subcarpetas");
    request.run.embedCsvInExif = !isSet(parser, "sin-incrustar");
    request.run.useOutputFolder = isSet(parser, "salida");
    request.run.outputFolder = valueOf(parser, "salida");
    request.run.createBackup = !isSet(parser, "sin-respaldo");
    request.run.jpegQuality = Settings::load().jpegQuality;
    return request;
}

// Reads the options that are numbers. Returns the refusal; empty when there is none.
QString readNumbers(const QCommandLineParser &parser, BatchRequest &request)
{
    constexpr int highest = std::numeric_limits<int>::max();
    request.options.lossless = valueOf(parser, "calidad") == QLatin1String("original");
    if (isSet(parser, "calidad") && !request.options.lossless) {
        const std::optional<int> quality = wholeNumber(valueOf(parser, "calidad"), 1, 100);
        if (!quality)
            return QStringLiteral("La calidad debe ser un número entero de 1 a 100, u «original».");
        request.options.jpegQuality = *quality;
    }
    if (isSet(parser, "hilos")) {
        const std::optional<int> threads = wholeNumber(valueOf(parser, "hilos"), 1, highest);
        if (!threads)
            return QStringLiteral("Los hilos deben ser un número entero de 1 en adelante.");
        request.threads = *threads;
    }
    if (isSet(parser, "parte")) {
        const QString text = valueOf(parser, "parte");
        const std::optional<int> count = wholeNumber(text.section(u'/', 1), 1, highest);
        const std::optional<int> number = wholeNumber(text.section(u'/', 0, 0), 1, count.value_or(0));
        if (!number)
            return QStringLiteral("La parte debe tener la forma K/N, con K de 1 a N.");
        request.part = {*number, *count};
    }
    return {};
}

// What looks and names of the results depend on, for a journal to tell one run from another. The default font
// lies beside the program, which may be installed elsewhere on another machine.
QJsonObject resultsOf(const BatchRequest &request, const Preset &preset)
{
    QJsonObject results = preset.toJson();
    if (preset.fontPath == defaultFontPath())
        results.remove(QStringLiteral("fontPath"));
    results[QStringLiteral("logo")] = !request.options.logoPath.isEmpty();
    results[QStringLiteral("exif")] = request.options.useExif;
    results[QStringLiteral("incrustar")] = request.options.embedCsvInExif;
    results[QStringLiteral("calidad")] = request.options.lossless ? -1 : request.options.jpegQuality;
    return results;
}

// What speaks against sharing the work out, or taking it up again. One task would see what another one, or an
// earlier attempt, has made, and take it for photos.
QString refusalOfSharing(const QCommandLineParser &parser, const BatchRequest &request)
{
    for (const char *name : {"parte", "reanudar"}) {
        if (!isSet(parser, name))
            continue;
        const QString option = QStringLiteral("--") + QString::fromLatin1(name);
        if (!request.options.useOutputFolder)
            return option + QStringLiteral(" solo se puede usar con --salida.");
        if (isWithin(request.options.outputFolder, request.directory))
            return option + QStringLiteral(" necesita una carpeta de salida fuera de la carpeta de fotos.");
        if (request.options.includeSubfolders && isWithin(request.directory, request.options.outputFolder))
            return option + QStringLiteral(" con --subcarpetas necesita una carpeta de fotos fuera de la "
                                           "carpeta de salida.");
    }
    return {};
}

// An earlier map may be replaced, but no other file.
QString refusalOfMap(const QString &path)
{
    const QFileInfo info(path);
    QFile file(path);
    if (path.isEmpty() || info.isDir() || !QFileInfo(info.absolutePath()).isDir())
        return QStringLiteral("No se puede escribir el mapa GeoJSON en: ") + path;
    if (info.exists() && (!file.open(QIODevice::ReadOnly) || !isMap(file.readAll())))
        return QStringLiteral("El archivo existe y no es un mapa GeoJSON; no se reemplaza: ") + path;
    return {};
}

} // namespace

std::variant<BatchRequest, Information, Refusal> readArguments(const QStringList &arguments)
{
    QCommandLineParser parser;
    addOptions(parser);
    const bool parsed = parser.parse(arguments);
    if (parser.isSet(helpOption))
        return Information{parser.helpText()};
    if (parser.isSet(versionOption))
        return Information{QStringLiteral("velmaro-lote %1\n").arg(QCoreApplication::applicationVersion())};
    if (!parsed)
        return Refusal{parser.errorText()};
    if (parser.positionalArguments().size() != 1)
        return Refusal{QStringLiteral("Indique una carpeta de fotos. Con --help se muestra la ayuda.")};

    const std::optional<Preset> preset = presetFrom(parser);
    if (!preset)
        return Refusal{QStringLiteral("No se pudo leer el perfil: ") + valueOf(parser, "perfil")};
    const RunRequest run = requestFrom(parser, *preset);
    BatchRequest request;
    request.directory = run.directory;
    request.options = run.options();
    request.resume = isSet(parser, "reanudar");
    request.mapPath = valueOf(parser, "geojson");
    QString reason = readNumbers(parser, request);
    if (reason.isEmpty())
        // An empty argument names no folder, not even the current one.
        reason = run.directory.isEmpty() ? noFolder : run.refusal();
    if (reason.isEmpty())
        reason = refusalOfSharing(parser, request);
    if (reason.isEmpty() && isSet(parser, "geojson"))
        reason = refusalOfMap(request.mapPath);
    if (!reason.isEmpty())
        return Refusal{reason};
    request.results = resultsOf(request, *preset);
    return request;
}
