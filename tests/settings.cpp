// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/settings.h"

#include "data/settingsdialog.h"
#include "photofiles.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

/// The settings, their store and their dialog.
class SettingsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("XDG_CONFIG_HOME", m_folder.path().toUtf8()); }
    void keepsThemInTheStore()
    {
        // with what others may do with the file: the key is nobody else's business
        const auto loaded = [this] {
            const Settings settings = Settings::load();
            const int others = QFile::permissions(m_store) & (QFile::ReadGroup | QFile::ReadOther);
            return u"%1|%2|%3|%4"_s.arg(settings.altitudeProvider, settings.googleApiKey)
                .arg(settings.jpegQuality)
                .arg(others);
        };
        QCOMPARE(loaded(), u"OpenTopoData||90|0"_s);
        Settings{u"Google Elevation"_s, u" Clave%+/ "_s, 77}.save();
        QVERIFY(!QFile::permissions(m_store).testFlag(QFile::ReadOther));
        QCOMPARE(
            bytesOf(m_store),
            "[altitude]\napiKey=\" Clave%+/ \"\nprovider=Google Elevation\n\n[output]\njpegQuality=77\n");
        QFile::setPermissions(m_store,
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
        QCOMPARE(loaded(), u"Google Elevation| Clave%+/ |77|0"_s);
        writeText(m_store, "[output]\njpegQuality=mucha\n");
        QCOMPARE(loaded(), u"OpenTopoData||90|0"_s);
    }

    void showsThemInTheDialog()
    {
        // the choices, and how much of the row of the key is seen
        const auto chosen = [](const SettingsDialog &dialog) {
            return u"%1 %2 %3 %4"_s
                .arg(dialog.providerCombo->currentText(), dialog.apiKeyEdit->text(),
                     dialog.jpegQualitySpin->text())
                .arg(dialog.apiKeyLabel->isVisibleTo(&dialog) + dialog.apiKeyEdit->isVisibleTo(&dialog));
        };
        Settings{u"Google Elevation"_s, u"clave"_s, 0}.save();
        QCOMPARE(chosen(SettingsDialog()), u"Google Elevation clave 1% 2"_s);
        Settings{u"OpenTopoData"_s, {}, 101}.save();
        SettingsDialog dialog;
        QCOMPARE(chosen(dialog), u"OpenTopoData  100% 0"_s);
        dialog.providerCombo->setCurrentIndex(1);
        QCOMPARE(chosen(dialog), u"Google Elevation  100% 2"_s);
        QCOMPARE(dialog.apiKeyEdit->echoMode(), QLineEdit::Password);
        QStringList texts = {dialog.windowTitle()};
        for (const QLabel *label : dialog.findChildren<QLabel *>())
            texts += label->text();
        QCOMPARE(texts.join(u'|').toUtf8(), "Configuración|Clave API Google Elevation:|Calidad JPEG (1-100):|"
                                            "Proveedor de API de Altitud:");
    }

private:
    QTemporaryDir m_folder;
    const QString m_store = m_folder.filePath(u"Velmaro/Velmaro.conf"_s);
};

QTEST_MAIN(SettingsTest)
#include "settings.moc"
