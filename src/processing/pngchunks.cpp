// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/pngchunks.h"

#include "processing/imageresources.h"

#include <QColorSpace>
#include <QPointF>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <optional>

namespace
{

constexpr qsizetype chunkFrame = 12; // length, type, check sum

// Chunks that the format lets no one copy who changes pixels, and that nevertheless stay true: colours,
// position on a page, time.
constexpr const char *lastingChunks[] = {"cHRM", "gAMA", "sRGB", "cICP", "mDCV", "cLLI", "oFFs", "tIME"};
constexpr const char *textChunks[] = {"tEXt", "zTXt", "iTXt"};

const QByteArray signature = QByteArrayLiteral("\x89PNG\r\n\x1a\n");
const QByteArray xmpKeyword = QByteArrayLiteral("XML:com.adobe.xmp");
const QByteArray exifName = QByteArrayLiteral("Exif\0\0");
const QByteArray rawProfile = QByteArrayLiteral("Raw profile type ");

template <qsizetype N>
bool isOneOf(const char *const (&types)[N], QByteArrayView type)
{
    return std::any_of(std::begin(types), std::end(types), [type](const char *each) { return type == each; });
}

bool staysTrue(QByteArrayView type)
{
    const bool ancillary = (type[0] & 0x20) != 0;
    const bool safeToCopy = (type[3] & 0x20) != 0;
    return (ancillary && safeToCopy) || isOneOf(lastingChunks, type);
}

quint32 checkSum(QByteArrayView bytes)
{
    static const std::array<quint32, 256> table = [] {
        std::array<quint32, 256> made{};
        for (quint32 i = 0; i < made.size(); ++i) {
            quint32 value = i;
            for (int bit = 0; bit < 8; ++bit)
                value = (value & 1) != 0 ? 0xedb88320u ^ (value >> 1) : value >> 1;
            made[i] = value;
        }
        return made;
    }();
    quint32 sum = 0xffffffffu;
    for (const char byte : bytes)
        sum = table[(sum ^ static_cast<uchar>(byte)) & 0xff] ^ (sum >> 8);
    return ~sum;
}

QByteArray bigEndian32(quint32 number)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(number, bytes.data());
    return bytes;
}

QByteArray chunk(const char *type, const QByteArray &data)
{
    const QByteArray checked = type + data;
    return bigEndian32(static_cast<quint32>(data.size())) + checked + bigEndian32(checkSum(checked));
}

// Empty when the stream is damaged, or so large that what it holds could fill the memory.
QByteArray inflated(QByteArrayView stream)
{
    constexpr qsizetype limit = 1 << 20;
    return stream.size() > limit ? QByteArray() : qUncompress(bigEndian32(4096) + stream.toByteArray());
}

QByteArray deflated(const QByteArray &bytes)
{
    return qCompress(bytes).mid(4); // behind the length that Qt puts first
}

struct Text {
    QByteArray keyword;
    QByteArray text; // UTF-8
};

std::optional<Text> textOf(const PngChunk &chunk)
{
    const qsizetype end = chunk.data.indexOf('\0');
    if (end < 1)
        return std::nullopt;
    const QByteArray keyword = chunk.data.first(end).toByteArray();
    QByteArrayView rest = chunk.data.sliced(end + 1);
    if (chunk.type == "tEXt")
        return Text{keyword, QString::fromLatin1(rest).toUtf8()};
    if (chunk.type == "zTXt" && rest.size() > 1)
        return Text{keyword, QString::fromLatin1(inflated(rest.sliced(1))).toUtf8()};
    if (chunk.type != "iTXt" || rest.size() < 2)
        return std::nullopt;
    const bool compressed = rest[0] == 1;
    rest = rest.sliced(2);
    for (int part = 0; part < 2; ++part) { // language, and the keyword in it
        const qsizetype zero = rest.indexOf('\0');
        if (zero < 0)
            return std::nullopt;
        rest = rest.sliced(zero + 1);
    }
    return Text{keyword, compressed ? inflated(rest) : rest.toByteArray()};
}

