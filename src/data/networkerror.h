// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

class QNetworkReply;

/// What went wrong with a request, in Spanish whatever the language of the system; the address is not part of
/// it.
QString networkErrorText(const QNetworkReply &reply);
