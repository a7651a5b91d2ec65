// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/jpegsegments.h"

#include <QtEndian>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <map>
#include <string_view>

using namespace std::string_view_literals;
using Kind = JpegSegment::Kind;

namespace
{

enum Marker : uchar {
    Temporary = 0x01,
    FirstRestart = 0xd0,
    LastRestart = 0xd7,
    StartOfImage = 0xd8,
    EndOfImage = 0xd9,
    StartOfScan = 0xda,
    FirstApplication = 0xe0,
    LastApplication = 0xef,
    Comment = 0xfe,
    Fill = 0xff,
};

struct NamedKind {
    uchar marker;
    std::string_view name;
    Kind kind;
    qsizetype contentAt; // behind the length
};

constexpr NamedKind namedKinds[] = {
    {0xe0, "JFIF\0"sv, Kind::Jfif, 5},
    {0xe1, "Exif\0"sv, Kind::Exif, 6},
    {0xe1, "http://ns.adobe.com/xap/1.0/\0"sv, Kind::Xmp, 29},
    {0xe1, "http://ns.adobe.com/xmp/extension/\0"sv, Kind::ExtendedXmp, 35},
    {0xe2, "ICC_PROFILE\0"sv, Kind::Profile, 12}, // number and count of the part follow
    {0xe2, "MPF\0"sv, Kind::FurtherPictures, 4},
    {0xe2, "urn:iso:std:iso:ts:21496:-1\0"sv, Kind::FurtherPictures, 28}, // gain map
    {0xed, "Photoshop 3.0\0"sv, Kind::ImageResources, 14},
    {0xee, "Adobe"sv, Kind::Coding, 5}, // how the components stand for colours
    {Comment, ""sv, Kind::Comment, 0},
};

constexpr qsizetype payloadLimit = 65533; // a length of 16 bits counts itself

JpegSegment segmentOf(QByteArrayView bytes)
{
    const auto marker = static_cast<uchar>(bytes[1]);
    const QByteArrayView payload = bytes.sliced(4);
    for (const NamedKind &named : namedKinds) {
        const QByteArrayView name(named.name.data(), static_cast<qsizetype>(named.name.size()));
        if (marker == named.marker && payload.size() >= named.contentAt && payload.startsWith(name))
            return {named.kind, bytes, payload.sliced(named.contentAt)};
    }
    const bool application = marker >= FirstApplication && marker <= LastApplication;
    return {application ? Kind::Other : Kind::Coding, bytes, payload};
}

// The offset of the last 0xff of the next marker at or behind `at`, whatever stands before it; the end of the
// file when there is none. An 0xff of the pixels is followed by 0, and restarts belong to them.
qsizetype nextMarker(QByteArrayView file, qsizetype at)
{
    while (at + 1 < file.size()) {
        const void *found = std::memchr(file.data() + at, Fill, static_cast<size_t>(file.size() - at - 1));
        if (!found)
            break;
        at = static_cast<const char *>(found) - file.data();
        const auto marker = static_cast<uchar>(file[at + 1]);
        if (marker != 0 && marker != Fill && (marker < FirstRestart || marker > LastRestart))
            return at;
        at += marker == Fill ? 1 : 2;
    }
    return file.size();
}

// The segment whose marker stands at `at`, with its length; empty when the file ends before.
QByteArrayView segmentBytes(QByteArrayView file, qsizetype at)
{
    if (file.size() - at < 4)
        return {};
    const qsizetype length = qFromBigEndian<quint16>(file.data() + at + 2);
    return length >= 2 && length <= file.size() - at - 2 ? file.sliced(at, length + 2) : QByteArrayView();
}

QByteArray segment(uchar marker, QByteArrayView payload)
{
    char start[4] = {static_cast<char>(Fill), static_cast<char>(marker)};
    qToBigEndian(static_cast<quint16>(payload.size() + 2), start + 2);
    return QByteArray(start, sizeof start).append(payload);
}

QByteArray segment(Kind kind, QByteArrayView content)
{
    const NamedKind &named = *std::find_if(std::begin(namedKinds), std::end(namedKinds),
                                           [kind](const NamedKind &each) { return each.kind == kind; });
    QByteArray payload(named.name.data(), static_cast<qsizetype>(named.name.size()));
    payload.append(named.contentAt - payload.size(), '\0').append(content);
    return segment(named.marker, payload);
}

// A content that is longer than a segment, in several: each with what `prefixOf` gives for (number, count).
template <typename PrefixOf>
QByteArray segments(Kind kind, QByteArrayView content, const PrefixOf &prefixOf)
{
    constexpr qsizetype room = payloadLimit - 16; // name and prefix take at most 14 bytes
    const qsizetype count = (content.size() + room - 1) / room;
    QByteArray all;
    for (qsizetype i = 0; i < count; ++i) {
        const QByteArrayView part = content.sliced(i * room, qMin(room, content.size() - i * room));
        all += segment(kind, prefixOf(i + 1, count).append(part));
    }
    return all;
}

// The parts of a profile in the order that they tell; whatever file order they have.
QByteArray joinedProfile(const QList<JpegSegment> &list)
{
    std::map<uchar, QByteArrayView> parts;
    for (const JpegSegment &each : list) {
        if (each.kind == Kind::Profile && each.content.size() > 2)
            parts.emplace(static_cast<uchar>(each.content[0]), each.content.sliced(2));
    }
    QByteArray profile;
    for (const auto &[number, part] : parts)
        profile.append(part);
    return profile;
}

} // namespace

