// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

/// A text that names a corner of the image. The keywords are what the window offers and what profiles store.
using CornerPosition = QString;

namespace Corner
{
inline const CornerPosition TopLeft = QStringLiteral("arriba-izquierda");
inline const CornerPosition TopRight = QStringLiteral("arriba-derecha");
inline const CornerPosition BottomLeft = QStringLiteral("abajo-izquierda");
inline const CornerPosition BottomRight = QStringLiteral("abajo-derecha");

/// The four keywords in the order the window lists them.
inline const QStringList All{TopLeft, TopRight, BottomLeft, BottomRight};
} // namespace Corner
