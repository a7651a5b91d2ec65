// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "data/geojson.h"
#include "processing/exifreader.h"
#include "processing/photofile.h"
#include "processing/photometadata.h"
#include "render/overlay.h"

#include <QStringList>

#include <optional>

/// The way of one photo through a run: copy or backup, metadata, position, name, overlay, saving. Each step
/// writes its lines to the photo's own list. An object serves one photo, on one thread.
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
    void readMetadata();
    bool settlePosition();
    void settlePositionFromExif();
    bool settlePositionFromTable();
    QString utmName() const;
    std::optional<QImage> paintedImage();
    Outcome save(const QImage &image);

    bool writesFreshTags() const;
    void write(const QString &line);

    const BatchRun &m_run;
    const ProcessOptions &m_options;
    QStringList m_lines;
    PhotoFile m_file;
    PhotoMetadata m_metadata;
    OverlayData m_data;
};