bool JpegSegments::isJpeg(const QByteArray &file)
{
    return file.startsWith("\xff\xd8\xff");
}

JpegSegments::JpegSegments(const QByteArray &file)
    : m_file(file)
{
    if (!isJpeg(file))
        return;
    const QByteArrayView bytes(m_file);
    for (qsizetype at = nextMarker(bytes, 2); at < bytes.size(); at = nextMarker(bytes, at)) {
        const auto marker = static_cast<uchar>(bytes[at + 1]);
        if (marker == EndOfImage)
            return;
        if (marker == Temporary || marker == StartOfImage) {
            at += 2;
            continue;
        }
        const QByteArrayView whole = segmentBytes(bytes, at);
        if (whole.isEmpty())
            return;
        m_list.append(segmentOf(whole));
        at += whole.size();
        if (marker == StartOfScan) {
            m_startOfPixels = at;
            return;
        }
    }
}

QByteArrayView JpegSegments::first(Kind kind) const
{
    for (const JpegSegment &each : m_list) {
        if (each.kind == kind)
            return each.content;
    }
    return {};
}

QByteArray JpegSegments::joined(Kind kind) const
{
    QByteArray all;
    for (const JpegSegment &each : m_list) {
        if (each.kind == kind)
            all.append(each.content);
    }
    return all;
}

qsizetype JpegSegments::endOfPicture() const
{
    const QByteArrayView bytes(m_file);
    if (m_startOfPixels == 0)
        return bytes.size();
    for (qsizetype at = m_startOfPixels;;) {
        at = nextMarker(bytes, at);
        if (at == bytes.size())
            return at;
        if (static_cast<uchar>(bytes[at + 1]) == EndOfImage)
            return at + 2;
        const QByteArrayView between = segmentBytes(bytes, at); // tables, and the headers of further scans
        at += between.isEmpty() ? 2 : between.size();
    }
}

MetadataBlocks JpegSegments::blocks() const
{
    MetadataBlocks blocks;
    blocks.exif = first(Kind::Exif).toByteArray();
    blocks.xmp = first(Kind::Xmp).toByteArray();
    blocks.imageResources = joined(Kind::ImageResources);
    blocks.iccProfile = joinedProfile(m_list);
    for (const JpegSegment &each : m_list) {
        if (each.kind == Kind::Comment)
            blocks.comments.append(each.content.toByteArray());
    }
    return blocks;
}

QByteArray jpegXmpSegment(const QByteArray &packet)
{
    return segment(Kind::Xmp, packet);
}

QByteArray jpegSegmentsOf(const MetadataBlocks &blocks)
{
    QByteArray all;
    if (!blocks.exif.isEmpty())
        all += segment(Kind::Exif, blocks.exif);
    if (!blocks.xmp.isEmpty())
        all += jpegXmpSegment(blocks.xmp);
    all += segments(Kind::ImageResources, blocks.imageResources,
                    [](qsizetype, qsizetype) { return QByteArray(); });
    all += segments(Kind::Profile, blocks.iccProfile, [](qsizetype number, qsizetype count) {
        return QByteArray(1, static_cast<char>(number)).append(static_cast<char>(count));
    });
    for (const QByteArray &comment : blocks.comments)
        all += segment(Kind::Comment, QByteArrayView(comment).first(qMin(comment.size(), payloadLimit)));
    return all;
}

QByteArray jpegWithSegments(QByteArray picture, const QByteArray &segments, JpegDensity density)
{
    JpegSegments own(picture);
    const qsizetype startOfPixels = own.startOfPixels();
    if (startOfPixels == 0)
        return picture;
    QByteArray head = picture.first(2);
    const auto append = [&own, &head](Kind kind) {
        for (const JpegSegment &each : own.list()) {
            if (each.kind == kind)
                head.append(each.bytes);
        }
    };
    if (density == JpegDensity::OfPicture)
        append(Kind::Jfif);
    head.append(segments);
    append(Kind::Coding);
    own = JpegSegments(); // the picture, which may be large, is not shared any more, and not copied
    return picture.remove(0, startOfPixels).prepend(head);
}
