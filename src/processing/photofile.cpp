// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/photofile.h"

#include "files/folders.h"
#include "files/safewrite.h"
#include "files/unfinishedfile.h"

#include <QDir>
#include <QFileInfo>

namespace
{

bool exists(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

// The name of a backup, its base cut where the file system could not take the whole of it.
QString backupName(const QFileInfo &photo, int counter)
{
    constexpr qsizetype longestName = 255; // bytes, on all file systems of Linux
    const QString number = counter == 0 ? QString() : QStringLiteral("(%1)").arg(counter);
    const QString end = QStringLiteral("_backup%1.%2").arg(number, photo.suffix());
    QString base = photo.baseName();
    while (!base.isEmpty() && QFile::encodeName(base + end).size() > longestName)
        base.chop(base.back().isLowSurrogate() ? 2 : 1);
    return base + end;
}

} // namespace

PhotoFile::PhotoFile(const BatchRun &run, const QString &sourcePath, QStringList &lines)
    : m_run(run)
    , m_options(run.options)
    , m_sourcePath(QFileInfo(sourcePath).absoluteFilePath())
    , m_name(QFileInfo(sourcePath).fileName())
    , m_lines(lines)
    , m_path(m_sourcePath)
    , m_isAwaited(m_options.useOutputFolder)
{
}

PhotoFile::~PhotoFile()
{
    releaseName();
}

// Where a journal is kept, the name waits until the photo is finished: so its absence in the output folder
// tells a later attempt that the copy has got its new name.
void PhotoFile::releaseName()
{
    if (m_isAwaited && !m_run.journal)
        m_run.files.noLongerAwaited(m_sourcePath);
    m_isAwaited = false;
}

std::optional<QByteArray> PhotoFile::read()
{
    m_contents = readWhole(m_sourcePath, &m_stamp, &m_trouble);
    m_isRead = true;
    return m_contents;
}

bool PhotoFile::takeUp()
{
    if (!m_isRead)
        read();
    if (m_options.useOutputFolder && !copyToOutputFolder())
        return false;
    if (!m_options.useOutputFolder && m_options.createBackup)
        backUp();
    m_contents.reset();
    return true;
}

QString PhotoFile::relativeFolder() const
{
    return QDir(m_run.directory).relativeFilePath(folderOf(m_sourcePath));
}

QString PhotoFile::relativePath() const
{
    return QDir(m_run.directory).relativeFilePath(m_sourcePath);
}

bool PhotoFile::copyToOutputFolder()
{
    const QString folder = QDir::cleanPath(m_options.outputFolder + QLatin1Char('/') + relativeFolder());
    const QString target = folder + QLatin1Char('/') + m_name;
    if (m_run.journal && !m_run.journal->begin(relativePath())) {
        m_trouble = m_run.journal->trouble();
        m_lines.append(QStringLiteral("Error: No se pudo escribir el diario"));
        return false;
    }
    if (isAlreadyThere(target)) {
        m_lines.append(QStringLiteral("Omitiendo archivo, la ruta de origen y destino son la misma."));
        return false;
    }
    if (!makeFolder(folder)) {
        m_lines.append(QStringLiteral("Error: No se pudo crear la estructura de directorios de salida: ") +
                       folder);
        return false;
    }
    if (!copyTo(target)) {
        m_lines.append(QStringLiteral("Error: No se pudo copiar el archivo a la carpeta de salida: ") +
                       target);
        return false;
    }
    m_path = QFileInfo(target).absoluteFilePath();
    m_lines.append(QStringLiteral("Copiado a la carpeta de salida: ") + target);
    return true;
}

// Whether the photo lies in the output folder, where an earlier run has put it, or the copy would come in the
// place of a photo of this run: this one or another.
bool PhotoFile::isAlreadyThere(const QString &target)
{
    if (m_run.files.liesInOutput(folderOf(m_sourcePath)))
        return true;
    return exists(target) && m_run.files.isPhoto(target).value_or(false);
}

// The copy is complete before it takes its name, where the result of an earlier run may be.
bool PhotoFile::copyTo(const QString &target)
{
    if (!m_contents)
        return false;
    const bool replaces = exists(target);
    if (replaces && !m_run.files.isPhoto(target).has_value()) {
        m_trouble = QStringLiteral("no se pudo comprobar qué archivo está ya en su lugar");
        return false;
    }
    const bool claimed = m_run.files.claim(target);
    if (!claimed && !m_options.renamePhotos) {
        m_trouble = QStringLiteral("el resultado de otra foto ya tiene ese nombre");
        return false;
    }
    auto copy = std::make_unique<UnfinishedFile>();
    const bool written =
        copy->open(folderOf(target), false, &m_trouble) &&
        copy->write(*m_contents, m_sourcePath, Attributes::OfACopy, Durability::Later, &m_trouble);
    const bool replacesFile = replaces && QFileInfo(target).isFile() && !QFileInfo(target).isSymLink();
    if (written && (!claimed || (replacesFile && !m_options.renamePhotos)))
        m_waiting = std::move(copy);
    else if (!written || !placeCopy(*copy, target, replaces)) {
        if (claimed)
            m_run.files.becameFree(target);
        return false;
    }
    m_stamp = FileStamp::of(claimed ? target : m_waiting->path());
    releaseName();
    return true;
}

bool PhotoFile::placeCopy(UnfinishedFile &copy, const QString &target, bool replaces)
{
    if (replaces ? !FilePlacer::replace(copy.path(), target, &m_trouble)
                 : m_run.files.placer().rename(copy.path(), target, &m_trouble) != Placing::Done)
        return false;
    copy.moved();
    return true;
}

void PhotoFile::backUp()
{
    QString folder = QDir(m_run.directory).filePath(QStringLiteral("Backup"));
    const QString relative = relativeFolder();
    if (!relative.isEmpty() && relative != QLatin1String("."))
        folder += QLatin1Char('/') + relative;

    QString name;
    m_backupFailed = !writeBackup(folder, &name);
    m_lines.append(m_backupFailed ? QString(QStringLiteral("Error creando backup de ") + m_name)
                                  : QString(QStringLiteral("Backup creado: ") + QDir(folder).filePath(name)));
}

// The copy has to be on the disk before the photo is changed.
bool PhotoFile::writeBackup(const QString &folder, QString *name)
{
    QString error;
    UnfinishedFile copy;
    if (!m_contents || !makeFolder(folder, true) || !copy.open(folder, false, &error) ||
        !copy.write(*m_contents, m_sourcePath, Attributes::OfABackup, Durability::OnReturn, &error))
        return false;
    const QFileInfo photo(m_name);
    const auto nameOf = [&photo](int counter) {
        return backupName(photo, counter);
    };
    const auto place = [&](const QString &path) {
        return m_run.files.placer().rename(copy.path(), path, &error);
    };
    const std::optional<QString> placed = m_run.files.names().place(folder, nameOf, place);
    if (!placed)
        return false;
    copy.moved();
    syncFolder(folder);
    *name = *placed;
    return true;
}

bool PhotoFile::rename(const QString &utmName)
{
    const QFileInfo working(m_path);
    const auto nameOf = [&utmName](int counter) {
        return counter == 0 ? utmName + QStringLiteral(".jpg")
                            : QStringLiteral("%1 (%2).jpg").arg(utmName, QString::number(counter));
    };
    std::optional<QString> newName;
    if (utmName.contains(QLatin1Char('/')))
        m_trouble = QStringLiteral("el prefijo no puede llevar a otra carpeta");
    else if (m_stamp.isStill(placeOfFile()))
        newName = m_run.files.names().place(working.path(), nameOf,
                                            [this](const QString &path) { return placeRenamed(path); });
    else if (m_trouble.isEmpty())
        m_trouble = QStringLiteral("otro programa ha movido o cambiado el archivo");
    if (!newName) {
        m_lines.append(QStringLiteral("Error renombrando ") + working.fileName());
        return false;
    }
    if (m_waiting)
        m_waiting->moved();
    else
        m_run.files.becameFree(m_path);
    m_waiting.reset();
    m_stamp.renewAfterRename();
    m_path = working.dir().filePath(*newName);
    m_lines.append(QStringLiteral("Renombrado: ") + working.fileName() + QStringLiteral(" a ") + *newName);
    return true;
}

Placing PhotoFile::placeRenamed(const QString &path)
{
    if (!m_options.useOutputFolder)
        return m_run.files.placer().rename(placeOfFile(), path, &m_trouble);
    // In the output folder every photo first arrives under its own name. That name must not be given to
    // another photo meanwhile.
    if (m_run.files.isAwaited(m_sourcePath, QFileInfo(path).fileName()) || !m_run.files.claim(path))
        return Placing::NameTaken;
    const Placing placing = placeInOutputFolder(path);
    if (placing != Placing::Done)
        m_run.files.becameFree(path);
    return placing;
}

Placing PhotoFile::placeInOutputFolder(const QString &path)
{
    if (Journal *journal = m_run.journal) {
        if (exists(path))
            return Placing::NameTaken; // not worth a line
        if (!journal->aboutToRename(relativePath(), nameOf(placeOfFile()), nameOf(path))) {
            m_trouble = journal->trouble();
            return Placing::Failed;
        }
    }
    return m_run.files.placer().rename(placeOfFile(), path, &m_trouble);
}

bool PhotoFile::replace(const QByteArray &contents, QString *error)
{
    m_waiting.reset(); // and its room with it
    // In the output folder the original is never at risk: the whole folder is brought onto the disk at the
    // end. But what a journal calls finished has to be there.
    const bool mayWait = m_options.useOutputFolder && !m_run.journal;
    return replaceContents(m_path, contents, std::move(m_stamp),
                           mayWait ? Durability::Later : Durability::OnReturn, error);
}
