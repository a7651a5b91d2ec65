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

/// The settings, their store and their dialog.
class SettingsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("XDG_CONFIG_HOME", m_folder.path().toUtf8()); }
    void keepsThemInTheStore();
    void showsThemInTheDialog();

private:
    QTemporaryDir m_folder;
    const QString m_store = m_folder.filePath(QStringLiteral("Velmaro/Velmaro.conf"));
};

void SettingsTest::keepsThemInTheStore()
{
    const auto loaded = [] {
        const Settings settings = Settings::load();
        return QStringLiteral("%1|%2|%3")
            .arg(settings.altitudeProvider, settings.googleApiKey, QString::number(settings.jpegQuality))
            .toUtf8();
    };
    QCOMPARE(loaded(), "OpenTopoData||90");
    Settings{QStringLiteral("Google Elevation"), QStringLiteral(" Clave%+/ "), 77}.save();
    QCOMPARE(loaded(), "Google Elevation| Clave%+/ |77");
    QCOMPARE(bytesOf(m_store),
             "[altitude]\napiKey=\" Clave%+/ \"\nprovider=Google Elevation\n\n[output]\njpegQuality=77\n");
    const auto forOthers = QFile::ReadGroup | QFile::ReadOther;
    QVERIFY(!QFile::permissions(m_store).testAnyFlags(forOthers)); // the key is nobody else's business
    QFile::setPermissions(m_store, QFile::ReadOwner | QFile::WriteOwner | forOthers);
    Settings::load();
    QVERIFY(!QFile::permissions(m_store).testAnyFlags(forOthers)); // nor one from before
    writeText(m_store, "[output]\njpegQuality=mucha\n");
    QCOMPARE(loaded(), "OpenTopoData||90");
}

void SettingsTest::showsThemInTheDialog()
{
    writeText(m_store, "[altitude]\napiKey=clave\nprovider=Google Elevation\n\n[output]\njpegQuality=77\n");
    SettingsDialog dialog;
    QCOMPARE(dialog.windowTitle().toUtf8(), "Configuración");
    auto *provider = dialog.findChild<QComboBox *>(QStringLiteral("providerCombo"));
    auto *key = dialog.findChild<QLineEdit *>(QStringLiteral("apiKeyEdit"));
    auto *quality = dialog.findChild<QSpinBox *>(QStringLiteral("jpegQualitySpin"));
    QByteArray texts;
    for (const QLabel *label : dialog.findChildren<QLabel *>())
        texts += label->text().toUtf8() + '|';
    QCOMPARE(texts, "Clave API Google Elevation:|Calidad JPEG (1-100):|Proveedor de API de Altitud:|");
    QCOMPARE(provider->itemText(0) + u'|' + provider->itemText(1) + u'|' + provider->currentText(),
             QStringLiteral("OpenTopoData|Google Elevation|Google Elevation"));
    QCOMPARE(key->text(), QStringLiteral("clave"));
    QCOMPARE(key->echoMode(), QLineEdit::Password);
    QVERIFY(key->isVisibleTo(&dialog));
    QCOMPARE(QByteArray::number(quality->minimum()) + quality->text().toUtf8() +
                 QByteArray::number(quality->maximum()),
             "177%100");
    provider->setCurrentIndex(0);
    QVERIFY(!key->isVisibleTo(&dialog) &&
            !dialog.findChild<QLabel *>(QStringLiteral("apiKeyLabel"))->isVisibleTo(&dialog));
}

QTEST_MAIN(SettingsTest)
#include "settings.moc"
