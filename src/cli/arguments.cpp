// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/arguments.h"

#include "data/preset.h"
#include "data/runrequest.h"
#include "data/settings.h"

#include <QCommandLineParser>
#include <QCoreApplication>

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

// The run that the command line asks for on top of the profile.
RunRequest requestFrom(const QCommandLineParser &parser, const Preset &profile)
{
    const auto isSet = [&parser](const char *name) {
        return parser.isSet(QString::fromLatin1(name));
    };
    const auto value = [&parser](const char *name) {
        return parser.value(QString::fromLatin1(name));
    };

    RunRequest request;
    request.directory = parser.positionalArguments().constFirst();
    request.preset = profile;
    if (isSet("logo"))
        request.preset.logoPath = value("logo");
    if (isSet("sin-renombrar"))
        request.preset.renamePhotos = false;
    if (isSet("prefijo")) {
        request.preset.usePrefix = true;
        request.preset.prefix = value("prefijo");
    }
    request.drawLogo = !isSet("sin-logo") && !request.preset.logoPath.isEmpty();
    request.run.useExif = !isSet("coordenadas");
    request.run.txtPath = value("coordenadas");
    request.run.includeSubfolders = isSet("subcarpetas");
    request.run.embedCsvInExif = !isSet("sin-incrustar");
    request.run.useOutputFolder = isSet("salida");
    request.run.outputFolder = value("salida");
    request.run.createBackup = !isSet("sin-respaldo");
    request.run.jpegQuality = Settings::load().jpegQuality;
    return request;
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

    Preset preset = Preset::atStart();
    if (const QString path = parser.value(QStringLiteral("perfil")); parser.isSet(QStringLiteral("perfil"))) {
        const std::optional<QJsonObject> profile = readProfile(path);
        if (!profile)
            return Refusal{QStringLiteral("No se pudo leer el perfil: ") + path};
        preset.apply(*profile);
    }

    RunRequest request = requestFrom(parser, preset);
    int threads = 0;
    const QString qualityText = parser.value(QStringLiteral("calidad"));
    request.run.lossless = qualityText == QLatin1String("original");
    if (parser.isSet(QStringLiteral("calidad")) && !request.run.lossless) {
        const std::optional<int> quality = wholeNumber(qualityText, 1, 100);
        if (!quality)
            return Refusal{QStringLiteral("La calidad debe ser un número entero de 1 a 100, u «original».")};
        request.run.jpegQuality = *quality;
    }
    if (parser.isSet(QStringLiteral("hilos"))) {
        const std::optional<int> number =
            wholeNumber(parser.value(QStringLiteral("hilos")), 1, std::numeric_limits<int>::max());
        if (!number)
            return Refusal{QStringLiteral("Los hilos deben ser un número entero de 1 en adelante.")};
        threads = *number;
    }
    // An empty argument names no folder, not even the current one.
    const QString reason = request.directory.isEmpty() ? noFolder : request.refusal();
    if (!reason.isEmpty())
        return Refusal{reason};
    return BatchRequest{request.directory, request.options(), threads};
}
