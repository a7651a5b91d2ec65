// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/imageresources.h"

#include <QByteArrayView>
#include <QList>
#include <QtEndian>

namespace
{

enum Number : quint16 {
    Iptc = 0x0404,
    Exif1 = 0x0422,
    Exif3 = 0x0423,
    Xmp = 0x0424,
    CaptionDigest = 0x0425, // a check sum of the IPTC data
};

struct Resource {
    quint16 number;
    QByteArrayView data;
    QByteArrayView bytes; // header and padding included
};

constexpr qsizetype even(qsizetype size)
{
    return size + size % 2;
}

// What does not look like a resource ends the list and is handed on as one that nobody knows.
QList<Resource> listOf(QByteArrayView resources)
{
    QList<Resource> list;
    while (!resources.isEmpty()) {
        constexpr qsizetype fixedPart = 4 + 2; // signature and number
        const qsizetype nameSize =
            resources.size() > fixedPart ? even(1 + static_cast<uchar>(resources[fixedPart])) : 0;
        const qsizetype start = fixedPart + nameSize + 4;
        if (nameSize == 0 || resources.size() < start) {
            list.append({0, {}, resources});
            break;
        }
        const qsizetype size = qFromBigEndian<quint32>(resources.data() + start - 4);
        if (size > resources.size() - start) {
            list.append({0, {}, resources});
            break;
        }
        const qsizetype whole = qMin(start + even(size), resources.size());
        list.append({qFromBigEndian<quint16>(resources.data() + 4), resources.sliced(start, size),
                     resources.first(whole)});
        resources = resources.sliced(whole);
    }
    return list;
}

QByteArray resource(Number number, const QByteArray &data)
{
    QByteArray bytes("8BIM\0\0\0\0\0\0\0\0", 12);
    qToBigEndian(static_cast<quint16>(number), bytes.data() + 4);
    qToBigEndian(static_cast<quint32>(data.size()), bytes.data() + 8);
    bytes += data;
    return data.size() % 2 == 0 ? bytes : bytes + '\0';
}

// Content location, city, sublocation, state, country.
bool tellsPlace(int record, int dataset)
{
    constexpr int application = 2;
    constexpr int places[] = {26, 27, 90, 92, 95, 100, 101};
    return record == application &&
           std::find(std::begin(places), std::end(places), dataset) != std::end(places);
}

QByteArray iptcWithoutPlace(QByteArrayView iptc)
{
    constexpr char tagMarker = 0x1c;
    constexpr qsizetype headerSize = 5; // marker, record, dataset, size
    QByteArray kept;
    while (iptc.size() >= headerSize && iptc[0] == tagMarker) {
        qsizetype start = headerSize;
        qsizetype size = qFromBigEndian<quint16>(iptc.data() + 3);
        if (size >= 0x8000) { // the size of the size
            const qsizetype digits = size & 0x7fff;
            if (digits > 4 || digits > iptc.size() - headerSize)
                break;
            size = 0;
            for (qsizetype i = 0; i < digits; ++i)
                size = size << 8 | static_cast<uchar>(iptc[start++]);
        }
        if (size > iptc.size() - start)
            break;
        if (!tellsPlace(iptc[1], iptc[2]))
            kept.append(iptc.first(start + size));
        iptc = iptc.sliced(start + size);
    }
    return kept.append(iptc);
}

} // namespace

QByteArray asImageResources(const QByteArray &block)
{
    return block.startsWith('\x1c') ? resource(Iptc, block) : block;
}

QByteArray iptcIn(const QByteArray &resources)
{
    for (const Resource &each : listOf(resources)) {
        if (each.number == Iptc)
            return each.data.toByteArray();
    }
    return {};
}

QByteArray withIptc(const QByteArray &resources, const QByteArray &iptc)
{
    QByteArray changed;
    for (const Resource &each : listOf(resources)) {
        if (each.number != Iptc && each.number != CaptionDigest)
            changed.append(each.bytes);
    }
    return iptc.isEmpty() ? changed : changed + resource(Iptc, iptc);
}

QByteArray withoutPlace(const QByteArray &resources)
{
    QByteArray kept;
    for (const Resource &each : listOf(resources)) {
        if (each.number == Iptc) {
            const QByteArray iptc = iptcWithoutPlace(each.data);
            if (iptc.size() == each.data.size())
                kept.append(each.bytes);
            else
                return withIptc(withoutPlace(withIptc(resources, {})), iptc);
        } else if (each.number != Exif1 && each.number != Exif3 && each.number != Xmp) {
            kept.append(each.bytes);
        }
    }
    return kept;
}
