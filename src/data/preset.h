// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/cornerposition.h"
#include "core/processoptions.h"

#include <QColor>
#include <QJsonObject>
#include <QString>

#include <optional>

/// Range, step and decimals of a ratio, for its spin box and for profiles read without one.
struct RatioRange {
    double minimum;
    double maximum;
    double step;
    int decimals;

    /// `value` as a spin box of this range takes it: rounded to the decimals, then brought into the range.
    double accept(double value) const;
};

inline constexpr RatioRange fontSizeRange{0.001, 0.2, 0.001, 4};
inline constexpr RatioRange logoSizeRange{0.01, 0.3, 0.01, 2};
inline constexpr RatioRange compassSizeRange{0.05, 0.5, 0.01, 2};

/// What a profile stores. A new one holds the values with which the window starts, but for the font.
struct Preset : StampOptions {
    Preset();

    QString fontColor; ///< a colour name, kept as it was read

    /// The preset with which window and command line start: the default font included.
    static Preset atStart();

    /// The values as a profile stores them.
    QJsonObject toJson() const;

    /// Takes the values of a profile. A key that is missing or of the wrong type clears a path, sets the
    /// style to 0 or the arrow colour to red, and leaves every other value as it is; so does a corner keyword
    /// that is none, and a colour that is none. Ratios are brought into their ranges. Unknown keys are
    /// ignored.
    void apply(const QJsonObject &profile);
};

/// "notosans.ttf" in the directory of the executable; whether it exists is not checked.
QString defaultFontPath();

/// The object in a profile file; nothing when the file cannot be read or holds no JSON object.
std::optional<QJsonObject> readProfile(const QString &path);
