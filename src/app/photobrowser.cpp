// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/photobrowser.h"

#include <QFileInfo>

void PhotoBrowser::setPhotos(const QStringList &photos)
{
    m_photos = photos;
    m_place = photos.isEmpty() ? -1 : 0;
    m_shown = -1;
    lookAt(m_place);
}

bool PhotoBrowser::previous()
{
    return hasPrevious() && lookAt(--m_place);
}

bool PhotoBrowser::next()
{
    return hasNext() && lookAt(++m_place);
}

bool PhotoBrowser::lookAt(qsizetype place)
{
    if (place < 0 || place >= m_photos.size())
        return false;
    m_shown = place;
    m_photo = m_photos.at(place);
    return true;
}

QString PhotoBrowser::caption() const
{
    const QString name = QFileInfo(m_photo).fileName();
    if (m_shown < 0)
        return name;
    return QStringLiteral("%1 (%2 de %3)")
        .arg(name, QString::number(m_shown + 1), QString::number(m_photos.size()));
}
