// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

class QTextEdit;

/// Appends `lines` to a log view in one step, each on a new line and exactly as written: what looks like HTML
/// stays text.
void appendPlainLines(QTextEdit *view, const QStringList &lines);

/// From now on the view shows the end of its text, whether lines join or the view gets lower, unless the user
/// has scrolled up.
void followEnd(QTextEdit *view);
