// SPDX-License-Identifier: GPL-3.0-or-later
#include "photofiles.h"
#include "processing/exifreader.h"
#include "processing/exifwriter.h"

#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

#include <limits>

namespace
{

// The tags with some replaced, and those with an empty value left out.
Tags changed(Tags tags, const Tags &changes)
{
    for (auto change = changes.begin(); change != changes.end(); ++change) {
        if (change.value().isEmpty())
            tags.remove(change.key());
        else
            tags.insert(change.key(), change.value());
    }
    return tags;
}

QByteArray text(const Exiv2::ExifData &exif, const char *key)
{
    const auto tag = exif.findKey(Exiv2::ExifKey(key));
    return tag == exif.end() ? QByteArray() : QByteArray::fromStdString(tag->toString());
}

} // namespace

/// Tags read from photos, and the fresh ones written into them.
class ExifTagsTest : public QObject
{
    Q_OBJECT

private slots:
    void readsPosition_data();
    void readsPosition();
    void readsCaptureDate_data();
    void readsCaptureDate();
    void opensAnyPath();
    void writesFreshTags();
    void keepsFreshNumbersInRange_data();
    void keepsFreshNumbersInRange();

private:
    QTemporaryDir m_folder;
};

void ExifTagsTest::readsPosition_data()
{
    QTest::addColumn<Tags>("changes");
    QTest::addColumn<bool>("found");
    QTest::addColumn<double>("latitude");
    QTest::addColumn<double>("longitude");
    QTest::addColumn<double>("orientation");
    QTest::addColumn<double>("altitude");

    const double lat = 33.45;
    const double lon = 70 + 40 / 60.0;
    QTest::newRow("south west") << Tags() << true << -lat << -lon << 90.5 << 520.25;
    QTest::newRow("north east") << Tags{{"Exif.GPSInfo.GPSLatitudeRef", "N"},
                                        {"Exif.GPSInfo.GPSLongitudeRef", "E"}}
                                << true << lat << lon << 90.5 << 520.25;
    QTest::newRow("lower case") << Tags{{"Exif.GPSInfo.GPSLatitudeRef", "s"},
                                        {"Exif.GPSInfo.GPSLongitudeRef", "w"}}
                                << true << -lat << -lon << 90.5 << 520.25;
    QTest::newRow("no reference") << Tags{{"Exif.GPSInfo.GPSLatitudeRef", ""}} << false << 0. << 0. << 0.
                                  << 0.;
    QTest::newRow("no longitude") << Tags{{"Exif.GPSInfo.GPSLongitude", ""}} << false << 0. << 0. << 0. << 0.;
    QTest::newRow("two parts") << Tags{{"Exif.GPSInfo.GPSLatitude", "33/1 27/1"}} << false << 0. << 0. << 0.
                               << 0.;
    QTest::newRow("seconds") << Tags{{"Exif.GPSInfo.GPSLatitude", "33/1 27/1 3600/100"}} << true
                             << -lat - 0.01 << -lon << 90.5 << 520.25;
    QTest::newRow("no heading, no altitude")
        << Tags{{"Exif.GPSInfo.GPSImgDirection", ""}, {"Exif.GPSInfo.GPSAltitude", ""}} << true << -lat
        << -lon << 0. << 0.;
    QTest::newRow("below the sea") << Tags{{"Exif.GPSInfo.GPSAltitude", "120/1"},
                                           {"Exif.GPSInfo.GPSAltitudeRef", "1"}}
                                   << true << -lat << -lon << 90.5 << -120.0;
    QTest::newRow("above the sea") << Tags{{"Exif.GPSInfo.GPSAltitudeRef", "0"}} << true << -lat << -lon
                                   << 90.5 << 520.25;
    QTest::newRow("signed rational") << Tags{{"Exif.GPSInfo.GPSImgDirection", "4294967286/1"}} << true << -lat
                                     << -lon << -10.0 << 520.25;
    QTest::newRow("zero denominator") << Tags{{"Exif.GPSInfo.GPSAltitude", "5/0"}} << true << -lat << -lon
                                      << 90.5 << std::numeric_limits<double>::infinity();
}

void ExifTagsTest::readsPosition()
{
    QFETCH(Tags, changes);
    QFETCH(bool, found);
    const QString path = m_folder.filePath(QStringLiteral("gps.jpg"));
    writePhoto(path, plainImage({8, 8}), changed(gpsTags(), changes));

    const std::optional<GpsData> gps = readPhotoTags(path).gps;
    QCOMPARE(gps.has_value(), found);
    if (!found)
        return;
    QTEST(gps->latitude, "latitude");
    QTEST(gps->longitude, "longitude");
    QTEST(gps->orientation, "orientation");
    QTEST(gps->altitude, "altitude");
}

