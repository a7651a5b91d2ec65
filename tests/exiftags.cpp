// SPDX-License-Identifier: GPL-3.0-or-later
#include "photofiles.h"
#include "processing/exifreader.h"
#include "processing/exifwriter.h"

#include <QTemporaryDir>
#include <QTest>

#include <limits>

/// Tags read from photos, and the fresh ones written into them.
class ExifTagsTest : public QObject
{
    Q_OBJECT

private slots:
    void readsPositionAndDate();
    void readsLittleOfAPhoto();
    void writesFreshTags();

private:
    QByteArray read(const Tags &changes) const;

    QTemporaryDir m_folder;
};

// What a photo says whose tags are changed so; an empty value takes a tag away.
QByteArray ExifTagsTest::read(const Tags &changes) const
{
    Tags tags = gpsTags();
    tags.insert(changes);
    tags.removeIf([](Tags::iterator tag) { return tag.value().isEmpty(); });
    const QString path = m_folder.filePath(QStringLiteral("año nuevo 🌋 ñandú.jpg"));
    writePhoto(path, plainImage({8, 8}), tags);
    const auto [gps, date] = readPhotoTags(path);
    QStringList numbers;
    if (gps) {
        for (const double number : {gps->latitude, gps->longitude, gps->orientation, gps->altitude})
            numbers += QString::number(number);
    }
    return (gps ? numbers.join(u' ') : QStringLiteral("none")).toUtf8() + '|' +
           date.value_or(QDateTime()).toString(QStringLiteral("yyyyMMdd HHmmss")).toUtf8();
}

void ExifTagsTest::readsPositionAndDate()
{
    const QByteArray gps = "Exif.GPSInfo.GPS", original = "Exif.Photo.DateTimeOriginal",
                     image = "Exif.Image.DateTime";
    const QByteArray early = "2023:01:02 03:04:05";
    const QByteArray date = "|20240305 140709";
    const struct {
        Tags changes;
        QByteArray expected;
    } cases[] = {
        {{}, "-33.45 -70.6667 90.5 520.25" + date},
        {{{gps + "LatitudeRef", "N"}, {gps + "LongitudeRef", "E"}}, "33.45 70.6667 90.5 520.25" + date},
        {{{gps + "LatitudeRef", "s"}, {gps + "LongitudeRef", "w"}}, "-33.45 -70.6667 90.5 520.25" + date},
        {{{gps + "LatitudeRef", ""}}, "none" + date},
        {{{gps + "Longitude", ""}}, "none" + date},
        {{{gps + "Latitude", "33/1 27/1"}}, "none" + date},
        {{{gps + "Latitude", "33/1 27/1 3600/100"}}, "-33.46 -70.6667 90.5 520.25" + date},
        {{{gps + "ImgDirection", ""}, {gps + "Altitude", ""}}, "-33.45 -70.6667 0 0" + date},
        {{{gps + "Altitude", "120/1"}, {gps + "AltitudeRef", "1"}}, "-33.45 -70.6667 90.5 -120" + date},
        {{{gps + "AltitudeRef", "0"}}, "-33.45 -70.6667 90.5 520.25" + date},
        {{{gps + "ImgDirection", "4294967286/1"}}, "-33.45 -70.6667 -10 520.25" + date},
        {{{gps + "Altitude", "5/0"}}, "-33.45 -70.6667 90.5 inf" + date},
        {{{gps + "Latitude", ""}, {image, early}}, "none" + date},
        {{{gps + "Latitude", ""}, {original, "0000:00:00 00:00:00"}, {image, early}}, "none|20230102 030405"},
        {{{gps + "Latitude", ""}, {original, ""}, {image, early}}, "none|20230102 030405"},
        // Clocks in Santiago go from 23:59 to 01:00 that night, the camera's may not.
        {{{gps + "Latitude", ""}, {original, "2024:09:08 00:30:00"}}, "none|20240908 003000"},
        {{{gps + "Latitude", ""}, {original, "2024:09:08  03:30:00"}}, "none|"},
        {{{gps + "Latitude", ""}, {original, "2023-01-02T03:04:05"}}, "none|"},
        {{{gps + "Latitude", ""}, {original, ""}, {"Exif.Photo.DateTimeDigitized", early}}, "none|"},
    };
    for (const auto &each : cases)
        QCOMPARE(read(each.changes), each.expected);
}

