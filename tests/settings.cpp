// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/settings.h"

#include "data/settingsdialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>

class SettingsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void startsWithDefaults();
    void keepsValuesAsTheyStand();
    void dialogShowsStoredValues_data();
    void dialogShowsStoredValues();
    void dialogShowsKeyRowForGoogle();
    void dialogWritesNothingItself();

private:
    QTemporaryDir m_dir;
};

void SettingsTest::initTestCase()
{
    for (const QSettings::Format format : {QSettings::NativeFormat, QSettings::IniFormat})
        QSettings::setPath(format, QSettings::UserScope, m_dir.path());
}

void SettingsTest::init()
{
    QSettings settings(QStringLiteral("Velmaro"), QStringLiteral("Velmaro"));
    QVERIFY(settings.fileName().startsWith(m_dir.path()));
    settings.clear();
}

void SettingsTest::startsWithDefaults()
{
    const Settings settings = Settings::load();
    QCOMPARE(settings.altitudeProvider, QStringLiteral("OpenTopoData"));
    QCOMPARE(settings.googleApiKey, QString());
    QCOMPARE(settings.jpegQuality, 90);
}

void SettingsTest::keepsValuesAsTheyStand()
{
    const QString key = QStringLiteral("  @a,b;%31+&= ñ\" ");
    Settings settings;
    settings.altitudeProvider = QStringLiteral("google elevation");
    settings.googleApiKey = key;
    settings.jpegQuality = 250;
    settings.save();

    QSettings store(QStringLiteral("Velmaro"), QStringLiteral("Velmaro"));
    QCOMPARE(store.value(QStringLiteral("altitude/provider")).toString(), QStringLiteral("google elevation"));
    QCOMPARE(store.value(QStringLiteral("altitude/apiKey")).toString(), key);
    QCOMPARE(store.value(QStringLiteral("output/jpegQuality")).toInt(), 250);
    const Settings read = Settings::load();
    QCOMPARE(read.altitudeProvider, settings.altitudeProvider);
    QCOMPARE(read.googleApiKey, key);
    QCOMPARE(read.jpegQuality, 250);
}

void SettingsTest::dialogShowsStoredValues_data()
{
    QTest::addColumn<QString>("provider");
    QTest::addColumn<int>("quality");
    QTest::addColumn<QString>("shownProvider");
    QTest::addColumn<int>("shownQuality");
    QTest::newRow("Google") << QStringLiteral("Google Elevation") << 75 << QStringLiteral("Google Elevation")
                            << 75;
    QTest::newRow("beyond the range")
        << QStringLiteral("OpenTopoData") << 250 << QStringLiteral("OpenTopoData") << 100;
    QTest::newRow("unknown provider")
        << QStringLiteral("google elevation") << 0 << QStringLiteral("OpenTopoData") << 1;
}

void SettingsTest::dialogShowsStoredValues()
{
    QFETCH(QString, provider);
    QFETCH(int, quality);
    Settings settings;
    settings.altitudeProvider = provider;
    settings.googleApiKey = QStringLiteral("clave");
    settings.jpegQuality = quality;
    settings.save();

    const SettingsDialog dialog;
    QTEST(dialog.providerCombo->currentText(), "shownProvider");
    QTEST(dialog.jpegQualitySpin->value(), "shownQuality");
    QCOMPARE(dialog.apiKeyEdit->text(), QStringLiteral("clave"));
    QCOMPARE(dialog.apiKeyEdit->echoMode(), QLineEdit::Password);
    QCOMPARE(dialog.apiKeyEdit->isHidden(), dialog.providerCombo->currentIndex() == 0);
    QCOMPARE(dialog.jpegQualitySpin->suffix(), QStringLiteral("%"));
}

void SettingsTest::dialogShowsKeyRowForGoogle()
{
    SettingsDialog dialog;
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    const QSize size = dialog.size();
    QVERIFY(dialog.apiKeyEdit->isHidden() && dialog.apiKeyLabel->isHidden());
    dialog.providerCombo->setCurrentText(QStringLiteral("Google Elevation"));
    QVERIFY(dialog.apiKeyEdit->isVisible() && dialog.apiKeyLabel->isVisible());
    QTest::keyClicks(dialog.apiKeyEdit, QStringLiteral("abc"));
    QCoreApplication::processEvents();
    QCOMPARE(dialog.size(), size);
    dialog.providerCombo->setCurrentText(QStringLiteral("OpenTopoData"));
    QVERIFY(dialog.apiKeyEdit->isHidden() && dialog.apiKeyLabel->isHidden());
    QCOMPARE(dialog.apiKeyEdit->text(), QStringLiteral("abc"));
}

void SettingsTest::dialogWritesNothingItself()
{
    SettingsDialog dialog;
    dialog.jpegQualitySpin->setValue(75);
    auto *buttons = dialog.findChild<QDialogButtonBox *>();
    QVERIFY(buttons);
    buttons->button(QDialogButtonBox::Ok)->click();
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QCOMPARE(Settings::load().jpegQuality, 90);
    buttons->button(QDialogButtonBox::Cancel)->click();
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
}

QTEST_MAIN(SettingsTest)
#include "settings.moc"
