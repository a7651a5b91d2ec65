// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/resultrecord.h"

#include "files/safewrite.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QUrl>

ResultRecord::ResultRecord(const QString &folder)
    : m_folder(folder)
{
    FileStamp stamp;
    QString error;
    const std::optional<QByteArray> contents = readWhole(filePath(), &stamp, &error);
    for (const QByteArray &line : contents.value_or(QByteArray()).split('\n')) {
        const QByteArrayList fields = line.split(' ');
        if (fields.size() == 3)
            m_results.insert(QUrl::fromPercentEncoding(fields[2]),
                             {fields[0].toLongLong(), fields[1].toLongLong()});
    }
}

bool ResultRecord::contains(const QString &path) const
{
    const auto result = m_results.constFind(key(path));
    if (result == m_results.constEnd())
        return false;
    constexpr qint64 coarsestClock = 2; // FAT
    const QFileInfo file(path);
    return file.size() == result->size &&
           qAbs(file.lastModified().toSecsSinceEpoch() - result->modified) <= coarsestClock;
}

void ResultRecord::add(const QStringList &paths)
{
    if (paths.isEmpty())
        return;
    for (const QString &path : paths) {
        const QFileInfo file(path);
        m_results.insert(key(path), {file.size(), file.lastModified().toSecsSinceEpoch()});
    }
    QByteArray contents;
    for (auto result = m_results.cbegin(); result != m_results.cend(); ++result) {
        contents += QByteArray::number(result->size) + ' ' + QByteArray::number(result->modified) + ' ' +
                    QUrl::toPercentEncoding(result.key(), "/") + '\n';
    }
    QString error;
    writeWhole(filePath(), contents, &error);
}

QString ResultRecord::filePath() const
{
    return QDir(m_folder).filePath(QStringLiteral(".velmaro-resultados"));
}

QString ResultRecord::key(const QString &path) const
{
    return QDir(m_folder).relativeFilePath(path);
}
