// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/jpegsegments.h"
#include "support/batchfixture.h"

#include <QBuffer>
#include <QColorSpace>
#include <QImageReader>
#include <QTest>
#include <QtEndian>

namespace
{

const QString fixedName = QStringLiteral("19J 500000 6000000");
const QString chileName = QStringLiteral("19G 345093 6297582"); // 33° 27' S, 70° 40' W
const QByteArray xmpName("http://ns.adobe.com/xap/1.0/\0", 29);

template <typename Number>
QByteArray bigEndian(qsizetype number)
{
    QByteArray bytes(sizeof(Number), '\0');
    qToBigEndian(static_cast<Number>(number), bytes.data());
    return bytes;
}

QByteArray segment(int marker, const QByteArray &payload)
{
    return '\xff' + QByteArray(1, static_cast<char>(marker)) + bigEndian<quint16>(payload.size() + 2) +
           payload;
}

// The check sum does not matter to the reader of a picture, and must not change either.
QByteArray chunk(const char *type, const QByteArray &data)
{
    return bigEndian<quint32>(data.size()) + type + data + "sum?";
}

QByteArray xmp(const QByteArray &attributes, const QByteArray &elements = {})
{
    return "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF "
           "xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>"
           "<rdf:Description xmlns:hdrgm='http://ns.adobe.com/hdr-gain-map/1.0/' "
           "xmlns:G=\"http://ns.google.com/photos/1.0/camera/\" "
           "xmlns:Container=\"http://ns.google.com/photos/1.0/container/\"" +
           attributes + "><!-- hdrgm:x='>' -->" + elements + "</rdf:Description></rdf:RDF></x:xmpmeta>";
}

QByteArray resource(int number, const QByteArray &data)
{
    return "8BIM" + bigEndian<quint16>(number) + QByteArray(2, '\0') + bigEndian<quint32>(data.size()) + data;
}

QByteArray profileOf(const char *colours)
{
    return QColorSpace(QColorSpace::AdobeRgb).iccProfile().replace(16, 4, colours);
}

QByteArray encoded(const QImage &image, const char *format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, format);
    return bytes;
}

// A JPEG whose metadata are `segments` alone.
QByteArray jpegWith(const QByteArray &segments)
{
    const QByteArray picture = encoded(plainImage({40, 30}), "jpg");
    return picture.first(2) + segments + picture.mid(picture.indexOf("\xff\xdb"));
}

// What stands before the tables of a JPEG.
QByteArray segmentsOf(const QByteArray &jpeg)
{
    return jpeg.mid(2, jpeg.indexOf("\xff\xdb") - 2);
}

constexpr qsizetype pngHead = 8 + 25; // signature and header

QByteArray pngWith(const QByteArray &before, const QByteArray &behind,
                   const QImage &image = plainImage({40, 30}))
{
    const QByteArray png = encoded(image, "png");
    const qsizetype pixels = png.indexOf("IDAT") - 4;
    return png.first(pngHead) + before + png.mid(pixels).chopped(12) + behind + png.last(12);
}

// The TIFF with one more page that has the pixels of the first.
QByteArray twoPages(QByteArray tiff)
{
    const auto next = [&tiff](qsizetype directory) {
        return directory + 2 + 12 * qFromLittleEndian<quint16>(tiff.constData() + directory);
    };
    const qsizetype first = qFromLittleEndian<quint32>(tiff.constData() + 4);
    const auto added = static_cast<quint32>(tiff.size());
    tiff += tiff.mid(first, next(first) - first) + QByteArray(4, '\0');
    qToLittleEndian(added, tiff.data() + next(first));
    return tiff;
}

} // namespace

