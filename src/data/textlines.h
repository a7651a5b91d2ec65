// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QIODevice>

/// The lines of a text file, as UTF-8 bytes without line ends.
struct TextLines {
    QByteArray byteOrderMark; ///< empty when the file starts without one
    QByteArrayList lines;
};

/// Reads what is left of an open device. Lines end with LF or CR LF; the last one may lack its end. Bytes
/// that are no UTF-8 are handed through. A text that starts with the byte order mark of UTF-16 or UTF-32 is
/// converted to UTF-8 without one.
TextLines readTextLines(QIODevice &device);
