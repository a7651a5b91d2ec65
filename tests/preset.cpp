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

    // What a run is told of a profile, in the order of the profile's keys.
    static QJsonArray told(const ProcessOptions &run)
    {
        return QJsonArray() << run.addCompass << run.altitudePosition << run.bgText
                            << run.compassArrowColor.name() << run.compassPosition << run.compassRatio
                            << run.compassStyle << run.coordsPosition << run.drawAltitude << run.drawData
                            << run.drawGeo << run.drawOrientation << run.drawTime << run.dtPosition
                            << (run.fontColor == Qt::yellow ? u"Yellow"_s : u"#FFFFFF"_s) << run.fontPath
                            << run.fontSizeRatio << run.logoPath << run.logoPosition << run.logoRatio
                            << run.orientationPosition << run.prefix << run.renamePhotos << run.rotateCompass
                            << run.usePrefix;
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
            profile.insert(key, other.value(key));
            RunRequest request;
            request.preset.apply(profile);
            const QJsonArray values = QJsonArray::fromVariantList(profile.toVariantMap().values());
            QVERIFY2(profile != start && request.preset.toJson() == profile &&
                         told(request.options()) == values,
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
        kept.insert(u"logoPath"_s, QString());
        kept.insert(u"fontPath"_s, QString());
        kept.insert(u"compassStyle"_s, 0);
        kept.insert(u"compassArrowColor"_s, u"#ff0000"_s);
        for (const QJsonObject &profile : {QJsonObject(), wrongTypes, noWords}) {
            Preset preset;
            preset.apply(otherProfile());
            preset.apply(profile);
            QCOMPARE(preset.toJson(), kept);
        }
    }

    void bringsRatiosIntoRange()
    {
        QByteArray ratios;
        for (const double value : {5.0, -5.0, 0.12345, 0.29999, 1e300}) {
            Preset preset;
            preset.apply({{u"fontSizeRatio"_s, value}, {u"logoRatio"_s, value}, {u"compassRatio"_s, value}});
            for (const double ratio : {preset.fontSizeRatio, preset.logoRatio, preset.compassRatio})
                ratios += QByteArray::number(ratio) + ' ';
        }
        QCOMPARE(ratios, "0.2 0.3 0.5 0.001 0.01 0.05 0.1235 0.12 0.12 0.2 0.3 0.3 0.2 0.3 0.5 ");
        QCOMPARE(fontSizeRange.accept(qQNaN()), 0.2);
    }

    void fillsTheOptionsOfARun()
    {
        RunRequest request;
        request.preset.apply(otherProfile());
        request.run.txtPath = u"/t.csv"_s;
        request.run.createBackup = true;
        // Logo, its size, coordinates file and backup copies: all of them, then with one switch turned.
        QStringList through;
        for (int turned = 0; turned < 4; ++turned) {
            request.drawLogo = turned != 1;
            request.run.useExif = turned == 2;
            request.run.useOutputFolder = turned == 3;
            const ProcessOptions run = request.options();
            through +=
                u"%1 %2 %3 %4"_s.arg(run.logoPath).arg(run.logoRatio).arg(run.txtPath).arg(run.createBackup);
        }
        QCOMPARE(through.join(u'|').toUtf8(),
                 "/l.png 0.1 /t.csv 1| 0 /t.csv 1|/l.png 0.1  1|/l.png 0.1 /t.csv 0");
    }
};

QTEST_GUILESS_MAIN(PresetTest)
#include "preset.moc"
