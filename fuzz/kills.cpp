// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/photofiles.h"

#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QHash>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTextStream>
#include <QThread>

namespace
{

constexpr int photoCount = 8;

struct Way {
    const char *name;
    QStringList options;
    bool backups;
    bool output;
};

// The photos of one folder in which runs are disturbed, and what may be found of them.
class Trial
{
public:
    Trial(const QString &folder, const Way &way)
        : m_root(folder + QStringLiteral("/fotos"))
        , m_output(folder + QStringLiteral("/salida"))
        , m_way(way)
    {
        QDir().mkpath(m_root);
        for (int i = 0; i < photoCount; ++i) {
            Tags tags = gpsTags();
            tags["Exif.GPSInfo.GPSLatitude"] = QByteArray::number(10 + i) + "/1 0/1 0/1";
            const QString path = m_root + QStringLiteral("/%1.jpg").arg(i);
            writePhoto(path, plainImage({320, 240}, QColor(20 * i, 90, 60)), tags);
            m_originals[QFileInfo(path).fileName()] = bytesOf(path);
        }
    }

    /// Learns from an undisturbed run what the results are, and how long it takes.
    void learn()
    {
        run(-1);
        const QHash<QString, QByteArray> results = photosIn(m_way.output ? m_output : m_root);
        for (auto original = m_originals.cbegin(); original != m_originals.cend(); ++original) {
            for (auto result = results.cbegin(); result != results.cend(); ++result) {
                if (tagOfContents(*original) == tagOfContents(*result))
                    m_results[original.key()] = {result.key(), *result};
            }
        }
        if (m_results.size() != photoCount)
            qFatal("the undisturbed run has %d results", int(m_results.size()));
    }

    /// Runs once, killed at a random moment. What is wrong afterwards; empty when nothing is.
    QString disturb()
    {
        restore();
        run(QRandomGenerator::global()->bounded(static_cast<int>(m_duration) + 1));
        return m_way.output ? troubleWithOutput() : troubleInPlace();
    }

    int interrupted = 0;
    int changed = 0; ///< photos found stamped after a kill

private:
    struct Result {
        QString name;
        QByteArray contents;
    };

    static QByteArray tagOfContents(const QByteArray &contents)
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("a.jpg"));
        writeText(path, contents);
        return tagOf(path, "Exif.GPSInfo.GPSLatitude");
    }

    static QHash<QString, QByteArray> photosIn(const QString &folder)
    {
        QHash<QString, QByteArray> photos;
        for (const QString &name : QDir(folder).entryList({QStringLiteral("*.jpg")}, QDir::Files))
            photos[name] = bytesOf(folder + u'/' + name);
        return photos;
    }

    void restore() const
    {
        QDir(m_root).removeRecursively();
        QDir(m_output).removeRecursively();
        QDir().mkpath(m_root);
        QDir().mkpath(m_output);
        for (auto photo = m_originals.cbegin(); photo != m_originals.cend(); ++photo)
            writeText(m_root + u'/' + photo.key(), *photo);
    }

    // Below 0 milliseconds the run is left alone. Learns how long a run takes, which changes with what else
    // the machine does.
    void run(int milliseconds)
    {
        QDir().mkpath(m_output);
        QElapsedTimer timer;
        timer.start();
        QProcess process;
        process.setStandardOutputFile(QProcess::nullDevice());
        process.setStandardErrorFile(QProcess::nullDevice());
        QStringList arguments = m_way.options + QStringList{QStringLiteral("--sin-logo"), m_root};
        if (m_way.output)
            arguments += {QStringLiteral("--salida"), m_output};
        process.start(QStringLiteral(VELMARO_LOTE), arguments);
        if (!process.waitForStarted())
            qFatal("velmaro-lote does not start");
        if (process.waitForFinished(milliseconds < 0 ? 60000 : milliseconds)) {
            m_duration = timer.elapsed();
            return;
        }
        process.kill();
        process.waitForFinished();
        m_duration += m_duration / 50 + 1;
        ++interrupted;
    }

    QString troubleInPlace()
    {
        const QHash<QString, QByteArray> found = photosIn(m_root);
        const QHash<QString, QByteArray> backups = photosIn(m_root + QStringLiteral("/Backup"));
        for (auto original = m_originals.cbegin(); original != m_originals.cend(); ++original) {
            const Result &result = m_results[original.key()];
            const bool stamped = found.value(result.name) == result.contents;
            const bool renamed = found.value(result.name) == *original;
            const bool untouched = found.value(original.key()) == *original;
            if (int(stamped) + int(renamed) + int(untouched) != 1)
                return original.key() + QStringLiteral(" is neither itself nor its result");
            const QString copy = original.key().chopped(4) + QStringLiteral("_backup.jpg");
            if ((backups.contains(copy) || (stamped && m_way.backups)) && backups.value(copy) != *original)
                return copy + QStringLiteral(" is not the original");
            changed += stamped ? 1 : 0;
        }
        return found.size() == photoCount ? QString() : QStringLiteral("there are other photos");
    }

    QString troubleWithOutput()
    {
        if (photosIn(m_root) != m_originals)
            return QStringLiteral("an original has changed");
        const QHash<QString, QByteArray> found = photosIn(m_output);
        for (auto photo = found.cbegin(); photo != found.cend(); ++photo) {
            bool known = false;
            for (auto original = m_originals.cbegin(); original != m_originals.cend(); ++original) {
                const Result &result = m_results[original.key()];
                const bool stamped = photo.key() == result.name && *photo == result.contents;
                known = known || stamped;
                changed += stamped ? 1 : 0;
            }
            if (!known)
                return photo.key() + QStringLiteral(" is no result");
        }
        return {};
    }

    const QString m_root;
    const QString m_output;
    const Way m_way;
    QHash<QString, QByteArray> m_originals; ///< by name
    QHash<QString, Result> m_results;       ///< by the name of the original
    qint64 m_duration = 0;
};

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const int kills = arguments.value(1, QStringLiteral("1000")).toInt();
    const QString place = arguments.value(2, QDir::tempPath());
    const Way ways[] = {
        {"in place without backups", {QStringLiteral("--sin-respaldo")}, false, false},
        {"in place with backups", {}, true, false},
        {"into an output folder", {}, false, true},
    };
    QTextStream out(stdout);
    for (const Way &way : ways) {
        const QTemporaryDir folder(place + QStringLiteral("/kills-XXXXXX"));
        Trial trial(folder.path(), way);
        trial.learn();
        while (trial.interrupted < kills) {
            if (const QString trouble = trial.disturb(); !trouble.isEmpty()) {
                out << way.name << ", kill " << trial.interrupted << ": " << trouble << Qt::endl;
                return 1;
            }
        }
        out << way.name << ": " << trial.interrupted << " runs killed, " << trial.changed
            << " photos found stamped, every one whole" << Qt::endl;
    }
    return 0;
}