/// What stands in a saved photo: its pixels, their description, and the metadata.
class PhotoContentsTest : public BatchFixture
{
    Q_OBJECT

private slots:
    void init();
    void keepsSegments();
    void keepsChunks();
    void takesAlongIntoJpeg();
    void dropsPagesOfTiff();
    void leavesNothingOfTheOldPosition();
    void keepsItsBytesWhenItCannotBeEncoded();
    void stampsUpright();
    void savesByTheFinalSuffix();
    void keepsTheDensity();
    void staysAliveOnBadFiles();

private:
    QByteArray processed(const QString &name, const QByteArray &contents);
    QStringList lost() const { return m_log.filter(QStringLiteral("No se conserva")); }
    void writeFreshTags(const QByteArray &names);

    QByteArray m_exif; // a structure with a position that no library would write just so
};

void PhotoContentsTest::init()
{
    startOver();
    m_options.renamePhotos = false;
    const QString photo = path(QStringLiteral("exif.jpg"));
    writePhoto(photo, plainImage({8, 8}), gpsTags());
    m_exif = JpegSegments(bytesOf(photo)).first(JpegSegment::Kind::Exif).toByteArray() + QByteArray(16, '\0');
}

// What a run makes of a photo of these contents, alone in the folder.
QByteArray PhotoContentsTest::processed(const QString &name, const QByteArray &contents)
{
    QDir(m_root).removeRecursively();
    QDir().mkpath(m_root);
    writeText(m_root + u'/' + name, contents);
    run();
    return bytesOf(QDir(m_root).entryInfoList(QDir::Files).value(0).filePath());
}

void PhotoContentsTest::writeFreshTags(const QByteArray &names)
{
    QByteArray rows;
    for (const QByteArray &name : names.split(' '))
        rows += name + ";19;H;300000;6000000;;2024-03-05 14:07:09\n";
    writeTable(rows);
    m_options.embedCsvInExif = true;
}

void PhotoContentsTest::keepsSegments()
{
    const QByteArray exif = segment(0xe1, QByteArray("Exif\0\0", 6) + m_exif);
    const QByteArray profile = profileOf("RGB ");
    const QByteArray camera =
        segment(0xe0, QByteArray("JFIF\0\1\2\2\0\x76\0\x76\0\0", 14)) + exif +
        segment(0xe1, xmpName + "<x:xmpmeta>never closed") +
        segment(0xe1, QByteArray("http://ns.adobe.com/xmp/extension/\0", 35) + "GUID and part") +
        segment(0xe2, QByteArray("ICC_PROFILE\0\2\2", 14) + profile.mid(100)) +
        segment(0xe2, QByteArray("ICC_PROFILE\0\1\2", 14) + profile.first(100)) +
        segment(0xed, QByteArray("Photoshop 3.0\0", 14) + resource(0x0404, "damaged")) +
        segment(0xe7, "what only its maker knows") + segment(0xfe, "ladera\xf1");
    const QByteArray largeXmp = segment(0xe1, xmpName + xmp(" G:Other='" + QByteArray(64600, 'x') + '\''));
    const QByteArray claims = xmp(" G:MotionPhoto='1'\n hdrgm:Version=\"1.0\" G:Other = 'hdrgm:'",
                                  "<a/><Container:Directory><b><Container:Item/></b></Container:Directory>"
                                  "<G:MicroVideo>1</G:MicroVideo><hdrgm:x/><rdf:li/>");
    const QByteArray withoutClaims = xmp(" G:Other = 'hdrgm:'", "<a/><rdf:li/>");
    const QByteArray grey = segment(0xe2, QByteArray("ICC_PROFILE\0\1\1", 14) + profileOf("GRAY"));
    const QString followed =
        QStringLiteral("lo que sigue a la imagen (vídeo, otra imagen o mapa de ganancia)");
    struct Case {
        QByteArray segments, behind, expected;
        QString lost;
    };
    const Case cases[] = {
        {camera, {}, camera, {}},
        {camera, QByteArray(99, '\0'), camera, {}},
        {exif + largeXmp, {}, exif + largeXmp, {}},
        {exif + segment(0xe1, xmpName + claims), {}, exif + segment(0xe1, xmpName + claims), {}},
        {segment(0xe2, QByteArray("MPF\0", 4)) + segment(0xe1, xmpName + claims) + exif, "\xff\xd8video",
         segment(0xe1, xmpName + withoutClaims) + exif, followed},
        {exif + grey, {}, exif, QStringLiteral("el perfil de color, que no es RGB")},
    };
    for (const Case &each : cases) {
        const QByteArray result = processed(QStringLiteral("a.jpg"), jpegWith(each.segments) + each.behind);
        QCOMPARE(segmentsOf(result), each.expected);
        QCOMPARE(QImage::fromData(result).size(), QSize(40, 30));
        QVERIFY(result.endsWith("\xff\xd9"));
        const QStringList lines(QStringLiteral("No se conserva en a.jpg: ") + each.lost);
        QCOMPARE(lost(), each.lost.isEmpty() ? QStringList() : lines);
        QCOMPARE(m_summary.finished, 1);
    }
}

