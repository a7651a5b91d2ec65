// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QRect>
#include <QSize>

/// The pieces to cut out of a picture so that they hold all `areas` (in pixels), in units of MCUs of `mcu`
/// pixels. Areas for which one piece is no larger than two come in one, margins of one MCU counted. Others
/// may still overlap.
QList<QRect> piecesOf(const QList<QRect> &areas, QSize mcu);
