// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/processoptions.h"
#include "processing/photopart.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <variant>

/// A run as the command line asks for it.
struct BatchRequest {
    QString directory;
    ProcessOptions options;
    int threads = 0; ///< below 1: those of the machine
    PhotoPart part;
    bool resume = false;
    QString mapPath;     ///< empty: no map
    QJsonObject results; ///< what the looks and the names of the results depend on
};

/// A text for the user in place of a run: the help or the version (exit status 0).
struct Information {
    QString text;
};

/// What is wrong with the arguments (exit status 2).
struct Refusal {
    QString reason;
};

/// Reads the arguments of velmaro-lote, the program's name first. Options that are not given have the values
/// with which the window starts, except the logo, which is drawn only when a path is known. Files and folders
/// are checked in the order and with the words of the window; nothing is changed.
std::variant<BatchRequest, Information, Refusal> readArguments(const QStringList &arguments);
