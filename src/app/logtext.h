// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

class QTextEdit;

/// Appends `lines` to a log view in one step, each on a new line and exactly as written: what looks like HTML
/// stays text. The view follows the end unless the user has scrolled up.
void appendPlainLines(QTextEdit *view, const QStringList &lines);
