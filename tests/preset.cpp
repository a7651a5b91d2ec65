// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/runrequest.h"

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
    void takesOnlyWhatIsValid();
    void bringsRatiosIntoRange();
    void fillsTheOptionsOfARun();
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

void PresetTest::takesOnlyWhatIsValid()
{
    const QJsonObject other = otherProfile();
    const QJsonObject start = Preset::atStart().toJson();
    QCOMPARE(start.keys(), other.keys());
    for (const QString &key : other.keys())
        QVERIFY2(start.value(key) != other.value(key), qPrintable(key));

    // A missing key, one of another type, a corner and a colour that are none, and a key that nobody knows.
    QJsonObject wrongTypes;
    QJsonObject noWords{{QStringLiteral("extra"), 1}};
    for (const QString &key : other.keys()) {
        wrongTypes.insert(key, QJsonArray());
        if (key.endsWith(QStringLiteral("Position")) || key.endsWith(QStringLiteral("Color")))
            noWords.insert(key, QStringLiteral("Arriba-Izquierda"));
    }
    QJsonObject kept = other;
    kept.insert(QStringLiteral("logoPath"), QString());
    kept.insert(QStringLiteral("fontPath"), QString());
    kept.insert(QStringLiteral("compassStyle"), 0);
    kept.insert(QStringLiteral("compassArrowColor"), QStringLiteral("#ff0000"));
    for (const QJsonObject &profile : {QJsonObject(), wrongTypes, noWords}) {
        Preset preset = Preset::atStart();
        preset.apply(other);
        QCOMPARE(preset.toJson(), other);
        preset.apply(profile);
        QCOMPARE(preset.toJson(), kept);
    }
}

void PresetTest::bringsRatiosIntoRange()
{
    for (const double value :
         {5.0, -5.0, 0.0, 0.03, 0.12345, 0.123449999, 0.125, 0.29999, 1e300, qInf(), qQNaN()}) {
        for (const RatioRange &range : {fontSizeRange, logoSizeRange, compassSizeRange}) {
            QDoubleSpinBox box;
            box.setDecimals(range.decimals);
            box.setRange(range.minimum, range.maximum);
            box.setValue(value);
            QCOMPARE(range.accept(value), box.value());
        }
    }
    Preset preset;
    preset.apply({{QStringLiteral("fontSizeRatio"), 5},
                  {QStringLiteral("logoRatio"), 5},
                  {QStringLiteral("compassRatio"), 5}});
    QCOMPARE(QList<double>({preset.fontSizeRatio, preset.logoRatio, preset.compassRatio}),
             QList<double>({0.2, 0.3, 0.5}));
}

void PresetTest::fillsTheOptionsOfARun()
{
    RunRequest request;
    request.preset.apply(otherProfile());
    request.run.txtPath = QStringLiteral("/t.csv");
    request.run.createBackup = true;
    // What the switches let through: logo, its size, coordinates file, backup copies.
    const auto through = [&request](bool logo, bool useExif, bool output) {
        request.drawLogo = logo;
        request.run.useExif = useExif;
        request.run.useOutputFolder = output;
        const ProcessOptions options = request.options();
        return QStringLiteral("%1 %2 %3 %4")
            .arg(options.logoPath, QString::number(options.logoRatio), options.txtPath)
            .arg(options.createBackup);
    };
    QCOMPARE(through(true, false, false), QStringLiteral("/l.png 0.1 /t.csv 1"));
    QCOMPARE(through(false, true, true), QStringLiteral(" 0  0"));
    request.preset.logoPath.clear();
    QCOMPARE(through(true, true, false), QStringLiteral(" 0  1"));
    const ProcessOptions options = request.options();
    QVERIFY(options.fontColor == QColor(Qt::yellow) && options.compassArrowColor == QColor(0, 255, 127));
    QVERIFY(options.prefix == QLatin1String("P%1_") && options.altitudePosition == Corner::TopLeft);
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