void PhotoContentsTest::keepsChunks()
{
    const QByteArray before =
        chunk("gAMA", bigEndian<quint32>(55555)) + chunk("sRGB", QByteArray(1, '\0')) +
        chunk("eXIf", m_exif) +
        chunk("iTXt", QByteArray("XML:com.adobe.xmp\0\0\0\0\0", 22) + QByteArray(70000, 'x'));
    const QByteArray behind = chunk("tEXt", QByteArray("Author\0Ana", 10)) + chunk("prIv", "stays true");
    const QByteArray stale = chunk("prIV", "depends on the pixels") + chunk("acTL", "8 bytes.");
    const QByteArray result = processed(QStringLiteral("a.png"), pngWith(before + stale, behind));
    QVERIFY(m_log.contains(QStringLiteral("Lat: -33.45, Lon: -70.6667, Orientación: 90.5, Altitud: 520.25")));
    QCOMPARE(result.mid(pngHead, result.indexOf("IDAT") - 4 - pngHead), before);
    QVERIFY(result.chopped(12).endsWith("sum?"));
    QVERIFY(result.contains(behind));
    QCOMPARE(lost(), QStringList(QStringLiteral("No se conserva en a.png: la animación")));
}

void PhotoContentsTest::takesAlongIntoJpeg()
{
    m_options.renamePhotos = true;
    const auto converted = [this](const QByteArray &chunks) {
        const QByteArray segments = segmentsOf(processed(QStringLiteral("a.png"), pngWith(chunks, {})));
        return segments.mid(2 + qFromBigEndian<quint16>(segments.constData() + 2)); // behind the JFIF header
    };
    const QByteArray exif = segment(0xe1, QByteArray("Exif\0\0", 6) + m_exif);
    const QByteArray profile = profileOf("RGB ");
    const QByteArray keyword("XML:com.adobe.xmp\0\0\0\0\0", 22);
    QCOMPARE(converted(chunk("iCCP", QByteArray("x\0\0", 3) + qCompress(profile).mid(4)) +
                       chunk("eXIf", QByteArray("Exif\0\0", 6) + m_exif) + chunk("iTXt", keyword + xmp({})) +
                       chunk("tEXt", QByteArray("Comment\0\xf1", 9))),
             exif + segment(0xe1, xmpName + xmp({})) +
                 segment(0xe2, QByteArray("ICC_PROFILE\0\1\1", 14) + profile) + segment(0xfe, "ñ"));
    QCOMPARE(lost(), QStringList());

    QCOMPARE(converted(chunk("eXIf", m_exif) + chunk("prIv", "x") +
                       chunk("iTXt", keyword + QByteArray(70000, 'x'))),
             exif);
    QCOMPARE(lost().value(0),
             QStringLiteral(
                 "No se conserva en %1.jpg: los datos propios de la cámara o del programa que la guardó, "
                 "los datos XMP, demasiado grandes para un JPEG")
                 .arg(chileName));

    // Image resources and IPTC in texts of their own, and the IPTC among the resources as well.
    const auto raw = [](const QByteArray &name, const QByteArray &block) {
        return chunk("tEXt", "Raw profile type " + name + '\0' + '\n' + name + "\n 0\n" + block.toHex());
    };
    const QByteArray iptc = QByteArray::fromHex("1c02780001") + 'x';
    const QByteArray both = resource(0x03ed, "resolution") + resource(0x0404, iptc);
    for (const QByteArray &eight : {both, resource(0x03ed, "resolution")})
        QCOMPARE(converted(raw("8bim", eight) + raw("iptc", iptc)),
                 segment(0xed, QByteArray("Photoshop 3.0\0", 14) + both));

    const QByteArray large = QByteArray("II*\0\x08\0\0\0\x02\0"
                                        "\x0e\x01\x02\0\x70\x11\x01\0\x26\0\0\0"  // the description
                                        "\x0f\x01\x02\0\x03\0\0\0ok\0\0\0\0\0\0", // the maker
                                        38) +
                             QByteArray(70000, 'x');
    converted(chunk("eXIf", large));
    QCOMPARE(lost(),
             QStringList(
                 QStringLiteral("No se conserva en %1.jpg: las etiquetas EXIF más grandes").arg(fixedName)));
    QCOMPARE(tagOf(m_root + u'/' + fixedName + QStringLiteral(".jpg"), "Exif.Image.Make"), "ok");

    const QByteArray gamma = converted(chunk("gAMA", bigEndian<quint32>(55556)));
    QCOMPARE(qRound(10 * QColorSpace::fromIccProfile(gamma.mid(18)).gamma()), 18);
}

