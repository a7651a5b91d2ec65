// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/photofile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <optional>

namespace
{

// Calls `place` with the candidate names base, "base (1)", "base (2)", ... as `nameOf` forms them (0 for the
// first) until one is not taken. Returns the name that was placed, or nothing on a real failure.
template <typename NameOf, typename Place>
std::optional<QString> placeUnderFreeName(const NameOf &nameOf, const Place &place)
{
    for (int counter = 0;; ++counter) {
        const QString name = nameOf(counter);
        switch (place(name)) {
        case Placing::Done:
            return name;
        case Placing::Failed:
            return std::nullopt;
        case Placing::NameTaken:
            break;
        }
    }
}

} // namespace

PhotoFile::PhotoFile(const BatchRun &run, const QString &sourcePath, QStringList &lines)
    : m_run(run)
    , m_options(run.options)
    , m_sourcePath(QFileInfo(sourcePath).absoluteFilePath())
    , m_name(QFileInfo(sourcePath).fileName())
    , m_lines(lines)
    , m_path(m_sourcePath)
{
}

bool PhotoFile::takeUp()
{
    if (m_options.useOutputFolder && !copyToOutputFolder())
        return false;
    m_stamp = FileStamp::of(m_path);
    if (!m_options.useOutputFolder && m_options.createBackup)
        backUp();
    return true;
}

QString PhotoFile::relativeFolder() const
{
    return QDir(m_run.directory).relativeFilePath(QFileInfo(m_sourcePath).absolutePath());
}

bool PhotoFile::copyToOutputFolder()
{
    const QString folder = QDir::cleanPath(m_options.outputFolder + QLatin1Char('/') + relativeFolder());
    const QString target = folder + QLatin1Char('/') + m_name;
    if (isEarlierResult() || isPhotoOfRun(target)) {
        m_lines.append(QStringLiteral("Omitiendo archivo, la ruta de origen y destino son la misma."));
        return false;
    }
    if (!QDir().mkpath(folder)) {
        m_lines.append(QStringLiteral("Error: No se pudo crear la estructura de directorios de salida: ") +
                       folder);
        return false;
    }
    QFile::remove(target);
    if (m_run.placer.copy(m_sourcePath, target) != Placing::Done) {
        m_lines.append(QStringLiteral("Error: No se pudo copiar el archivo a la carpeta de salida: ") +
                       target);
        return false;
    }
    // A copy of a write-protected photo, from a memory card or a disc, is still ours to write.
    QFile::setPermissions(target, QFile::permissions(target) | QFile::WriteOwner | QFile::WriteUser);
    m_path = QFileInfo(target).absoluteFilePath();
    m_lines.append(QStringLiteral("Copiado a la carpeta de salida: ") + target);
    return true;
}

// Whether this photo lies in an output folder inside the root, where an earlier run has put it.
bool PhotoFile::isEarlierResult() const
{
    return m_run.outputInsideRoot &&
           canonicalPath(m_sourcePath).startsWith(canonicalPath(m_options.outputFolder) + u'/');
}

// Whether `target` is a photo that this run must not delete: this one, also when only a link leads from one
// path to the other, or another photo of the run.
bool PhotoFile::isPhotoOfRun(const QString &target) const
{
    const QString canonicalTarget = canonicalPath(target);
    if (canonicalTarget == canonicalPath(m_sourcePath))
        return true;
    const QString root = canonicalPath(m_run.directory) + u'/';
    return !m_run.outputInsideRoot && canonicalTarget.startsWith(root) &&
           m_run.photos.contains(m_run.directory + u'/' + canonicalTarget.mid(root.size()));
}

void PhotoFile::backUp()
{
    QString folder = QDir(m_run.directory).filePath(QStringLiteral("Backup"));
    const QString relative = relativeFolder();
    if (!relative.isEmpty() && relative != QLatin1String("."))
        folder += QLatin1Char('/') + relative;
    QDir().mkpath(folder);

    const QFileInfo photo(m_name);
    const auto nameOf = [&photo](int counter) {
        const QString number = counter == 0 ? QString() : QStringLiteral("(%1)").arg(counter);
        return QStringLiteral("%1_backup%2.%3").arg(photo.baseName(), number, photo.suffix());
    };
    const auto place = [&](const QString &name) {
        return m_run.placer.copy(m_sourcePath, QDir(folder).filePath(name));
    };
    if (const std::optional<QString> name = placeUnderFreeName(nameOf, place)) {
        m_lines.append(QStringLiteral("Backup creado: ") + QDir(folder).filePath(*name));
    } else {
        m_backupFailed = true;
        m_lines.append(QStringLiteral("Error creando backup de ") + m_name);
    }
}

bool PhotoFile::rename(const QString &utmName)
{
    const QFileInfo working(m_path);
    const auto nameOf = [&utmName](int counter) {
        return counter == 0 ? utmName + QStringLiteral(".jpg")
                            : QStringLiteral("%1 (%2).jpg").arg(utmName, QString::number(counter));
    };
    const auto place = [&](const QString &name) {
        if (name.contains(QLatin1Char('/')))
            return Placing::Failed; // a prefix may not lead out of the folder
        if (isReserved(name))
            return Placing::NameTaken;
        return m_run.placer.rename(m_path, working.dir().filePath(name));
    };
    const std::optional<QString> newName = placeUnderFreeName(nameOf, place);
    if (!newName) {
        m_lines.append(QStringLiteral("Error renombrando ") + working.fileName());
        return false;
    }
    m_path = working.dir().filePath(*newName);
    m_lines.append(QStringLiteral("Renombrado: ") + working.fileName() + QStringLiteral(" a ") + *newName);
    return true;
}

// In the output folder every photo first arrives under its own name and takes the place of an earlier result.
// That name must not be given to another photo meanwhile.
bool PhotoFile::isReserved(const QString &fileName) const
{
    return m_options.useOutputFolder &&
           m_run.photos.contains(QFileInfo(m_sourcePath).dir().filePath(fileName));
}

bool PhotoFile::replace(const QByteArray &contents, QString *error) const
{
    return replaceContents(m_path, contents, m_stamp, error);
}
