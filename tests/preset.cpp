// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/runrequest.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

using namespace Qt::StringLiterals;

/// What profiles store, and what a run is told.
class PresetTest : public QObject
{
    Q_OBJECT

    // A profile in which every value differs from the ones at the start.
    static QJsonObject otherProfile()
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

private slots:
    void handsEveryKeyToTheRun()
    {
        const QJsonObject other = otherProfile();
        QJsonObject start = Preset::atStart().toJson();
        start.insert(u"logoPath"_s, u"/logo.png"_s); // without one there is no size either
        QCOMPARE(start.keys(), other.keys());
        QCOMPARE(start.value(u"fontPath"_s).toString(),
                 QCoreApplication::applicationDirPath() + u"/notosans.ttf"_s);
        for (const QString &key : other.keys()) {
            QJsonObject profile = start;
            profile[key] = other[key];
            RunRequest request;
            request.preset.apply(profile);
            const ProcessOptions run = request.options();
            const QString fontColor = run.fontColor == Qt::yellow ? u"Yellow"_s : u"#FFFFFF"_s;
            const QJsonArray told = // in the order of the keys
                QJsonArray() << run.addCompass << run.altitudePosition << run.bgText
                             << run.compassArrowColor.name() << run.compassPosition << run.compassRatio
                             << run.compassStyle << run.coordsPosition << run.drawAltitude << run.drawData
                             << run.drawGeo << run.drawOrientation << run.drawTime << run.dtPosition
                             << fontColor << run.fontPath << run.fontSizeRatio << run.logoPath
                             << run.logoPosition << run.logoRatio << run.orientationPosition << run.prefix
                             << run.renamePhotos << run.rotateCompass << run.usePrefix;
            QVERIFY2(profile != start && request.preset.toJson() == profile &&
                         told == QJsonArray::fromVariantList(profile.toVariantMap().values()),
                     qPrintable(key));
        }
    }

    void takesOnlyWhatIsValid()
    {
        // A missing key, one of another type, a corner and a colour that are none, and a key that nobody
        // knows.
        QJsonObject kept = otherProfile();
        QJsonObject wrongTypes;
        QJsonObject noWords{{u"extra"_s, 1}};
        for (const QString &key : kept.keys()) {
            wrongTypes.insert(key, QJsonArray());
            if (key.endsWith(u"Position"_s) || key.endsWith(u"Color"_s))
                noWords.insert(key, u"Arriba-Izquierda"_s);
        }
        for (const QString &path : {u"logoPath"_s, u"fontPath"_s})
            kept[path] = QString();
        kept[u"compassStyle"_s] = 0;
        kept[u"compassArrowColor"_s] = u"#ff0000"_s;
        for (const QJsonObject &profile : {QJsonObject(), wrongTypes, noWords}) {
            Preset preset;
            preset.apply(otherProfile());
            preset.apply(profile);
            QCOMPARE(preset.toJson(), kept);
        }

        QByteArray ratios;
        for (const double value : {5.0, -5.0, 0.12345, 0.29999, 1e300}) {
            Preset preset;
            preset.apply({{u"fontSizeRatio"_s, value}, {u"logoRatio"_s, value}, {u"compassRatio"_s, value}});
            for (const double ratio : {preset.fontSizeRatio, preset.logoRatio, preset.compassRatio})
                ratios += QByteArray::number(ratio) + ' ';
        }
        QCOMPARE(ratios, "0.2 0.3 0.5 0.001 0.01 0.05 0.1235 0.12 0.12 0.2 0.3 0.3 0.2 0.3 0.5 ");
    }
};

QTEST_GUILESS_MAIN(PresetTest)
#include "preset.moc"