void PhotoContentsTest::dropsPagesOfTiff()
{
    Tags tags = gpsTags();
    tags.insert(
        {{"Exif.Image.Make", "Cámara"}, {"Iptc.Application2.Caption", "ladera"}, {"Xmp.dc.creator", "Ana"}});
    const QString photo = path(QStringLiteral("pages.tiff"));
    writePhoto(photo, plainImage({40, 30}), tags);
    const QByteArray pages = twoPages(bytesOf(photo));
    for (const bool rename : {false, true}) {
        m_options.renamePhotos = rename;
        QByteArray result = processed(QStringLiteral("a.tiff"), pages);
        QBuffer buffer(&result);
        QImageReader reader(&buffer);
        QVERIFY(reader.imageCount() <= 1);
        QCOMPARE(reader.read().size(), QSize(40, 30));
        const QString name = rename ? chileName + QStringLiteral(".jpg") : QStringLiteral("a.tiff");
        QCOMPARE(
            lost(),
            QStringList(QStringLiteral("No se conserva en %1: las páginas después de la primera").arg(name)));
        for (auto tag = tags.begin(); tag != tags.end(); ++tag)
            QCOMPARE(tagOf(m_root + u'/' + name, tag.key()), tag.value());
        for (const char *layout :
             {"Exif.Image.StripOffsets", "Exif.Image.BitsPerSample", "Exif.Image2.ImageWidth"})
            QVERIFY2(tagOf(m_root + u'/' + name, layout).isEmpty() == (rename || layout[10] == '2'), layout);
    }
}

