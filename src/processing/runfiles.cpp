// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/runfiles.h"

#include "files/folderidentity.h"
#include "files/folders.h"

#include <QDir>
#include <QMutexLocker>

namespace
{

bool isWithin(const QString &folder, const QString &root)
{
    return isSameFile(folder, root) || (folderOf(folder) != folder && isWithin(folderOf(folder), root));
}

} // namespace

RunFiles::RunFiles(const ProcessOptions &options, const QString &root, const QStringList &photos)
    : m_options(options)
    , m_root(root)
{
    if (!options.useOutputFolder)
        return;
    if (isWithin(QDir(options.outputFolder).absolutePath(), root))
        m_record.emplace(options.outputFolder);
    m_photos.reserve(photos.size());
    for (const QString &photo : photos) {
        m_photos.insert(foldedName(nameOf(photo)), photo);
        ++m_awaited[foldedName(photo)];
    }
}

bool RunFiles::liesInOutput(const QString &folder)
{
    const QMutexLocker locker(&m_mutex);
    return computedLiesInOutput(folder);
}

bool RunFiles::computedLiesInOutput(const QString &folder)
{
    if (const auto known = m_inOutput.constFind(folder); known != m_inOutput.constEnd())
        return *known;
    // Where the output folder takes no file, nothing can come to harm in it either.
    const bool lies =
        isSameFolder(m_options.outputFolder, folder).value_or(false) ||
        (folder != m_root && folder != folderOf(folder) && computedLiesInOutput(folderOf(folder)));
    m_inOutput.insert(folder, lies);
    return lies;
}

std::optional<bool> RunFiles::isSameFolderOf(const QString &path, const QString &other)
{
    const QString folder = folderOf(path);
    const QString otherFolder = folderOf(other);
    if (folder == otherFolder)
        return true;
    const QString key = folder + QChar(u'\0') + otherFolder;
    if (const auto known = m_sameFolders.constFind(key); known != m_sameFolders.constEnd())
        return *known;
    const std::optional<bool> same = isSameFolder(folder, otherFolder);
    if (same)
        m_sameFolders.insert(key, *same);
    return same;
}

bool RunFiles::ignoresCaseAt(const QString &folder)
{
    if (const auto known = m_ignoreCase.constFind(folder); known != m_ignoreCase.constEnd())
        return *known;
    return *m_ignoreCase.insert(folder, ignoresCase(folder).value_or(true));
}

// Whether two paths, alike in their names but for the case of letters, are one.
std::optional<bool> RunFiles::isSame(const QString &path, const QString &other)
{
    const std::optional<bool> same = isSameFolderOf(path, other);
    if (same.value_or(false) && nameOf(path) != nameOf(other))
        return ignoresCaseAt(folderOf(path));
    return same;
}

std::optional<bool> RunFiles::isPhoto(const QString &path)
{
    const QMutexLocker locker(&m_mutex);
    const auto [begin, end] = m_photos.equal_range(foldedName(nameOf(path)));
    for (auto photo = begin; photo != end; ++photo) {
        const std::optional<bool> same = isSameFile(path, *photo) ? true : isSame(path, *photo);
        if (!same)
            return same;
        if (*same)
            return !m_record || !m_record->contains(path);
    }
    return false;
}

// Paths that may be one have one key: also where a link or a mount gives a folder two paths, and where two
// folders differ in the case of letters alone.
QString RunFiles::claimKey(const QString &target)
{
    QString folder = folderOf(target);
    if (const std::optional<FileId> id = fileId(folder)) {
        if (!m_outputFolders.contains(*id))
            m_outputFolders.insert(*id, folder);
        folder = m_outputFolders.value(*id);
    }
    return foldedName(folder + u'/' + nameOf(target));
}

bool RunFiles::claim(const QString &target)
{
    const QMutexLocker locker(&m_mutex);
    QStringList &claimed = m_claimed[claimKey(target)];
    for (const QString &other : std::as_const(claimed)) {
        if (isSame(target, other).value_or(true))
            return false;
    }
    claimed.append(target);
    return true;
}

void RunFiles::becameFree(const QString &path)
{
    m_names.becameFree(path);
    if (!m_options.useOutputFolder)
        return;
    const QMutexLocker locker(&m_mutex);
    m_claimed[claimKey(path)].removeOne(path);
}

bool RunFiles::isAwaited(const QString &source, const QString &name)
{
    const QMutexLocker locker(&m_mutex);
    return m_awaited.value(foldedName(folderOf(source) + u'/' + name)) > 0;
}

void RunFiles::noLongerAwaited(const QString &source)
{
    const QMutexLocker locker(&m_mutex);
    --m_awaited[foldedName(source)];
}

void RunFiles::changed(const QString &folder)
{
    const QMutexLocker locker(&m_mutex);
    m_changedFolders.insert(folder);
}

QString RunFiles::finish()
{
    const QMutexLocker locker(&m_mutex);
    for (const QString &folder : std::as_const(m_changedFolders))
        syncFolder(folder);
    if (m_record) {
        QStringList results;
        for (const QStringList &paths : std::as_const(m_claimed))
            results += paths;
        m_record->add(results);
    }
    QSet<quint64> synced;
    QString error;
    for (auto folder = m_outputFolders.cbegin(); folder != m_outputFolders.cend(); ++folder) {
        // Where a disk was taken out, its mount point has taken the rest.
        if (const std::optional<FileId> now = fileId(folder.value());
            !now || now->device != folder.key().device)
            return QStringLiteral("un disco con resultados ya no está");
        if (synced.contains(folder.key().device))
            continue;
        synced.insert(folder.key().device);
        QString reason;
        if (!syncFileSystem(folder.value(), &reason))
            error = reason;
    }
    return error;
}
