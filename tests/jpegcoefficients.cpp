// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/jpegcoefficients.h"

#include "processing/coefficientrows.h"
#include "processing/jpegcodec.h"
#include "processing/jpegobject.h"
#include "render/fontregistry.h"
#include "samplephotos.h"

#include <QPainter>
#include <QTest>

#include <functional>
#include <tuple>

namespace
{

constexpr int sourceQuality = 85;

using Change = std::function<void(jpeg_compress_struct *)>;

Change sampling(int across, int down)
{
    return [=](jpeg_compress_struct *encoder) {
        encoder->comp_info[0].h_samp_factor = across;
        encoder->comp_info[0].v_samp_factor = down;
    };
}

// A JPEG as the library writes it, but for what `change` does to its settings.
QByteArray encoded(const QImage &image, int quality, const Change &change)
{
    EncodedBytes bytes(image.sizeInBytes());
    JpegCompressor encoder;
    const bool done = encoder.run([&] {
        encoder->dest = bytes.manager();
        encoder->image_width = static_cast<JDIMENSION>(image.width());
        encoder->image_height = static_cast<JDIMENSION>(image.height());
        encoder->in_color_space = JCS_EXT_BGRA;
        encoder->input_components = 4;
        jpeg_set_defaults(encoder.get());
        jpeg_set_quality(encoder.get(), quality, TRUE);
        change(encoder.get());
        jpeg_start_compress(encoder.get(), TRUE);
        while (encoder->next_scanline < encoder->image_height) {
            auto *row = const_cast<JSAMPROW>(image.constScanLine(static_cast<int>(encoder->next_scanline)));
            jpeg_write_scanlines(encoder.get(), &row, 1);
        }
        jpeg_finish_compress(encoder.get());
    });
    Q_ASSERT(done);
    return bytes.take();
}

void start(JpegDecompressor &decoder, const QByteArray &jpeg)
{
    jpeg_mem_src(decoder.get(), reinterpret_cast<const uchar *>(jpeg.constData()),
                 static_cast<unsigned long>(jpeg.size()));
    jpeg_read_header(decoder.get(), TRUE);
}

QImage decoded(const QByteArray &jpeg)
{
    QImage image;
    JpegDecompressor decoder;
    decoder.run([&] {
        start(decoder, jpeg);
        decoder->out_color_space = JCS_EXT_BGRA;
        jpeg_start_decompress(decoder.get());
        image = QImage(static_cast<int>(decoder->output_width), static_cast<int>(decoder->output_height),
                       QImage::Format_RGB32);
        while (decoder->output_scanline < decoder->output_height) {
            JSAMPROW row = image.scanLine(static_cast<int>(decoder->output_scanline));
            jpeg_read_scanlines(decoder.get(), &row, 1);
        }
    });
    return image;
}

// The coefficients of one component, and what describes them.
struct Component {
    int across, down; ///< blocks in an MCU
    int width;        ///< in blocks
    QList<int> table;
    QList<int> coefficients; ///< block by block, row by row

