// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFont>
#include <QString>

#include <optional>

/// The first family of a font file, which may be empty when the file names none, or nothing when the file
/// cannot be registered. A file is registered with the application font database once per process, however
/// often and from however many threads it is asked for; a file that failed is tried again.
std::optional<QString> registeredFontFamily(const QString &fontPath);

/// The font of a family at its default size, weight and style; with an empty family, the system's general
/// font with style hint "any". Its text is smoothed in shades of grey and hinted lightly, whatever the
/// desktop asks for its screen.
QFont overlayFont(const QString &family);
