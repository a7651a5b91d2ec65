// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "render/geodesy.h"

#include <QDateTime>
#include <QFile>
#include <QString>

#include <optional>

/// What the sample file knows about one photo. Without a position the placeholders of the sample are written.
struct SampleRow {
    QString name; ///< file name with extension, no folder
    std::optional<UtmPosition> position;
    std::optional<double> orientation; ///< degrees; written truncated to an integer
    std::optional<double> altitude;    ///< metres; written with one decimal
    QDateTime dateTime;                ///< written in ISO 8601 form, as its clock shows it
};

/// A coordinates file in the making: its header, then one line per photo.
class SampleFile
{
public:
    explicit SampleFile(const QString &path);

    /// Replaces what stands at the path by the header line. False when the file cannot be opened.
    bool open();

    /// Adds the line of a photo to the open file.
    void append(const SampleRow &row);

    /// Closes the file. False when some of it could not be written, as on a full disk.
    bool close();

private:
    void write(const QString &text);

    QFile m_file;
    bool m_complete = true;
};
