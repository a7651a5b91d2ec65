// SPDX-License-Identifier: GPL-3.0-or-later
#include "photofiles.h"
#include "support/windowdriver.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QDoubleSpinBox>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
#include <memory>

/// The window at rest: its start, its rules, the preview and the profiles.
class MainWindowTest : public QObject
{
    Q_OBJECT

public:
    static void initMain() { WindowDriver::prepareProcess(); }

private slots:
    void init();
    void startsWithItsDefaults();
    void enablesWhatCounts_data();
    void enablesWhatCounts();
    void showsTheCoordinatesGroupInItsMode();
    void browsesPhotos();
    void looksAsideWithoutMoving();
    void previewsWithoutATrace();
    void previewsAsAViewerShows();
    void tellsWhatCannotBeShown();
    void keepsTheLastPreviewOnResize();
    void refreshesThePreview();
    void previewsOncePerProfile();
    void savesAndListsProfiles();
    void loadsProfilesUnevenly();

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }
    QString photos() const { return path(QStringLiteral("fotos")); }
    void writePhotos(int count);
    int previewsOf(const std::function<void()> &action) const;
    QImage preview() const { return m_driver->find<QLabel>("previewLabel")->pixmap().toImage(); }
    QString previewText() const { return m_driver->find<QLabel>("previewLabel")->text(); }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<WindowDriver> m_driver;
};

void MainWindowTest::init()
{
    m_driver.reset();
    m_folder = std::make_unique<QTemporaryDir>();
    QDir().mkpath(photos());
    m_driver = std::make_unique<WindowDriver>();
}

void MainWindowTest::writePhotos(int count)
{
    for (int i = 0; i < count; ++i)
        writePhoto(photos() + QStringLiteral("/%1.jpg").arg(i),
                   plainImage({400, 300}, QColor(40 * i, 100, 200)), gpsTags());
}

void MainWindowTest::startsWithItsDefaults()
{
    QCOMPARE(m_driver->window->windowTitle(),
             QStringLiteral("Velmaro: Renombrador/Incrustador de coordenadas UTM en fotografías"));
    for (const char *name :
         {"exifRadio", "overwriteAltitudeCheck", "sampleFromExifCheck", "embedCsvCheck", "renameCheck",
          "backupCheck", "drawDataCheck", "drawOrientationCheck", "drawAltitudeCheck", "drawTimeCheck",
          "bgTextCheck", "logoCheck", "compassCheck"})
        QVERIFY2(m_driver->find<QAbstractButton>(name)->isChecked(), name);
    for (const char *name : {"txtRadio", "subdirsCheck", "prefixCheck", "outputFolderCheck", "drawGeoCheck",
                             "rotateCompassCheck"})
        QVERIFY2(!m_driver->find<QAbstractButton>(name)->isChecked(), name);

    const auto text = [this](const char *name) {
        return m_driver->find<QLineEdit>(name)->text();
    };
    QCOMPARE(text("fontEdit"), QStringLiteral("notosans.ttf"));
    QCOMPARE(text("prefixEdit"), QStringLiteral("XXX_XXX_SA_"));
    for (const char *name : {"directoryEdit", "logoEdit", "txtPathEdit", "outputFolderEdit"})
        QCOMPARE(text(name), QString());

    const QStringList corners{QStringLiteral("arriba-izquierda"), QStringLiteral("arriba-derecha"),
                              QStringLiteral("abajo-izquierda"), QStringLiteral("abajo-derecha")};
    const QMap<const char *, int> combos{{"dtPositionCombo", 3},          {"coordsPositionCombo", 3},
                                         {"orientationPositionCombo", 3}, {"altitudePositionCombo", 3},
                                         {"logoPositionCombo", 0},        {"compassPositionCombo", 2}};
    for (auto combo = combos.begin(); combo != combos.end(); ++combo) {
        const auto *box = m_driver->find<QComboBox>(combo.key());
        QCOMPARE(box->currentIndex(), combo.value());
        for (int i = 0; i < corners.size(); ++i)
            QCOMPARE(box->itemText(i), corners[i]);
    }
    QCOMPARE(m_driver->find<QComboBox>("compassStyleCombo")->currentText(), QStringLiteral("Clásico"));

    struct Spin {
        const char *name;
        double value, minimum, maximum, step;
        int decimals;
        bool tracking;
    };
    for (const Spin &spin : {Spin{"fontSizeSpin", 0.03, 0.001, 0.2, 0.001, 4, false},
                             Spin{"logoSizeSpin", 0.2, 0.01, 0.3, 0.01, 2, true},
                             Spin{"compassSizeSpin", 0.18, 0.05, 0.5, 0.01, 2, true}}) {
        const auto *box = m_driver->find<QDoubleSpinBox>(spin.name);
        QCOMPARE(box->value(), spin.value);
        QCOMPARE(box->minimum(), spin.minimum);
        QCOMPARE(box->maximum(), spin.maximum);
        QCOMPARE(box->singleStep(), spin.step);
        QCOMPARE(box->decimals(), spin.decimals);
        QCOMPARE(box->keyboardTracking(), spin.tracking);
    }
    for (const char *name :
         {"prefixEdit", "outputFolderEdit", "selectOutputButton", "prevButton", "nextButton"})
        QVERIFY2(!m_driver->isEnabled(name), name);
    QVERIFY(!m_driver->find<QWidget>("txtGroup")->isVisible());
    QCOMPARE(previewText(),
             QStringLiteral("Seleccione una carpeta con imágenes para activar la vista previa."));
    QCOMPARE(m_driver->log(), QString());
}

