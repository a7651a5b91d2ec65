// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/jpegcoefficients.h"

#include "processing/coefficientrows.h"
#include "processing/jpegcodec.h"
#include "processing/jpegobject.h"
#include "processing/pixeltrial.h"
#include "processing/requantiser.h"
#include "processing/stampedpieces.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <memory>
#include <vector>

static_assert(BITS_IN_JSAMPLE == 8);

namespace
{

constexpr size_t componentCount = 3;

// The bytes of a Format_RGB32 pixel in memory.
constexpr J_COLOR_SPACE paintedSpace = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? JCS_EXT_BGRA : JCS_EXT_ARGB;

// A progressive JPEG of more scans than this is no photo but a trap.
constexpr int mostScans = 100;

// A rectangle that is painted on.
struct Piece {
    explicit Piece(const QRect &rectangle)
        : mcus(rectangle)
    {
    }

    QRect mcus;
    bool done = false;
    std::unique_ptr<CoefficientRows> painted; ///< until its last row is written; none when nothing changed
    QList<bool> changed;                      ///< of each MCU, row by row
};

// Whether the result may have the sampling of the photo: chroma at full or half resolution each way.
bool keepsSampling(const BlockLayout &layout)
{
    const auto isKept = [](const std::array<int, componentCount> &blocks) {
        return blocks[1] == blocks[2] && (blocks[0] == blocks[1] || blocks[0] == 2 * blocks[1]);
    };
    return isKept(layout.across) && isKept(layout.down);
}

UINT16 dotsPerInch(int dotsPerMeter)
{
    return static_cast<UINT16>(qBound(1, qRound(dotsPerMeter * 0.0254), 65535));
}

class Stamper : public BlockStore
{
public:
    Stamper(const QByteArray &jpeg, const Overlay &overlay, const JpegCoding &coding, PixelBuffers &buffers)
        : m_jpeg(jpeg)
        , m_overlay(overlay)
        , m_coding(coding)
        , m_buffers(buffers)
    {
    }

    std::optional<QByteArray> stamped();

    // The compressor of the result fetches its rows.
    JBLOCKARRAY rows(size_t component, JDIMENSION first, JDIMENSION count, bool toWrite) noexcept override;

private:
    bool readHeader();
    bool isSuitable();
    bool planPieces();
    bool startReading();
    bool hasTables();
    bool readRowsTo(int mcuRow);
    bool readToEnd();
    void setUp(jpeg_compress_struct *encoder, const QSize &size);
    void setTables(jpeg_compress_struct *encoder) const;
    void setDensity(jpeg_compress_struct *encoder) const;
    bool finishRow(int mcuRow);
    bool isNearerThroughPixels();
    bool paint(Piece &piece);
    QRect withMargin(const QRect &mcus) const;
    QRect pixelsOf(const QRect &mcus) const;
    bool decode(const CoefficientRows &rows, const QRect &mcus, bool requantised, QImage &pixels);
    bool encode(Piece &piece, const QImage &pixels, QPoint topLeft);
    void putBack(const Piece &piece, int mcuRow);

