// SPDX-License-Identifier: GPL-3.0-or-later

// Stamps damaged JPEGs by their coefficients: photos in which some bytes are changed, taken away, put in
// twice or cut off. To be built with the sanitizers. What comes out must be a JPEG of the photo's size that
// decodes without a warning, or nothing.

#include "processing/jpegcoefficients.h"
#include "processing/jpegobject.h"

#include <QFile>
#include <QGuiApplication>

#include <cstdio>
#include <random>

namespace
{

using Random = std::mt19937;

qsizetype below(Random &random, qsizetype limit)
{
    return std::uniform_int_distribution<qsizetype>(0, qMax<qsizetype>(limit - 1, 0))(random);
}

// Somewhere in the photo: as often as not in one of the headers before the picture, which are short.
qsizetype place(const QByteArray &jpeg, Random &random)
{
    QList<qsizetype> headers;
    for (qsizetype at = 2; at + 4 < jpeg.size() && static_cast<uchar>(jpeg[at]) == 0xff;) {
        const int length = static_cast<uchar>(jpeg[at + 2]) << 8 | static_cast<uchar>(jpeg[at + 3]);
        const auto marker = static_cast<uchar>(jpeg[at + 1]);
        if (marker < 0xe0) // no application's own data
            headers << at;
        if (marker == 0xda)
            break;
        at += 2 + length;
    }
    if (headers.isEmpty() || random() % 2 == 0)
        return below(random, jpeg.size());
    const qsizetype header = headers[below(random, headers.size())];
    return qMin(header + below(random, random() % 2 == 0 ? 20 : 200), jpeg.size() - 1);
}

QByteArray mutated(QByteArray jpeg, Random &random)
{
    static const QByteArray telling = QByteArray::fromHex("00017f80ffd8d9dac0c2c4dbddd0e0ee");
    const qsizetype changes = 1 + below(random, 4);
    for (qsizetype change = 0; change < changes && !jpeg.isEmpty(); ++change) {
        const qsizetype at = place(jpeg, random);
        const qsizetype length = 1 + below(random, random() % 4 == 0 ? 400 : 4);
        switch (random() % 6) {
        case 0:
            jpeg[at] = static_cast<char>(jpeg[at] ^ (1 << random() % 8));
            break;
        case 1:
            jpeg[at] = static_cast<char>(random());
            break;
        case 2:
            jpeg[at] = telling[below(random, telling.size())];
            break;
        case 3:
            jpeg.remove(at, length);
            break;
        case 4:
            jpeg.insert(at, jpeg.mid(place(jpeg, random), length));
            break;
        default:
            if (random() % 8 == 0)
                jpeg.truncate(at);
        }
    }
    return jpeg;
}

// The size of a JPEG in pixels; empty when it does not decode without a warning.
QSize decodedSize(const QByteArray &jpeg)
{
    QSize size;
    JpegDecompressor decoder;
    const bool done = decoder.run([&] {
        jpeg_mem_src(decoder.get(), reinterpret_cast<const uchar *>(jpeg.constData()),
                     static_cast<unsigned long>(jpeg.size()));
        jpeg_read_header(decoder.get(), TRUE);
        size = QSize(static_cast<int>(decoder->image_width), static_cast<int>(decoder->image_height));
        jpeg_read_coefficients(decoder.get());
        jpeg_finish_decompress(decoder.get());
    });
    return done && decoder.warnings() == 0 ? size : QSize();
}

// The size that the header of a photo claims, whatever follows.
QSize claimedSize(const QByteArray &jpeg)
{
    QSize size;
    JpegDecompressor decoder;
    decoder.run([&] {
        jpeg_mem_src(decoder.get(), reinterpret_cast<const uchar *>(jpeg.constData()),
                     static_cast<unsigned long>(jpeg.size()));
        jpeg_read_header(decoder.get(), TRUE);
        size = QSize(static_cast<int>(decoder->image_width), static_cast<int>(decoder->image_height));
    });
    return size;
}

Overlay stampFor(QSize size, int orientation)
{
    ProcessOptions options;
    options.drawData = options.bgText = options.addCompass = true;
    options.fontSizeRatio = 0.02;
    options.fontColor = Qt::white;
    options.compassRatio = 0.15;
    options.compassStyle = orientation % 4;
    options.compassArrowColor = Qt::red;
    options.dtPosition = options.coordsPosition = Corner::BottomRight;
    options.compassPosition = Corner::All[orientation % 4];
    OverlayData data;
    data.dateTime = QDateTime(QDate(2026, 3, 14), QTime(9, 12, 5));
    data.utm = {19, 'G', 377695.95, 6308339.97};
    data.orientation = 42.5;
    data.exifOrientation = orientation;
    return Overlay(size, data, options, {}, {});
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    QStringList arguments = QCoreApplication::arguments().mid(1);
    if (arguments.size() < 3) {
        std::fputs("velmaro-fuzz-jpeg TIMES SEED PHOTO...\n", stderr);
        return 2;
    }
    const int times = arguments.takeFirst().toInt();
    const auto seed = arguments.takeFirst().toUInt();
    PixelBuffers buffers;
    int stamped = 0;
    int findings = 0;
    for (int round = 0; round < times; ++round) {
        const uint number = seed + static_cast<uint>(round); // so that a round can be had again alone
        Random random(number);
        QFile file(arguments[round % arguments.size()]);
        if (!file.open(QIODevice::ReadOnly))
            qFatal("cannot read %s", qPrintable(file.fileName()));
        const QByteArray jpeg = mutated(file.readAll(), random);
        // A forged size costs time alone: whoever asks for more than this has asked before decoding.
        const QSize size = claimedSize(jpeg);
        if (size.isEmpty() || qint64(size.width()) * size.height() > 20'000'000)
            continue;
        const Overlay overlay = stampFor(size, static_cast<int>(number % 8) + 1);
        const JpegCoding coding{.quality = static_cast<int>(number % 101), .keepTables = number % 3 == 0};
        const std::optional<QByteArray> result = stampedByCoefficients(jpeg, overlay, coding, buffers);
        stamped += result ? 1 : 0;
        if (result && decodedSize(*result) != size) {
            ++findings;
            std::printf("%s, seed %u: the result is damaged\n", qPrintable(file.fileName()), number);
        }
    }
    std::printf("%d photos, %d of them stamped, %d findings\n", times, stamped, findings);
    return findings == 0 ? 0 : 1;
}
