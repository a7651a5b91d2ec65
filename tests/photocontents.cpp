// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/exifreader.h"
#include "processing/jpegsegments.h"
#include "support/batchfixture.h"

#include <QColorSpace>
#include <QDir>
#include <QImageReader>
#include <QTest>

namespace
{

const QString fixedName = QStringLiteral("19J 500000 6000000");

QByteArray exifSegmentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly)
               ? JpegSegments(file.readAll()).first(JpegSegment::Kind::Exif).toByteArray()
               : QByteArray();
}

// Makes the EXIF segment of a JPEG one that no library would write just so.
void padExifSegment(const QString &path)
{
    QByteArray bytes = bytesOf(path);
    const QByteArray segment = exifSegmentOf(path);
    constexpr char padding = 16;
    QByteArray padded = segment + QByteArray(padding, '\0');
    const auto length = static_cast<quint16>(padded.size() - 2);
    padded[2] = static_cast<char>(length >> 8);
    padded[3] = static_cast<char>(length & 0xff);
    writeText(path, bytes.replace(segment, padded));
}

} // namespace

/// What stands in a saved photo: its pixels, their description, and the metadata.
class PhotoContentsTest : public BatchFixture
{
    Q_OBJECT

private slots:
    void init() { startOver(); }
    void keepsMetadata_data();
    void keepsMetadata();
    void writesFreshTagsOnUprightPixels();
    void stampsUpright_data();
    void stampsUpright();
    void savesByTheFinalSuffix_data();
    void savesByTheFinalSuffix();
    void keepsTheDensity_data();
    void keepsTheDensity();
    void keepsOnlyProfilesOfItsPixels_data();
    void keepsOnlyProfilesOfItsPixels();
    void leavesTiffLayoutBehind();
    void staysAliveOnBadFiles();
    void savesWhatAnUnfinishedPhotoHas();
};

void PhotoContentsTest::keepsMetadata_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("embed");
    QTest::newRow("EXIF mode") << QStringLiteral("a.jpg") << false;
    QTest::newRow("fresh tags") << QStringLiteral("a.jpg") << true;
    QTest::newRow("TIFF") << QStringLiteral("a.tiff") << false;
    QTest::newRow("PNG") << QStringLiteral("a.png") << false;
}

void PhotoContentsTest::keepsMetadata()
{
    QFETCH(QString, name);
    QFETCH(bool, embed);
    const QString photo = m_root + u'/' + name;
    Tags tags = gpsTags();
    tags.insert({{"Exif.Image.Make", "Cámara"},
                 {"Exif.Photo.UserComment", "charset=Ascii ladera norte"},
                 {"Iptc.Application2.Caption", "ladera"},
                 {"Xmp.dc.creator", "Ana"}});
    writePhoto(photo, plainImage({40, 30}), tags);
    if (name.endsWith(QLatin1String("jpg")))
        padExifSegment(photo);
    const QByteArray exifSegment = exifSegmentOf(photo);
    m_options.renamePhotos = false;
    if (embed) {
        writeTable("a.jpg;19;H;300000;6000000\n");
        m_options.embedCsvInExif = true;
    }
    run();
    QCOMPARE(m_summary.finished, 1);
    QCOMPARE(exifSegmentOf(photo) == exifSegment, !embed); // maker notes depend on every byte
    QCOMPARE(tagOf(photo, "Iptc.Application2.Caption"), "ladera");
    QCOMPARE(tagOf(photo, "Xmp.dc.creator"), embed ? "" : "Ana");
    QCOMPARE(tagOf(photo, "Exif.Image.Make"), embed ? "" : tags.value("Exif.Image.Make"));
    QCOMPARE(tagOf(photo, "Exif.Photo.UserComment").isEmpty(), embed);
    const std::optional<GpsData> gps = readPhotoTags(photo).gps;
    QVERIFY(gps.has_value());
    QVERIFY(qAbs(gps->latitude - (embed ? -36.12 : -33.45)) < 0.01);
    QCOMPARE(QImage(photo).size(), QSize(40, 30));
}

void PhotoContentsTest::writesFreshTagsOnUprightPixels()
{
    QImage image = plainImage({40, 30}, Qt::black);
    image.setPixelColor(0, 0, Qt::white);
    const QString photo = m_root + QStringLiteral("/a.png");
    writePhoto(photo, image, {{"Exif.Image.Orientation", "6"}});
    writeTable("a.png;19;H;300000;6000000\n");
    m_options.embedCsvInExif = true;
    m_options.renamePhotos = false;
    run();
    const QImage result(photo);
    QCOMPARE(result.size(), QSize(30, 40));
    QCOMPARE(result.pixelColor(29, 0), QColor(Qt::white)); // turned clockwise
    QCOMPARE(tagOf(photo, "Exif.Image.Orientation"), "");
}

void PhotoContentsTest::stampsUpright_data()
{
    QTest::addColumn<int>("orientation");
    QTest::addColumn<bool>("fresh");
    for (int orientation = 1; orientation <= 8; ++orientation) {
        QTest::addRow("%d kept", orientation) << orientation << false;
        QTest::addRow("%d fresh", orientation) << orientation << true;
    }
}

