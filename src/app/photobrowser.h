// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

/// The photos of a folder, the place in them, and the photo that is looked at.
class PhotoBrowser
{
public:
    /// Starts at the first photo. Without photos the one looked at stays, outside the list.
    void setPhotos(const QStringList &photos);

    bool isEmpty() const { return m_photos.isEmpty(); }
    bool hasPrevious() const { return m_place >= 1; }
    bool hasNext() const { return m_place < m_photos.size() - 1; }

    /// Steps to a neighbour and looks at it. False when there is none.
    bool previous();
    bool next();

    /// Looks at a photo aside: the steps go on from where they were. False when there is no such place.
    bool lookAt(qsizetype place);

    /// The path of the photo looked at; empty before the first one.
    QString photo() const { return m_photo; }

    /// Name and place of the photo looked at: "DSC_0002.JPG (3 de 103)".
    QString caption() const;

private:
    QStringList m_photos;
    qsizetype m_place = -1;
    qsizetype m_shown = -1;
    QString m_photo;
};