    bool operator==(const Component &) const = default;
};

QList<Component> componentsOf(const QByteArray &jpeg)
{
    QList<Component> components;
    JpegDecompressor decoder;
    decoder.run([&] {
        start(decoder, jpeg);
        jvirt_barray_ptr *arrays = jpeg_read_coefficients(decoder.get());
        for (int index = 0; index < decoder->num_components; ++index) {
            const jpeg_component_info &info = decoder->comp_info[index];
            Component component{
                info.h_samp_factor, info.v_samp_factor, static_cast<int>(info.width_in_blocks), {}, {}};
            for (const UINT16 step : info.quant_table->quantval)
                component.table << step;
            for (JDIMENSION row = 0; row < info.height_in_blocks; ++row) {
                const JCOEF *first = *decoder->mem->access_virt_barray(
                    reinterpret_cast<j_common_ptr>(decoder.get()), arrays[index], row, 1, FALSE)[0];
                component.coefficients.append(QList<int>(first, first + 64 * component.width));
            }
            components << component;
        }
    });
    return components;
}

// What the stamped JPEG has to hold, worked out on the whole picture: the MCUs in which painting changes a
// pixel come from a JPEG of the painted picture, all others from the photo, requantised.
QList<Component> expected(const QByteArray &jpeg, const QImage &plain, const QImage &painted, int quality,
                          const Change &change)
{
    QList<Component> result = componentsOf(encoded(painted, quality, change));
    const QList<Component> source = componentsOf(jpeg);
    for (qsizetype index = 0; index < result.size(); ++index) {
        Component &component = result[index];
        for (int block = 0; block < component.coefficients.size() / 64; ++block) {
            const QSize mcu = QSize(source[0].across, source[0].down) * 8;
            const QRect area(block % component.width / component.across * mcu.width(),
                             block / component.width / component.down * mcu.height(), mcu.width(),
                             mcu.height());
            if (plain.copy(area & plain.rect()) != painted.copy(area & plain.rect()))
                continue;
            for (int at = 0; at < 64; ++at) {
                const int step = component.table[at];
                const int value = source[index].coefficients[64 * block + at] * source[index].table[at];
                const int rounded = qMin((qAbs(value) + step / 2) / step, 1023);
                component.coefficients[64 * block + at] = value < 0 ? -rounded : rounded;
            }
        }
    }
    return result;
}

// The markers before the picture data.
QByteArray markersOf(const QByteArray &jpeg)
{
    QByteArray markers;
    for (qsizetype at = 2; at + 4 < jpeg.size() && !markers.endsWith("\xda");) {
        markers += jpeg[at + 1];
        at += 2 + (static_cast<uchar>(jpeg[at + 2]) << 8 | static_cast<uchar>(jpeg[at + 3]));
    }
    return markers;
}

// A JPEG with coefficients that no picture gives.
QByteArray overflowing(QSize size)
{
    PixelBuffers buffers;
    BlockLayout layout{{1, 1, 1}, {1, 1, 1}, (size.width() + 7) / 8, (size.height() + 7) / 8};
    CoefficientRows rows(layout, layout.mcusDown, buffers);
    for (JDIMENSION row = 0; row < static_cast<JDIMENSION>(layout.mcusDown); ++row)
        rows.rows(0, row, 1, true)[0][row][row % 64] = 1500;
    EncodedBytes bytes(4096);
    JpegCompressor encoder;
    encoder.run([&] {
        encoder.keepBlocksIn(&rows);
        encoder->dest = bytes.manager();
        encoder->image_width = static_cast<JDIMENSION>(size.width());
        encoder->image_height = static_cast<JDIMENSION>(size.height());
        encoder->in_color_space = JCS_YCbCr;
        encoder->input_components = 3;
        jpeg_set_defaults(encoder.get());
        sampling(1, 1)(encoder.get());
        encoder->arith_code = TRUE; // knows no limits
        jpeg_write_coefficients(encoder.get(), encoder.arrays());
        jpeg_finish_compress(encoder.get());
    });
    return bytes.take();
}

} // namespace

/// Stamping by coefficients does on pieces what decoding, painting and encoding does on the whole.
class JpegCoefficientsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void changesOnlyWhereTheStampIs();
    void writesAPictureAlone();
    void refuses();
    void keepsSamplingThroughPixels();

private:
    Overlay overlay(QSize size, int orientation = 1, double logoRatio = 0.2) const;
    std::optional<QByteArray> stamped(const QByteArray &jpeg, const Overlay &overlay,
                                      const JpegCoding &coding);

    Logo m_logo{paintLogo(100)};
    PixelBuffers m_buffers;
    QImage m_photo;
};

void JpegCoefficientsTest::initTestCase()
{
    m_photo = paintLandscape({403, 301}, 3);
    addGrain(m_photo, 3, 60);                                       // for coefficients of all sizes
    QPainter(&m_photo).fillRect(QRect(150, 20, 60, 40), Qt::black); // rounded, they go beyond black
}

// A box of text at the right edge, a line at the left one, and logo and compass overlapping the box.
Overlay JpegCoefficientsTest::overlay(QSize size, int orientation, double logoRatio) const
{
    ProcessOptions options;
    options.drawData = options.addCompass = options.bgText = true;
    options.fontColor = Qt::yellow;
    options.compassArrowColor = Qt::red;
    options.compassRatio = 0.2;
    options.compassStyle = orientation % 4;
    options.logoRatio = logoRatio;
    options.dtPosition = Corner::BottomRight;
    options.logoPosition = options.compassPosition = Corner::All[orientation % 4];
    OverlayData data;
    data.dateTime = QDateTime(QDate(2024, 3, 5), QTime(14, 7, 9));
    data.utm = {19, 'H', 345678.4, 6298765.6};
    data.orientation = 42.0;
    data.exifOrientation = orientation;
    return Overlay(size, data, options, {&m_logo, QString()}, {});
}