// Whatever the orientation, a viewer shows the same stamp at the same place.
void PhotoContentsTest::stampsUpright()
{
    QFETCH(int, orientation);
    QFETCH(bool, fresh);
    m_options.renamePhotos = false;
    m_options.drawData = true;
    m_options.bgText = true;
    m_options.fontColor = Qt::red;
    m_options.fontSizeRatio = 0.05;
    m_options.dtPosition = Corner::TopRight;
    m_options.coordsPosition = Corner::BottomLeft;
    if (fresh) {
        writeTable("a.jpg;19;H;300000;6000000;;2024-03-05 14:07:09\nb.jpg;19;H;300000;6000000;;2024-03-05 "
                   "14:07:09\n");
        m_options.embedCsvInExif = true;
    }
    const bool swapped = orientation >= 5;
    Tags tags = gpsTags();
    writePhoto(m_root + QStringLiteral("/a.jpg"), plainImage({400, 300}), tags);
    tags.insert("Exif.Image.Orientation", QByteArray::number(orientation));
    writePhoto(m_root + QStringLiteral("/b.jpg"), plainImage(swapped ? QSize(300, 400) : QSize(400, 300)),
               tags);
    run();

    const auto shown = [this](const char *name) {
        QImageReader reader(m_root + QString::fromLatin1(name));
        reader.setAutoTransform(true);
        return reader.read();
    };
    const QImage plain = shown("/a.jpg");
    const QImage turned = shown("/b.jpg");
    QCOMPARE(turned.size(), plain.size());
    QVERIFY(plain.pixelColor(390, 20) != plain.pixelColor(200, 150)); // the box of the date
    qint64 difference = 0;
    for (int y = 0; y < plain.height(); ++y) {
        for (int x = 0; x < plain.width(); ++x)
            difference += qAbs(qGray(plain.pixel(x, y)) - qGray(turned.pixel(x, y)));
    }
    QVERIFY2(difference < 3 * plain.width() * plain.height(), qPrintable(QString::number(difference)));
    QCOMPARE(tagOf(m_root + QStringLiteral("/b.jpg"), "Exif.Image.Orientation"),
             fresh ? QByteArray() : QByteArray::number(orientation));
}

void PhotoContentsTest::savesByTheFinalSuffix_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("rename");
    QTest::addColumn<QByteArray>("format");
    QTest::newRow("PNG to JPEG") << QStringLiteral("a.png") << true << QByteArray("jpeg");
    QTest::newRow("TIFF to JPEG") << QStringLiteral("a.TIFF") << true << QByteArray("jpeg");
    QTest::newRow("PNG stays") << QStringLiteral("a.png") << false << QByteArray("png");
    QTest::newRow("TIFF stays") << QStringLiteral("a.tiff") << false << QByteArray("tiff");
    QTest::newRow("JPEG by its long name") << QStringLiteral("a.JPEG") << false << QByteArray("jpeg");
}

void PhotoContentsTest::savesByTheFinalSuffix()
{
    QFETCH(QString, name);
    QFETCH(bool, rename);
    QImage image(16, 16, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    if (name.startsWith(QLatin1String("a.J")))
        image = plainImage({16, 16}, Qt::white).convertToFormat(QImage::Format_Grayscale8);
    const QString path = m_root + u'/' + name;
    QVERIFY(image.save(path));
    m_options.renamePhotos = rename;
    run();

    const QString result = rename ? m_root + u'/' + fixedName + QStringLiteral(".jpg") : path;
    QTEST(QImageReader(result).format(), "format");
    const QImage saved(result);
    QVERIFY(!saved.isGrayscale() || saved.format() != QImage::Format_Grayscale8);
    if (!saved.hasAlphaChannel())
        QCOMPARE(saved.pixelColor(8, 8), QColor(Qt::white)); // what was transparent lies on white
}

void PhotoContentsTest::staysAliveOnBadFiles()
{
    writePhoto(path(QStringLiteral("whole.jpg")), plainImage({600, 400}), gpsTags());
    const QByteArray whole = bytesOf(path(QStringLiteral("whole.jpg")));
    const auto sizeClaim = [&whole](char high, char low) {
        QByteArray forged = whole;
        const qsizetype frame = forged.indexOf("\xff\xc0");
        for (const int side : {5, 7}) {
            forged[frame + side] = high;
            forged[frame + side + 1] = low;
        }
        return forged;
    };
    const QMap<QString, QByteArray> bad{
        {QStringLiteral("empty.jpg"), {}},
        {QStringLiteral("text.jpg"), "no image"},
        {QStringLiteral("head.jpg"), whole.left(20)},
        {QStringLiteral("zero.jpg"), sizeClaim(0, 0)},
        {QStringLiteral("huge.jpg"), sizeClaim('\x75', '\x30')}, // 30,000 by 30,000
    };
    for (auto file = bad.begin(); file != bad.end(); ++file)
        writeText(m_root + u'/' + file.key(), file.value());
    m_options.renamePhotos = false;
    run(2);
    QCOMPARE(m_log, QStringList(QStringLiteral("Se procesaron %1 fotos en 0s.").arg(bad.size())));
    for (auto file = bad.begin(); file != bad.end(); ++file)
        QCOMPARE(bytesOf(m_root + u'/' + file.key()), file.value());
}

void PhotoContentsTest::keepsTheDensity_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("claimed"); // dots per metre in the image; 0: none
    QTest::addColumn<Tags>("tags");
    QTest::addColumn<int>("expected");
    const Tags perInch{{"Exif.Image.XResolution", "300/1"}, {"Exif.Image.YResolution", "300/1"}};
    Tags perCentimetre = perInch;
    perCentimetre.insert("Exif.Image.ResolutionUnit", "3");
    Tags senseless = perInch;
    senseless.insert("Exif.Image.XResolution", "0/0");
    QTest::newRow("of the image") << QStringLiteral("a.jpg") << 7874 << perInch << 7874;
    QTest::newRow("of a TIFF") << QStringLiteral("a.tiff") << 7874 << Tags() << 7874;
    QTest::newRow("of the tags") << QStringLiteral("a.jpg") << 0 << perInch << 11811;
    QTest::newRow("of the tags, per centimetre") << QStringLiteral("a.jpg") << 0 << perCentimetre << 30000;
    QTest::newRow("tags without sense") << QStringLiteral("a.jpg") << 0 << senseless << 2835;
    QTest::newRow("none") << QStringLiteral("a.jpg") << 0 << Tags() << 2835;
}

