// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/preset.h"

#include <QDoubleSpinBox>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

class PresetTest : public QObject
{
    Q_OBJECT

private slots:
    void roundTripKeepsEveryKey();
    void emptyProfileClearsOnlyItsFour_data();
    void emptyProfileClearsOnlyItsFour();
    void bringsRatiosIntoRange_data();
    void bringsRatiosIntoRange();
    void fillsOptions();
    void readsProfileFiles();
};

namespace
{

// A profile in which every value differs from the ones at the start.
QJsonObject otherProfile()
{
    const QByteArray json = R"({
        "logoPath": "/l.png", "fontPath": "/f.ttf", "fontSizeRatio": 0.05, "logoRatio": 0.1,
        "logoPosition": "abajo-derecha", "dtPosition": "arriba-izquierda", "coordsPosition": "arriba-derecha",
        "orientationPosition": "abajo-izquierda", "compassRatio": 0.25, "compassPosition": "arriba-derecha",
        "compassStyle": 3, "compassArrowColor": "#00ff7f", "rotateCompass": true, "usePrefix": true,
        "prefix": "P%1_", "renamePhotos": false, "drawData": false, "drawOrientation": false, "drawTime": false,
        "addCompass": false, "bgText": false, "drawGeo": true, "fontColor": "Yellow", "drawAltitude": false,
        "altitudePosition": "arriba-izquierda" })";
    return QJsonDocument::fromJson(json).object();
}

} // namespace

void PresetTest::roundTripKeepsEveryKey()
{
    const QJsonObject other = otherProfile();
    QCOMPARE(other.size(), 25);
    const QJsonObject start = Preset::atStart().toJson();
    QCOMPARE(start.keys(), other.keys());
    for (const QString &key : other.keys())
        QVERIFY2(start.value(key) != other.value(key), qPrintable(key));

    Preset preset = Preset::atStart();
    preset.apply(other);
    QCOMPARE(preset.toJson(), other);
    preset.apply(start);
    QCOMPARE(preset.toJson(), start);
    QCOMPARE(start.value(QStringLiteral("compassArrowColor")).toString(), QStringLiteral("#ff0000"));
}

void PresetTest::emptyProfileClearsOnlyItsFour_data()
{
    QTest::addColumn<QJsonObject>("profile");
    QTest::newRow("empty") << QJsonObject();
    QJsonObject wrongTypes;
    QJsonObject unknownWords{{QStringLiteral("extra"), 1}};
    const QJsonObject other = otherProfile();
    for (const QString &key : other.keys()) {
        wrongTypes.insert(key, QJsonArray());
        if (key.endsWith(QStringLiteral("Position")))
            unknownWords.insert(key, QStringLiteral("Arriba-Izquierda"));
    }
    QTest::newRow("wrong types") << wrongTypes;
    QTest::newRow("unknown key and corners") << unknownWords;
}

void PresetTest::emptyProfileClearsOnlyItsFour()
{
    QFETCH(QJsonObject, profile);
    Preset preset;
    preset.apply(otherProfile());
    preset.apply(profile);

    QJsonObject expected = otherProfile();
    expected.insert(QStringLiteral("logoPath"), QString());
    expected.insert(QStringLiteral("fontPath"), QString());
    expected.insert(QStringLiteral("compassStyle"), 0);
    expected.insert(QStringLiteral("compassArrowColor"), QStringLiteral("#ff0000"));
    QCOMPARE(preset.toJson(), expected);
}

void PresetTest::bringsRatiosIntoRange_data()
{
    QTest::addColumn<double>("value");
    for (const double value : {5.0, -5.0, 0.0, 0.03, 0.12345, 0.123449999, 0.125, 0.29999, 1e300})
        QTest::addRow("%g", value) << value;
    QTest::newRow("infinite") << qInf();
    QTest::newRow("no number") << qQNaN();
}

void PresetTest::bringsRatiosIntoRange()
{
    QFETCH(double, value);
    for (const RatioRange &range : {fontSizeRange, logoSizeRange, compassSizeRange}) {
        QDoubleSpinBox box;
        box.setDecimals(range.decimals);
        box.setRange(range.minimum, range.maximum);
        box.setValue(value);
        QCOMPARE(range.accept(value), box.value());
    }
    if (!qIsFinite(value))
        return;
    Preset preset;
    preset.apply({{QStringLiteral("fontSizeRatio"), value},
                  {QStringLiteral("logoRatio"), value},
                  {QStringLiteral("compassRatio"), value}});
    QCOMPARE(preset.fontSizeRatio, fontSizeRange.accept(value));
    QCOMPARE(preset.logoRatio, logoSizeRange.accept(value));
    QCOMPARE(preset.compassRatio, compassSizeRange.accept(value));
}

void PresetTest::fillsOptions()
{
    Preset preset;
    preset.apply(otherProfile());
    ProcessOptions options;
    preset.fill(options, true);
    QCOMPARE(options.logoPath, QStringLiteral("/l.png"));
    QCOMPARE(options.fontPath, QStringLiteral("/f.ttf"));
    QCOMPARE(options.fontSizeRatio, 0.05);
    QCOMPARE(options.logoRatio, 0.1);
    QCOMPARE(options.compassRatio, 0.25);
    QCOMPARE(options.fontColor, QColor(Qt::yellow));
    QCOMPARE(options.compassArrowColor, QColor(0, 255, 127));
    QCOMPARE(options.compassStyle, 3);
    QCOMPARE(options.prefix, QStringLiteral("P%1_"));
    QVERIFY(options.usePrefix && options.rotateCompass && options.drawGeo);
    QVERIFY(!options.renamePhotos && !options.drawData && !options.drawOrientation && !options.drawTime &&
            !options.addCompass && !options.bgText && !options.drawAltitude);
    const QStringList corners{options.logoPosition,        options.dtPosition,      options.coordsPosition,
                              options.orientationPosition, options.compassPosition, options.altitudePosition};
    QCOMPARE(corners, QStringList({Corner::BottomRight, Corner::TopLeft, Corner::TopRight, Corner::BottomLeft,
                                   Corner::TopRight, Corner::TopLeft}));

    preset.fill(options, false);
    QVERIFY(options.logoPath.isEmpty());
    QCOMPARE(options.logoRatio, 0.0);
    preset.logoPath.clear();
    preset.fill(options, true);
    QCOMPARE(options.logoRatio, 0.0);
}

void PresetTest::readsProfileFiles()
{
    QTemporaryDir dir;
    QFile file(dir.filePath(QStringLiteral("perfil.json")));
    QVERIFY(!readProfile(file.fileName()));
    const auto read = [&file](const QByteArray &content) {
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write the profile");
        file.close();
        return readProfile(file.fileName());
    };
    QVERIFY(!read("[1, 2]"));
    QVERIFY(!read("{\"prefix\": "));
    QCOMPARE(read("{}"), QJsonObject());
    QCOMPARE(read(QJsonDocument(otherProfile()).toJson()), otherProfile());
}

QTEST_MAIN(PresetTest)
#include "preset.moc"
