// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QRect>
#include <QSize>

/// The pieces to cut out of a picture so that they hold all `areas` (in pixels), in units of MCUs of `mcu`
/// pixels. No two overlap: areas that share an MCU come in one piece, and so do those for which one piece is
/// no larger, margins of one MCU counted.
QList<QRect> piecesOf(const QList<QRect> &areas, QSize mcu);
