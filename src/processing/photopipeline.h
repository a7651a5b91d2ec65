// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "data/geojson.h"
#include "processing/photofile.h"
#include "processing/photometadata.h"
#include "processing/stampedpicture.h"
#include "render/overlay.h"

#include <QStringList>

#include <memory>
#include <optional>

/// What is settled about a photo before its file is touched.
struct PhotoData {
    OverlayData overlay;
    int storedOrientation = 1; ///< of the pixels in the file; they are turned when `overlay` has another
};

/// The way of one photo through a run: backup, metadata, position, overlay, name, saving. Each step writes
/// its lines to the photo's own list. An object serves one photo, on one thread.
class PhotoPipeline
{
    Q_DISABLE_COPY_MOVE(PhotoPipeline)

public:
    enum class Outcome {
        Left,     ///< given up on the way; its lines are not shown
        NotSaved, ///< went to the end, but image or metadata could not be written
        Finished,
    };

    PhotoPipeline(const BatchRun &run, const QString &sourcePath);

    /// Whatever it throws, the photo's files are settled as of one that is left.
    Outcome process();

    /// The photo's own log.
    const QStringList &lines() const;

    /// The line that tells why a photo came to `outcome`: of one that was left, its last; of one that was not
    /// saved, the last error.
    QString failure(Outcome outcome) const;

    const PhotoFile &file() const;

    /// The photo on the map; of a finished one.
    MapPoint mapPoint() const;

private:
    struct Result;

    Outcome processed();
    PhotoMetadata readSource();
    std::optional<PhotoData> settled(const PhotoMetadata &metadata);
    QDateTime settledDate(const PhotoMetadata &metadata);
    void settleFromExif(const PhotoMetadata &metadata, OverlayData &data);
    bool settleFromTable(OverlayData &data);
    QString utmName(const UtmPosition &utm) const;
    PhotoMetadata metadataToWrite(const PhotoMetadata &original, const PhotoData &data, bool painted) const;
    Result prepared(const PhotoMetadata &metadata, const PhotoData &data);
    Outcome save(Result result);

    QString fileName() const;
    bool writesFreshTags() const;
    void write(const QString &line);

    const BatchRun &m_run;
    const ProcessOptions &m_options;
    QStringList m_lines;
    const std::unique_ptr<PhotoFile> m_file;
    QByteArray m_source; ///< the photo as it was, read once
    MapPoint m_mapPoint; ///< paths excepted
};
