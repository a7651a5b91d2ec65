// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QStringList>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

/// Both elevation services on a port of this machine. They answer while the thread they belong to waits in an
/// event loop.
class ElevationServer : private QTcpServer
{
public:
    /// What is given to one request.
    struct Answer {
        QByteArray body;
        int status = 200; ///< HTTP status
        int delay = 0;    ///< milliseconds
    };

    ElevationServer()
    {
        if (!listen(QHostAddress::LocalHost))
            qFatal("no port on this machine");
        connect(this, &QTcpServer::newConnection, this, [this] {
            QTcpSocket *socket = nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { reply(socket); });
        });
    }

    /// Scheme, host and port.
    QString url() const { return QStringLiteral("http://127.0.0.1:%1").arg(serverPort()); }

    /// The answers to the next requests, in order. When they run out, every altitude is 100.
    void setAnswers(const QList<Answer> &answers)
    {
        m_answers = answers;
        m_requests.clear();
    }

    /// Path and query of every request so far, as they came over the wire.
    QStringList requests() const { return m_requests; }

private:
    void reply(QTcpSocket *socket)
    {
        if (!socket->peek(socket->bytesAvailable()).endsWith("\r\n\r\n"))
            return; // more is to come
        m_requests.append(QString::fromLatin1(socket->readAll().split(' ').value(1)));
        const Answer otherwise = {R"({"status": "OK", "results": [{"elevation": 100}]})"};
        const Answer answer = m_answers.isEmpty() ? otherwise : m_answers.takeFirst();
        QTimer::singleShot(answer.delay, socket, [socket, answer] {
            socket->write("HTTP/1.1 " + QByteArray::number(answer.status) + " -\r\nContent-Length: " +
                          QByteArray::number(answer.body.size()) + "\r\n\r\n" + answer.body);
        });
    }

    QList<Answer> m_answers;
    QStringList m_requests;
};