void MainWindowTest::enablesWhatCounts_data()
{
    QTest::addColumn<QStringList>("clicks");
    QTest::addColumn<QStringList>("enabled");
    QTest::addColumn<QStringList>("disabled");
    const auto add = [](const char *name, const char *clicks, const char *enabled, const char *disabled) {
        const auto list = [](const char *names) {
            return QString::fromLatin1(names).split(u' ', Qt::SkipEmptyParts);
        };
        QTest::newRow(name) << list(clicks) << list(enabled) << list(disabled);
    };
    add("prefix", "prefixCheck", "prefixCheck prefixEdit", "");
    add("no renaming", "prefixCheck renameCheck", "", "prefixCheck prefixEdit");
    add("renaming again", "prefixCheck renameCheck renameCheck", "prefixCheck prefixEdit", "");
    add("renaming again, no prefix", "renameCheck renameCheck", "prefixCheck", "prefixEdit");
    add("output", "outputFolderCheck", "outputFolderEdit selectOutputButton", "backupCheck");
    add("no output", "outputFolderCheck outputFolderCheck", "backupCheck",
        "outputFolderEdit selectOutputButton");
    add("no logo", "logoCheck", "", "logoEdit selectLogoButton");
    add("no compass", "compassCheck", "", "rotateCompassCheck");
    add("no data", "drawDataCheck", "rotateCompassCheck", "bgTextCheck");
}

void MainWindowTest::enablesWhatCounts()
{
    QFETCH(QStringList, clicks);
    QFETCH(QStringList, enabled);
    QFETCH(QStringList, disabled);
    for (const QString &name : clicks)
        m_driver->click(qPrintable(name));
    for (const QString &name : enabled)
        QVERIFY2(m_driver->isEnabled(qPrintable(name)), qPrintable(name));
    for (const QString &name : disabled)
        QVERIFY2(!m_driver->isEnabled(qPrintable(name)), qPrintable(name));
    QVERIFY(m_driver->find<QCheckBox>("backupCheck")->isChecked());
}

void MainWindowTest::showsTheCoordinatesGroupInItsMode()
{
    m_driver->click("txtRadio");
    QVERIFY(m_driver->find<QWidget>("txtGroup")->isVisible());
    m_driver->click("exifRadio");
    QVERIFY(!m_driver->find<QWidget>("txtGroup")->isVisible());
}