// A block of another format in hexadecimal digits, behind two lines with its name and length.
QByteArray decodedRawProfile(const QByteArray &text)
{
    const qsizetype name = text.indexOf('\n', 1);
    const qsizetype length = name < 0 ? name : text.indexOf('\n', name + 1);
    return length < 0 ? QByteArray() : QByteArray::fromHex(text.mid(length));
}

QByteArray rawProfileText(const QByteArray &name, const QByteArray &block)
{
    return '\n' + name + '\n' + QByteArray::number(block.size()).rightJustified(8) + '\n' + block.toHex() +
           '\n';
}

// Some programs put the name in front that only a JPEG needs.
QByteArray structureIn(const QByteArray &exif)
{
    return exif.startsWith(exifName) ? exif.mid(exifName.size()) : exif;
}

// Some programs write the IPTC data twice: alone, and among the other resources.
void addImageResources(const QByteArray &resources, MetadataBlocks &blocks)
{
    if (resources.contains(blocks.imageResources))
        blocks.imageResources = resources;
    else if (!blocks.imageResources.contains(resources))
        blocks.imageResources += resources;
}

void takeRawProfile(const QByteArray &type, const QByteArray &block, MetadataBlocks &blocks)
{
    const QByteArray xmpName("http://ns.adobe.com/xap/1.0/\0", 29);
    if (block.startsWith(exifName) && blocks.exif.isEmpty())
        blocks.exif = structureIn(block);
    else if (block.startsWith(xmpName) && blocks.xmp.isEmpty())
        blocks.xmp = block.mid(xmpName.size());
    else if (type == "xmp" && blocks.xmp.isEmpty())
        blocks.xmp = block;
    else if (type == "iptc" || type == "8bim")
        addImageResources(asImageResources(block), blocks);
    else if ((type == "icc" || type == "icm") && blocks.iccProfile.isEmpty())
        blocks.iccProfile = block;
}

void takeText(const Text &text, MetadataBlocks &blocks)
{
    if (text.keyword == xmpKeyword)
        blocks.xmp = text.text;
    else if (text.keyword.startsWith(rawProfile))
        takeRawProfile(text.keyword.mid(rawProfile.size()), decodedRawProfile(text.text), blocks);
    else if (text.keyword == "Comment")
        blocks.comments.append(text.text);
    else
        blocks.comments.append(text.keyword + ": " + text.text);
}

// A text that holds no tags, nor is one ("exif:GPSLatitude").
bool isPlainText(const PngChunk &chunk)
{
    return isOneOf(textChunks, chunk.type) && !chunk.data.startsWith(rawProfile) &&
           !chunk.data.startsWith(xmpKeyword) && !chunk.data.startsWith("exif:");
}

QByteArray gammaProfile(QByteArrayView gamma, QByteArrayView chromaticities)
{
    constexpr double unit = 100000.0;
    const auto number = [](QByteArrayView data, qsizetype index) {
        return qFromBigEndian<quint32>(data.data() + 4 * index) / unit;
    };
    if (gamma.size() != 4 || number(gamma, 0) <= 0)
        return {};
    const auto exponent = static_cast<float>(1 / number(gamma, 0));
    if (chromaticities.size() != 32)
        return QColorSpace(QColorSpace::Primaries::SRgb, exponent).iccProfile();
    const auto point = [&](qsizetype index) {
        return QPointF(number(chromaticities, 2 * index), number(chromaticities, 2 * index + 1));
    };
    return QColorSpace(point(0), point(1), point(2), point(3), QColorSpace::TransferFunction::Gamma, exponent)
        .iccProfile();
}

} // namespace

bool PngChunks::isPng(const QByteArray &file)
{
    return file.startsWith(signature);
}

PngChunks::PngChunks(const QByteArray &file)
    : m_file(file)
{
    if (!isPng(file))
        return;
    const QByteArrayView bytes(m_file);
    m_end = signature.size();
    while (bytes.size() - m_end >= chunkFrame) {
        const qsizetype length = qFromBigEndian<quint32>(bytes.data() + m_end);
        if (length > bytes.size() - m_end - chunkFrame)
            return;
        m_list.append({bytes.sliced(m_end + 4, 4), bytes.sliced(m_end + 8, length),
                       bytes.sliced(m_end, length + chunkFrame)});
        m_end += length + chunkFrame;
        if (m_list.constLast().type == "IEND")
            return;
    }
}

