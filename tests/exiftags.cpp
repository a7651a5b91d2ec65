// SPDX-License-Identifier: GPL-3.0-or-later
#include "photofiles.h"
#include "processing/exifreader.h"
#include "processing/exifwriter.h"

#include <QTemporaryDir>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

/// Tags read from photos, and the fresh ones written into them.
class ExifTagsTest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;

private slots:
    void readsPositionAndDate()
    {
        const QByteArray latitude = "Exif.GPSInfo.GPSLatitude", longitude = "Exif.GPSInfo.GPSLongitude",
                         heading = "Exif.GPSInfo.GPSImgDirection", altitude = "Exif.GPSInfo.GPSAltitude",
                         original = "Exif.Photo.DateTimeOriginal", image = "Exif.Image.DateTime";
        const QByteArray early = "2023:01:02 03:04:05";
        const QString date = u" 20240305 140709"_s;
        const std::pair<Tags, QString> cases[] = {
            // an empty value takes a tag away
            {{{image, early}, {altitude + "Ref", "0"}}, u"-33.45 -70.6667 90.5 520.25"_s + date},
            {{{latitude + "Ref", "N"}, {longitude + "Ref", "E"}}, u"33.45 70.6667 90.5 520.25"_s + date},
            {{{latitude + "Ref", ""}}, u"none"_s + date},
            {{{longitude, ""}}, u"none"_s + date},
            {{{latitude, "33/1 27/1"}}, u"none"_s + date},
            {{{latitude, "33/1 27/1 3600/100"}}, u"-33.46 -70.6667 90.5 520.25"_s + date},
            {{{heading, ""}, {altitude, ""}}, u"-33.45 -70.6667 0 0"_s + date},
            {{{altitude, "120/1"}, {altitude + "Ref", "1"}}, u"-33.45 -70.6667 90.5 -120"_s + date},
            {{{latitude + "Ref", "s"}, {longitude + "Ref", "w"}}, u"-33.45 -70.6667 90.5 520.25"_s + date},
            {{{heading, "-10/1"}, {altitude, "5/0"}}, u"-33.45 -70.6667 -10 inf"_s + date},
            {{{latitude, ""}, {original, "0000:00:00 00:00:00"}, {image, early}}, u"none 20230102 030405"_s},
            {{{latitude, ""}, {original, ""}, {image, early}}, u"none 20230102 030405"_s},
            // Clocks in Santiago go from 23:59 to 01:00 that night, the camera's may not.
            {{{latitude, ""}, {original, "2024:09:08 00:30:00"}}, u"none 20240908 003000"_s},
            {{{latitude, ""}, {original, "2024:09:08  03:30:00"}}, u"none"_s},
            {{{latitude, ""}, {original, ""}, {"Exif.Photo.DateTimeDigitized", early}}, u"none"_s},
        };
        const QString path = m_folder.filePath(u"año nuevo 🌋 ñandú.jpg"_s);
        QByteArray ahead; // of the tags: soon more than is read at first; what follows them may be missing
        for (const auto &[changes, expected] : cases) {
            Tags tags = gpsTags();
            tags.insert(changes);
            tags.removeIf([](Tags::iterator tag) { return tag.value().isEmpty(); });
            writePhoto(path, plainImage({8, 8}), tags);
            writeText(path, bytesOf(path).insert(2, ahead).chopped(2));
            ahead += "\xff\xe9\xff\xff" + QByteArray(65533, 'x');
            const auto [gps, taken] = readPhotoTags(path);
            QString text = u"none"_s;
            if (gps)
                text = QString::asprintf("%g %g %g %g", gps->latitude, gps->longitude, gps->orientation,
                                         gps->altitude);
            QCOMPARE(text + (taken ? taken->toString(u" yyyyMMdd HHmmss"_s) : QString()), expected);
        }
        QVERIFY(!readPhotoTags(m_folder.filePath(u"missing.jpg"_s)).gps);
    }

    void writesFreshTags()
    {
        const auto written = [](const FreshTags &tags) {
            std::string text;
            for (const Exiv2::Exifdatum &tag : freshExif(tags))
                text += tag.key().substr(5) + " " + tag.typeName() + " " + tag.toString() + ", ";
            return QByteArray::fromStdString(text);
        };
        // Santiago is four hours behind UTC in winter, so the date changes.
        const QDateTime date(QDate(2024, 6, 30), QTime(22, 15, 7));
        QCOMPARE(
            written({{-33.5, 12.345678}, 90.999, -5.25, date}),
            "GPSInfo.GPSLatitudeRef Ascii S, GPSInfo.GPSLatitude Rational 33/1 30/1 0/1000, "
            "GPSInfo.GPSLongitudeRef Ascii E, GPSInfo.GPSLongitude Rational 12/1 20/1 44440/1000, "
            "GPSInfo.GPSImgDirection Rational 9099/100, GPSInfo.GPSImgDirectionRef Ascii T, "
            "GPSInfo.GPSAltitude Rational 525/100, GPSInfo.GPSAltitudeRef Byte 1, "
            "Photo.DateTimeOriginal Ascii 2024:06:30 22:15:07, "
            "Photo.DateTimeDigitized Ascii 2024:06:30 22:15:07, Image.DateTime Ascii 2024:06:30 22:15:07, "
            "GPSInfo.GPSVersionID Byte 2 3 0 0, GPSInfo.GPSDateStamp Ascii 2024:07:01, "
            "GPSInfo.GPSTimeStamp Rational 2/1 15/1 7/1, ");
        const QByteArray position = written({{0, -0.5}, {}, {}, {}});
        QCOMPARE(position,
                 "GPSInfo.GPSLatitudeRef Ascii N, GPSInfo.GPSLatitude Rational 0/1 0/1 0/1000, "
                 "GPSInfo.GPSLongitudeRef Ascii W, GPSInfo.GPSLongitude Rational 0/1 30/1 0/1000, ");

        const std::tuple<double, QByteArray, QByteArray, QByteArray> numbers[] = {
            {-10.0, "35000/100", "1000/100", "1"},
            {725.0, "500/100", "72500/100", "0"},
            {-1e-20, "0/100", "0/100", "1"},
            {std::numeric_limits<double>::infinity(), "0/100", "4294967295/100", "0"},
            {std::numeric_limits<double>::quiet_NaN(), "0/100", "0/100", "0"},
        };
        for (const auto &[number, direction, altitude, reference] : numbers) {
            QCOMPARE(written({{0, -0.5}, number, number, {}}),
                     position + "GPSInfo.GPSImgDirection Rational " + direction +
                         ", GPSInfo.GPSImgDirectionRef Ascii T, GPSInfo.GPSAltitude Rational " + altitude +
                         ", GPSInfo.GPSAltitudeRef Byte " + reference + ", ");
        }
    }
};

QTEST_GUILESS_MAIN(ExifTagsTest)
#include "exiftags.moc"
