// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/elevationserver.h"

#include <QHttpServer>
#include <QMutexLocker>
#include <QTcpServer>

ElevationServer::ElevationServer()
{
    auto server = std::make_unique<QHttpServer>();
    const auto reply = [this](const QHttpServerRequest &request) {
        const Answer answer = nextAnswer(
            request.url().toString(QUrl::FullyEncoded | QUrl::RemoveScheme | QUrl::RemoveAuthority));
        QThread::msleep(static_cast<unsigned long>(answer.delay));
        return QHttpServerResponse(QByteArrayLiteral("application/json"), answer.body,
                                   static_cast<QHttpServerResponse::StatusCode>(answer.status));
    };
    server->route(QStringLiteral("/maps/api/elevation/json"), reply);
    server->route(QStringLiteral("/v1/srtm30m"), reply);

    auto tcpServer = std::make_unique<QTcpServer>();
    if (!tcpServer->listen(QHostAddress::LocalHost))
        qFatal("no port on this machine");
    m_port = tcpServer->serverPort();
    server->bind(tcpServer.release()); // owns it from here on

    server->moveToThread(&m_thread);
    QObject::connect(&m_thread, &QThread::finished, server.get(), &QObject::deleteLater);
    server.release(); // deletes itself at the end of its thread
    m_thread.start();
}

ElevationServer::~ElevationServer()
{
    m_thread.quit();
    m_thread.wait();
}

QString ElevationServer::url() const
{
    return QStringLiteral("http://127.0.0.1:%1").arg(m_port);
}

void ElevationServer::setAnswers(const QList<Answer> &answers)
{
    const QMutexLocker locker(&m_mutex);
    m_answers = answers;
    m_requests.clear();
}

QStringList ElevationServer::requests() const
{
    const QMutexLocker locker(&m_mutex);
    return m_requests;
}

ElevationServer::Answer ElevationServer::nextAnswer(const QString &request)
{
    const QMutexLocker locker(&m_mutex);
    m_requests.append(request);
    if (m_answers.isEmpty())
        return {R"({"status": "OK", "results": [{"elevation": 100}]})"};
    return m_answers.takeFirst();
}
