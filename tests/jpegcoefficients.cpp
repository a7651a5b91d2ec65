// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/jpegcoefficients.h"

#include "processing/jpegcodec.h"
#include "processing/jpegobject.h"
#include "render/fontregistry.h"
#include "samplephotos.h"

#include <QPainter>
#include <QTest>

#include <functional>

namespace
{

using Change = std::function<void(jpeg_compress_struct *)>;
using Changes = QList<Change>;

Changes sampling(int across, int down)
{
    return {[=](jpeg_compress_struct *encoder) {
        encoder->comp_info[0].h_samp_factor = across;
        encoder->comp_info[0].v_samp_factor = down;
    }};
}

Changes colours(J_COLOR_SPACE space)
{
    return {[=](jpeg_compress_struct *encoder) {
        if (space == JCS_CMYK) // whatever the four bytes of a pixel then mean
            encoder->in_color_space = space;
        jpeg_set_colorspace(encoder, space);
    }};
}

// A JPEG as the library writes it, but for what `changes` do to its settings.
QByteArray encoded(const QImage &image, int quality, const Changes &changes)
{
    EncodedBytes bytes(image.sizeInBytes());
    JpegCompressor encoder;
    encoder.run([&] {
        encoder->dest = bytes.manager();
        encoder->image_width = static_cast<JDIMENSION>(image.width());
        encoder->image_height = static_cast<JDIMENSION>(image.height());
        encoder->in_color_space = JCS_EXT_BGRA;
        encoder->input_components = 4;
        jpeg_set_defaults(encoder.get());
        jpeg_set_quality(encoder.get(), quality, TRUE);
        for (const Change &change : changes)
            change(encoder.get());
        jpeg_start_compress(encoder.get(), TRUE);
        while (encoder->next_scanline < encoder->image_height) {
            auto *row = const_cast<JSAMPROW>(image.constScanLine(static_cast<int>(encoder->next_scanline)));
            jpeg_write_scanlines(encoder.get(), &row, 1);
        }
        jpeg_finish_compress(encoder.get());
    });
    return bytes.take();
}

// The coefficients of one component, and what describes them.
struct Component {
    QSize factors; ///< blocks in an MCU
    int width;     ///< in blocks
    QList<int> table;
    QList<int> coefficients; ///< block by block, row by row

