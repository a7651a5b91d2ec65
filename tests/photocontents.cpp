// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/jpegsegments.h"
#include "support/batchfixture.h"

#include <QBuffer>
#include <QColorSpace>
#include <QImageReader>
#include <QRegularExpression>
#include <QTest>
#include <QtEndian>

using namespace Qt::StringLiterals;

namespace
{

// What becomes of white photos without a position, and in 33° 27' S, 70° 40' W.
const QString fixed = u"19J 500000 6000000.jpg, jpeg 40x30x32 #ffffffff"_s;
const QString chile = u"19G 345093 6297582.jpg, jpeg 40x30x32 #ffffffff"_s;
const QByteArray xmpName = "http://ns.adobe.com/xap/1.0/\0"_ba;
const QByteArray xmpKeyword = "XML:com.adobe.xmp\0\0\0\0\0"_ba;

QByteArray bigEndian(qsizetype number, int bytes = 4)
{
    return QByteArray::fromHex(QByteArray::number(number, 16).rightJustified(2 * bytes, '0'));
}

QByteArray segment(uchar marker, const QByteArray &payload)
{
    return "\xff" + QByteArray(1, static_cast<char>(marker)) + bigEndian(payload.size() + 2, 2) + payload;
}

// The check sum does not matter to the reader of a picture, and must not change either.
QByteArray chunk(const char *type, const QByteArray &data)
{
    return bigEndian(data.size()) + type + data + "sum?";
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
    return "8BIM" + bigEndian(number, 2) + "\0\0"_ba + bigEndian(data.size()) + data;
}

QByteArray profileOf(const char *colours)
{
    return QColorSpace(QColorSpace::AdobeRgb).iccProfile().replace(16, 4, colours);
}

QByteArray profileSegment(const QByteArray &profile)
{
    return segment(0xe2, "ICC_PROFILE\0\1\1"_ba + profile);
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
    const QByteArray picture = encoded(plainImage({40, 30}, Qt::white), "jpg");
    return picture.first(2) + segments + picture.mid(picture.indexOf("\xff\xdb"));
}

// What stands before the tables of a JPEG.
QByteArray segmentsOf(const QByteArray &jpeg)
{
    return jpeg.mid(2, jpeg.indexOf("\xff\xdb") - 2);
}

constexpr qsizetype pngHead = 8 + 25; // signature and header

QByteArray pngWith(const QByteArray &before, const QByteArray &behind = {},
                   const QImage &image = plainImage({40, 30}, Qt::white))
{
    const QByteArray png = encoded(image, "png");
    return png.first(pngHead) + before + png.mid(png.indexOf("IDAT") - 4).chopped(12) + behind + png.last(12);
}

// The TIFF with one more page that has the pixels of the first.
QByteArray twoPages(QByteArray tiff)
{
    const qsizetype first = qFromLittleEndian<quint32>(tiff.constData() + 4);
    const qsizetype next = first + 2 + 12 * qFromLittleEndian<quint16>(tiff.constData() + first);
    const auto added = static_cast<quint32>(tiff.size());
    tiff += tiff.mid(first, next - first) + QByteArray(4, '\0');
    qToLittleEndian(added, tiff.data() + next);
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
    void stampsUpright();
    void savesByTheFinalSuffix();
    void keepsTheDensity();
    void keepsWhatCannotBeStamped();

private:
    QString told(const QString &name, const QByteArray &contents);
    void writeFreshTags(const QByteArray &names);

    QByteArray m_exif;        // a structure with a position that no library would write just so
    QByteArray m_exifSegment; // of a JPEG
    QByteArray m_result;
};

void PhotoContentsTest::init()
{
    startOver();
    const QString photo = path(u"exif.jpg"_s);
    writePhoto(photo, plainImage({8, 8}), gpsTags());
    m_exif = JpegSegments(bytesOf(photo)).first(JpegSegment::Kind::Exif).toByteArray() + QByteArray(16, '\0');
    m_exifSegment = segment(0xe1, "Exif\0\0"_ba + m_exif);
}

// What a run makes of a photo of these contents, alone in the folder: its name; format, size, depth and a
// pixel; and what was lost or failed. The file goes into m_result.
QString PhotoContentsTest::told(const QString &name, const QByteArray &contents)
{
    QDir(m_root).removeRecursively();
    QDir().mkpath(m_root);
    writeText(m_root + u'/' + name, contents);
    run();
    const QFileInfo file = QDir(m_root).entryInfoList(QDir::Files).value(0);
    m_result = bytesOf(file.filePath());
    if (m_summary.left == 1)
        return u"left"_s;
    QImageReader reader(file.filePath());
    reader.setDecideFormatFromContent(true);
    const QByteArray format = reader.format();
    const QImage image = reader.read();
    const QString picture = QString::asprintf(", %s %dx%dx%d #%08x", format.constData(), image.width(),
                                              image.height(), image.depth(), image.pixel(8, 0));
    QStringList lines = m_log.filter(QRegularExpression(u"^(Error|No se conserva)"_s));
    lines.replaceInStrings(u" en %1: "_s.arg(file.fileName()), u": "_s);
    lines.prepend(file.fileName() + picture);
    return (m_summary.finished == 1 ? QString() : u"not saved "_s) + lines.join(u", "_s);
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
    const QByteArray profile = profileOf("RGB ");
    const QByteArray camera = segment(0xe0, "JFIF\0\1\2\1\0\x48\0\x48\0\0"_ba) +
                              segment(0xe1, xmpName + "<x:xmpmeta>never closed") + m_exifSegment +
                              segment(0xe1, "http://ns.adobe.com/xmp/extension/\0GUID and part"_ba) +
                              segment(0xe2, "ICC_PROFILE\0\2\2"_ba + profile.mid(100)) +
                              segment(0xe2, "ICC_PROFILE\0\1\2"_ba + profile.first(100)) +
                              segment(0xed, "Photoshop 3.0\0"_ba + resource(0x0404, "damaged")) +
                              segment(0xe7, "what only its maker knows") + segment(0xfe, "ladera\xf1");
    const QByteArray largeXmp = segment(0xe1, xmpName + xmp(" G:Other='" + QByteArray(64600, 'x') + '\''));
    const QByteArray claims =
        segment(0xe1, xmpName + xmp(" G:MotionPhoto='1'\n hdrgm:Version=\"1.0\" G:Other = 'hdrgm:'",
                                    "<a/><Container:Directory><b><Container:Item/></b></Container:Directory>"
                                    "<G:MicroVideo>1</G:MicroVideo><hdrgm:x/><rdf:li/>"));
    const QByteArray withoutClaims = segment(0xe1, xmpName + xmp(" G:Other = 'hdrgm:'", "<a/><rdf:li/>"));
    const QByteArray twice = segment(0xe1, "Exif\0\0MM\0*"_ba) + m_exifSegment;
    const struct {
        QByteArray segments, behind, expected;
        QString told;
    } cases[] = {
        {camera, {}, camera, chile},
        {camera, QByteArray(99, '\0'), camera, chile},
        {m_exifSegment + largeXmp, {}, m_exifSegment + largeXmp, chile},
        {m_exifSegment + claims, {}, m_exifSegment + claims, chile},
        {segment(0xe2, "MPF\0"_ba) + claims + m_exifSegment, "\xff\xd8video", withoutClaims + m_exifSegment,
         chile + u", No se conserva: lo que sigue a la imagen (vídeo, otra imagen o mapa de ganancia)"_s},
        {m_exifSegment + profileSegment(profileOf("GRAY")),
         {},
         m_exifSegment,
         chile + u", No se conserva: el perfil de color, que no es RGB"_s},
        {twice, {}, twice, fixed + u", Error leyendo metadata original para a.jpg"_s}, // the first one counts
    };
    for (const auto &each : cases) {
        QCOMPARE(told(u"a.jpg"_s, jpegWith(each.segments) + each.behind), each.told);
        QCOMPARE(segmentsOf(m_result), each.expected);
        QVERIFY(m_result.endsWith("\xff\xd9"));
    }
}

void PhotoContentsTest::keepsChunks()
{
    const QByteArray before = chunk("gAMA", bigEndian(55555)) + chunk("sRGB", "\0"_ba) +
                              chunk("eXIf", m_exif) + chunk("iTXt", xmpKeyword + QByteArray(70000, 'x'));
    const QByteArray behind = chunk("tEXt", "Author\0Ana"_ba) + chunk("prIv", "stays true");
    const QByteArray stale = chunk("prIV", "depends on the pixels") + chunk("acTL", "8 bytes.");
    m_options.renamePhotos = false;
    QCOMPARE(told(u"a.png"_s, pngWith(before + stale, behind)),
             u"a.png, png 40x30x32 #ffffffff, No se conserva: la animación"_s);
    QVERIFY(m_log.contains(u"Lat: -33.45, Lon: -70.6667, Orientación: 90.5, Altitud: 520.25"_s));
    QCOMPARE(m_result.mid(pngHead, m_result.indexOf("IDAT") - 4 - pngHead), before);
    QVERIFY(m_result.chopped(12).endsWith(behind));
}

void PhotoContentsTest::takesAlongIntoJpeg()
{
    const QByteArray profile = profileOf("RGB ");
    const QByteArray iptc = "\x1c\x02\x78\0\1x"_ba;
    const QByteArray both = resource(0x03ed, "resolution") + resource(0x0404, iptc);
    const QByteArray resources = segment(0xed, "Photoshop 3.0\0"_ba + both);
    const QByteArray xmpSegment = segment(0xe1, xmpName + xmp({}));
    const auto deflated = [](const QByteArray &bytes) {
        return qCompress(bytes).mid(4);
    };
    const auto raw = [](const QByteArray &name, const QByteArray &block) {
        return chunk("tEXt", "Raw profile type " + name + '\0' + '\n' + name + "\n 0\n" + block.toHex());
    };
    const QByteArray maker = "\x0f\x01\x02\0\3\0\0\0ok\0\0\0\0\0\0"_ba;
    const QByteArray large = "\x0e\x01\x02\0\x70\x11\x01\0\x26\0\0\0"_ba; // a description of 70,000 bytes
    const struct {
        QByteArray chunks, expected;
        QString told;
    } cases[] = {
        {chunk("iCCP", "x\0\0"_ba + deflated(profile)) + chunk("eXIf", "Exif\0\0"_ba + m_exif) +
             chunk("iTXt", xmpKeyword + xmp({})) + chunk("tEXt", "Comment\0\xf1"_ba) +
             chunk("zTXt", "Author\0\0"_ba + deflated("Ana")),
         m_exifSegment + xmpSegment + profileSegment(profile) + segment(0xfe, "ñ") +
             segment(0xfe, "Author: Ana"),
         chile},
        {chunk("eXIf", m_exif) + chunk("prIv", "x") + chunk("iTXt", xmpKeyword + QByteArray(70000, 'x')),
         m_exifSegment,
         chile + u", No se conserva: los datos propios de la cámara o del programa que la guardó, "
                 "los datos XMP, demasiado grandes para un JPEG"_s},
        // Image resources and IPTC in texts of their own, and the IPTC among the resources as well.
        {raw("8bim", both) + raw("iptc", iptc), resources, fixed},
        {raw("8bim", resource(0x03ed, "resolution")) + raw("iptc", iptc), resources, fixed},
        {chunk("eXIf", "II*\0\x08\0\0\0\2\0"_ba + large + maker + QByteArray(70000, 'x')),
         segment(0xe1, "Exif\0\0II*\0\x08\0\0\0\1\0"_ba + maker),
         fixed + u", No se conserva: las etiquetas EXIF más grandes"_s},
        {chunk("gAMA", bigEndian(50000)),
         profileSegment(QColorSpace(QColorSpace::Primaries::SRgb, 2).iccProfile()), fixed},
    };
    const auto withoutHeader = [](const QByteArray &segments) {
        return segments.mid(2 + qFromBigEndian<quint16>(segments.constData() + 2));
    };
    for (const auto &each : cases) {
        QCOMPARE(told(u"a.png"_s, pngWith(each.chunks)), each.told);
        QCOMPARE(withoutHeader(segmentsOf(m_result)), each.expected);
    }

    // There and back.
    const QByteArray all =
        m_exifSegment + xmpSegment + resources + profileSegment(profile) + segment(0xfe, "ñ");
    m_options.renamePhotos = false;
    told(u"a.png"_s, jpegWith(all));
    QCOMPARE(QImage::fromData(m_result).text(u"Comment"_s), u"ñ"_s); // of a check sum that is right
    m_options.renamePhotos = true;
    QCOMPARE(told(u"a.png"_s, m_result), chile);
    QCOMPARE(withoutHeader(segmentsOf(m_result)), all);
}

void PhotoContentsTest::dropsPagesOfTiff()
{
    Tags tags = gpsTags();
    tags.insert(
        {{"Exif.Image.Make", "Cámara"}, {"Iptc.Application2.Caption", "ladera"}, {"Xmp.dc.creator", "Ana"}});
    writePhoto(path(u"pages.tiff"_s), plainImage({40, 30}, Qt::white), tags);
    const QByteArray pages = twoPages(bytesOf(path(u"pages.tiff"_s)));
    for (const QString &expected : {u"19G 345093 6297582.jpg, jpeg"_s, u"a.tiff, tiff"_s}) {
        m_options.renamePhotos = expected.endsWith(u"jpeg"_s);
        QCOMPARE(told(u"a.tiff"_s, pages),
                 expected + u" 40x30x32 #ffffffff, No se conserva: las páginas después de la primera"_s);
        const QString file = m_root + u'/' + expected.section(u',', 0, 0);
        QVERIFY(QImageReader(file).imageCount() <= 1);
        for (auto tag = tags.begin(); tag != tags.end(); ++tag)
            QCOMPARE(tagOf(file, tag.key()), tag.value());
        for (const char *layout :
             {"Exif.Image.StripOffsets", "Exif.Image.BitsPerSample", "Exif.Image2.ImageWidth"})
            QVERIFY2(tagOf(file, layout).isEmpty() == (m_options.renamePhotos || layout[10] == '2'), layout);
    }
}

void PhotoContentsTest::leavesNothingOfTheOldPosition()
{
    const Tags old = {{"Exif.Image.Make", "OLD"},
                      {"Exif.Thumbnail.ImageDescription", "OLD"},
                      {"Iptc.Application2.City", "OLD"},
                      {"Iptc.Application2.CountryName", "OLD"},
                      {"Xmp.exif.GPSLatitude", "33,27OLDS"},
                      {"Exif.GPSInfo.GPSAltitude", "52025/100"}};
    Tags tags = gpsTags();
    tags.insert(old);
    tags.insert("Iptc.Application2.Caption", "ladera");
    QImage image = plainImage({40, 30});
    image.setColorSpace(QColorSpace::AdobeRgb);
    writeFreshTags("a.jpg a.png a.tiff b.jpg b.png");
    for (const char *name : {"/a.jpg", "/a.png", "/a.tiff"})
        writePhoto(m_root + QLatin1String(name), image, tags);
    const QByteArray resources = resource(0x0424, "OLDXMP") + resource(0x03ed, "resolution") +
                                 resource(0x0404, "\x1c\x02\x5a\0\3OLD"_ba) + resource(0x0425, "OLDSUM");
    writeText(m_root + u"/b.jpg"_s,
              jpegWith(segment(0xe7, "camera: OLD") + segment(0xed, "Photoshop 3.0\0"_ba + resources) +
                       segment(0xe1, "Exif\0\0OLD"_ba) + m_exifSegment));
    writeText(m_root + u"/b.png"_s, pngWith(chunk("tEXt", "exif:GPSLatitude\0OLD"_ba) + chunk("prIv", "OLD"),
                                            chunk("eXIf", m_exif)));
    m_options.renamePhotos = false;
    run();
    QCOMPARE(m_summary.finished, 5);
    for (const QFileInfo &photo : QDir(m_root).entryInfoList(QDir::Files)) {
        const QString file = photo.filePath();
        QVERIFY2(!bytesOf(file).contains("OLD") && !bytesOf(file).contains(m_exif), qPrintable(file));
        for (auto tag = old.begin(); tag != old.end(); ++tag)
            QCOMPARE(tagOf(file, tag.key()), "");
        QCOMPARE(tagOf(file, "Exif.GPSInfo.GPSLatitude"), "36/1 7/1 26744/1000");
        if (photo.baseName() == "a"_L1) {
            QCOMPARE(tagOf(file, "Iptc.Application2.Caption"), "ladera");
            QCOMPARE(QImage(file).colorSpace(), image.colorSpace());
            // libpng hands out no text whose check sum is wrong
            QCOMPARE(QImage(file).text(u"Raw profile type iptc"_s).isEmpty(), photo.suffix() != "png"_L1);
        }
    }
    QVERIFY(bytesOf(m_root + u"/b.jpg"_s).contains("resolution"));
}

// Whatever the orientation and the format, a viewer shows the same stamp at the same place.
void PhotoContentsTest::stampsUpright()
{
    m_options.renamePhotos = false;
    m_options.drawData = true;
    m_options.bgText = true;
    m_options.fontColor = Qt::red;
    m_options.fontSizeRatio = 0.05;
    m_options.dtPosition = Corner::TopRight;
    m_options.coordsPosition = Corner::BottomLeft;
    const auto shown = [this](const QString &name) {
        QImageReader reader(m_root + name);
        reader.setAutoTransform(true);
        return reader.read().convertToFormat(QImage::Format_Grayscale8);
    };
    for (int i = 0; i < 40; ++i) {
        const int orientation = i % 8 + 1;
        const QString name = i < 16 ? u"/b.jpg"_s : i < 32 ? u"/b.tiff"_s : u"/b.png"_s;
        const bool fresh = i / 8 != 0 && i / 8 != 2; // viewers do not turn a PNG
        m_options.useExif = true;
        if (fresh)
            writeFreshTags("a.jpg b.jpg b.png b.tiff");
        Tags tags = gpsTags();
        writePhoto(m_root + u"/a.jpg"_s, plainImage({400, 300}), tags);
        tags.insert("Exif.Image.Orientation", QByteArray::number(orientation));
        writePhoto(m_root + name, plainImage(orientation < 5 ? QSize(400, 300) : QSize(300, 400)), tags);
        run();
        const QImage upright = shown(u"/a.jpg"_s);
        const QImage photo = shown(name);
        QCOMPARE(photo.size(), upright.size());
        QVERIFY(upright.pixel(390, 20) != upright.pixel(200, 150)); // the box of the date
        int difference = 0;
        for (qsizetype at = 0; at < upright.sizeInBytes(); ++at)
            difference += qAbs(upright.constBits()[at] - photo.constBits()[at]);
        QVERIFY2(difference < 3 * upright.sizeInBytes(), qPrintable(name + QString::number(i)));
        QCOMPARE(tagOf(m_root + name, "Exif.Image.Orientation"), fresh ? "" : tags["Exif.Image.Orientation"]);
        QFile::remove(m_root + name);
    }
}

void PhotoContentsTest::savesByTheFinalSuffix()
{
    QImage glass(40, 30, QImage::Format_ARGB32);
    glass.fill(Qt::transparent);
    const QByteArray png = encoded(glass, "png");
    const QByteArray tiff = encoded(glass, "tiff");
    const QByteArray grey =
        encoded(plainImage({40, 30}, Qt::white).convertToFormat(QImage::Format_Grayscale8), "jpg");
    // What was transparent lies on white, and grey becomes coloured.
    QCOMPARE(told(u"a.png"_s, png), fixed);
    QCOMPARE(told(u"a.TIFF"_s, tiff), fixed);
    m_options.renamePhotos = false;
    QCOMPARE(told(u"a.png"_s, png), u"a.png, png 40x30x32 #00000000"_s);
    QCOMPARE(told(u"a.tiff"_s, tiff), u"a.tiff, tiff 40x30x32 #00000000"_s);
    QCOMPARE(told(u"a.JPEG"_s, grey), u"a.JPEG, jpeg 40x30x32 #ffffffff"_s);
    QCOMPARE(told(u"foto@2x.jpg"_s, png), u"foto@2x.jpg, jpeg 40x30x32 #ffffffff"_s);
    QCOMPARE(told(u"a.png"_s, grey), u"a.png, png 40x30x32 #ffffffff"_s);

    QByteArray tables; // their first entry: 16 × (200 - 2 × 75) % at quality 75, then at 1 and 100
    for (const QByteArray &contents : {png, jpegWith({})}) {
        for (const int quality : {-1, 0, 101}) {
            m_options.jpegQuality = quality;
            told(u"a.jpg"_s, contents);
            tables +=
                QByteArray::number(static_cast<uchar>(m_result[m_result.indexOf("\xff\xdb") + 5])) + ' ';
        }
    }
    QCOMPARE(tables, "8 255 1 8 255 1 ");
}

void PhotoContentsTest::keepsTheDensity()
{
    const Tags perInch{{"Exif.Image.XResolution", "300/1"}, {"Exif.Image.YResolution", "400/1"}};
    Tags perCentimetre = perInch;
    perCentimetre.insert("Exif.Image.ResolutionUnit", "3");
    Tags senseless = perInch;
    senseless.insert("Exif.Image.XResolution", "0/0");
    const auto header = [](char unit, int across, int down) {
        return segment(0xe0, "JFIF\0\1\2"_ba + unit + bigEndian(across, 2) + bigEndian(down, 2) + "\0\0"_ba);
    };
    const struct {
        QByteArray header; // of a JPEG, which gets a new one when the tags are replaced
        Tags tags;
        QSize expected;
    } cases[] = {
        {header(1, 200, 100), perInch, {200, 100}},
        {header(2, 100, 50), {}, {254, 127}},
        {header(0, 1, 1), perInch, {300, 400}},
        {{}, perCentimetre, {762, 1016}},
        {{}, senseless, {72, 72}},
        {{}, {}, {72, 72}},
    };
    const auto density = [this] {
        const QImage saved = QImage::fromData(m_result);
        return QSize(qRound(saved.dotsPerMeterX() * 0.0254), qRound(saved.dotsPerMeterY() * 0.0254));
    };
    writeFreshTags("a.jpg a.tiff");
    m_options.renamePhotos = false;
    QImage image = plainImage({40, 30}, Qt::white);
    for (const auto &each : cases) {
        writePhoto(path(u"a.jpg"_s), image, each.tags);
        const QByteArray contents = bytesOf(path(u"a.jpg"_s)).replace(2, 18, each.header);
        for (const QByteArray &bytes :
             {contents, contents.chopped(2)}) { // by coefficients and through pixels
            QCOMPARE(told(u"a.jpg"_s, bytes), u"a.jpg, jpeg 40x30x32 #ffffffff"_s);
            QCOMPARE(density(), each.expected);
        }
    }
    image.setDotsPerMeterX(7874);
    image.setDotsPerMeterY(15748);
    QCOMPARE(told(u"a.tiff"_s, encoded(image, "tiff")), u"a.tiff, tiff 40x30x32 #ffffffff"_s);
    QCOMPARE(density(), QSize(200, 400));
}

void PhotoContentsTest::keepsWhatCannotBeStamped()
{
    const QByteArray whole = encoded(plainImage({600, 400}, Qt::white), "jpg");
    const auto sizeClaim = [whole](const QByteArray &side) {
        return QByteArray(whole).replace(whole.indexOf("\xff\xc0") + 5, 4, side.repeated(2));
    };
    const qsizetype tables = whole.indexOf("\xff\xdb");
    const QByteArray withoutTables = whole.first(tables) + whole.mid(whole.indexOf("\xff\xc0"));
    for (const QByteArray &bad :
         {QByteArray(), "no image"_ba, whole.left(20), sizeClaim("\0\0"_ba), sizeClaim("\x75\x30"),
          withoutTables, pngWith({}).left(60), "\xff\xd8\xff"_ba}) {
        QCOMPARE(told(u"a.jpg"_s, bad), u"left"_s);
        QCOMPARE(m_result, bad);
    }
    // What there is of a photo whose transfer broke off is worth having.
    QCOMPARE(told(u"a.jpg"_s, whole.left(whole.size() / 2)),
             u"19J 500000 6000000.jpg, jpeg 600x400x32 #ffffffff"_s);

    const QByteArray tooWide = pngWith(chunk("eXIf", m_exif), {}, plainImage({66000, 1}, Qt::white));
    QCOMPARE(
        told(u"a.png"_s, tooWide),
        u"not saved 19G 345093 6297582.jpg, png 66000x1x32 #ffffffff, Error guardando la imagen: Maximum supported image dimension is 65500 pixels"_s);
    QCOMPARE(m_result, tooWide);
    QCOMPARE(m_log[m_log.size() - 2], u"Metadatos escritos para 19G 345093 6297582.jpg"_s);
    // The library takes no profile whose length is not what it says.
    m_options.renamePhotos = false;
    const QByteArray damagedProfile = jpegWith(profileSegment(profileOf("RGB ") + "more"));
    QCOMPARE(
        told(u"a.tiff"_s, damagedProfile),
        u"not saved a.tiff, jpeg 40x30x32 #ffffffff, Error guardando la imagen: Not a valid ICC Profile, Error escribiendo metadatos: Not a valid ICC Profile"_s);
    QCOMPARE(m_result, damagedProfile);

    writeFreshTags("a.png");
    QCOMPARE(told(u"a.png"_s, tooWide), u"a.png, png 66000x1x32 #ffffffff"_s);
    QCOMPARE(m_result.count("eXIf"), 1);
    QVERIFY(!m_result.contains(m_exif));
}

QTEST_MAIN(PhotoContentsTest)
#include "photocontents.moc"