void MainWindowTest::browsesPhotos()
{
    writePhotos(3);
    QDir().mkpath(photos() + QStringLiteral("/sub"));
    writePhoto(photos() + QStringLiteral("/sub/x.png"), plainImage({400, 300}));
    m_driver->type("directoryEdit", photos());
    QSet<QRgb> seen;
    for (int step = 0; step < 3; ++step) {
        seen.insert(preview().pixel(preview().width() / 2, preview().height() / 3));
        QCOMPARE(m_driver->isEnabled("prevButton"), step > 0);
        QCOMPARE(m_driver->isEnabled("nextButton"), step < 2);
        if (step < 2)
            m_driver->click("nextButton");
    }
    QCOMPARE(seen.size(), 3);
    m_driver->click("prevButton");
    QVERIFY(m_driver->isEnabled("nextButton") && m_driver->isEnabled("prevButton"));

    m_driver->check("subdirsCheck", true);
    for (int step = 0; step < 3; ++step)
        m_driver->click("nextButton");
    QVERIFY(!m_driver->isEnabled("nextButton"));
}

void MainWindowTest::looksAsideWithoutMoving()
{
    writePhotos(4);
    m_driver->type("directoryEdit", photos());
    QList<QImage> inOrder{preview()};
    for (int i = 1; i < 4; ++i) {
        m_driver->click("nextButton");
        inOrder.append(preview());
    }
    m_driver->type("directoryEdit", photos() + u'/');
    QMetaObject::invokeMethod(m_driver->window.get(), "showPreviewAtIndex", Q_ARG(int, 2));
    QCOMPARE(preview(), inOrder[2]);
    QVERIFY(!m_driver->isEnabled("prevButton"));
    for (const int nowhere : {-1, 4})
        QMetaObject::invokeMethod(m_driver->window.get(), "showPreviewAtIndex", Q_ARG(int, nowhere));
    QCOMPARE(preview(), inOrder[2]);
    m_driver->click("nextButton");
    QCOMPARE(preview(), inOrder[1]);
}