void PhotoContentsTest::leavesNothingOfTheOldPosition()
{
    Tags tags = gpsTags();
    tags.insert({{"Exif.Image.Make", "OLD"},
                 {"Exif.Thumbnail.ImageDescription", "OLD"},
                 {"Iptc.Application2.City", "OLD"},
                 {"Iptc.Application2.CountryName", "OLD"},
                 {"Iptc.Application2.Caption", "ladera"},
                 {"Xmp.exif.GPSLatitude", "33,27OLDS"}});
    writeFreshTags("a.jpg a.png a.tiff b.jpg b.png");
    for (const QString &name : {QStringLiteral("a.jpg"), QStringLiteral("a.png"), QStringLiteral("a.tiff")})
        writePhoto(m_root + u'/' + name, plainImage({40, 30}), tags, profileOf("RGB "));
    const QByteArray resources = resource(0x0424, "OLDXMP") + resource(0x03ed, "resolution") +
                                 resource(0x0404, QByteArray("\x1c\x02\x5a\0\3OLD", 8)) +
                                 resource(0x0425, "OLDSUM");
    writeText(m_root + QStringLiteral("/b.jpg"),
              jpegWith(segment(0xe7, "camera: OLD") +
                       segment(0xed, QByteArray("Photoshop 3.0\0", 14) + resources)));
    writeText(m_root + QStringLiteral("/b.png"),
              pngWith(chunk("tEXt", QByteArray("exif:GPSLatitude\0OLD", 20)) + chunk("prIv", "OLD"),
                      chunk("eXIf", m_exif)));
    run();
    QCOMPARE(m_summary.finished, 5);
    for (const QFileInfo &photo : QDir(m_root).entryInfoList(QDir::Files)) {
        const QString file = photo.filePath();
        QVERIFY2(!bytesOf(file).contains("OLD"), qPrintable(file));
        QCOMPARE(tagOf(file, "Exif.GPSInfo.GPSLatitude"), "36/1 7/1 26744/1000");
        QCOMPARE(tagOf(file, "Exif.GPSInfo.GPSAltitude"), "");
        for (const char *gone : {"Exif.Image.Make", "Exif.Thumbnail.ImageDescription",
                                 "Iptc.Application2.City", "Xmp.exif.GPSLatitude"})
            QVERIFY2(tagOf(file, gone).isEmpty(), gone);
        if (photo.baseName() == QLatin1String("a")) {
            QCOMPARE(tagOf(file, "Iptc.Application2.Caption"), "ladera");
            QCOMPARE(iccProfileOf(file), profileOf("RGB "));
            // libpng hands out no text whose check sum is wrong
            QCOMPARE(QImage(file).text(QStringLiteral("Raw profile type iptc")).isEmpty(),
                     photo.suffix() != QLatin1String("png"));
        }
    }
    QVERIFY(bytesOf(m_root + QStringLiteral("/b.jpg")).contains("resolution"));
}

void PhotoContentsTest::keepsItsBytesWhenItCannotBeEncoded()
{
    m_options.renamePhotos = true;
    m_options.jpegQuality = 500; // counts as 100
    const QByteArray tooWide = pngWith(chunk("eXIf", m_exif), {}, plainImage({66000, 1}));
    QCOMPARE(processed(QStringLiteral("a.png"), tooWide), tooWide);
    const QString result = chileName + QStringLiteral(".jpg");
    QCOMPARE(m_log.mid(m_log.size() - 4),
             QStringList({QStringLiteral(
                              "Error guardando la imagen: Maximum supported image dimension is 65500 pixels"),
                          QStringLiteral("Intentando escribir EXIF a (nativo): ") + m_root + u'/' + result,
                          QStringLiteral("Metadatos escritos para ") + result,
                          QStringLiteral("Se procesaron 1 fotos en 0s.")}));
    QCOMPARE(m_summary.notSaved, 1);

    writeFreshTags("a.png");
    const QByteArray fresh = processed(QStringLiteral("a.png"), tooWide);
    QCOMPARE(fresh.count("eXIf"), 1);
    QVERIFY(!fresh.contains(m_exif));
    QCOMPARE(QImage::fromData(fresh).size(), QSize(66000, 1));

    QByteArray tables; // their first entry: 16 × (200 - 2 × 75) % at quality 75, then at 1 and 100
    for (const int quality : {-1, 0, 101}) {
        m_options.jpegQuality = quality;
        const QByteArray photo = processed(QStringLiteral("a.png"), pngWith({}, {}));
        tables += QByteArray::number(static_cast<uchar>(photo[photo.indexOf("\xff\xdb") + 5])) + ' ';
    }
    QCOMPARE(tables, "8 255 1 ");
}

