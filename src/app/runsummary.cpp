// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/runsummary.h"

#include <QFileInfo>

QString summaryText(const PhotoProcessor::Summary &summary)
{
    if (summary.total == 0)
        return QStringLiteral("No había fotos que procesar.");
    QStringList faults;
    const auto add = [&faults](int count, const QString &what) {
        if (count > 0)
            faults.append(QString::number(count) + what);
    };
    add(summary.left, QStringLiteral(" sin procesar"));
    add(summary.notSaved, QStringLiteral(" sin guardar"));
    add(summary.backupsFailed, QStringLiteral(" sin copia de seguridad"));
    QString text = QStringLiteral("Terminadas %1 de %2 fotos")
                       .arg(QString::number(summary.finished), QString::number(summary.total));
    if (!faults.isEmpty())
        text += QStringLiteral("; ") + faults.join(QStringLiteral(", "));
    return text + u'.';
}

QString summaryDetails(const PhotoProcessor::Summary &summary)
{
    constexpr qsizetype shown = 20; // more would not fit on a screen
    QStringList lines;
    for (const PhotoProcessor::LeftPhoto &photo :
         summary.leftPhotos.first(std::min(shown, summary.leftPhotos.size())))
        lines.append(QFileInfo(photo.path).fileName() + QStringLiteral(": ") + photo.reason);
    if (summary.leftPhotos.size() > shown)
        lines.append(QStringLiteral("y %1 más").arg(summary.leftPhotos.size() - shown));
    if (summary.backupsFailed > 0)
        lines.append(
            QStringLiteral("Copias de seguridad que no se pudieron hacer: %1").arg(summary.backupsFailed));
    return lines.join(u'\n');
}
