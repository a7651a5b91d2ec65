// SPDX-License-Identifier: GPL-3.0-or-later

// Feeds damaged photos to everything that reads their structure. To be built with the sanitizers:
//   velmaro-fuzz-metadata ROUNDS PHOTO...

#include "processing/imageresources.h"
#include "processing/photometadata.h"
#include "processing/xmpclaims.h"

#include <QFile>
#include <QRandomGenerator>

#include <cstdio>

namespace
{

QByteArray damaged(QByteArray bytes, QRandomGenerator &random)
{
    constexpr int head = 4096; // where the structure is, as a rule
    for (int changes = random.bounded(1, 12); changes > 0 && !bytes.isEmpty(); --changes) {
        const auto reach =
            static_cast<int>(random.bounded(3) == 0 ? bytes.size() : qMin<qsizetype>(head, bytes.size()));
        const int at = random.bounded(reach);
        const auto byte = static_cast<char>(random.bounded(256));
        switch (random.bounded(5)) {
        case 0:
            bytes[at] = byte;
            break;
        case 1:
            bytes[at] = random.bounded(2) == 0 ? '\xff' : '\0';
            break;
        case 2:
            bytes.remove(at, random.bounded(64));
            break;
        case 3:
            bytes.insert(at, bytes.mid(random.bounded(reach), random.bounded(64)));
            break;
        default:
            if (random.bounded(8) == 0)
                bytes.truncate(at);
        }
    }
    return bytes;
}

void readEverything(const QByteArray &file, const QList<QByteArray> &pictures)
{
    QString error;
    const std::optional<PhotoMetadata> metadata = readMetadata(file, &error);
    withoutFollowingData(file);
    withoutPlace(file);
    iptcIn(file);
    if (!metadata)
        return;
    for (const QByteArray &picture : pictures) {
        withMetadata(picture, *metadata, &error);
        withMetadata(picture, withFreshExif(*metadata, {}), &error);
    }
    withMetadata(file, *metadata, &error);
}

} // namespace

int main(int argc, char *argv[])
{
    QList<QByteArray> photos;
    for (int i = 2; i < argc; ++i) {
        QFile file(QString::fromLocal8Bit(argv[i]));
        if (!file.open(QIODevice::ReadOnly))
            return 2;
        photos.append(file.readAll());
    }
    if (photos.isEmpty())
        return 2;
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    QRandomGenerator random(1);
    const int rounds = QByteArray(argv[1]).toInt();
    for (int round = 0; round < rounds; ++round)
        readEverything(damaged(photos.at(random.bounded(static_cast<int>(photos.size()))), random), photos);
    std::printf("%d damaged photos read\n", rounds);
}