    const QByteArray &m_jpeg;
    const Overlay &m_overlay;
    const JpegCoding &m_coding;
    PixelBuffers &m_buffers;
    JpegDecompressor m_source;
    BlockLayout m_layout;
    QSize m_mcu;   ///< in pixels
    QRect m_whole; ///< in MCUs
    std::unique_ptr<CoefficientRows> m_rows;
    std::array<Requantiser, componentCount> m_requantisers;
    bool m_isAcCodable = false; ///< whatever is read
    std::vector<Piece> m_pieces;
    std::optional<PixelTrial> m_trial; ///< unless the tables are kept
    int m_rowsRead = 0;
    int m_rowsFinished = 0;
};

bool Stamper::readHeader()
{
    return m_source.run([this] {
        jpeg_mem_src(m_source.get(), reinterpret_cast<const uchar *>(m_jpeg.constData()),
                     static_cast<unsigned long>(m_jpeg.size()));
        jpeg_read_header(m_source.get(), TRUE);
    });
}

bool Stamper::isSuitable()
{
    const jpeg_decompress_struct &source = *m_source.get();
    const QSize size(static_cast<int>(source.image_width), static_cast<int>(source.image_height));
    if (size != m_overlay.pictureSize() || source.data_precision != BITS_IN_JSAMPLE ||
        source.num_components != componentCount ||
        (source.jpeg_color_space != JCS_YCbCr && source.jpeg_color_space != JCS_RGB))
        return false;
    m_layout = BlockLayout::of(source, source.image_width, source.image_height);
    m_mcu = QSize(source.max_h_samp_factor, source.max_v_samp_factor) * DCTSIZE;
    m_whole = QRect(0, 0, m_layout.mcusAcross, m_layout.mcusDown);
    return m_coding.keepTables || keepsSampling(m_layout);
}

// The pieces of the stamp; false when they are not worth it.
bool Stamper::planPieces()
{
    qint64 covered = 0;
    const QList<QRect> pieces = piecesOf(m_overlay.areas(), m_mcu);
    for (const QRect &mcus : pieces) {
        covered += qint64(mcus.width()) * mcus.height();
        m_pieces.emplace_back(mcus);
    }
    if (!m_coding.keepTables)
        m_trial.emplace(m_layout, pieces);
    return m_coding.keepTables || 2 * covered <= qint64(m_whole.width()) * m_whole.height();
}

bool Stamper::startReading()
{
    const bool allAtOnce = jpeg_has_multiple_scans(m_source.get());
    int rowsAtOnce = allAtOnce ? m_whole.height() : 1;
    for (const Piece &piece : m_pieces)
        rowsAtOnce = std::max(rowsAtOnce, withMargin(piece.mcus).height());
    m_rows = std::make_unique<CoefficientRows>(m_layout, rowsAtOnce, m_buffers);
    const bool started = m_source.run([this] {
        m_source.keepBlocksIn(m_rows.get());
        m_source->buffered_image = TRUE;
        jpeg_start_decompress(m_source.get());
    });
    if (!started || m_source.components() != componentCount)
        return false;
    m_isAcCodable = !allAtOnce && codesOnlyCodableAc(*m_source.get());
    return (!allAtOnce || readToEnd()) && hasTables();
}

// Whether every component has a quantisation table, without steps of 0.
bool Stamper::hasTables()
{
    return std::all_of(m_source->comp_info, m_source->comp_info + componentCount,
                       [](const jpeg_component_info &component) {
                           const JQUANT_TBL *table = component.quant_table;
                           return table && std::find(std::begin(table->quantval), std::end(table->quantval),
                                                     0) == std::end(table->quantval);
                       });
}

bool Stamper::readRowsTo(int mcuRow)
{
    const bool read = m_source.run([this, mcuRow] {
        while (m_rowsRead <= mcuRow && m_source.warnings() == 0) {
            const int step = jpeg_consume_input(m_source.get());
            if (step == JPEG_SUSPENDED || step == JPEG_REACHED_EOI)
                return;
            if (step == JPEG_ROW_COMPLETED || step == JPEG_SCAN_COMPLETED)
                ++m_rowsRead;
        }
    });
    return read && m_rowsRead > mcuRow && m_source.warnings() == 0;
}

// Reads what is left, up to the end of the image: all of it when there are several scans.
bool Stamper::readToEnd()
{
    const int scans = jpeg_has_multiple_scans(m_source.get()) ? mostScans : 1;
    bool ended = false;
    const bool read = m_source.run([this, scans, &ended] {
        while (!ended && m_source.warnings() == 0 && m_source->input_scan_number <= scans)
            ended = jpeg_consume_input(m_source.get()) == JPEG_REACHED_EOI;
    });
    m_rowsRead = m_whole.height();
    return read && ended && m_source.warnings() == 0;
}

// Gives an encoder the photo's components and sampling, the tables of the result, and a size. May be left by
// a jump.
void Stamper::setUp(jpeg_compress_struct *encoder, const QSize &size)
{
    jpeg_copy_critical_parameters(m_source.get(), encoder);
    // Whatever header the result gets, its components are taken for what they are.
    for (int component = 0; component < encoder->num_components; ++component)
        encoder->comp_info[component].component_id =
            encoder->jpeg_color_space == JCS_RGB ? "RGB"[component] : component + 1;
    encoder->image_width = static_cast<JDIMENSION>(size.width());
    encoder->image_height = static_cast<JDIMENSION>(size.height());
#if JPEG_LIB_VERSION >= 70
    encoder->jpeg_width = encoder->image_width;
    encoder->jpeg_height = encoder->image_height;
#endif
}

void Stamper::setTables(jpeg_compress_struct *encoder) const
{
    if (m_coding.keepTables)
        return;
    jpeg_set_quality(encoder, encoderQuality(m_coding.quality), TRUE);
    for (int component = 0; component < encoder->num_components; ++component) {
        const bool chroma = component > 0 && encoder->jpeg_color_space == JCS_YCbCr;
        encoder->comp_info[component].quant_tbl_no = chroma ? 1 : 0;
    }
}

void Stamper::setDensity(jpeg_compress_struct *encoder) const
{
    const bool known = encoder->density_unit != 0 && encoder->X_density != 0 && encoder->Y_density != 0;
    if (known || m_coding.dotsPerMeter.isEmpty())
        return;
    encoder->density_unit = 1;
    encoder->X_density = dotsPerInch(m_coding.dotsPerMeter.width());
    encoder->Y_density = dotsPerInch(m_coding.dotsPerMeter.height());
}

std::optional<QByteArray> Stamper::stamped()
{
    if (!readHeader() || !isSuitable() || !planPieces() || !startReading())
        return std::nullopt;
    EncodedBytes result(m_jpeg.size() + m_jpeg.size() / 4);
    JpegCompressor encoder;
    const bool written = encoder.run([&] {
        encoder.keepBlocksIn(this);
        encoder->dest = result.manager();
        setUp(encoder.get(), m_overlay.pictureSize());
        setTables(encoder.get());
        setDensity(encoder.get());
        for (size_t component = 0; component < componentCount && !m_coding.keepTables; ++component) {
            const int table = encoder->comp_info[component].quant_tbl_no;
            m_requantisers[component] =
                Requantiser(*m_source->comp_info[component].quant_table, *encoder->quant_tbl_ptrs[table]);
        }
        jpeg_write_coefficients(encoder.get(), encoder.arrays());
        jpeg_finish_compress(encoder.get());
    });
    if (!written || m_rowsFinished < m_whole.height() || !readToEnd() || isNearerThroughPixels())
        return std::nullopt;
    return result.take();
}

JBLOCKARRAY Stamper::rows(size_t component, JDIMENSION first, JDIMENSION count, bool) noexcept
{
    const int mcuRow = static_cast<int>(first) / m_layout.down[component];
    try {
        if (mcuRow >= m_rowsFinished && !finishRow(mcuRow))
            return nullptr;
    } catch (const std::exception &) {
        return nullptr;
    }
    return m_rows->rows(component, first, count, false);
}

// Brings a row into the state in which it is written. Pieces are painted before anything that they are
// decoded from is changed.
bool Stamper::finishRow(int mcuRow)
{
    if (mcuRow > 0)
        m_rows->letGo(mcuRow - 1);
    for (Piece &piece : m_pieces) {
        if (!piece.done && withMargin(piece.mcus).top() <= mcuRow && !paint(piece))
            return false;
    }
    if (!readRowsTo(mcuRow))
        return false;
    if (m_trial)
        m_trial->takeFrom(*m_rows, mcuRow);
    for (size_t component = 0; component < componentCount; ++component) {
        const int down = m_layout.down[component];
        for (int row = mcuRow * down; row < (mcuRow + 1) * down; ++row) {
            const Requantiser &requantiser = m_requantisers[component];
            requantiser.convert(m_rows->row(component, row), m_rows->blocksAcross(component));
            if (!requantiser.changes() && !m_rows->isCodable(component, row, m_isAcCodable))
                return false;
        }
    }
    for (Piece &piece : m_pieces) {
        if (piece.painted && mcuRow >= piece.mcus.top())
            putBack(piece, mcuRow);
        if (mcuRow >= piece.mcus.bottom())
            piece.painted.reset();
    }
    m_rowsFinished = mcuRow + 1;
    return true;
}

bool Stamper::isNearerThroughPixels()
{
    const auto decoded = [this](const CoefficientRows &samples, bool requantised, QImage &pixels) {
        return decode(samples, QRect(0, 0, samples.layout().mcusAcross, 1), requantised, pixels);
    };
    return m_trial && m_trial->isNearerThroughPixels(m_requantisers, decoded, m_coding.quality,
                                                     jpegFormatOf(m_jpeg).sampling);
}

bool Stamper::paint(Piece &piece)
{
    piece.done = true;
    const QRect mcus = withMargin(piece.mcus);
    const QRect area = pixelsOf(mcus);
    QImage pixels = m_buffers.image(area.size());
    QImage before = m_buffers.image(area.size());
    if (before.isNull() || pixels.isNull() || !readRowsTo(mcus.bottom()) ||
        !decode(*m_rows, mcus, false, pixels))
        return false;
    std::memcpy(before.bits(), pixels.constBits(), static_cast<size_t>(pixels.sizeInBytes()));
    m_overlay.paint(pixels, area.topLeft());
    piece.changed = changedMcus(before, pixels, pixelsOf(piece.mcus).translated(-area.topLeft()), m_mcu);
    return piece.changed.contains(true) ? encode(piece, pixels, area.topLeft()) : true;
}

// With a margin of one MCU, so that smoothed chroma comes out as in the whole picture.
QRect Stamper::withMargin(const QRect &mcus) const
{
    return mcus.adjusted(-1, -1, 1, 1) & m_whole;
}

QRect Stamper::pixelsOf(const QRect &mcus) const
{
    return QRect(mcus.left() * m_mcu.width(), mcus.top() * m_mcu.height(), mcus.width() * m_mcu.width(),
                 mcus.height() * m_mcu.height()) &
           QRect(QPoint(), m_overlay.pictureSize());
}

// Decodes MCUs from rows in memory. The library decompresses a JPEG of their size, in which there is
// nothing, and is handed their coefficients.
bool Stamper::decode(const CoefficientRows &rows, const QRect &mcus, bool requantised, QImage &pixels)
{
    BlockLayout layout = m_layout;
    layout.mcusAcross = mcus.width();
    EmptyRows nothing(layout);
    EncodedBytes blank(4096);
    JpegCompressor encoder;
    const bool written = encoder.run([&] {
        encoder.keepBlocksIn(&nothing);
        encoder->dest = blank.manager();
        setUp(encoder.get(), pixels.size());
        if (requantised)
            setTables(encoder.get());
        jpeg_write_coefficients(encoder.get(), encoder.arrays());
        jpeg_finish_compress(encoder.get());
    });
    if (!written)
        return false;

    const QByteArray header = blank.take();
    uchar *firstRow = pixels.bits();
    const auto stride = static_cast<size_t>(pixels.bytesPerLine());
    PartOfRows piece(rows, mcus.topLeft(), nothing);
    JpegDecompressor decoder;
    return decoder.run([&] {
        decoder.keepBlocksIn(&piece);
        jpeg_mem_src(decoder.get(), reinterpret_cast<const uchar *>(header.constData()),
                     static_cast<unsigned long>(header.size()));
        jpeg_read_header(decoder.get(), TRUE);
        decoder->buffered_image = TRUE;
        decoder->out_color_space = paintedSpace;
        jpeg_start_decompress(decoder.get());
        jpeg_start_output(decoder.get(), 1);
        while (decoder->output_scanline < decoder->output_height) {
            JSAMPROW row = firstRow + stride * decoder->output_scanline;
            jpeg_read_scanlines(decoder.get(), &row, 1);
        }
    });
}

// Encodes a painted piece up to its coefficients. Asked for several scans, the library collects them all
// before it goes on after the first scan, which is one of little data.
bool Stamper::encode(Piece &piece, const QImage &pixels, QPoint topLeft)
{
    BlockLayout layout = m_layout;
    layout.mcusAcross = piece.mcus.width();
    piece.painted = std::make_unique<CoefficientRows>(layout, piece.mcus.height(), m_buffers);
    const QRect area = pixelsOf(piece.mcus);
    const QPoint offset = area.topLeft() - topLeft;
    const uchar *firstRow =
        pixels.constScanLine(offset.y()) + static_cast<ptrdiff_t>(offset.x()) * (pixels.depth() / 8);
    const auto stride = static_cast<size_t>(pixels.bytesPerLine());
    static constexpr std::array<jpeg_scan_info, componentCount> scans{
        {{1, {1}, 0, 63, 0, 0}, {1, {2}, 0, 63, 0, 0}, {1, {0}, 0, 63, 0, 0}}};
    EncodedBytes unused(4096);
    JpegCompressor encoder;
    return encoder.run([&] {
        encoder.keepBlocksIn(piece.painted.get());
        encoder->dest = unused.manager();
        setUp(encoder.get(), area.size());
        setTables(encoder.get());
        encoder->in_color_space = paintedSpace;
        encoder->input_components = 4;
        encoder->scan_info = scans.data();
        encoder->num_scans = static_cast<int>(scans.size());
        jpeg_start_compress(encoder.get(), TRUE);
        while (encoder->next_scanline < encoder->image_height) {
            auto *row = const_cast<JSAMPROW>(firstRow + stride * encoder->next_scanline);
            jpeg_write_scanlines(encoder.get(), &row, 1);
        }
    });
}

void Stamper::putBack(const Piece &piece, int mcuRow)
{
    const int rowOfPiece = mcuRow - piece.mcus.top();
    for (int x = 0; x < piece.mcus.width(); ++x) {
        if (!piece.changed[qsizetype(rowOfPiece) * piece.mcus.width() + x])
            continue;
        for (size_t component = 0; component < componentCount; ++component) {
            const int across = m_layout.across[component];
            const int down = m_layout.down[component];
            for (int row = 0; row < down; ++row)
                std::memcpy(m_rows->row(component, mcuRow * down + row) +
                                static_cast<ptrdiff_t>(piece.mcus.left() + x) * across,
                            piece.painted->row(component, rowOfPiece * down + row) +
                                static_cast<ptrdiff_t>(x) * across,
                            static_cast<size_t>(across) * sizeof(JBLOCK));
        }
    }
}

} // namespace

std::optional<QByteArray> stampedByCoefficients(const QByteArray &jpeg, const Overlay &overlay,
                                                const JpegCoding &coding, PixelBuffers &buffers)
{
    return Stamper(jpeg, overlay, coding, buffers).stamped();
}