void MainWindowTest::previewsWithoutATrace()
{
    writePhotos(1);
    const QString photo = photos() + QStringLiteral("/0.jpg");
    QFile::setPermissions(photo, QFile::ReadOwner);
    const QByteArray original = bytesOf(photo);
    m_driver->check("prefixCheck", true);
    m_driver->check("outputFolderCheck", true);
    m_driver->type("outputFolderEdit", m_folder->path());
    m_driver->type("directoryEdit", photos());
    const QImage stamped = preview();
    QVERIFY(!stamped.isNull());
    QVERIFY(stamped.pixelColor(stamped.width() * 9 / 10, stamped.height() * 85 / 100) !=
            stamped.pixelColor(5, 5)); // the box

    m_driver->check("drawDataCheck", false);
    m_driver->check("compassCheck", false);
    QVERIFY(preview() != stamped);
    QCOMPARE(QDir(photos()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList(QStringLiteral("0.jpg")));
    QCOMPARE(QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList(QStringLiteral("fotos")));
    QCOMPARE(bytesOf(photo), original);
    QCOMPARE(m_driver->log(), QString());
}

void MainWindowTest::previewsAsAViewerShows()
{
    writePhoto(photos() + QStringLiteral("/a.jpg"), plainImage({400, 200}),
               {{"Exif.Image.Orientation", "6"}});
    m_driver->type("directoryEdit", photos());
    QCOMPARE(preview().height() > preview().width(), true);

    // In the mode of the coordinates file a photo without a row is shown as it is.
    writeText(path(QStringLiteral("tabla.csv")), "a.jpg;19;H;300000;6000000\n");
    const QImage byExif = preview();
    m_driver->click("txtRadio");
    const QImage withoutRow = preview();
    QVERIFY(withoutRow != byExif);
    m_driver->type("txtPathEdit", path(QStringLiteral("tabla.csv")));
    QVERIFY(preview() != withoutRow);
}

void MainWindowTest::tellsWhatCannotBeShown()
{
    m_driver->type("directoryEdit", photos());
    QCOMPARE(previewText(), QStringLiteral("No se encontraron imágenes en el directorio seleccionado."));
    m_driver->type("directoryEdit", path(QStringLiteral("nada")));
    QCOMPARE(previewText(), QStringLiteral("El directorio seleccionado no es válido."));
    m_driver->type("directoryEdit", QString()); // not the current directory either
    QCOMPARE(previewText(), QStringLiteral("No se encontraron imágenes en el directorio seleccionado."));
    writeText(photos() + QStringLiteral("/a.jpg"), "no image");
    m_driver->type("directoryEdit", photos());
    QCOMPARE(previewText(), QStringLiteral("Error al generar la vista previa."));
}

void MainWindowTest::keepsTheLastPreviewOnResize()
{
    writePhotos(1);
    m_driver->type("directoryEdit", photos());
    const QSize before = preview().size();
    m_driver->window->resize(m_driver->window->size() - QSize(200, 150));
    QTRY_VERIFY(preview().width() < before.width());

    m_driver->type("directoryEdit", path(QStringLiteral("nada")));
    QVERIFY(preview().isNull());
    m_driver->window->resize(m_driver->window->size() + QSize(50, 50));
    QTRY_VERIFY(!preview().isNull());
}

// How many previews an action asks for: without a place for temporary files each of them leaves one line in
// the log.
int MainWindowTest::previewsOf(const std::function<void()> &action) const
{
    const QByteArray place = qgetenv("TMPDIR");
    qputenv("TMPDIR", "/dev/null");
    const auto lines = [this] {
        return m_driver->log().count(
            QStringLiteral("Error: No se pudo crear el directorio temporal para la vista previa."));
    };
    const auto before = lines();
    action();
    const auto after = lines();
    place.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", place);
    return static_cast<int>(after - before);
}

void MainWindowTest::refreshesThePreview()
{
    writePhotos(1);
    m_driver->type("directoryEdit", photos());
    const auto change = [this](const QString &name) {
        auto *widget = m_driver->find<QWidget>(qPrintable(name));
        if (auto *combo = qobject_cast<QComboBox *>(widget))
            combo->setCurrentIndex((combo->currentIndex() + 1) % combo->count());
        else if (auto *edit = qobject_cast<QLineEdit *>(widget))
            edit->setText(QStringLiteral("otro"));
        else if (auto *spin = qobject_cast<QDoubleSpinBox *>(widget))
            spin->stepUp();
        else
            qobject_cast<QAbstractButton *>(widget)->toggle();
    };
    const QMap<int, QString> widgets{
        {1,
         QStringLiteral(
             "logoEdit fontEdit logoPositionCombo dtPositionCombo coordsPositionCombo "
             "orientationPositionCombo "
             "compassPositionCombo logoCheck compassCheck drawDataCheck drawOrientationCheck drawTimeCheck "
             "bgTextCheck rotateCompassCheck txtPathEdit drawGeoCheck drawAltitudeCheck "
             "altitudePositionCombo "
             "compassStyleCombo fontSizeSpin logoSizeSpin compassSizeSpin subdirsCheck")},
        {2, QStringLiteral("txtRadio")}, // by the mode, and by the photo that it draws
        {0, QStringLiteral("renameCheck prefixCheck prefixEdit outputFolderCheck outputFolderEdit "
                           "backupCheck embedCsvCheck "
                           "overwriteAltitudeCheck sampleFromExifCheck")}};
    for (auto row = widgets.begin(); row != widgets.end(); ++row) {
        for (const QString &name : row.value().split(u' '))
            QVERIFY2(previewsOf([&] { change(name); }) == row.key(), qPrintable(name));
    }
}

void MainWindowTest::previewsOncePerProfile()
{
    writePhotos(1);
    m_driver->type("directoryEdit", photos());
    writeText(path(QStringLiteral("p.json")),
              R"({"drawData": false, "addCompass": false, "renamePhotos": false,
                                                  "usePrefix": true})");
    const auto load = [this] {
        QMetaObject::invokeMethod(m_driver->window.get(), "loadPresetFromCombo",
                                  Q_ARG(QString, path(QStringLiteral("p.json"))));
    };
    QCOMPARE(previewsOf(load), 1);
    // The rules fired all the same.
    QVERIFY(!m_driver->isEnabled("bgTextCheck") && !m_driver->isEnabled("rotateCompassCheck"));
    QVERIFY(!m_driver->isEnabled("prefixCheck") && !m_driver->isEnabled("prefixEdit"));
}

