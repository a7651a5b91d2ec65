// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/callbacks.h"
#include "core/processoptions.h"
#include "data/coordinatesfile.h"
#include "processing/exifreader.h"
#include "processing/filesafety.h"
#include "processing/photometadata.h"
#include "processing/pixelbuffers.h"
#include "render/overlay.h"

#include <QSet>
#include <QStringList>

#include <optional>

/// What the photos of one run share. What the tasks change takes care of its threads itself.
struct BatchRun {
    const ProcessOptions &options;
    const LogCallback &log;                ///< for the lines that do not wait for the end of the run
    QString directory;                     ///< root of the run, absolute
    QSet<QString> photos;                  ///< absolute paths of all photos of the run
    bool outputInsideRoot = false;         ///< the output folder is the root or lies inside it
    std::optional<CoordinatesTable> table; ///< none in EXIF mode or without a coordinates file
    OverlayResources resources;
    FilePlacer &placer;
    PixelBuffers &buffers;
};

/// The way of one photo through a run: copy or backup, metadata, position, name, overlay, saving. Each step
/// writes its lines to the photo's own list. An object serves one photo, on one thread.
class PhotoPipeline
{
public:
    enum class Outcome {
        Left,     ///< given up on the way; its lines are not shown
        NotSaved, ///< went to the end, but image or metadata could not be written
        Finished,
    };

    PhotoPipeline(const BatchRun &run, const QString &sourcePath);

    Outcome process();

    const QStringList &lines() const;

private:
    bool takeUp();
    bool copyToOutputFolder();
    bool isEarlierResult() const;
    bool isPhotoOfRun(const QString &target) const;
    void backUp();
    void readMetadata();
    bool settlePosition();
    void settlePositionFromExif();
    bool settlePositionFromTable();
    bool rename();
    bool isReserved(const QString &fileName) const;
    std::optional<QImage> paintedImage();
    Outcome save(const QImage &image);

    QString relativeFolder() const;
    bool writesFreshTags() const;
    void write(const QString &line);

    const BatchRun &m_run;
    const ProcessOptions &m_options;
    const QString m_sourcePath;
    const QString m_name;
    QString m_workingPath;
    FileStamp m_stamp; ///< of the working file, as it was taken up
    PhotoMetadata m_metadata;
    OverlayData m_data;
    QStringList m_lines;
};
