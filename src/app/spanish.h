// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTranslator>

/// Makes dates, numbers and Qt's own texts Spanish, whatever the language of the system. A Spanish system
/// keeps the customs of its country. To be called before the application object exists.
void chooseSpanish();

/// The texts of Qt that the program shows, from Qt's own translation where that is installed and knows them.
class SpanishTexts : public QTranslator
{
    Q_OBJECT

public:
    explicit SpanishTexts(QObject *parent = nullptr);

    QString translate(const char *context, const char *source, const char *disambiguation,
                      int number) const override;
    bool isEmpty() const override { return false; }

private:
    QTranslator m_qtTexts;
};