// Whatever the orientation and the format, a viewer shows the same stamp at the same place.
void PhotoContentsTest::stampsUpright()
{
    m_options.drawData = true;
    m_options.bgText = true;
    m_options.fontColor = Qt::red;
    m_options.fontSizeRatio = 0.05;
    m_options.dtPosition = Corner::TopRight;
    m_options.coordsPosition = Corner::BottomLeft;
    const QString upright = m_root + QStringLiteral("/a.jpg");
    const QString stored = m_root + QStringLiteral("/b.");
    const QTransform turns[] = {{},
                                {-1, 0, 0, 1, 0, 0},
                                {-1, 0, 0, -1, 0, 0},
                                {1, 0, 0, -1, 0, 0},
                                {0, 1, 1, 0, 0, 0},
                                {0, 1, -1, 0, 0, 0},
                                {0, -1, -1, 0, 0, 0},
                                {0, -1, 1, 0, 0, 0}};
    for (int i = 0; i < 32; ++i) {
        const int orientation = i % 8 + 1;
        const QString photo = stored + (i < 16  ? QStringLiteral("jpg")
                                        : i % 2 ? QStringLiteral("png")
                                                : QStringLiteral("tiff"));
        const bool fresh = i / 8 % 2 == 1;
        m_options.useExif = true;
        if (fresh)
            writeFreshTags("a.jpg b.jpg b.png b.tiff");
        const QTransform toDisplayed = turns[orientation - 1];
        Tags tags = gpsTags();
        writePhoto(upright, plainImage({400, 300}), tags);
        tags.insert("Exif.Image.Orientation", QByteArray::number(orientation));
        writePhoto(photo, plainImage({400, 300}).transformed(toDisplayed.inverted()), tags);
        run();
        const QImage plain(upright);
        const QImage kept(photo);
        const QImage shown = fresh ? kept : kept.transformed(toDisplayed);
        QCOMPARE(shown.size(), plain.size());
        QVERIFY(plain.pixelColor(390, 20) != plain.pixelColor(200, 150)); // the box of the date
        qint64 difference = 0;
        for (int y = 0; y < plain.height(); ++y) {
            for (int x = 0; x < plain.width(); ++x)
                difference += qAbs(qGray(plain.pixel(x, y)) - qGray(shown.pixel(x, y)));
        }
        QVERIFY2(difference < 3 * plain.width() * plain.height(), qPrintable(photo + QString::number(i)));
        QCOMPARE(tagOf(photo, "Exif.Image.Orientation"),
                 fresh ? QByteArray() : QByteArray::number(orientation));
        QFile::remove(photo);
    }
}

void PhotoContentsTest::savesByTheFinalSuffix()
{
    QImage glass(16, 16, QImage::Format_ARGB32);
    glass.fill(Qt::transparent);
    const QByteArray png = encoded(glass, "png");
    const QByteArray grey =
        encoded(plainImage({16, 16}, Qt::white).convertToFormat(QImage::Format_Grayscale8), "jpg");
    const struct {
        const char *name;
        QByteArray contents;
        bool rename;
        const char *format;
    } cases[] = {
        {"a.png", png, true, "jpeg"},    {"a.TIFF", encoded(glass, "tiff"), true, "jpeg"},
        {"a.png", png, false, "png"},    {"a.tiff", encoded(glass, "tiff"), false, "tiff"},
        {"a.JPEG", grey, false, "jpeg"}, {"foto@2x.jpg", png, false, "jpeg"},
        {"a.png", grey, false, "png"},
    };
    for (const auto &each : cases) {
        m_options.renamePhotos = each.rename;
        QByteArray result = processed(QString::fromLatin1(each.name), each.contents);
        QBuffer buffer(&result);
        QCOMPARE(QImageReader(&buffer).format(), each.format);
        const QImage saved = QImage::fromData(result);
        QCOMPARE(saved.size(), QSize(16, 16));
        QVERIFY(saved.format() != QImage::Format_Grayscale8);
        if (!saved.hasAlphaChannel())
            QCOMPARE(saved.pixelColor(8, 8), QColor(Qt::white)); // what was transparent lies on white
    }
}

