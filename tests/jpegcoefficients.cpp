// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/jpegcoefficients.h"

#include "processing/jpegcodec.h"
#include "processing/jpegobject.h"
#include "samplephotos.h"

#include <QPainter>
#include <QTest>

namespace
{

// How a JPEG differs from one that the library writes by itself.
struct Coding {
    QSize factors{2, 2};
    J_COLOR_SPACE colours = JCS_YCbCr;
    bool progressive = false;
};

QByteArray encoded(const QImage &image, int quality, const Coding &coding)
{
    EncodedBytes bytes(image.sizeInBytes());
    JpegCompressor encoder;
    encoder.run([&] {
        encoder->dest = bytes.manager();
        encoder->image_width = static_cast<JDIMENSION>(image.width());
        encoder->image_height = static_cast<JDIMENSION>(image.height());
        // CMYK: whatever the four bytes of a pixel then mean
        encoder->in_color_space = coding.colours == JCS_CMYK ? JCS_CMYK : JCS_EXT_BGRA;
        encoder->input_components = 4;
        jpeg_set_defaults(encoder.get());
        jpeg_set_quality(encoder.get(), quality, TRUE);
        jpeg_set_colorspace(encoder.get(), coding.colours);
        encoder->comp_info[0].h_samp_factor = coding.factors.width();
        encoder->comp_info[0].v_samp_factor = coding.factors.height();
        if (coding.progressive)
            jpeg_simple_progression(encoder.get());
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
                          const Coding &coding)
{
    QList<Component> result = componentsOf(encoded(painted, quality, coding));
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

    Logo m_logo{paintLogo(100)};
    PixelBuffers m_buffers;
    QImage m_photo;

    // A box of text at the right edge, a line at the left one, and logo and compass overlapping the box.
    Overlay overlay(QSize size, int orientation = 1, double logoRatio = 0.1) const
    {
        ProcessOptions options;
        options.drawData = options.addCompass = options.bgText = true;
        options.compassRatio = 0.2;
        options.compassStyle = orientation % 4;
        options.logoRatio = logoRatio;
        options.dtPosition = Corner::BottomRight;
        options.logoPosition = options.compassPosition = Corner::All[orientation % 4];
        const OverlayData data{
            QDateTime({2024, 3, 5}, {14, 7, 9}), {19, 'H', 345678.4, 6298765.6}, {}, 42.0, {}, orientation};
        return Overlay(size, data, options, {&m_logo, QString()}, {});
    }

private slots:
    void initTestCase()
    {
        m_photo = paintLandscape({403, 301}, 3);
        addGrain(m_photo, 3, 60);                                       // for coefficients of all sizes
        QPainter(&m_photo).fillRect(QRect(150, 20, 60, 40), Qt::black); // rounded, they go beyond black
    }

    void changesOnlyWhereTheStampIs()
    {
        // the last: whether other tables than the photo's own will do too
        const std::tuple<const char *, QSize, Coding, bool> cases[] = {
            {"4:2:0", {403, 301}, {}, true},
            {"4:2:2", {403, 301}, {.factors{2, 1}}, true},
            {"4:4:0", {403, 301}, {.factors{1, 2}}, true},
            {"4:4:4", {403, 301}, {.factors{1, 1}}, true},
            {"4:1:1", {403, 301}, {.factors{4, 1}}, false},
            {"whole MCUs", {400, 288}, {}, true},
            {"smaller than the stamp", {50, 30}, {}, false},
            {"RGB", {403, 301}, {.factors{1, 1}, .colours = JCS_RGB}, true},
            {"progressive", {403, 301}, {.progressive = true}, true},
        };
        int orientation = 0;
        for (const auto &[name, size, coding, othersToo] : cases) {
            // coarse steps go beyond what others hold
            const int sourceQuality = orientation % 2 == 0 ? 85 : 5;
            const QByteArray jpeg = encoded(m_photo.copy(QRect(QPoint(), size)), sourceQuality, coding);
            const QImage plain = QImage::fromData(jpeg).convertToFormat(QImage::Format_RGB32);
            const Overlay stamp = overlay(size, orientation++ % 8 + 1);
            QImage painted = plain.copy();
            stamp.paint(painted);

            const auto kept = stampedByCoefficients(jpeg, stamp, {.keepTables = true}, m_buffers);
            QVERIFY2(kept && kept->contains(QByteArray("\xff\xc0\0\x11", 4)), name); // a baseline JPEG
            QVERIFY2(componentsOf(*kept) == expected(jpeg, plain, painted, sourceQuality, coding), name);
            for (const int quality : othersToo ? QList<int>{1, 90, 100} : QList<int>()) {
                const auto other = stampedByCoefficients(jpeg, stamp, {.quality = quality}, m_buffers);
                QVERIFY2(other && componentsOf(*other) == expected(jpeg, plain, painted, quality, coding),
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
    void refuses()
    {
        const QByteArray jpeg = encoded(m_photo, 85, {});
        const auto with = [&jpeg](qsizetype at, const QByteArray &bytes) {
            return QByteArray(jpeg).replace(at, bytes.size(), bytes);
        };
        const Overlay stamp = overlay(m_photo.size());
        const std::pair<const char *, QByteArray> cases[] = {
            {"without its end", jpeg.chopped(2)},
            {"damaged", with(jpeg.size() / 2, QByteArray(40, '\xff'))},
            {"a step of zero", with(jpeg.indexOf("\xff\xdb") + 7, QByteArray(1, '\0'))},
            {"grey", encoded(m_photo, 85, {{1, 1}, JCS_GRAYSCALE})},
            {"CMYK", encoded(m_photo, 85, {{1, 1}, JCS_CMYK})},
            {"another sampling", encoded(m_photo, 85, {{4, 2}})},
        };
        for (const auto &[name, bytes] : cases)
            QVERIFY2(!stampedByCoefficients(bytes, stamp, {}, m_buffers), name);
        const QByteArray tall = with(jpeg.indexOf("\xff\xc0") + 5, QByteArray("\xff\0", 2));
        const Overlay onTall = overlay({m_photo.width(), 0xff00});
        QVERIFY(!stampedByCoefficients(tall, onTall, {.keepTables = true}, m_buffers));
        const Overlay large = overlay(m_photo.size(), 1, 3.0);
        QVERIFY(!stampedByCoefficients(jpeg, large, {}, m_buffers));
        QVERIFY(stampedByCoefficients(jpeg, large, {.keepTables = true}, m_buffers));

        // One block with a single coefficient, AC or DC, of 10 or 11 bits: only 10 can be written again.
        const auto single = [this](const char *longest, const char *pixels) {
            const QByteArray start = "ffd8 ffdb0043 00" + QByteArray("01").repeated(64) +
                                     "ffc00011 0800080008 03 011100 021100 031100 ffc40015 00 0002" +
                                     QByteArray("00").repeated(14) + "000b ffc40015 10 0002" +
                                     QByteArray("00").repeated(15);
            const QByteArray bytes = start + longest + "ffda000c 03 0100 0200 0300 003f00" + pixels + "ffd9";
            const Overlay nothing({8, 8}, {}, {}, {}, {});
            return stampedByCoefficients(QByteArray::fromHex(bytes), nothing, {.keepTables = true}, m_buffers)
                .has_value();
        };
        QVERIFY(single("0a", "1ffc00"));
        QVERIFY(!single("0b", "1ffe007f"));
        QVERIFY(!single("0b", "1800007f")); // the least of 11
        QVERIFY(!single("0a", "7ff801"));
        QVERIFY(!single("0a", "5ff001") && single("0a", "5ff801")); // -1025, and black
    }

    // Between the tables of 85 and 90 many coefficients lie halfway: pixels are nearer by 1 dB. From 93 to 90
    // they are by 0.1 dB, too little to count, and at 98 the coefficients are nearer by 1 dB or more.
    void refusesWhatIsNearerThroughPixels()
    {
        QImage photo = paintLandscape({643, 485}, 3);
        addGrain(photo, 3, 4);
        const Overlay stamp = overlay(photo.size());
        const Coding codings[] = {{{2, 2}}, {{2, 1}}, {{1, 2}}, {{1, 1}}, {.progressive = true}};
        QString ways;
        for (const Coding &coding : codings) {
            for (const int from : {85, 93}) {
                const QByteArray jpeg = encoded(photo, from, coding);
                for (const int to : {90, 98}) {
                    if (!stampedByCoefficients(jpeg, stamp, {.quality = to}, m_buffers))
                        ways += QStringLiteral("%1>%2 ").arg(from).arg(to);
                }
                QVERIFY(stampedByCoefficients(jpeg, stamp, {90, true}, m_buffers));
            }
            ways += QLatin1Char('\n');
        }
        QCOMPARE(ways, QStringLiteral("85>90 \n").repeated(qsizetype(std::size(codings))));
    }
};

QTEST_MAIN(JpegCoefficientsTest)
#include "jpegcoefficients.moc"
