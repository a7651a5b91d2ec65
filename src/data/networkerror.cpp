// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/networkerror.h"

#include <QNetworkReply>

namespace
{

// What the service answered, by its HTTP status.
QString statusText(int status)
{
    switch (status) {
    case 400:
        return QStringLiteral("solicitud incorrecta");
    case 401:
    case 403:
        return QStringLiteral("acceso denegado");
    case 404:
        return QStringLiteral("no encontrado");
    case 429:
        return QStringLiteral("demasiadas solicitudes");
    case 503:
        return QStringLiteral("servicio no disponible");
    default:
        return status >= 500 ? QStringLiteral("error del servidor") : QStringLiteral("solicitud rechazada");
    }
}

} // namespace

QString networkErrorText(const QNetworkReply &reply)
{
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status >= 400)
        return QStringLiteral("el servidor respondió %1 (%2)")
            .arg(QString::number(status), statusText(status));
    switch (reply.error()) {
    case QNetworkReply::ConnectionRefusedError:
        return QStringLiteral("conexión rechazada");
    case QNetworkReply::RemoteHostClosedError:
        return QStringLiteral("el servidor cerró la conexión");
    case QNetworkReply::HostNotFoundError:
        return QStringLiteral("no se encontró el servidor");
    case QNetworkReply::TimeoutError:
    case QNetworkReply::ProxyTimeoutError:
        return QStringLiteral("el servidor no respondió a tiempo");
    case QNetworkReply::SslHandshakeFailedError:
        return QStringLiteral("no se pudo establecer una conexión segura");
    case QNetworkReply::TemporaryNetworkFailureError:
    case QNetworkReply::NetworkSessionFailedError:
    case QNetworkReply::UnknownNetworkError:
        return QStringLiteral("la red no está disponible");
    case QNetworkReply::TooManyRedirectsError:
    case QNetworkReply::InsecureRedirectError:
        return QStringLiteral("redirección no admitida");
    default:
        break;
    }
    const QString number = QString::number(static_cast<int>(reply.error()));
    if (reply.error() >= QNetworkReply::ProxyConnectionRefusedError &&
        reply.error() <= QNetworkReply::UnknownProxyError)
        return QStringLiteral("error del servidor intermediario (%1)").arg(number);
    return QStringLiteral("la consulta falló (%1)").arg(number);
}
