// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QList>
#include <QMutex>
#include <QStringList>
#include <QThread>

/// Both elevation services on a port of this machine, on a thread of their own.
class ElevationServer
{
public:
    /// What the server gives to one request.
    struct Answer {
        QByteArray body;
        int status = 200; ///< HTTP status
        int delay = 0;    ///< milliseconds
    };

    ElevationServer();
    ~ElevationServer();

    /// Scheme, host and port.
    QString url() const;

    /// The answers to the next requests, in order. When they run out, every altitude is 100.
    void setAnswers(const QList<Answer> &answers);

    /// Path and query of every request so far, as they came over the wire.
    QStringList requests() const;

private:
    Q_DISABLE_COPY_MOVE(ElevationServer)

    Answer nextAnswer(const QString &request);

    QThread m_thread;
    quint16 m_port = 0;
    mutable QMutex m_mutex;
    QList<Answer> m_answers;
    QStringList m_requests;
};