std::optional<QByteArray> JpegCoefficientsTest::stamped(const QByteArray &jpeg, const Overlay &overlay,
                                                        const JpegCoding &coding)
{
    return stampedByCoefficients(jpeg, overlay, coding, m_buffers);
}

void JpegCoefficientsTest::changesOnlyWhereTheStampIs()
{
    const auto nothing = [](jpeg_compress_struct *) {
    };
    const Change separateScans = [](jpeg_compress_struct *encoder) {
        static const jpeg_scan_info scans[] = {
            {1, {2}, 0, 63, 0, 0}, {1, {0}, 0, 63, 0, 0}, {1, {1}, 0, 63, 0, 0}};
        encoder->scan_info = scans;
        encoder->num_scans = 3;
    };
    struct {
        const char *name;
        QSize size;
        Change change; ///< of the layout, which the result keeps
        Change way;    ///< of the way in which the photo alone is written
        bool othersToo = true;
    } const cases[] = {
        {"4:2:0", {403, 301}, sampling(2, 2), nothing},
        {"4:2:2", {403, 301}, sampling(2, 1), nothing},
        {"4:4:0", {403, 301}, sampling(1, 2), nothing},
        {"4:4:4", {403, 301}, sampling(1, 1), nothing},
        {"4:1:1", {403, 301}, sampling(4, 1), nothing, false},
        {"whole MCUs", {400, 288}, sampling(2, 2), nothing},
        {"smaller than the stamp", {50, 30}, sampling(2, 2), nothing, false},
        {"RGB", {403, 301}, [](auto *encoder) { jpeg_set_colorspace(encoder, JCS_RGB); }, nothing},
        {"progressive",
         {403, 301},
         sampling(2, 1),
         [](auto *encoder) {
             jpeg_simple_progression(encoder);
         }},
        {"separate scans", {403, 301}, sampling(2, 2), separateScans},
        {"restarts",
         {403, 301},
         sampling(2, 2),
         [](auto *encoder) {
             encoder->restart_interval = 3;
         }},
        {"arithmetic",
         {403, 301},
         sampling(2, 2),
         [](auto *encoder) {
             encoder->arith_code = TRUE;
         }},
    };
    int orientation = 0;
    for (const auto &row : cases) {
        const QByteArray jpeg = encoded(m_photo.copy(QRect(QPoint(), row.size)), sourceQuality,
                                        [&row](jpeg_compress_struct *encoder) {
                                            row.change(encoder);
                                            row.way(encoder);
                                        });
        const QImage plain = decoded(jpeg);
        const Overlay stamp = overlay(row.size, orientation++ % 8 + 1, 0.1);
        QImage painted = plain.copy();
        stamp.paint(painted);
        QVERIFY2(painted != plain, row.name);

        const std::optional<QByteArray> kept = stamped(jpeg, stamp, {.keepTables = true});
        QVERIFY2(kept, row.name);
        QVERIFY2(componentsOf(*kept) == expected(jpeg, plain, painted, sourceQuality, row.change), row.name);
        for (const int quality : row.othersToo ? QList<int>{1, 75, 90, 100} : QList<int>()) {
            const std::optional<QByteArray> other = stamped(jpeg, stamp, {.quality = quality});
            QVERIFY2(other && componentsOf(*other) == expected(jpeg, plain, painted, quality, row.change),
                     qPrintable(QStringLiteral("%1 at %2").arg(QLatin1String(row.name)).arg(quality)));
        }
        QVERIFY2(row.othersToo || !stamped(jpeg, stamp, {.quality = 90}), row.name);
    }
}

void JpegCoefficientsTest::writesAPictureAlone()
{
    struct {
        bool jfif;
        int unit;
        QByteArray density; ///< unit, across, down in the result
    } const cases[] = {{true, 2, QByteArray("\2\0\x64\0\x32", 5)},
                       {true, 0, QByteArray("\1\0\x48\0\x60", 5)},
                       {false, 0, QByteArray("\1\0\x48\0\x60", 5)}};
    for (const auto &row : cases) {
        QByteArray jpeg = encoded(m_photo, sourceQuality, [&row](jpeg_compress_struct *encoder) {
            encoder->write_JFIF_header = row.jfif;
            encoder->density_unit = static_cast<UINT8>(row.unit);
            encoder->X_density = 100;
            encoder->Y_density = 50;
        });
        jpeg.insert(2, QByteArray("\xff\xe1\0\4ab\xff\xfe\0\4cd", 12)); // APP1 and a comment
        const std::optional<QByteArray> result =
            stamped(jpeg, overlay(m_photo.size(), 1, 0.1), {.dotsPerMeter = {2835, 3780}});
        QVERIFY(result);
        QCOMPARE(markersOf(*result).toHex(' '), QByteArray("e0 db db c0 c4 c4 c4 c4 da"));
        QCOMPARE(result->mid(13, 5).toHex(), row.density.toHex());
    }
}