void ExifTagsTest::readsCaptureDate_data()
{
    QTest::addColumn<Tags>("tags");
    QTest::addColumn<QDateTime>("date");

    const QDateTime original(QDate(2024, 3, 5), QTime(14, 7, 9));
    const QDateTime image(QDate(2023, 1, 2), QTime(3, 4, 5));
    const QByteArray imageText = "2023:01:02 03:04:05";
    QTest::newRow("original first") << Tags{{"Exif.Photo.DateTimeOriginal", "2024:03:05 14:07:09"},
                                            {"Exif.Image.DateTime", imageText}}
                                    << original;
    QTest::newRow("zeros, then image")
        << Tags{{"Exif.Photo.DateTimeOriginal", "0000:00:00 00:00:00"}, {"Exif.Image.DateTime", imageText}}
        << image;
    // Clocks in Santiago go from 23:59 to 01:00 that night, the camera's may not.
    QTest::newRow("skipped hour") << Tags{{"Exif.Image.DateTime", "2024:09:08 00:30:00"}}
                                  << QDateTime(QDate(2024, 9, 8), QTime(4, 30), QTimeZone::utc());
    QTest::newRow("two blanks") << Tags{{"Exif.Image.DateTime", "2024:09:08  03:30:00"}} << QDateTime();
    QTest::newRow("image alone") << Tags{{"Exif.Image.DateTime", imageText}} << image;
    QTest::newRow("digitized does not count")
        << Tags{{"Exif.Photo.DateTimeDigitized", imageText}} << QDateTime();
    QTest::newRow("ISO form does not count")
        << Tags{{"Exif.Image.DateTime", "2023-01-02T03:04:05"}} << QDateTime();
}

void ExifTagsTest::readsCaptureDate()
{
    QFETCH(Tags, tags);
    QFETCH(QDateTime, date);
    const QString path = m_folder.filePath(QStringLiteral("date.jpg"));
    writePhoto(path, plainImage({8, 8}), tags);
    QCOMPARE(readPhotoTags(path).captureDate.value_or(QDateTime()), date);
}

void ExifTagsTest::opensAnyPath()
{
    const QString path = m_folder.filePath(QStringLiteral("año nuevo 🌋 ñandú.jpg"));
    writePhoto(path, plainImage({8, 8}), gpsTags());
    QVERIFY(readPhotoTags(path).gps.has_value());
    QVERIFY(!readPhotoTags(m_folder.filePath(QStringLiteral("missing.jpg"))).gps.has_value());
    QVERIFY(!readPhotoTags(QString()).captureDate.has_value());
}

void ExifTagsTest::writesFreshTags()
{
    // Santiago is four hours behind UTC in winter, so the date changes.
    const QDateTime local(QDate(2024, 6, 30), QTime(22, 15, 7));
    const Exiv2::ExifData exif = freshExif({{-33.5, 70.2578125}, 359.999, -5.25, local});

    const QMap<QByteArray, QByteArray> expected{
        {"Exif.GPSInfo.GPSLatitudeRef", "S"},
        {"Exif.GPSInfo.GPSLatitude", "33/1 30/1 0/1000"},
        {"Exif.GPSInfo.GPSLongitudeRef", "E"},
        {"Exif.GPSInfo.GPSLongitude", "70/1 15/1 28125/1000"},
        {"Exif.GPSInfo.GPSImgDirection", "35999/100"},
        {"Exif.GPSInfo.GPSImgDirectionRef", "T"},
        {"Exif.GPSInfo.GPSAltitude", "525/100"},
        {"Exif.GPSInfo.GPSAltitudeRef", "1"},
        {"Exif.Photo.DateTimeOriginal", "2024:06:30 22:15:07"},
        {"Exif.Photo.DateTimeDigitized", "2024:06:30 22:15:07"},
        {"Exif.Image.DateTime", "2024:06:30 22:15:07"},
        {"Exif.GPSInfo.GPSVersionID", "2 3 0 0"},
        {"Exif.GPSInfo.GPSDateStamp", "2024:07:01"},
        {"Exif.GPSInfo.GPSTimeStamp", "2/1 15/1 7/1"},
    };
    QMap<QByteArray, QByteArray> written;
    for (const Exiv2::Exifdatum &tag : exif)
        written.insert(QByteArray::fromStdString(tag.key()), QByteArray::fromStdString(tag.toString()));
    QCOMPARE(written, expected);
    QVERIFY(exif.findKey(Exiv2::ExifKey("Exif.GPSInfo.GPSAltitudeRef"))->typeId() == Exiv2::unsignedByte);
    QVERIFY(exif.findKey(Exiv2::ExifKey("Exif.GPSInfo.GPSLatitude"))->typeId() == Exiv2::unsignedRational);

    QCOMPARE(freshExif({{0, 0}, std::nullopt, std::nullopt, QDateTime()}).count(), 4);
}

void ExifTagsTest::keepsFreshNumbersInRange_data()
{
    QTest::addColumn<double>("number");
    QTest::addColumn<QByteArray>("direction");
    QTest::addColumn<QByteArray>("altitude");

    const QByteArray most = "4294967295/100";
    QTest::newRow("plain") << 12.349 << QByteArray("1234/100") << QByteArray("1234/100");
    QTest::newRow("negative") << -10.0 << QByteArray("35000/100") << QByteArray("1000/100");
    QTest::newRow("full circle") << 725.0 << QByteArray("500/100") << QByteArray("72500/100");
    QTest::newRow("a hair below zero") << -1e-20 << QByteArray("0/100") << QByteArray("0/100");
    QTest::newRow("huge") << 1e300 << QByteArray("0/100") << most;
    QTest::newRow("infinite") << std::numeric_limits<double>::infinity() << QByteArray("0/100") << most;
    QTest::newRow("no number") << std::numeric_limits<double>::quiet_NaN() << QByteArray("0/100")
                               << QByteArray("0/100");
}

void ExifTagsTest::keepsFreshNumbersInRange()
{
    QFETCH(double, number);
    const Exiv2::ExifData exif = freshExif({{number, number}, number, number, QDateTime()});
    QTEST(text(exif, "Exif.GPSInfo.GPSImgDirection"), "direction");
    QTEST(text(exif, "Exif.GPSInfo.GPSAltitude"), "altitude");
}

QTEST_GUILESS_MAIN(ExifTagsTest)
#include "exiftags.moc"
