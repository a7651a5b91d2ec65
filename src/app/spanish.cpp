// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/spanish.h"

#include <QLibraryInfo>
#include <QLocale>

void chooseSpanish()
{
    if (QLocale::system().language() != QLocale::Spanish)
        QLocale::setDefault(QLocale(QLocale::Spanish));
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
    return m_qtTexts.translate(context, source, disambiguation, number);
}
