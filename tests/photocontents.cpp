// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/exiflibrary.h"
#include "processing/exifwriter.h"
#include "processing/imagefile.h"
#include "render/geodesy.h"
#include "support/batchfixture.h"
#include "support/paintings.h"

#include <QBuffer>
#include <QColorSpace>
#include <QDataStream>
#include <QImageReader>
#include <QPainter>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

// What becomes of white photos without a position, and in 33° 27' S, 70° 40' W.
const QString fixed = u"19J 500000 6000000.jpg, jpeg 40x30x32 #ffffffff"_s;
const QString chile = u"19G 345093 6297582.jpg, jpeg 40x30x32 #ffffffff"_s;

// Pieces of metadata.
const QByteArray exifName = "Exif\0\0"_ba;
const QByteArray xmpStart = "http://ns.adobe.com/xap/1.0/\0<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF "
                            "xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'><rdf:Description "
                            "xmlns:hdrgm='http://ns.adobe.com/hdr-gain-map/1.0/' "
                            "xmlns:G=\"http://ns.google.com/photos/1.0/camera/\" "
                            "xmlns:Container=\"http://ns.google.com/photos/1.0/container/\""_ba;
const QByteArray xmpOther = " G:Other = 'hdrgm:'><!-- hdrgm:x='>' --><a/>";
const QByteArray xmpEnd = "<rdf:li/></rdf:Description></rdf:RDF></x:xmpmeta>";
const QByteArray iccName = "ICC_PROFILE\0"_ba;
const QByteArray irbName = "Photoshop 3.0\0"_ba;
const QByteArray caption = "\x1c\x02\x78\0\1x"_ba;
const QByteArray makerTag = "\x0f\x01\x02\0\3\0\0\0ok\0\0\0\0\0\0"_ba;
const QByteArray largeTag = "\x0e\x01\x02\0\x70\x11\x01\0\x26\0\0\0"_ba; // a description of 70,000 bytes

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

// A structure that no library would write just so.
QByteArray exifOf(const Tags &tags)
{
    Exiv2::ExifData exif;
    for (auto tag = tags.begin(); tag != tags.end(); ++tag)
        exif[tag.key().toStdString()] = tag.value().toStdString();
    return encodedExif(exif) + QByteArray(16, '\0');
}

QByteArray resource(int number, const QByteArray &data)
{
    return "8BIM" + bigEndian(number, 2) + "\0\0"_ba + bigEndian(data.size()) + data;
}

QByteArray rawText(const QByteArray &name, const QByteArray &block)
{
    return chunk("tEXt", "Raw profile type " + name + '\0' + '\n' + name + "\n 0\n" + block.toHex());
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
    const auto size = static_cast<quint32>(tiff.size());
    QDataStream stream(&tiff, QIODevice::ReadWrite);
    stream.setByteOrder(QDataStream::LittleEndian);
    quint32 first = 0;
    quint16 entries = 0;
    stream.skipRawData(4);
    stream >> first;
    stream.skipRawData(static_cast<int>(first) - 8);
    stream >> entries;
    stream.skipRawData(12 * entries);
    stream << size;
    return tiff + tiff.mid(first, 2 + 12 * entries) + QByteArray(4, '\0');
}

} // namespace

/// What stands in a saved photo: its pixels, their description, and the metadata. A photo called "rename" is
/// renamed and becomes a JPEG, one called "fresh" gets fresh tags, and one called "keep" keeps name and tags.
class PhotoContentsTest : public BatchFixture
{
    Q_OBJECT

    QMap<QByteArray, QByteArray> m_blocks; // by name
    QByteArray m_result;

