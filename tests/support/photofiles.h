// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "processing/photoprocessor.h"

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QMap>
#include <QString>

// Small photo files with any tags, and runs over them, for tests.

/// Tag values by key ("Exif.Image.Orientation", "Iptc...", "Xmp..."), in the text form of the EXIF library.
using Tags = QMap<QByteArray, QByteArray>;

/// An image of one colour.
QImage plainImage(QSize size, const QColor &colour = QColor(40, 90, 60));

/// Encodes `image` into a file of the format that its suffix names, and puts the tags into it. Fails the
/// program when it cannot.
void writePhoto(const QString &path, const QImage &image, const Tags &tags = {});

/// The tags of a position in 33° 27' S, 70° 40' W, heading 90.5, altitude 520.25 m, taken at 2024:03:05
/// 14:07:09.
Tags gpsTags();

/// The text of a tag in a photo; empty when there is none.
QByteArray tagOf(const QString &path, const QByteArray &key);

/// The whole contents of a file.
QByteArray bytesOf(const QString &path);

/// Writes a text file.
void writeText(const QString &path, const QByteArray &text);

/// What a run over a folder has reported.
struct BatchReport {
    QStringList log;
    QList<QPair<int, int>> progress;
    PhotoProcessor::Summary summary;
};

/// Runs the engine over a folder.
BatchReport runBatch(const QString &folder, const ProcessOptions &options, int threads = 1);
