// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "render/geodesy.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
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

/// A coordinates file as UTF-8 text with line feeds: the header, then the line of each row.
QByteArray sampleFileContents(const QList<SampleRow> &rows);