    bool operator==(const Component &) const = default;
};

QList<Component> componentsOf(const QByteArray &jpeg)
{
    QList<Component> components;
    JpegDecompressor decoder;
    decoder.run([&] {
        jpeg_mem_src(decoder.get(), reinterpret_cast<const uchar *>(jpeg.constData()),
                     static_cast<unsigned long>(jpeg.size()));
        jpeg_read_header(decoder.get(), TRUE);
        jvirt_barray_ptr *arrays = jpeg_read_coefficients(decoder.get());
        for (int index = 0; index < decoder->num_components; ++index) {
            const jpeg_component_info &info = decoder->comp_info[index];
            const UINT16 *steps = info.quant_table->quantval;
            Component component{{info.h_samp_factor, info.v_samp_factor},
                                static_cast<int>(info.width_in_blocks),
                                QList<int>(steps, steps + 64),
                                {}};
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
                          const Changes &changes)
{
    QList<Component> result = componentsOf(encoded(painted, quality, changes));
    const QList<Component> source = componentsOf(jpeg);
    const QSize mcu = source[0].factors * 8;
    for (qsizetype index = 0; index < result.size(); ++index) {
        Component &component = result[index];
        for (int block = 0; block < component.coefficients.size() / 64; ++block) {
            const QRect area(QPoint(block % component.width / component.factors.width() * mcu.width(),
                                    block / component.width / component.factors.height() * mcu.height()),
                             mcu);
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

} // namespace

/// Stamping by coefficients does on pieces what decoding, painting and encoding does on the whole.
class JpegCoefficientsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void changesOnlyWhereTheStampIs();
    void refuses();

private:
    Overlay overlay(QSize size, int orientation = 1, double logoRatio = 0.1) const;
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

void JpegCoefficientsTest::changesOnlyWhereTheStampIs()
{
    struct {
        const char *name;
        QSize size;
        Changes changes;
        bool othersToo = true; ///< not the photo's own tables alone
    } const cases[] = {
        {"4:2:0", {403, 301}, sampling(2, 2)},
        {"4:2:2", {403, 301}, sampling(2, 1)},
        {"4:4:0", {403, 301}, sampling(1, 2)},
        {"4:4:4", {403, 301}, sampling(1, 1)},
        {"4:1:1", {403, 301}, sampling(4, 1), false},
        {"whole MCUs", {400, 288}, sampling(2, 2)},
        {"smaller than the stamp", {50, 30}, sampling(2, 2), false},
        {"RGB", {403, 301}, colours(JCS_RGB)},
        {"progressive", {403, 301}, sampling(2, 2) << jpeg_simple_progression},
        {"arithmetic", {403, 301}, sampling(2, 2) << Change([](auto *set) { set->arith_code = TRUE; })},
    };
    int orientation = 0;
    for (const auto &[name, size, changes, othersToo] : cases) {
        const int sourceQuality = orientation % 2 == 0 ? 85 : 5; // coarse steps go beyond what others hold
        const QByteArray jpeg = encoded(m_photo.copy(QRect(QPoint(), size)), sourceQuality, changes);
        const QImage plain = QImage::fromData(jpeg).convertToFormat(QImage::Format_RGB32);
        const Overlay stamp = overlay(size, orientation++ % 8 + 1);
        QImage painted = plain.copy();
        stamp.paint(painted);
        QVERIFY2(painted != plain, name);

        const std::optional<QByteArray> kept =
            stampedByCoefficients(jpeg, stamp, {.keepTables = true}, m_buffers);
        QVERIFY2(kept && kept->contains(QByteArray("\xff\xc0\0\x11", 4)), name); // a baseline JPEG
        QVERIFY2(componentsOf(*kept) == expected(jpeg, plain, painted, sourceQuality, changes), name);
        for (const int quality : othersToo ? QList<int>{1, 90, 100} : QList<int>()) {
            const std::optional<QByteArray> other =
                stampedByCoefficients(jpeg, stamp, {.quality = quality}, m_buffers);
            QVERIFY2(other && componentsOf(*other) == expected(jpeg, plain, painted, quality, changes),
                     qPrintable(QStringLiteral("%1 at %2").arg(QLatin1String(name)).arg(quality)));
        }
        QVERIFY2(othersToo || !stampedByCoefficients(jpeg, stamp, {.quality = 90}, m_buffers), name);

        QString error; // through pixels too a photo keeps its sampling, if it is a usual one
        const auto throughPixels = encodedJpeg(plain, 90, jpegFormatOf(jpeg).sampling, &error);
        QCOMPARE(componentsOf(*throughPixels)[0].factors,
                 othersToo ? componentsOf(jpeg)[0].factors : QSize(2, 2));
    }
}

// What has to go through pixels is given back untouched.
void JpegCoefficientsTest::refuses()
{
    const QByteArray jpeg = encoded(m_photo, 85, sampling(2, 2));
    const auto with = [&jpeg](qsizetype at, const QByteArray &bytes) {
        return QByteArray(jpeg).replace(at, bytes.size(), bytes);
    };
    const qsizetype frame = jpeg.indexOf(QByteArray("\xff\xc0\0\x11", 4));
    const QByteArray tall = with(frame + 5, QByteArray("\xff\0", 2));
    const Overlay stamp = overlay(m_photo.size());
    const std::pair<const char *, QByteArray> cases[] = {
        {"empty", {}},
        {"no JPEG", "GIF89a"},
        {"a header alone", jpeg.first(frame + 30)},
        {"cut short", jpeg.chopped(100)},
        {"without its end", jpeg.chopped(2)},
        {"damaged", with(jpeg.size() / 2, QByteArray(40, '\xff'))},
        {"a forged height", tall},
        {"a step of zero", with(jpeg.indexOf("\xff\xdb") + 7, QByteArray(1, '\0'))},
        {"grey", encoded(m_photo, 85, colours(JCS_GRAYSCALE))},
        {"CMYK", encoded(m_photo, 85, colours(JCS_CMYK))},
        {"another sampling", encoded(m_photo, 85, sampling(4, 2))},
    };
    for (const auto &[name, bytes] : cases)
        QVERIFY2(!stampedByCoefficients(bytes, stamp, {}, m_buffers), name);
    QVERIFY(
        !stampedByCoefficients(tall, overlay({m_photo.width(), 0xff00}), {.keepTables = true}, m_buffers));
    QVERIFY(!stampedByCoefficients(jpeg, overlay(m_photo.size().transposed()), {}, m_buffers));
    QVERIFY(!stampedByCoefficients(jpeg, overlay(m_photo.size(), 1, 3.0), {}, m_buffers));
    QVERIFY(stampedByCoefficients(jpeg, overlay(m_photo.size(), 1, 3.0), {.keepTables = true}, m_buffers));
}

QTEST_MAIN(JpegCoefficientsTest)
#include "jpegcoefficients.moc"
