// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/preset.h"

#include "photofiles.h"

#include <QDoubleSpinBox>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

#include <limits>

/// Profiles: what they store and what becomes of keys that are missing or wrong.
class PresetTest : public QObject
{
    Q_OBJECT

private slots:
    void storesEveryValue();
    void fallsBackUnevenly_data();
    void fallsBackUnevenly();
    void takesNumbersAsSpinBoxesDo();
    void fillsOptions();
    void readsOnlyObjects_data();
    void readsOnlyObjects();

private:
    QTemporaryDir m_folder;
};

namespace
{

const QByteArray fullProfile = R"({
    "logoPath": "/l/logo.png", "fontPath": "/f/font.ttf", "fontSizeRatio": 0.05, "logoRatio": 0.11,
    "logoPosition": "abajo-derecha", "dtPosition": "arriba-izquierda", "coordsPosition": "arriba-derecha",
    "orientationPosition": "abajo-izquierda", "compassRatio": 0.33, "compassPosition": "arriba-derecha",
    "compassStyle": 3, "compassArrowColor": "#00ff7f", "rotateCompass": true, "usePrefix": true, "prefix": "P_",
    "renamePhotos": false, "drawData": false, "drawOrientation": false, "drawTime": false, "addCompass": false,
    "bgText": false, "drawGeo": true, "fontColor": "gold", "drawAltitude": false, "altitudePosition": "arriba-izquierda"
})";

QJsonObject object(const QByteArray &json)
{
    return QJsonDocument::fromJson(json).object();
}

} // namespace

void PresetTest::storesEveryValue()
{
    // Every value differs from the one at start, so that none can be missed on the way in or out.
    const QJsonObject full = object(fullProfile);
    const QJsonObject start = Preset::atStart().toJson();
    QCOMPARE(start.keys(), full.keys());
    for (const QString &key : full.keys())
        QVERIFY2(start.value(key) != full.value(key), qPrintable(key));

    Preset preset = Preset::atStart();
    preset.apply(full);
    QCOMPARE(preset.toJson(), full);
    preset.apply(start);
    QCOMPARE(preset.toJson(), start);
}

void PresetTest::fallsBackUnevenly_data()
{
    QTest::addColumn<QJsonObject>("profile");
    QJsonObject wrong;
    for (const QString &key : object(fullProfile).keys())
        wrong.insert(key, QJsonArray());
    QTest::newRow("no keys") << QJsonObject();
    QTest::newRow("keys of the wrong type") << wrong;
    QTest::newRow("unknown values") << object(
        R"({"dtPosition": "Arriba-Izquierda", "logoPosition": "", "other": 1,
                                                  "compassStyle": 1.5})");
}

void PresetTest::fallsBackUnevenly()
{
    QFETCH(QJsonObject, profile);
    QJsonObject expected = object(fullProfile);
    expected[QStringLiteral("logoPath")] = QString();
    expected[QStringLiteral("fontPath")] = QString();
    expected[QStringLiteral("compassStyle")] = 0;
    expected[QStringLiteral("compassArrowColor")] = QStringLiteral("#ff0000");
    Preset preset;
    preset.apply(object(fullProfile));
    preset.apply(profile);
    QCOMPARE(preset.toJson(), expected);
}

void PresetTest::takesNumbersAsSpinBoxesDo()
{
    for (const RatioRange &range : {fontSizeRange, logoSizeRange, compassSizeRange}) {
        QDoubleSpinBox spin;
        spin.setDecimals(range.decimals);
        spin.setRange(range.minimum, range.maximum);
        for (const double value :
             {-1.0, 0.0, 0.0011, 0.01234, 0.012345, 0.12499999, 0.125, 0.1999, 5.0, 1e300}) {
            spin.setValue(value);
            QCOMPARE(range.accept(value), spin.value());
        }
        QCOMPARE(range.accept(std::numeric_limits<double>::quiet_NaN()), range.minimum);
    }
}

void PresetTest::fillsOptions()
{
    Preset preset;
    preset.apply(object(fullProfile));
    ProcessOptions options;
    options.jpegQuality = 42;
    preset.fill(options, true);
    QCOMPARE(options.logoPath, QStringLiteral("/l/logo.png"));
    QCOMPARE(options.logoRatio, 0.11);
    QCOMPARE(options.fontColor, QColor(255, 215, 0));
    QCOMPARE(options.compassPosition, Corner::TopRight);
    QCOMPARE(options.orientationPosition, Corner::BottomLeft);
    QCOMPARE(options.compassArrowColor, QColor(0, 255, 127));
    QVERIFY(options.rotateCompass && options.usePrefix && options.drawGeo);
    QVERIFY(!options.renamePhotos && !options.drawData && !options.addCompass && !options.bgText);
    QCOMPARE(options.jpegQuality, 42);

    preset.fill(options, false);
    QCOMPARE(options.logoPath, QString());
    QCOMPARE(options.logoRatio, 0.0);
}

void PresetTest::readsOnlyObjects_data()
{
    QTest::addColumn<QByteArray>("contents");
    QTest::addColumn<bool>("readable");
    QTest::newRow("object") << QByteArray("{}") << true;
    QTest::newRow("list") << QByteArray("[{}]") << false;
    QTest::newRow("broken") << QByteArray("{\"prefix\": ") << false;
    QTest::newRow("empty") << QByteArray() << false;
}

void PresetTest::readsOnlyObjects()
{
    QFETCH(QByteArray, contents);
    const QString path = m_folder.filePath(QStringLiteral("perfil.json"));
    writeText(path, contents);
    QTEST(readProfile(path).has_value(), "readable");
    QVERIFY(!readProfile(path + QLatin1Char('x')).has_value());
}

QTEST_MAIN(PresetTest)
#include "preset.moc"
