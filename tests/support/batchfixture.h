// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "photofiles.h"

#include <QDir>
#include <QObject>
#include <QTemporaryDir>

#include <memory>

/// A folder of photos, the options of a run over it, and what the last run reported.
class BatchFixture : public QObject
{
protected:
    /// A new folder, and the options of a run that reads EXIF, renames, and draws nothing.
    void startOver()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_root = path(QStringLiteral("fotos"));
        QDir().mkpath(m_root);
        m_options = ProcessOptions();
        m_options.useExif = true;
        m_options.renamePhotos = true;
        m_options.jpegQuality = 95;
    }

    /// A path beside the folder of photos.
    QString path(const QString &name) const { return m_folder->filePath(name); }

    /// A path in the folder of photos; its folder is there.
    QString photo(const QByteArray &name) const
    {
        const QString path = m_root + u'/' + QString::fromUtf8(name);
        QDir().mkpath(QFileInfo(path).path());
        return path;
    }

    /// Writes a coordinates file and makes it the source of the data.
    void writeTable(const QByteArray &rows)
    {
        m_options.useExif = false;
        m_options.txtPath = path(QStringLiteral("tabla.csv"));
        writeText(m_options.txtPath, rows);
    }

    void run(int threads = 1)
    {
        const BatchReport report = runBatch(m_root, m_options, threads);
        m_log = report.log;
        m_summary = report.summary;
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    ProcessOptions m_options;
    QStringList m_log;
    QString m_root;
    PhotoProcessor::Summary m_summary;
};