    // What a run makes of a photo of these contents, alone in the folder: its name; format, size, depth and a
    // pixel; and what was lost or failed. The file goes into m_result.
    QString told(const QByteArray &name, const QByteArray &contents)
    {
        QDir(m_root).removeRecursively();
        writeText(photo(name), contents);
        m_options.renamePhotos = name.startsWith("rename");
        m_options.useExif = !name.contains("fresh");
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

    // The blocks in front of the pixels of m_result.
    QByteArray carried() const
    {
        const bool isJpeg = m_result.startsWith('\xff');
        const qsizetype end = isJpeg ? m_result.indexOf("\xff\xdb") : m_result.indexOf("IDAT") - 4;
        QByteArray blocks = m_result.first(end).mid(isJpeg ? 2 : pngHead);
        for (auto block = m_blocks.begin(); block != m_blocks.end(); ++block)
            blocks.replace(block.value(), QByteArray(block.key() + ' '));
        return blocks.trimmed();
    }

    // A photo with these blocks in front of its pixels, and one behind them.
    QByteArray photoOf(const QByteArray &names, const QByteArray &behind = {}) const
    {
        QByteArray blocks;
        for (const QByteArray &name : names.split(' '))
            blocks += m_blocks.value(name);
        return blocks.startsWith('\xff') ? jpegWith(blocks) + m_blocks.value(behind)
                                         : pngWith(blocks, m_blocks.value(behind));
    }

private slots:
    // Before anything is decoded: the first photo may be beyond what Qt decodes by itself.
    void viewsLargePhotos()
    {
        writePhoto(photo("large.jpg"), plainImage({8000, 4300}));
        QCOMPARE(viewedImage(photo("large.jpg")).size(), QSize(8000, 4300));
    }

    void init()
    {
        startOver();
        const QByteArray row = ";19;H;300000;6000000;;2024-03-05 14:07:09\n";
        writeTable("upright.jpg" + row + "fresh.jpg" + row + "fresh.png" + row + "fresh.tiff" + row +
                   "rename-fresh.png" + row);
        m_options.embedCsvInExif = true;

        const QByteArray exif = exifOf(gpsTags());
        const FreshTags tags{utmToLatLon(19, 'H', 300000, 6000000), {}, {}, {{2024, 3, 5}, {14, 7, 9}}};
        const QByteArray rgb = QColorSpace(QColorSpace::AdobeRgb).iccProfile();
        const QColorSpace gamma({0.3127, 0.329}, {0.64, 0.33}, {0.21, 0.71}, {0.15, 0.06},
                                QColorSpace::TransferFunction::Gamma, 2);
        QByteArray primaries;
        for (const int number : {31270, 32900, 64000, 33000, 21000, 71000, 15000, 6000})
            primaries += bigEndian(number);
        const QByteArray resolution = resource(0x03ed, "resolution") + resource(0x03fd, "zoom");
        const QByteArray iptc = resource(0x0404, caption);
        QByteArray place;
        for (const char dataset : "\x1a\x1b\x5a\x5c\x5f\x64\x65"_ba)
            place += "\x1c\x02" + QByteArray(1, dataset) + "\0\3OLD"_ba;
        const QByteArray old = resource(0x0424, "OLDXMP") + resolution +
                               resource(0x0404, place + caption + place) + resource(0x0425, "OLDSUM");
        m_blocks = {
            // segments of a JPEG
            {"jfif", segment(0xe0, "JFIF\0\1\1\1\0\x48\0\x48\0\0"_ba)},
            {"exif", segment(0xe1, exifName + exif)},
            {"fresh", segment(0xe1, exifName + encodedExif(freshExif(tags)))},
            {"broken", segment(0xe1, exifName + "MM\0*"_ba)},
            {"small", segment(0xe1, exifName + "II*\0\x08\0\0\0\1\0"_ba + makerTag)},
            {"xmp", segment(0xe1, xmpStart + '>' + xmpEnd)},
            {"open-xmp", segment(0xe1, xmpStart)},
            {"long-xmp", segment(0xe1, xmpStart + QByteArray(64700, ' ') + '>' + xmpEnd)},
            {"filled-xmp", "\xff" + segment(0xe1, xmpStart + QByteArray(64700, ' ') + '>' + xmpEnd)},
            {"claims", segment(0xe1, xmpStart + " G:MotionPhoto='1'\n hdrgm:Version=\"1.0\"" + xmpOther +
                                         "<Container:Directory><b><Container:Item/></b></Container:Directory>"
                                         "<G:MicroVideo>1</G:MicroVideo><hdrgm:x/>" +
                                         xmpEnd)},
            {"no-claims", segment(0xe1, xmpStart + xmpOther + xmpEnd)},
            {"extended", segment(0xe1, "http://ns.adobe.com/xmp/extension/\0GUID and part"_ba)},
            {"icc", segment(0xe2, iccName + "\1\1" + rgb)},
            {"icc-1", segment(0xe2, iccName + "\1\2" + rgb.first(100))},
            {"icc-2", segment(0xe2, iccName + "\2\2" + rgb.mid(100))},
            {"icc-cut", segment(0xe2, iccName + "\1\1" + rgb.chopped(1))},
            {"grey", segment(0xe2, iccName + "\1\1" + QByteArray(rgb).replace(16, 4, "GRAY"))},
            {"gamma", segment(0xe2, iccName + "\1\1" + gamma.iccProfile())},
            {"8bim", segment(0xed, irbName + resolution + iptc)},
            {"8bim-open", segment(0xed, irbName + resource(0x0404, "damaged").chopped(1))},
            {"8bim-old", segment(0xed, irbName + old)},
            {"own", segment(0xe7, "what only its maker knows")},
            {"comment", segment(0xfe, "ñ")},
            {"latin", segment(0xfe, "ladera\xf1")},
            {"author", segment(0xfe, "Author: Ana")},
            {"mpf", segment(0xe2, "MPF\0"_ba)},
            {"gain", segment(0xe2, "urn:iso:std:iso:ts:21496:-1\0"_ba)},
            // behind the picture of one
            {"video", "\xff\xd8video"},
            {"zeros", QByteArray(99, '\0')},
            // chunks of a PNG
            {"gAMA", chunk("gAMA", bigEndian(50000))},
            {"cHRM", chunk("cHRM", primaries)},
            {"sRGB", chunk("sRGB", "\0"_ba)},
            {"eXIf", chunk("eXIf", exif)},
            {"eXIf-named", chunk("eXIf", exifName + exif)},
            {"eXIf-big",
             chunk("eXIf", "II*\0\x08\0\0\0\2\0"_ba + largeTag + makerTag + QByteArray(70000, 'x'))},
            {"iCCP", chunk("iCCP", "x\0\0"_ba + qCompress(rgb).mid(4))},
            {"text-long-xmp", chunk("iTXt", "XML:com.adobe.xmp\0\0\0\0\0"_ba + QByteArray(70000, 'x'))},
            {"text-gps", chunk("tEXt", "exif:GPSLatitude\0OLD"_ba)},
            {"text-latin", chunk("tEXt", "Comment\0\xf1"_ba)},
            {"text-author", chunk("zTXt", "Author\0\0"_ba + qCompress("Ana").mid(4))},
            {"text-8bim", rawText("8bim", resolution)},
            {"text-8bim-iptc", rawText("8bim", resolution + iptc)},
            {"text-8bim-old", rawText("8bim", old)},
            {"text-iptc", rawText("iptc", caption)},
            {"prIv", chunk("prIv", "stays true")},
            {"prIV", chunk("prIV", "depends on the pixels")},
            {"acTL", chunk("acTL", "8 bytes.")},
        };
    }

    void carriesMetadata()
    {
        const QString lost = u", No se conserva: "_s;
        const QString privately = u"los datos propios de la cámara o del programa que la guardó"_s;
        // a photo's name, its blocks in front of the pixels and behind them; what is carried and told
        const std::tuple<const char *, const char *, const char *, const char *, QString> cases[] = {
            {"rename.jpg", "jfif open-xmp exif extended icc-2 icc-1 8bim-open own latin", "",
             "jfif open-xmp exif extended icc-2 icc-1 8bim-open own latin", chile},
            {"rename.jpg", "exif filled-xmp", "zeros", "exif long-xmp", chile},
            {"rename.jpg", "exif claims", "", "exif claims", chile},
            {"rename.jpg", "mpf gain claims exif", "video", "no-claims exif",
             chile + lost + u"lo que sigue a la imagen (vídeo, otra imagen o mapa de ganancia)"_s},
            {"rename.jpg", "exif grey", "", "exif", chile + lost + u"el perfil de color, que no es RGB"_s},
            {"rename.jpg", "broken exif", "", "broken exif",
             fixed + u", Error leyendo metadata original para rename.jpg"_s},
            {"fresh.jpg", "own xmp 8bim-old exif broken icc latin", "", "jfif fresh 8bim icc latin",
             u"fresh.jpg, jpeg 40x30x32 #ffffffff"_s + lost + privately},
            {"keep.png", "gAMA sRGB eXIf text-long-xmp prIV acTL", "prIv", "gAMA sRGB eXIf text-long-xmp",
             u"keep.png, png 40x30x32 #ffffffff, No se conserva: la animación"_s},
            {"rename.png", "iCCP eXIf-named text-latin text-author", "", "jfif exif icc comment author",
             chile},
            {"rename.png", "eXIf text-long-xmp prIv", "", "jfif exif",
             chile + lost + privately + u", los datos XMP, demasiado grandes para un JPEG"_s},
            {"rename-fresh.png", "eXIf text-gps text-author", "", "jfif fresh author",
             u"19H 300000 6000000.jpg, jpeg 40x30x32 #ffffffff"_s},
            {"rename.png", "text-8bim-iptc text-iptc", "", "jfif 8bim", fixed},
            {"rename.png", "text-8bim text-iptc", "", "jfif 8bim", fixed},
            {"rename.png", "eXIf-big", "", "jfif small", fixed + lost + u"las etiquetas EXIF más grandes"_s},
            {"rename.png", "gAMA cHRM", "", "jfif gamma", fixed},
            {"rename.png", "gAMA sRGB", "", "jfif", fixed},
        };
        for (const auto &[name, blocks, behind, left, expected] : cases) {
            QCOMPARE(told(name, photoOf(blocks, behind)), expected);
            QCOMPARE(carried(), left);
            QVERIFY(m_result.endsWith("\xff\xd9") || m_result.chopped(12).endsWith(m_blocks.value(behind)));
        }

        // Into a PNG, where libpng hands out no text whose check sum is wrong, and out of it.
        const std::tuple<const char *, const char *, const char *, QString> both[] = {
            {"keep.png", "exif xmp 8bim icc comment", "jfif exif xmp 8bim icc comment", chile},
            {"fresh.png", "text-gps iCCP prIv eXIf text-8bim-old text-author", "jfif fresh 8bim icc author",
             u"19G 300000 5999999.jpg, jpeg 40x30x32 #ffffffff"_s}};
        for (const auto &[name, blocks, back, renamed] : both) {
            told(name, photoOf(blocks));
            QCOMPARE(m_result.count("eXIf"), 1);
            QVERIFY(!QImage::fromData(m_result).text(u"Raw profile type iptc"_s).isEmpty());
            QCOMPARE(told("rename.png", m_result), renamed);
            QCOMPARE(carried(), back);
        }
    }

    void carriesMetadataOfTiff()
    {
        Tags tags = gpsTags();
        tags.insert({{"Exif.Image.Make", "Cámara"},
                     {"Iptc.Application2.Caption", "ladera"},
                     {"Iptc.Application2.City", "Lota"},
                     {"Xmp.dc.creator", "Ana"}});
        QImage image = plainImage({40, 30}, Qt::white);
        image.setColorSpace(QColorSpace::AdobeRgb);
        writePhoto(path(u"pages.tiff"_s), image, tags);
        const QByteArray pages = twoPages(bytesOf(path(u"pages.tiff"_s)));
        const std::tuple<const char *, QString, QByteArray> cases[] = {
            {"rename.tiff", chile, "Cámara|33/1 27/1 0/1|ladera|Lota|Ana||"},
            {"keep.tiff", u"keep.tiff, tiff 40x30x32 #ffffffff"_s, "Cámara|33/1 27/1 0/1|ladera|Lota|Ana|1|"},
            {"fresh.tiff", u"fresh.tiff, tiff 40x30x32 #ffffffff"_s, "|36/1 7/1 26744/1000|ladera|||1|"},
        };
        for (const auto &[name, picture, expected] : cases) {
            QCOMPARE(told(name, pages), picture + u", No se conserva: las páginas después de la primera"_s);
            const QString file = m_root + u'/' + picture.section(u',', 0, 0);
            QVERIFY(QImageReader(file).imageCount() <= 1);
            QCOMPARE(QImage(file).colorSpace(), image.colorSpace());
            QByteArray values;
            for (const char *key :
                 {"Exif.Image.Make", "Exif.GPSInfo.GPSLatitude", "Iptc.Application2.Caption",
                  "Iptc.Application2.City", "Xmp.dc.creator", "Exif.Image.PlanarConfiguration"})
                values += tagOf(file, key) + '|';
            QCOMPARE(values, expected);
        }
    }

    // Whatever the orientation and the format, a viewer shows the same stamp at the same place.
    void stampsUpright()
    {
        m_options.renamePhotos = false;
        m_options.drawData = m_options.bgText = true;
        m_options.dtPosition = Corner::TopRight;
        // Viewers do not turn a PNG.
        for (const QByteArray name : {"keep.jpg", "keep.tiff", "fresh.jpg", "fresh.tiff", "fresh.png"}) {
            for (char orientation = '1'; orientation <= '8'; ++orientation) {
                m_options.useExif = name.startsWith("keep");
                QImage stored = plainImage(orientation < '5' ? QSize(400, 300) : QSize(300, 400));
                QPainter(&stored).fillRect(10, 10, 80, 50, Qt::yellow);
                Tags tags = gpsTags();
                tags.insert("Exif.Image.Orientation", QByteArray(1, orientation));
                writePhoto(photo(name), stored, tags);
                writePhoto(photo("upright.jpg"), stored, tags);
                writePhoto(photo("upright.jpg"), viewedImage(photo("upright.jpg")), gpsTags());
                run();
                const QImage upright = viewedImage(photo("upright.jpg"));
                const QImage shown = viewedImage(photo(name));
                QVERIFY(upright.pixel(390, 20) != upright.pixel(200, 150)); // the box of the date
                QVERIFY2(shown.size() == upright.size() && differences(shown, upright) < 1000,
                         QByteArray(name + orientation));
                QCOMPARE(tagOf(photo(name), "Exif.Image.Orientation"),
                         m_options.useExif ? QByteArray(1, orientation) : "");
            }
        }
    }

    void savesByTheFinalSuffix()
    {
        QImage glass(40, 30, QImage::Format_ARGB32);
        glass.fill(Qt::transparent);
        const QByteArray png = encoded(glass, "png");
        const QByteArray tiff = encoded(glass, "tiff");
        const QImage white = plainImage({40, 30}, Qt::white);
        const QByteArray grey = encoded(white.convertToFormat(QImage::Format_Grayscale8), "jpg");
        const QByteArray indexed = encoded(glass.convertToFormat(QImage::Format_Indexed8), "png");
        const QByteArray deep = encoded(white.convertToFormat(QImage::Format_RGBX64), "png");
        // What was transparent lies on white, and grey becomes coloured.
        QCOMPARE(told("rename.png", png), fixed);
        QCOMPARE(told("rename.TIFF", tiff), fixed);
        QCOMPARE(told("keep.png", png + "more"),
                 u"keep.png, png 40x30x32 #00000000, No se conserva: lo que sigue a la imagen"_s);
        QCOMPARE(told("keep.png", indexed), u"keep.png, png 40x30x32 #00000000"_s);
        QCOMPARE(told("keep.png", deep), u"keep.png, png 40x30x64 #ffffffff"_s);
        QCOMPARE(told("keep.tiff", tiff), u"keep.tiff, tiff 40x30x32 #00000000"_s);
        QCOMPARE(told("keep.JPEG", grey), u"keep.JPEG, jpeg 40x30x32 #ffffffff"_s);
        QCOMPARE(told("keep@2x.jpg", png), u"keep@2x.jpg, jpeg 40x30x32 #ffffffff"_s);
        QCOMPARE(told("keep.png", grey), u"keep.png, png 40x30x32 #ffffffff"_s);

        // The first step of the tables at quality 75, 1 and 100, through pixels and by coefficients.
        QByteArray steps;
        for (const QByteArray &contents : {png, jpegWith({})}) {
            for (const int quality : {-1, 0, 101}) {
                m_options.jpegQuality = quality;
                told("keep.jpg", contents);
                steps += m_result.mid(m_result.indexOf("\xff\xdb") + 5, 1);
            }
        }
        QCOMPARE(steps, "\x08\xff\x01\x08\xff\x01");
    }

    void keepsTheDensity()
    {
        const QByteArray x = "Exif.Image.XResolution", y = "Exif.Image.YResolution";
        m_options.drawData = true; // with letters, whose size does not go by it
        const Tags perInch{{x, "300/1"}, {y, "400/1"}};
        const auto jfif = [](int unit, int across, int down) {
            return segment(0xe0, "JFIF\0\1\2"_ba + bigEndian(unit, 1) + bigEndian(across, 2) +
                                     bigEndian(down, 2) + "\0\0"_ba);
        };
        const auto density = [this](const QByteArray &name, const QByteArray &photo) {
            told(name, photo);
            const QImage saved = QImage::fromData(m_result);
            return QSize(qRound(saved.dotsPerMeterX() * 0.0254), qRound(saved.dotsPerMeterY() * 0.0254));
        };
        // the header of a JPEG, which gets a new one when the tags are replaced; its tags
        const std::tuple<QByteArray, Tags, QSize> cases[] = {
            {jfif(1, 200, 100), perInch, {200, 100}},
            {jfif(2, 100, 50), {}, {254, 127}},
            {jfif(0, 1, 1), perInch, {300, 400}},
            {{}, {{x, "300/1"}, {y, "400/1"}, {"Exif.Image.ResolutionUnit", "3"}}, {762, 1016}},
            {{}, {{x, "300/1"}, {y, "0/0"}}, {72, 72}},
            {{}, {{x, "300/1"}}, {72, 72}},
        };
        for (const auto &[header, tags, expected] : cases) {
            const QByteArray photo = jpegWith(header + segment(0xe1, exifName + exifOf(tags)));
            QCOMPARE(density("fresh.jpg", photo), expected);            // by coefficients
            QCOMPARE(density("fresh.jpg", photo.chopped(2)), expected); // through pixels
        }
        QImage image = plainImage({40, 30}, Qt::white);
        image.setDotsPerMeterX(7874);
        image.setDotsPerMeterY(15748);
        for (const QByteArray name :
             {"keep.png", "fresh.png", "rename.png", "keep.tiff", "fresh.tiff", "rename.tiff"})
            QCOMPARE(density(name, encoded(image, name.endsWith("png") ? "png" : "tiff")), QSize(200, 400));
    }

    void keepsWhatCannotBeStamped()
    {
        const QByteArray whole = encoded(plainImage({600, 400}, Qt::white), "jpg");
        const qsizetype frame = whole.indexOf("\xff\xc0");
        const auto sizeClaim = [&](const QByteArray &side) {
            return QByteArray(whole).replace(frame + 5, 4, side.repeated(2));
        };
        const QByteArray withoutTables = whole.first(whole.indexOf("\xff\xdb")) + whole.mid(frame);
        for (const QByteArray &bad :
             {QByteArray(), "no image"_ba, sizeClaim("\0\0"_ba), sizeClaim("\x75\x30"), withoutTables,
              pngWith({}).left(60), "\xff\xd8\xff"_ba}) {
            QCOMPARE(told("keep.jpg", bad), u"left"_s);
            QCOMPARE(m_result, bad);
        }
        // What there is of a photo whose transfer broke off is worth having.
        QCOMPARE(told("keep.jpg", whole.left(whole.size() / 2)), u"keep.jpg, jpeg 600x400x32 #ffffffff"_s);

        // Fresh tags go into the photo's own pixels, and say how these lie.
        const QByteArray turned = chunk("eXIf", exifOf({{"Exif.Image.Orientation", "6"}}));
        const QByteArray tooWide = pngWith(turned, {}, plainImage({66000, 1}, Qt::white));
        const QString failed =
            u".jpg, png 66000x1x32 #ffffffff, Error guardando la imagen: Maximum supported image "
            "dimension is 65500 pixels"_s;
        QCOMPARE(told("rename.png", tooWide), u"not saved 19J 500000 6000000"_s + failed);
        QCOMPARE(m_result, tooWide);
        QCOMPARE(told("rename-fresh.png", tooWide), u"not saved 19H 300000 6000000"_s + failed);
        const QString file = m_root + u"/19H 300000 6000000.jpg"_s;
        QCOMPARE(tagOf(file, "Exif.Image.Orientation") + tagOf(file, "Exif.GPSInfo.GPSLatitudeRef"), "6S");

        // The library takes no profile whose length is not what it says.
        const QByteArray damaged = photoOf("icc-cut");
        QCOMPARE(told("keep.tiff", damaged), u"not saved keep.tiff, jpeg 40x30x32 #ffffffff, "
                                             "Error guardando la imagen: Not a valid ICC Profile, "
                                             "Error escribiendo metadatos: Not a valid ICC Profile"_s);
        QCOMPARE(m_result, damaged);
    }
};

QTEST_MAIN(PhotoContentsTest)
#include "photocontents.moc"