void ExifTagsTest::readsLittleOfAPhoto()
{
    // Metadata beyond the first read, and pixels that are not there.
    const QString path = m_folder.filePath(QStringLiteral("long.jpg"));
    writePhoto(path, plainImage({8, 8}), gpsTags());
    const QByteArray filling = "\xff\xe9\xff\xff" + QByteArray(65533, 'x');
    writeText(path, bytesOf(path).insert(2, filling.repeated(6)).chopped(2));
    QVERIFY(readPhotoTags(path).gps.has_value());
    for (const QString &none : {m_folder.filePath(QStringLiteral("missing.jpg")), QString()})
        QVERIFY(!readPhotoTags(none).gps && !readPhotoTags(none).captureDate);
}

void ExifTagsTest::writesFreshTags()
{
    const auto written = [](const FreshTags &tags) {
        QByteArrayList list;
        for (const Exiv2::Exifdatum &tag : freshExif(tags))
            list +=
                QByteArray::fromStdString(tag.key().substr(5) + " " + tag.typeName() + " " + tag.toString());
        return list;
    };
    // Santiago is four hours behind UTC in winter, so the date changes.
    const QDateTime date(QDate(2024, 6, 30), QTime(22, 15, 7));
    QCOMPARE(written({{-33.5, 12.345678}, 90.999, -5.25, date}),
             QByteArrayList(
                 {"GPSInfo.GPSLatitudeRef Ascii S", "GPSInfo.GPSLatitude Rational 33/1 30/1 0/1000",
                  "GPSInfo.GPSLongitudeRef Ascii E", "GPSInfo.GPSLongitude Rational 12/1 20/1 44440/1000",
                  "GPSInfo.GPSImgDirection Rational 9099/100", "GPSInfo.GPSImgDirectionRef Ascii T",
                  "GPSInfo.GPSAltitude Rational 525/100", "GPSInfo.GPSAltitudeRef Byte 1",
                  "Photo.DateTimeOriginal Ascii 2024:06:30 22:15:07",
                  "Photo.DateTimeDigitized Ascii 2024:06:30 22:15:07",
                  "Image.DateTime Ascii 2024:06:30 22:15:07", "GPSInfo.GPSVersionID Byte 2 3 0 0",
                  "GPSInfo.GPSDateStamp Ascii 2024:07:01", "GPSInfo.GPSTimeStamp Rational 2/1 15/1 7/1"}));
    QCOMPARE(written({{0, 0}, std::nullopt, std::nullopt, QDateTime()}).size(), 4);

    const struct {
        double number;
        QByteArray direction, altitude;
    } numbers[] = {
        {12.349, "1234/100", "1234/100"},
        {-10.0, "35000/100", "1000/100"},
        {725.0, "500/100", "72500/100"},
        {-1e-20, "0/100", "0/100"},
        {1e300, "0/100", "4294967295/100"},
        {std::numeric_limits<double>::infinity(), "0/100", "4294967295/100"},
        {std::numeric_limits<double>::quiet_NaN(), "0/100", "0/100"},
    };
    for (const auto &each : numbers) {
        const double number = each.number;
        const QByteArrayList tags = written({{number, number}, number, number, QDateTime()});
        QVERIFY(tags.contains(QByteArray("GPSInfo.GPSImgDirection Rational ").append(each.direction)));
        QVERIFY(tags.contains(QByteArray("GPSInfo.GPSAltitude Rational ").append(each.altitude)));
    }
}

QTEST_GUILESS_MAIN(ExifTagsTest)
#include "exiftags.moc"
