// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/xmpclaims.h"

#include <QByteArrayView>
#include <QList>
#include <QMap>

#include <algorithm>

namespace
{

// The names that a namespace gives to properties of what follows, by their beginning.
struct Claim {
    const char *space;
    const char *name;
};

constexpr Claim claims[] = {
    {"http://ns.adobe.com/hdr-gain-map/1.0/", ""},
    {"http://ns.google.com/photos/1.0/container/", ""},
    {"http://ns.google.com/photos/1.0/camera/", "Motion"},
    {"http://ns.google.com/photos/1.0/camera/", "MicroVideo"},
};

struct Attribute {
    qsizetype start; // of the white space in front
    qsizetype end;   // behind the closing quote
    QByteArrayView name;
    QByteArrayView value;
};

struct Tag {
    QByteArrayView name;
    QList<Attribute> attributes;
    qsizetype end = 0; // behind ">"
    bool opens = false;
    bool closes = false;
};

bool isSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// A walk over the tags of a packet that notes what is to be left out.
class Editor
{
public:
    explicit Editor(QByteArrayView packet)
        : m_packet(packet)
    {
    }

    QByteArray edited()
    {
        for (qsizetype at = m_packet.indexOf('<'); at >= 0; at = m_packet.indexOf('<', at)) {
            const Tag tag = tagAt(at);
            if (tag.end <= at)
                break; // ends in the middle of a tag
            take(tag, at);
            at = tag.end;
        }
        QByteArray kept;
        qsizetype from = 0;
        for (const auto &[start, end] : m_cuts) {
            kept.append(m_packet.sliced(from, start - from));
            from = end;
        }
        return kept.append(m_packet.sliced(from));
    }

private:
    void take(const Tag &tag, qsizetype at)
    {
        if (m_depth > 0) {
            m_depth += (tag.opens ? 1 : 0) - (tag.closes ? 1 : 0);
            if (m_depth == 0)
                cut(m_cutFrom, tag.end);
            return;
        }
        if (!tag.opens)
            return;
        for (const Attribute &each : tag.attributes) {
            if (each.name.startsWith("xmlns:"))
                m_spaces.insert(each.name.sliced(6).toByteArray(), each.value.toByteArray());
        }
        if (isClaim(tag.name)) {
            if (tag.closes) {
                cut(at, tag.end);
            } else {
                m_cutFrom = at;
                m_depth = 1;
            }
            return;
        }
        for (const Attribute &each : tag.attributes) {
            if (isClaim(each.name))
                cut(each.start, each.end);
        }
    }

    bool isClaim(QByteArrayView name) const
    {
        const qsizetype colon = name.indexOf(':');
        const QByteArray space = m_spaces.value(name.first(qMax<qsizetype>(colon, 0)).toByteArray());
        return !space.isEmpty() && std::any_of(std::begin(claims), std::end(claims), [&](const Claim &claim) {
            return space == claim.space && name.sliced(colon + 1).startsWith(claim.name);
        });
    }

    void cut(qsizetype start, qsizetype end) { m_cuts.append({start, end}); }

    // Behind the next `text` at or behind `at`; 0 when there is none.
    qsizetype behind(const char *text, qsizetype at) const
    {
        const qsizetype found = m_packet.indexOf(text, at);
        return found < 0 ? 0 : found + static_cast<qsizetype>(qstrlen(text));
    }

    qsizetype skip(qsizetype at, bool spaces) const
    {
        while (at < m_packet.size() && isSpace(m_packet[at]) == spaces &&
               (spaces || (m_packet[at] != '>' && m_packet[at] != '/' && m_packet[at] != '=')))
            ++at;
        return at;
    }

    Tag tagAt(qsizetype at) const
    {
        const QByteArrayView rest = m_packet.sliced(at);
        Tag tag;
        if (rest.startsWith("<!--"))
            tag.end = behind("-->", at);
        else if (rest.startsWith("<![CDATA["))
            tag.end = behind("]]>", at);
        else if (rest.startsWith("<?"))
            tag.end = behind("?>", at);
        else if (rest.startsWith("</"))
            tag = {{}, {}, behind(">", at), false, true};
        else
            readStartTag(at, tag);
        return tag;
    }

    void readStartTag(qsizetype at, Tag &tag) const
    {
        qsizetype end = skip(at + 1, false);
        tag.name = m_packet.sliced(at + 1, end - at - 1);
        tag.opens = true;
        while (end < m_packet.size()) {
            const qsizetype start = end;
            const qsizetype name = skip(end, true);
            if (m_packet.sliced(name).startsWith("/>")) {
                tag.closes = true;
                tag.end = name + 2;
                return;
            }
            if (m_packet.sliced(name).startsWith('>')) {
                tag.end = name + 1;
                return;
            }
            const qsizetype nameEnd = skip(name, false);
            const qsizetype equals = skip(nameEnd, true);
            const qsizetype quote = skip(equals + 1, true);
            if (nameEnd == name || quote >= m_packet.size() || m_packet[equals] != '=' ||
                (m_packet[quote] != '"' && m_packet[quote] != '\''))
                return;
            const qsizetype closing = m_packet.indexOf(m_packet[quote], quote + 1);
            if (closing < 0)
                return;
            end = closing + 1;
            tag.attributes.append({start, end, m_packet.sliced(name, nameEnd - name),
                                   m_packet.sliced(quote + 1, closing - quote - 1)});
        }
    }

    QByteArrayView m_packet;
    QMap<QByteArray, QByteArray> m_spaces; // by prefix
    QList<std::pair<qsizetype, qsizetype>> m_cuts;
    qsizetype m_cutFrom = 0;
    int m_depth = 0; // within an element that is left out
};

} // namespace

QByteArray withoutFollowingData(const QByteArray &packet)
{
    return Editor(packet).edited();
}
