// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/photoinoutput.h"

#include "files/folders.h"

#include <QDir>
#include <QFileInfo>

#include <cerrno>

namespace
{

bool exists(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

} // namespace

PhotoInOutput::PhotoInOutput(const BatchRun &run, const QString &sourcePath, QStringList &lines)
    : PhotoFile(run, sourcePath, lines)
{
}

// Where a journal is kept, the name waits until the photo is finished: so its absence in the output folder
// tells a later attempt that the file has got its new name.
PhotoInOutput::~PhotoInOutput()
{
    if (!m_run.journal)
        m_run.files.noLongerAwaited(m_sourcePath);
}

bool PhotoInOutput::takeUp()
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
    if (!m_contents || !claim(target)) {
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
bool PhotoInOutput::isAlreadyThere(const QString &target)
{
    if (m_run.files.liesInOutput(folderOf(m_sourcePath)))
        return true;
    return exists(target) && m_run.files.isPhoto(target).value_or(false);
}

// Makes the hidden file and gives this photo its own name in the output folder, where the result of an
// earlier run may be. One that is to get another name anyway can do without.
bool PhotoInOutput::claim(const QString &target)
{
    m_replaces = exists(target);
    if (m_replaces && !m_run.files.isPhoto(target).has_value()) {
        m_trouble = QStringLiteral("no se pudo comprobar qué archivo está ya en su lugar");
        return false;
    }
    const QFileInfo there(target);
    if (m_replaces && !there.isSymLink() && !there.isFile()) {
        m_trouble = QStringLiteral("no es un archivo");
        return false;
    }
    if (m_replaces && !m_options.renamePhotos && !there.isSymLink() && !there.isWritable()) {
        m_trouble = systemReason(EACCES);
        return false;
    }
    if (m_replaces && !there.isSymLink())
        m_earlier = FileStamp::of(target);
    m_isClaimed = m_run.files.claim(target);
    if (!m_isClaimed && !m_options.renamePhotos) {
        m_trouble = QStringLiteral("el resultado de otra foto ya tiene ese nombre");
        return false;
    }
    if (open(folderOf(target), &m_trouble))
        return true;
    m_copy.reset();
    if (m_isClaimed)
        m_run.files.becameFree(target);
    return false;
}

bool PhotoInOutput::open(const QString &folder, QString *error)
{
    m_copy = std::make_unique<UnfinishedFile>();
    return m_copy->open(folder, false, error);
}

// What a journal calls finished has to be on the disk. Otherwise the whole folder is brought there at the
// end: the original is not at risk.
bool PhotoInOutput::write(const QByteArray &contents, QString *error)
{
    m_isWhole = false;
    if (m_isWritten && !open(folderOf(m_path), error))
        return false;
    m_isWritten = true;
    m_isWhole = m_copy->write(contents, m_sourcePath, Attributes::OfACopy,
                              m_run.journal ? Durability::OnReturn : Durability::Later, error);
    return m_isWhole;
}

bool PhotoInOutput::prepare(const QByteArray &result, QString *error)
{
    return write(result, error);
}

bool PhotoInOutput::place(QString *error)
{
    return !m_copy || takeOwnName(error);
}

bool PhotoInOutput::takeOwnName(QString *error)
{
    const bool isTakenByOther = m_earlier && !m_earlier->isStill(m_path);
    if (m_earlier)
        m_earlier->letGo(); // a file system that cannot remove a file in use would first rename it
    Placing placing = Placing::NameTaken;
    if (!m_replaces)
        placing = m_run.files.placer().rename(m_copy->path(), m_path, error);
    else if (!isTakenByOther)
        placing = FilePlacer::replace(m_copy->path(), m_path, error) ? Placing::Done : Placing::Failed;
    if (placing == Placing::NameTaken)
        *error = QStringLiteral("otro programa ha movido o cambiado el archivo mientras se procesaba");
    if (placing != Placing::Done)
        return false;
    m_copy->moved();
    m_copy.reset();
    if (m_run.journal)
        syncFolder(folderOf(m_path));
    return true;
}

// What is to replace an earlier result takes its place first, and then gets its name.
bool PhotoInOutput::isReadyToMove()
{
    return (m_isWhole || write(*m_contents, &m_trouble)) &&
           (!m_isClaimed || !m_replaces || takeOwnName(&m_trouble));
}

// A photo that is still to come, and may have to stay as it is, would then come under its own name. That must
// not be given to another photo meanwhile.
Placing PhotoInOutput::move(const QString &path)
{
    if (m_run.files.isAwaited(m_sourcePath, nameOf(path)) || !m_run.files.claim(path))
        return Placing::NameTaken;
    const Placing placing = moveAsJournalled(path);
    if (placing != Placing::Done)
        m_run.files.becameFree(path);
    return placing;
}

Placing PhotoInOutput::moveAsJournalled(const QString &path)
{
    const QString now = m_copy ? m_copy->path() : m_path;
    if (Journal *journal = m_run.journal) {
        if (exists(path))
            return Placing::NameTaken; // not worth a line
        // a line that failed may be there all the same
        m_isJournalled = true;
        if (!journal->aboutToRename(relativePath(), nameOf(now), nameOf(path))) {
            m_trouble = journal->trouble();
            return Placing::Failed;
        }
    }
    return m_run.files.placer().rename(now, path, &m_trouble);
}

void PhotoInOutput::hasMoved(const QString &oldPath)
{
    if (m_copy)
        m_copy->moved();
    m_copy.reset();
    if (m_isClaimed)
        m_run.files.becameFree(oldPath);
    if (m_run.journal)
        syncFolder(folderOf(m_path));
}

bool PhotoInOutput::leave()
{
    if (!m_copy)
        return true;
    // To a later attempt a hidden file that is gone would have got its new name.
    if (m_isJournalled && !m_run.journal->stays(relativePath())) {
        m_copy->moved();
        return true;
    }
    if (!m_isClaimed)
        return true;
    if (m_earlier && !m_options.renamePhotos) {
        m_run.files.becameFree(m_path);
        return true;
    }
    if (write(*m_contents, &m_trouble) && takeOwnName(&m_trouble))
        return true;
    m_run.files.becameFree(m_path);
    m_lines.append(QStringLiteral("Error: No se pudo copiar el archivo a la carpeta de salida: ") + m_path);
    return false;
}