// What has to go through pixels is given back untouched.
void JpegCoefficientsTest::refuses()
{
    const QByteArray jpeg = encoded(m_photo, sourceQuality, sampling(2, 2));
    const auto space = [this](J_COLOR_SPACE colours) {
        return encoded(m_photo, sourceQuality, [colours](jpeg_compress_struct *encoder) {
            if (colours == JCS_GRAYSCALE)
                return jpeg_set_colorspace(encoder, colours);
            encoder->in_color_space = colours; // whatever the four bytes of a pixel then mean
            jpeg_set_colorspace(encoder, colours);
        });
    };
    QByteArray damaged = jpeg;
    damaged.replace(damaged.size() / 2, 40, QByteArray(40, '\xff'));
    QByteArray tall = jpeg;
    const qsizetype frame = tall.indexOf(QByteArray("\xff\xc0\0\x11", 4));
    tall.replace(frame + 5, 2, QByteArray("\xff\0", 2));
    QByteArray zeroStep = jpeg;
    zeroStep[zeroStep.indexOf("\xff\xdb") + 7] = 0;
    const Overlay stamp = overlay(m_photo.size(), 1, 0.1);
    QVERIFY(stamped(jpeg, stamp, {}));

    const std::pair<const char *, QByteArray> cases[] = {
        {"empty", {}},
        {"no JPEG", "GIF89a"},
        {"a header alone", jpeg.first(frame + 30)},
        {"cut short", jpeg.first(jpeg.size() - 100)},
        {"without its end", jpeg.chopped(2)},
        {"damaged", damaged},
        {"a forged height", tall},
        {"a step of zero", zeroStep},
        {"grey", space(JCS_GRAYSCALE)},
        {"CMYK", space(JCS_CMYK)},
        {"another sampling", encoded(m_photo, sourceQuality, sampling(4, 2))},
    };
    for (const auto &[name, bytes] : cases)
        QVERIFY2(!stamped(bytes, stamp, {}), name);
    QVERIFY(!stamped(tall, overlay({m_photo.width(), 0xff00}, 1, 0.1), {.keepTables = true}));
    QVERIFY(!stamped(overflowing(m_photo.size()), stamp, {.keepTables = true}));
    QVERIFY(stamped(overflowing(m_photo.size()), stamp, {}));
    QVERIFY(!stamped(jpeg, overlay(m_photo.size().transposed()), {}));
    QVERIFY(!stamped(jpeg, overlay(m_photo.size(), 1, 3.0), {}));
    QVERIFY(stamped(jpeg, overlay(m_photo.size(), 1, 3.0), {.keepTables = true}));
}

// Through pixels too a photo keeps its sampling, and a quality out of range is brought into it.
void JpegCoefficientsTest::keepsSamplingThroughPixels()
{
    const auto throughPixels = [this](const QByteArray &jpeg, int quality) {
        QString error;
        return encodedJpeg(m_photo, quality, jpegFormatOf(jpeg).sampling, &error).value();
    };
    for (const auto &[across, down, keeps] :
         {std::tuple(1, 1, true), {2, 1, true}, {1, 2, true}, {2, 2, true}, {4, 1, false}}) {
        const QByteArray jpeg = encoded(m_photo, sourceQuality, sampling(across, down));
        const Component luma = componentsOf(throughPixels(jpeg, 90)).constFirst();
        QCOMPARE(QSize(luma.across, luma.down), keeps ? QSize(across, down) : QSize(2, 2));
    }
    QCOMPARE(throughPixels({}, -1), throughPixels({}, 75));
    QCOMPARE(throughPixels({}, 101), throughPixels({}, 100));
}

QTEST_MAIN(JpegCoefficientsTest)
#include "jpegcoefficients.moc"
