// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/spanish.h"

#include <QLibraryInfo>
#include <QLocale>

void chooseSpanish()
{
#if defined(Q_OS_UNIX) && !defined(Q_OS_DARWIN)
    // Qt's file dialog takes its dates from the system's locale, whatever the default one is, and dialogs of
    // the desktop take their texts from there.
    const QByteArray all = qgetenv("LC_ALL");
    for (const char *category : {"LC_TIME", "LC_MESSAGES"}) {
        const QByteArray own = all.isEmpty() ? qgetenv(category) : all;
        if (!(own.isEmpty() ? qgetenv("LANG") : own).startsWith("es"))
            qputenv(category, "es_ES.UTF-8");
    }
    if (!all.isEmpty() && !all.startsWith("es")) {
        qputenv("LC_CTYPE", all);
        qunsetenv("LC_ALL");
    }
    qputenv("LANGUAGE", "es");
#endif
    const QLocale system = QLocale::system();
    const bool spanish = system.language() == QLocale::Spanish;
    QLocale::setDefault(spanish ? QLocale(QLocale::Spanish, system.territory()) : QLocale(QLocale::Spanish));
}

SpanishTexts::SpanishTexts(QObject *parent)
    : QTranslator(parent)
{
    const bool installed =
        m_qtTexts.load(QStringLiteral("qtbase_es"), QLibraryInfo::path(QLibraryInfo::TranslationsPath));
    Q_UNUSED(installed)
}

QString SpanishTexts::translate(const char *context, const char *source, const char *disambiguation,
                                int number) const
{
    const QString text = m_qtTexts.translate(context, source, disambiguation, number);
    if (!text.isEmpty() || qstrcmp(context, "QAbstractFileIconProvider") != 0)
        return text;
    // What Qt's translation leaves out of the file dialog.
    if (qstrcmp(source, "Folder") == 0)
        return QStringLiteral("Carpeta");
    return qstrcmp(source, "Drive") == 0 ? QStringLiteral("Unidad") : QString();
}