void MainWindowTest::savesAndListsProfiles()
{
    auto *combo = m_driver->find<QComboBox>("presetCombo");
    m_driver->type("prefixEdit", QStringLiteral("uno"));
    m_driver->chooseInNextDialog(path(QStringLiteral("estilo.final.json")));
    m_driver->click("savePresetButton");
    QCOMPARE(combo->count(), 1);
    QCOMPARE(combo->currentText(), QStringLiteral("estilo"));
    const QJsonObject saved =
        QJsonDocument::fromJson(bytesOf(path(QStringLiteral("estilo.final.json")))).object();
    QCOMPARE(saved.size(), 25);
    QCOMPARE(saved.value(QLatin1String("prefix")).toString(), QStringLiteral("uno"));

    // The same name in another folder takes the entry over; a second name joins it.
    QDir(m_folder->path()).mkpath(QStringLiteral("otra"));
    m_driver->type("prefixEdit", QStringLiteral("dos"));
    m_driver->chooseInNextDialog(path(QStringLiteral("otra/estilo.json")));
    m_driver->click("savePresetButton");
    QCOMPARE(combo->count(), 1);
    m_driver->type("prefixEdit", QStringLiteral("tres"));
    m_driver->chooseInNextDialog(path(QStringLiteral("segundo.json")));
    m_driver->click("savePresetButton");
    QCOMPARE(combo->count(), 2);
    combo->setCurrentIndex(1);
    combo->setCurrentIndex(0);
    QCOMPARE(m_driver->find<QLineEdit>("prefixEdit")->text(), QStringLiteral("dos"));

    // Where nothing can be written, nothing is said, and the name is listed.
    m_driver->chooseInNextDialog(QStringLiteral("/proc/velmaro.json"));
    m_driver->click("savePresetButton");
    QCOMPARE(combo->count(), 3);
    QVERIFY(m_driver->messages.isEmpty());
}

void MainWindowTest::loadsProfilesUnevenly()
{
    const auto load = [this](const QByteArray &profile) {
        writeText(path(QStringLiteral("p.json")), profile);
        m_driver->chooseInNextDialog(path(QStringLiteral("p.json")));
        m_driver->click("loadPresetButton");
    };
    load(R"({"logoPath": "/l/logo.png", "fontPath": "/f/letra.ttf", "fontSizeRatio": 5, "compassStyle": 3,
             "compassArrowColor": "#00ff00", "fontColor": "gold", "dtPosition": "arriba-izquierda", "drawGeo": true})");
    QCOMPARE(m_driver->find<QLineEdit>("logoEdit")->text(), QStringLiteral("logo.png"));
    QCOMPARE(m_driver->find<QDoubleSpinBox>("fontSizeSpin")->value(), 0.2);
    QCOMPARE(m_driver->find<QLabel>("arrowColorSwatch")->styleSheet(),
             QStringLiteral("background-color: #00ff00"));
    QCOMPARE(m_driver->find<QLabel>("colorSwatch")->styleSheet(), QStringLiteral("background-color: gold"));
    QCOMPARE(m_driver->find<QComboBox>("presetCombo")->count(), 0);

    load("{}");
    QCOMPARE(m_driver->find<QLineEdit>("logoEdit")->text(), QString());
    QCOMPARE(m_driver->find<QLineEdit>("fontEdit")->text(), QString());
    QCOMPARE(m_driver->find<QComboBox>("compassStyleCombo")->currentText(), QStringLiteral("Estilo Puntos"));
    QCOMPARE(m_driver->find<QLabel>("arrowColorSwatch")->styleSheet(),
             QStringLiteral("background-color: #ff0000"));
    QCOMPARE(m_driver->find<QLabel>("colorSwatch")->styleSheet(), QStringLiteral("background-color: gold"));
    QCOMPARE(m_driver->find<QComboBox>("dtPositionCombo")->currentText(), QStringLiteral("arriba-izquierda"));
    QVERIFY(m_driver->find<QCheckBox>("drawGeoCheck")->isChecked());

    load("[1, 2");
    QCOMPARE(m_driver->find<QDoubleSpinBox>("fontSizeSpin")->value(), 0.2);
    QVERIFY(m_driver->find<QCheckBox>("logoCheck")->isChecked() &&
            m_driver->find<QCheckBox>("backupCheck")->isChecked());
}

QTEST_MAIN(MainWindowTest)
#include "mainwindow.moc"
