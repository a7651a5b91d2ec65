// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "photofiles.h"

#include <QDir>
#include <QObject>
#include <QProcess>
#include <QTemporaryDir>

#include <memory>

/// A folder in which velmaro-lote runs, with settings of its own; paths are relative to it.
class LoteFixture : public QObject
{
protected:
    void startOver() { m_folder = std::make_unique<QTemporaryDir>(); }

    QString path(const char *name) const { return path(QString::fromUtf8(name)); }
    QString path(const QString &name) const { return m_folder->filePath(name); }
    QByteArray contents(const char *name) const { return bytesOf(path(name)); }

    /// `arguments` are separated by blanks; "''" is an empty one.
    void start(QProcess &process, const QString &arguments) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), m_folder->path());
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(m_folder->path());
        process.start(QStringLiteral(VELMARO_LOTE),
                      arguments.split(u' ').replaceInStrings(QStringLiteral("''"), QString()));
    }

    /// The exit status; -1 when it crashed or did not end.
    int finish(QProcess &process)
    {
        if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit)
            return -1;
        m_output = QString::fromUtf8(process.readAllStandardOutput());
        m_errors = QString::fromUtf8(process.readAllStandardError());
        return process.exitCode();
    }

    int run(const char *arguments)
    {
        QProcess process;
        start(process, QString::fromUtf8(arguments));
        return finish(process);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_output;
    QString m_errors;
};
