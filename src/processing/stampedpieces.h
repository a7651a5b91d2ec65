// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QImage>
#include <QList>
#include <QRect>
#include <QSize>

/// The pieces to cut out of a picture so that they hold all `areas` (in pixels), in units of MCUs of `mcu`
/// pixels. Areas for which one piece is no larger than two come in one, margins of one MCU counted. Others
/// may still overlap.
QList<QRect> piecesOf(const QList<QRect> &areas, QSize mcu);

/// In which MCUs of `area`, row by row, a pixel differs between two pictures of Format_RGB32. The area is in
/// pixels of the pictures and begins with a whole MCU.
QList<bool> changedMcus(const QImage &before, const QImage &after, const QRect &area, QSize mcu);