void PhotoContentsTest::keepsTheDensity()
{
    Tags perInch{{"Exif.Image.XResolution", "300/1"}, {"Exif.Image.YResolution", "300/1"}};
    Tags perCentimetre = perInch;
    perCentimetre.insert("Exif.Image.ResolutionUnit", "3");
    Tags senseless = perInch;
    senseless.insert("Exif.Image.XResolution", "0/0");
    // A JPEG without a JFIF header keeps its tags, and gets a header when these are replaced.
    writeFreshTags("a.jpg a.tiff");
    const struct {
        const char *name;
        int claimed; // dots per metre in the picture; 0: none
        Tags tags;
        int expected;
    } cases[] = {
        {"a.jpg", 7874, perInch, 7874},     {"a.tiff", 7874, {}, 7874},    {"a.jpg", 0, perInch, 11811},
        {"a.jpg", 0, perCentimetre, 30000}, {"a.jpg", 0, senseless, 2835}, {"a.jpg", 0, {}, 2835},
    };
    for (const auto &each : cases) {
        QImage image = plainImage({16, 16});
        image.setDotsPerMeterX(each.claimed > 0 ? each.claimed : 3780);
        image.setDotsPerMeterY(each.claimed > 0 ? 2 * each.claimed : 3780);
        const QString photo = path(QString::fromLatin1(each.name));
        writePhoto(photo, image, each.tags);
        QByteArray contents = bytesOf(photo);
        if (each.claimed == 0)
            contents.remove(2, 18); // the JFIF header
        const QImage saved = QImage::fromData(processed(QString::fromLatin1(each.name), contents));
        QVERIFY2(qAbs(saved.dotsPerMeterX() - each.expected) < 30,
                 qPrintable(QString::number(saved.dotsPerMeterX())));
        QVERIFY(qAbs(saved.dotsPerMeterY() - each.expected * (each.claimed > 0 ? 2 : 1)) < 30);
    }
}

void PhotoContentsTest::staysAliveOnBadFiles()
{
    const QByteArray whole = encoded(plainImage({600, 400}, Qt::white), "jpg");
    const auto sizeClaim = [whole](const QByteArray &side) {
        const qsizetype frame = whole.indexOf("\xff\xc0") + 5;
        return QByteArray(whole).replace(frame, 4, side.repeated(2));
    };
    for (const QByteArray &bad :
         {QByteArray(), QByteArray("no image"), whole.left(20), sizeClaim(QByteArray(2, 0)),
          sizeClaim("\x75\x30"), pngWith({}, {}).left(60), QByteArray("\xff\xd8\xff")}) {
        QCOMPARE(processed(QStringLiteral("a.jpg"), bad), bad);
        QCOMPARE(m_log, QStringList(QStringLiteral("Se procesaron 1 fotos en 0s.")));
    }
    // What there is of a photo whose transfer broke off is worth having.
    const QByteArray half = whole.left(whole.size() / 2);
    const QImage saved = QImage::fromData(processed(QStringLiteral("a.jpg"), half));
    QCOMPARE(m_summary.finished, 1);
    QCOMPARE(saved.size(), QSize(600, 400));
    QCOMPARE(saved.pixelColor(10, 10), QColor(Qt::white));
}

QTEST_MAIN(PhotoContentsTest)
#include "photocontents.moc"
