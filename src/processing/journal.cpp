// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/journal.h"

#include "files/folders.h"
#include "files/leftovers.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QMutexLocker>
#include <QSet>

namespace
{

// The keys of the lines. The heading of an attempt:
const QString rootKey = QStringLiteral("fotos");
const QString optionsKey = QStringLiteral("opciones");
const QString markKey = QStringLiteral("marca");
// A photo: begun, about to get a name, finished with its feature of the map.
const QString begunKey = QStringLiteral("inicio");
const QString photoKey = QStringLiteral("foto");
const QString nameKey = QStringLiteral("de");
const QString newNameKey = QStringLiteral("nombre");
const QString finishedKey = QStringLiteral("fin");
const QString featureKey = QStringLiteral("punto");

const QString namePrefix = QStringLiteral(".velmaro-diario-");

// A line that was cut short is no object.
QJsonObject objectOf(const QByteArray &line)
{
    return QJsonDocument::fromJson(line).object();
}

QJsonObject headingIn(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QJsonObject entry;
    while (!file.atEnd() && !entry.contains(rootKey))
        entry = objectOf(file.readLine());
    return entry;
}

} // namespace

Journal::Journal(const Task &task)
    : m_task(task)
{
}

std::unique_ptr<Journal> Journal::open(const Task &task, QString *error)
{
    std::unique_ptr<Journal> journal(new Journal(task));
    if (!journal->agreesWithOthers(error))
        return nullptr;
    const QString cannot = QStringLiteral("No se pudo abrir el diario de la tarea %1: ").arg(journal->path());
    switch (journal->m_file.open(journal->path(), error)) {
    case AppendFile::Opening::InUse:
        *error = QStringLiteral("Otra tarea trabaja ya en esta parte: ") + journal->path();
        return nullptr;
    case AppendFile::Opening::Failed:
        error->prepend(cannot);
        return nullptr;
    case AppendFile::Opening::Done:
        break;
    }
    if (!journal->read(error)) {
        error->prepend(cannot);
        return nullptr;
    }
    if (!journal->beginAttempt()) {
        *error = cannot + journal->trouble();
        return nullptr;
    }
    syncFolder(task.outputFolder);
    return journal;
}

QString Journal::path() const
{
    return QStringLiteral("%1/%2%3-de-%4")
        .arg(m_task.outputFolder, namePrefix, QString::number(m_task.part.number),
             QString::number(m_task.part.count));
}

QJsonObject Journal::heading() const
{
    return {{rootKey, m_task.directory}, {optionsKey, m_task.options}, {markKey, UnfinishedFile::mark()}};
}

bool Journal::agreesWithOthers(QString *error) const
{
    const QString sameCount = QStringLiteral("-de-%1").arg(m_task.part.count);
    const QStringList names =
        QDir(m_task.outputFolder)
            .entryList({namePrefix + u'*'}, QDir::Files | QDir::Hidden | QDir::NoSymLinks);
    const QString advice =
        QStringLiteral(" Siga como empezó, indique otra carpeta de salida, o borre de ella los "
                       "archivos %1* para empezar de nuevo.")
            .arg(namePrefix);
    for (const QString &name : names) {
        if (!name.endsWith(sameCount)) {
            *error = QStringLiteral(
                         "El trabajo en esta carpeta de salida se repartió en otra cantidad de partes (%1).")
                         .arg(name) +
                     advice;
            return false;
        }
        const QJsonObject other = headingIn(QDir(m_task.outputFolder).filePath(name));
        if (other.isEmpty())
            continue;
        if (other.value(rootKey) != m_task.directory || other.value(optionsKey) != m_task.options) {
            *error =
                QStringLiteral("El trabajo en esta carpeta de salida es de otra carpeta de fotos o de otras "
                               "opciones (%1).")
                    .arg(name) +
                advice;
            return false;
        }
    }
    return true;
}

bool Journal::read(QString *error)
{
    QFile file(path());
    if (!file.open(QIODevice::ReadOnly)) {
        *error = file.errorString();
        return false;
    }
    while (!file.atEnd())
        take(objectOf(file.readLine()));
    if (file.error() == QFileDevice::NoError)
        return true;
    *error = file.errorString();
    return false;
}

void Journal::take(const QJsonObject &entry)
{
    if (entry.contains(markKey)) {
        m_marks.append(entry.value(markKey).toString());
    } else if (entry.contains(begunKey)) {
        m_halfDone.insert(entry.value(begunKey).toString(), {});
    } else if (entry.contains(newNameKey)) {
        m_halfDone.insert(entry.value(photoKey).toString(),
                          {entry.value(nameKey).toString(), entry.value(newNameKey).toString()});
    } else if (entry.contains(finishedKey)) {
        const QString photo = entry.value(finishedKey).toString();
        m_finished.insert(photo, entry.value(featureKey).toObject());
        m_halfDone.remove(photo);
    }
}

// Takes back what is half done. The journal has to say so before first names can be missing for another
// reason: hence the order.
bool Journal::beginAttempt()
{
    QSet<QString> folders{m_task.outputFolder};
    for (auto photo = m_halfDone.cbegin(); photo != m_halfDone.cend(); ++photo) {
        const QString folder = folderOf(m_task.outputFolder + u'/' + photo.key());
        folders.insert(folder);
        if (photo->newName.isEmpty())
            continue;
        takeBackRename(folder + u'/' + photo->name, folder + u'/' + photo->newName);
        if (!append({{begunKey, photo.key()}}, Durability::Later))
            return false;
    }
    if (!append(heading(), Durability::OnReturn))
        return false;
    for (const QString &folder : std::as_const(folders)) {
        for (const QString &mark : std::as_const(m_marks))
            removeUnfinishedFiles(folder, mark);
    }
    m_halfDone.clear();
    return true;
}

bool Journal::begin(const QString &photo)
{
    return append({{begunKey, photo}}, Durability::Later);
}

bool Journal::aboutToRename(const QString &photo, const QString &name, const QString &newName)
{
    return append({{photoKey, photo}, {nameKey, name}, {newNameKey, newName}}, Durability::OnReturn);
}

bool Journal::stays(const QString &photo)
{
    return append({{begunKey, photo}}, Durability::OnReturn);
}

bool Journal::finish(const QString &photo, const QJsonObject &feature)
{
    return append({{finishedKey, photo}, {featureKey, feature}}, Durability::Later);
}

bool Journal::append(const QJsonObject &entry, Durability durability)
{
    const QByteArray line = QJsonDocument(entry).toJson(QJsonDocument::Compact);
    const QMutexLocker locker(&m_mutex);
    return m_file.append(line, durability, &m_trouble);
}

QString Journal::trouble() const
{
    const QMutexLocker locker(&m_mutex);
    return m_trouble;
}
