// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "processing/photoprocessor.h"

#include <QString>

/// How a run ended, in one line: "Terminadas 94 de 96 fotos; 2 sin terminar, 1 sin copia de seguridad."
QString summaryText(const PhotoProcessor::Summary &summary);

/// The photos that were not finished, one to a line, with the reason; empty when there are none.
QString summaryDetails(const PhotoProcessor::Summary &summary);