bool PngChunks::contains(QByteArrayView type) const
{
    return std::any_of(m_list.begin(), m_list.end(),
                       [type](const PngChunk &each) { return each.type == type; });
}

bool PngChunks::hasPrivate() const
{
    return std::any_of(m_list.begin(), m_list.end(), [](const PngChunk &each) {
        const bool isPublic = (each.type[1] & 0x20) == 0;
        return !isPublic && staysTrue(each.type);
    });
}

MetadataBlocks PngChunks::blocks() const
{
    MetadataBlocks blocks;
    QByteArrayView gamma;
    QByteArrayView chromaticities;
    for (const PngChunk &each : m_list) {
        const std::optional<Text> text = textOf(each);
        if (text)
            takeText(*text, blocks);
        else if (each.type == "eXIf")
            blocks.exif = structureIn(each.data.toByteArray());
        else if (each.type == "gAMA")
            gamma = each.data;
        else if (each.type == "cHRM")
            chromaticities = each.data;
        else if (each.type == "iCCP")
            blocks.iccProfile =
                inflated(each.data.sliced(qMin(each.data.indexOf('\0') + 2, each.data.size())));
    }
    if (blocks.iccProfile.isEmpty() && !contains("sRGB"))
        blocks.iccProfile = gammaProfile(gamma, chromaticities);
    return blocks;
}

PngMetadata PngChunks::metadata(Keep keep, bool withProfile) const
{
    const auto stays = [&](const PngChunk &chunk) {
        if (chunk.type == "iCCP")
            return withProfile;
        if (keep == Keep::All)
            return staysTrue(chunk.type);
        return chunk.type == "pHYs" || isOneOf(lastingChunks, chunk.type) || isPlainText(chunk);
    };
    PngMetadata metadata;
    bool behind = false;
    for (const PngChunk &each : m_list) {
        behind = behind || each.type == "IDAT";
        if (stays(each))
            (behind ? metadata.behind : metadata.before).append(each.bytes);
    }
    return metadata;
}

PngMetadata pngMetadataOf(const MetadataBlocks &blocks)
{
    const QByteArray untranslated(2, '\0'); // no language, no keyword in it
    const auto text = [&](const QByteArray &keyword, const QByteArray &utf8) {
        return chunk("iTXt", keyword + QByteArray(3, '\0') + untranslated + utf8);
    };
    PngMetadata metadata;
    if (!blocks.iccProfile.isEmpty())
        metadata.before += chunk("iCCP", QByteArray("ICC\0\0", 5) + deflated(blocks.iccProfile));
    if (!blocks.exif.isEmpty())
        metadata.before += chunk("eXIf", blocks.exif);
    if (!blocks.xmp.isEmpty())
        metadata.before += text(xmpKeyword, blocks.xmp);
    if (!blocks.imageResources.isEmpty()) {
        metadata.before += chunk("zTXt", rawProfile + QByteArray("iptc\0\0", 6) +
                                             deflated(rawProfileText("iptc", blocks.imageResources)));
    }
    for (const QByteArray &comment : blocks.comments) {
        metadata.before +=
            text("Comment", comment.isValidUtf8() ? comment : QString::fromLatin1(comment).toUtf8());
    }
    return metadata;
}

QByteArray pngWithMetadata(const QByteArray &picture, const PngMetadata &metadata, PngDensity density)
{
    QByteArray whole;
    whole.reserve(picture.size() + metadata.before.size() + metadata.behind.size());
    whole.append(signature);
    bool beforePixels = true;
    const PngChunks own(picture);
    for (const PngChunk &each : own.list()) {
        if (each.type == "IDAT" && beforePixels) {
            whole.append(metadata.before);
            beforePixels = false;
        }
        if (each.type == "IEND")
            whole.append(metadata.behind);
        const bool critical = (each.type[0] & 0x20) == 0;
        if (critical || each.type == "tRNS" || (each.type == "pHYs" && density == PngDensity::OfPicture))
            whole.append(each.bytes);
    }
    return whole;
}
