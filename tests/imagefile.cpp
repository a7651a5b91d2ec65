// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/imagefile.h"

#include <QTemporaryDir>
#include <QTest>

class ImageFileTest : public QObject
{
    Q_OBJECT

private slots:
    void viewsLargePhotos();
};

// Without anything decoded before: the first photo may be beyond what Qt decodes by itself.
void ImageFileTest::viewsLargePhotos()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("grande.jpg"));
    QImage photo(8000, 4300, QImage::Format_RGB32);
    photo.fill(Qt::darkGreen);
    QVERIFY(photo.save(path));
    QCOMPARE(viewedImage(path).size(), photo.size());
}

QTEST_GUILESS_MAIN(ImageFileTest)
#include "imagefile.moc"
