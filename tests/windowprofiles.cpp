// SPDX-License-Identifier: GPL-3.0-or-later
#include "photofiles.h"
#include "windowdriver.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

class WindowProfilesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void roundTrip();
    void fallbacks();
    void savedProfilesAreListed();

private:
    QTemporaryDir m_settings;
    std::unique_ptr<QTemporaryDir> m_dir;
};

namespace
{

QString writeProfile(const QDir &dir, const QByteArray &json)
{
    const QString path = dir.filePath(text("perfil.json"));
    writeText(path, json);
    return path;
}

void loadProfile(Window &window, const QString &path)
{
    DialogDriver driver;
    driver.chooseFile(path);
    window.click("loadPresetButton");
}

} // namespace

void WindowProfilesTest::initTestCase()
{
    isolateWindow(m_settings.path());
}

void WindowProfilesTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
}

void WindowProfilesTest::roundTrip()
{
    const QDir dir(m_dir->path());
    writePhoto(dir.filePath(text("a.jpg")), plainImage({320, 240}));
    Window window;
    window.type("directoryEdit", dir.path());
    window.get<QComboBox>("dtPositionCombo")->setCurrentIndex(1);
    window.get<QComboBox>("compassStyleCombo")->setCurrentIndex(3);
    window.get<QDoubleSpinBox>("fontSizeSpin")->setValue(0.0505);
    window.check("prefixCheck", true);
    window.type("prefixEdit", text("Ñandú_"));
    window.check("drawGeoCheck", true);
    const QString path = dir.filePath(text("estilo.final.json"));
    {
        DialogDriver driver;
        driver.chooseFile(path);
        window.click("savePresetButton");
    }
    const QByteArray saved = bytesOf(path);
    QCOMPARE(QJsonDocument::fromJson(saved).object().size(), 25);

    Window other;
    other.type("directoryEdit", dir.path());
    other.check("backupCheck", false);
    const PreviewCounter counter(other);
    loadProfile(other, path);
    QCOMPARE(counter.made(), 1);
    QCOMPARE(other.get<QComboBox>("dtPositionCombo")->currentText(), text("arriba-derecha"));
    QCOMPARE(other.get<QComboBox>("compassStyleCombo")->currentText(), text("Numerado"));
    QCOMPARE(other.get<QDoubleSpinBox>("fontSizeSpin")->value(), 0.0505);
    QCOMPARE(other.get<QLineEdit>("prefixEdit")->text(), text("Ñandú_"));
    QVERIFY(other.enabled("prefixEdit")); // the enable rules fire
    QVERIFY(other.get<QCheckBox>("drawGeoCheck")->isChecked());
    QVERIFY(!other.get<QCheckBox>("backupCheck")->isChecked());
    QCOMPARE(other.get<QComboBox>("presetCombo")->count(), 0);
}

void WindowProfilesTest::fallbacks()
{
    const QDir dir(m_dir->path());
    Window window;
    window.get<QDoubleSpinBox>("fontSizeSpin")->setValue(0.1);
    window.get<QComboBox>("coordsPositionCombo")->setCurrentIndex(0);
    loadProfile(window, writeProfile(dir, "no es JSON"));
    QCOMPARE(window.get<QLineEdit>("fontEdit")->text(), text("notosans.ttf"));

    loadProfile(window, writeProfile(dir, "{}"));
    QCOMPARE(window.get<QLineEdit>("fontEdit")->text(), QString());
    QCOMPARE(window.get<QComboBox>("compassStyleCombo")->currentText(), text("Estilo Puntos"));
    QCOMPARE(window.get("arrowColorSwatch")->styleSheet(), text("background-color: #ff0000"));
    QCOMPARE(window.get<QDoubleSpinBox>("fontSizeSpin")->value(), 0.1);
    QCOMPARE(window.get<QComboBox>("coordsPositionCombo")->currentText(), text("arriba-izquierda"));

    loadProfile(window,
                writeProfile(dir, R"({"fontSizeRatio": 5, "coordsPosition": "centro", "fontColor": "Red",
        "compassStyle": 7, "logoPath": "/tmp/logos/mi.logo.png", "drawTime": "no", "compassArrowColor": "#00ff00"})"));
    QCOMPARE(window.get<QDoubleSpinBox>("fontSizeSpin")->value(), 0.2);
    QCOMPARE(window.get<QComboBox>("coordsPositionCombo")->currentText(), text("arriba-izquierda"));
    QCOMPARE(window.get("colorSwatch")->styleSheet(), text("background-color: Red"));
    QCOMPARE(window.get("arrowColorSwatch")->styleSheet(), text("background-color: #00ff00"));
    QCOMPARE(window.get<QComboBox>("compassStyleCombo")->currentIndex(), -1);
    QCOMPARE(window.get<QLineEdit>("logoEdit")->text(), text("mi.logo.png"));
    QVERIFY(window.get<QCheckBox>("drawTimeCheck")->isChecked());
}

void WindowProfilesTest::savedProfilesAreListed()
{
    const QDir dir(m_dir->path());
    QVERIFY(dir.mkdir(text("otra")));
    Window window;
    auto *combo = window.get<QComboBox>("presetCombo");
    const auto saveAs = [&window](const QString &path) {
        DialogDriver driver;
        driver.chooseFile(path);
        window.click("savePresetButton");
    };
    saveAs(dir.filePath(text("estilo.final.json")));
    window.check("drawGeoCheck", true);
    saveAs(dir.filePath(text("otra/estilo.json")));
    QCOMPARE(combo->count(), 1);
    QCOMPARE(combo->itemData(0).toString(), dir.filePath(text("otra/estilo.json")));
    window.check("drawGeoCheck", false);
    saveAs(dir.filePath(text("segundo.json")));

    combo->setCurrentIndex(1);
    QVERIFY(!window.get<QCheckBox>("drawGeoCheck")->isChecked());
    combo->setCurrentIndex(0);
    QVERIFY(window.get<QCheckBox>("drawGeoCheck")->isChecked());
}

QTEST_MAIN(WindowProfilesTest)
#include "windowprofiles.moc"