void PhotoContentsTest::keepsTheDensity()
{
    QFETCH(QString, name);
    QFETCH(int, claimed);
    QFETCH(Tags, tags);
    QFETCH(int, expected);
    QImage image = plainImage({16, 16});
    if (claimed > 0) {
        image.setDotsPerMeterX(claimed);
        image.setDotsPerMeterY(claimed);
    }
    const QString photo = m_root + u'/' + name;
    writePhoto(photo, image, tags);
    if (claimed == 0) {
        // Cameras write no JFIF header: unit and densities of the writer's are made unknown.
        QByteArray bytes = bytesOf(photo);
        const qsizetype jfif = bytes.indexOf("JFIF");
        bytes[jfif + 7] = 0;
        writeText(photo, bytes);
    }
    m_options.renamePhotos = false;
    run();
    const QImage saved(photo);
    QVERIFY2(qAbs(saved.dotsPerMeterX() - expected) < 30, qPrintable(QString::number(saved.dotsPerMeterX())));
    QVERIFY(qAbs(saved.dotsPerMeterY() - expected) < 30);
}

void PhotoContentsTest::keepsOnlyProfilesOfItsPixels_data()
{
    QTest::addColumn<QByteArray>("colours");
    QTest::addColumn<bool>("kept");
    QTest::newRow("RGB") << QByteArray("RGB ") << true;
    QTest::newRow("grey") << QByteArray("GRAY") << false;
    QTest::newRow("CMYK") << QByteArray("CMYK") << false;
}

void PhotoContentsTest::keepsOnlyProfilesOfItsPixels()
{
    QFETCH(QByteArray, colours);
    QFETCH(bool, kept);
    QByteArray profile = QColorSpace(QColorSpace::AdobeRgb).iccProfile();
    profile.replace(16, 4, colours);
    const QString photo = m_root + QStringLiteral("/a.jpg");
    writePhoto(photo, plainImage({16, 16}), {{"Exif.Image.Make", "x"}}, profile);
    m_options.renamePhotos = false;
    run();
    QCOMPARE(m_summary.finished, 1);
    QCOMPARE(iccProfileOf(photo), kept ? profile : QByteArray());
}

void PhotoContentsTest::leavesTiffLayoutBehind()
{
    writePhoto(m_root + QStringLiteral("/a.tiff"), plainImage({16, 16}), gpsTags());
    run();
    const QString photo = m_root + QStringLiteral("/19G 345093 6297582.jpg");
    QVERIFY(QFile::exists(photo));
    for (const char *tag : {"Exif.Image.ImageWidth", "Exif.Image.BitsPerSample", "Exif.Image.StripOffsets"})
        QVERIFY2(tagOf(photo, tag).isEmpty(), tag);
}

// What there is of a photo whose transfer broke off is worth having.
void PhotoContentsTest::savesWhatAnUnfinishedPhotoHas()
{
    const QString photo = m_root + QStringLiteral("/a.jpg");
    QImage image = plainImage({600, 400}, Qt::white);
    writePhoto(photo, image);
    const QByteArray whole = bytesOf(photo);
    writeText(photo, whole.left(whole.size() / 2));
    m_options.renamePhotos = false;
    m_options.createBackup = true;
    run();
    QCOMPARE(m_summary.finished, 1);
    QCOMPARE(bytesOf(m_root + QStringLiteral("/Backup/a_backup.jpg")), whole.left(whole.size() / 2));
    QCOMPARE(QImage(photo).size(), image.size());
    QCOMPARE(QImage(photo).pixelColor(10, 10), QColor(Qt::white));
}

QTEST_MAIN(PhotoContentsTest)
#include "photocontents.moc"
