// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFont>
#include <QImage>

#include <numeric>

// What tests need that paint themselves what they expect.

/// The font of a stamp, once its file is registered.
inline QFont stampFont(int pointSize, QFont::Weight weight = QFont::Normal)
{
    QFont font(QStringList(QStringLiteral("Noto Sans")), pointSize, weight);
    font.setHintingPreference(QFont::PreferVerticalHinting);
    return font;
}

/// In how many places two pictures of one size, with 32 bits per pixel, differ by a third of the range of a
/// channel.
inline int differences(const QImage &one, const QImage &other)
{
    return std::inner_product(one.constBits(), one.constBits() + one.sizeInBytes(), other.constBits(), 0,
                              std::plus(), [](int a, int b) { return qAbs(a - b) > 85 ? 1 : 0; });
}
