// SPDX-License-Identifier: GPL-3.0-or-later
#include "photofiles.h"
#include "support/windowdriver.h"

#include <QComboBox>
#include <QDir>
#include <QDoubleSpinBox>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QTabWidget>
#include <QTest>

/// The window at rest: its start, what its widgets do, and the preview.
class MainWindowTest : public QObject
{
    Q_OBJECT

public:
    static void initMain() { WindowDriver::prepareProcess(); }

private slots:
    void init() { m_driver = std::make_unique<WindowDriver>(); }
    void cleanup() { m_driver.reset(); }
    void startsAsDescribed();
    void eachWidgetFeedsItsOption();
    void prefixNeedsRenaming();
    void browsesPhotos();
    void previewsWithoutATrace();
    void previewsAsAViewerShows();
    void tellsWhatCannotBeShown();
    void drawsQuickChangesOnce();
    void listsATypedPathWhenTypingPauses();

private:
    std::unique_ptr<WindowDriver> m_driver;
};

void MainWindowTest::startsAsDescribed()
{
    const QString expected = QStringLiteral(R"(
- Archivos de Entrada | - Carpeta de Fotos: | - Color de Flecha: | - Color de Fuente: |
- Configuración de la Rosa de Vientos | - Configuración del Logo | - Configuración del Texto | - Estilo: |
- Fuente (opcional): | - Log de Procesos | - Logo (opcional): | - Modo de Obtención de Coordenadas |
- Nota: La copia de seguridad se ignora si se usa una carpeta de salida.font-style: italic; color: grey; |
- Opciones de Renombrado | - Opciones de Salida | - Posición Altitud: | - Posición Coordenadas: |
- Posición Fecha/Hora: | - Posición Orientación: | - Posición del Logo: | - Posición: | - Ruta del archivo: |
- Tamaño (ratio): | - Tamaño de Fuente (ratio): | - Tamaño del Logo (ratio): |
altitudePositionCombo abajo-derecha of 4 | arrowColorSwatch background-color: #ff0000 |
backupCheck [x] Realizar copia de seguridad de las fotos originales | bgTextCheck [x] Agregar fondo al texto |
colorSwatch background-color: #FFFFFF | compassCheck [x] Dibujar rosa de los vientos (si hay datos de orientación) |
compassPositionCombo abajo-izquierda of 4 | compassSizeSpin 0.18 in 0.05 to 0.50 by 0.01 |
compassStyleCombo Clásico of 4 | coordsPositionCombo abajo-derecha of 4 |
createSampleButton Crear archivo de ejemplo | directoryEdit | drawAltitudeCheck [x] Dibujar altitud (ej: Alt: 123 m) |
drawDataCheck [x] Dibujar datos (coordenadas, fecha) en las fotos |
drawGeoCheck [ ] Dibujar coordenadas geográficas (Lat/Lon DMS) |
drawOrientationCheck [x] Dibujar orientación (ej: 090° E) | drawTimeCheck [x] Incluir hora (además de la fecha) |
dtPositionCombo abajo-derecha of 4 | embedCsvCheck [x] Incrustar datos del CSV en el EXIF |
exifRadio [x] Desde EXIF de las fotos | fontEdit notosans.ttf (read-only) |
fontSizeSpin 0.0300 in 0.0010 to 0.2000 by 0.0010 when done | loadPresetButton Cargar (hidden) |
logoCheck [x] Incrustar logo en las fotos | logoEdit (read-only) | logoPositionCombo arriba-izquierda of 4 |
logoSizeSpin 0.20 in 0.01 to 0.30 by 0.01 | nextButton Siguiente (disabled) |
orientationPositionCombo abajo-derecha of 4 |
outputFolderCheck [ ] Guardar fotos modificadas en una carpeta separada | outputFolderEdit (disabled) |
overwriteAltitudeCheck [x] Sobrescribir altitudes existentes | populateAltitudeButton Rellenar altitud desde API |
prefixCheck [ ] Agregar prefijo al nombre | prefixEdit XXX_XXX_SA_ (disabled) | presetCombo of 0 (hidden) |
prevButton Anterior (disabled) | previewGroup Vista Previa Interactiva |
previewLabel Seleccione una carpeta con imágenes para activar la vista previa. |
renameCheck [x] Renombrar fotos con coordenadas UTM |
rotateCompassCheck [ ] Rotar rosa (flecha siempre apunta arriba) |
sampleFromExifCheck [x] Usar datos EXIF para crear el ejemplo | savePresetButton Guardar (hidden) |
selectArrowColorButton Seleccionar Color | selectColorButton Seleccionar Color | selectDirButton Seleccionar |
selectFontButton Seleccionar | selectLogoButton Seleccionar | selectOutputButton Seleccionar (disabled) |
selectTxtButton Seleccionar | startButton Iniciar Proceso | subdirsCheck [ ] Incluir subdirectorios |
txtGroup Archivo CSV (hidden) | txtPathEdit | txtRadio [ ] Desde archivo .csv)");
    QStringList state = m_driver->state();
    state.removeIf([](const QString &line) { return line.startsWith(QStringLiteral("- Velmaro ")); });
    QCOMPARE(state, expected.simplified().split(QStringLiteral(" | ")));
    QCOMPARE(m_driver->window->windowTitle(),
             QStringLiteral("Velmaro: Renombrador/Incrustador de coordenadas UTM en fotografías"));
    QStringList entries;
    for (const QAction *menu : m_driver->window->menuBar()->actions()) {
        entries.append(menu->text());
        for (const QAction *action : menu->menu()->actions())
            entries.append(action->text());
    }
    const auto *tabs = m_driver->find<QTabWidget>("tabs");
    for (int i = 0; i < tabs->count(); ++i)
        entries.append(tabs->tabText(i));
    QCOMPARE(entries.join(u' '), QStringLiteral("&Archivo Perfiles &Herramientas Configuración... "
                                                "General Texto Logo Rosa de Vientos"));
    const auto *styles = m_driver->find<QComboBox>("compassStyleCombo");
    const auto *corners = m_driver->find<QComboBox>("altitudePositionCombo");
    QStringList items;
    for (int i = 0; i < 4; ++i)
        items += {styles->itemText(i), corners->itemText(i)};
    QCOMPARE(items.join(u','), QStringLiteral("Estilo Puntos,arriba-izquierda,Estilo Graduado,arriba-derecha,"
                                              "Clásico,abajo-izquierda,Numerado,abajo-derecha"));
}

namespace
{

// What a run is asked to do, by the keys of profiles and the names of the other options.
QStringList described(const RunRequest &request)
{
    QJsonObject all = request.preset.toJson();
    const RunOptions &run = request.run;
    all.insert(QStringLiteral("drawLogo"), request.drawLogo);
    all.insert(QStringLiteral("useExif"), run.useExif);
    all.insert(QStringLiteral("txtPath"), run.txtPath);
    all.insert(QStringLiteral("includeSubfolders"), run.includeSubfolders);
    all.insert(QStringLiteral("embedCsvInExif"), run.embedCsvInExif);
    all.insert(QStringLiteral("createBackup"), run.createBackup);
    all.insert(QStringLiteral("useOutputFolder"), run.useOutputFolder);
    all.insert(QStringLiteral("outputFolder"), run.outputFolder);
    QStringList lines;
    for (auto value = all.constBegin(); value != all.constEnd(); ++value)
        lines.append(
            value.key() + u'=' +
            (value->isDouble() ? QString::number(value->toDouble()) : value->toVariant().toString()));
    return lines;
}

void change(QWidget *widget)
{
    if (auto *combo = qobject_cast<QComboBox *>(widget))
        combo->setCurrentIndex((combo->currentIndex() + 1) % combo->count());
    else if (auto *edit = qobject_cast<QLineEdit *>(widget))
        edit->setText(QStringLiteral("otro"));
    else if (auto *spin = qobject_cast<QDoubleSpinBox *>(widget))
        spin->stepUp();
    else
        qobject_cast<QAbstractButton *>(widget)->toggle();
}

} // namespace

// One change of each widget: how many previews it asks for, what it changes of the run, and which other
// widgets it enables, disables, shows or hides.
void MainWindowTest::eachWidgetFeedsItsOption()
{
    const QString expected = QStringLiteral(R"(altitudePositionCombo 1 altitudePosition=arriba-izquierda
backupCheck 0 createBackup=false
bgTextCheck 1 bgText=false
compassCheck 1 addCompass=false rotateCompassCheck(disabled)
compassPositionCombo 1 compassPosition=abajo-derecha
compassSizeSpin 1 compassRatio=0.19
compassStyleCombo 1 compassStyle=3
coordsPositionCombo 1 coordsPosition=arriba-izquierda
drawAltitudeCheck 1 drawAltitude=false
drawDataCheck 1 drawData=false bgTextCheck(disabled)
drawGeoCheck 1 drawGeo=true
drawOrientationCheck 1 drawOrientation=false
drawTimeCheck 1 drawTime=false
dtPositionCombo 1 dtPosition=arriba-izquierda
embedCsvCheck 0 embedCsvInExif=false
fontEdit 1
fontSizeSpin 1 fontSizeRatio=0.031
logoCheck 1 drawLogo=false logoEdit(disabled) selectLogoButton(disabled)
logoEdit 1
logoPositionCombo 1 logoPosition=arriba-derecha
logoSizeSpin 1 logoRatio=0.21
orientationPositionCombo 1 orientationPosition=arriba-izquierda
outputFolderCheck 0 useOutputFolder=true backupCheck(disabled) outputFolderEdit selectOutputButton
outputFolderEdit 0 outputFolder=otro
overwriteAltitudeCheck 0
prefixCheck 0 usePrefix=true prefixEdit
prefixEdit 0 prefix=otro
renameCheck 0 renamePhotos=false prefixCheck(disabled)
rotateCompassCheck 1 rotateCompass=true
sampleFromExifCheck 0
subdirsCheck 1 includeSubfolders=true
txtPathEdit 1 txtPath=otro
txtRadio 2 useExif=false txtGroup)");
    QStringList actual;
    for (const QString &line : expected.split(u'\n')) {
        m_driver = std::make_unique<WindowDriver>();
        m_driver->writePhotos(1, {20, 15});
        m_driver->type("directoryEdit", m_driver->photos());
        const QString name = line.section(u' ', 0, 0);
        const QStringList before = described(m_driver->window->currentRequest()) + m_driver->state();
        const int previews = m_driver->previewsOf([&] { change(m_driver->find<QWidget>(qPrintable(name))); });
        QString result = name + u' ' + QString::number(previews);
        for (const QString &after : described(m_driver->window->currentRequest()))
            result += before.contains(after) ? QString() : u' ' + after;
        for (const QString &after : m_driver->state()) {
            const QString other = after.section(u' ', 0, 0);
            if (!before.contains(after) && other != name && other != QStringLiteral("exifRadio"))
                result +=
                    u' ' + other +
                    (after.endsWith(QStringLiteral("(disabled)")) ? QStringLiteral("(disabled)") : QString());
        }
        actual.append(result);
    }
    const QStringList rows = expected.split(u'\n');
    for (qsizetype i = 0; i < rows.size(); ++i)
        QCOMPARE(actual[i], rows[i]);
}

void MainWindowTest::prefixNeedsRenaming()
{
    const auto enabled = [this] {
        return QStringLiteral("%1%2")
            .arg(m_driver->isEnabled("prefixCheck"))
            .arg(m_driver->isEnabled("prefixEdit"));
    };
    QStringList states;
    for (const char *box :
         {"prefixCheck", "renameCheck", "renameCheck", "prefixCheck", "renameCheck", "renameCheck"}) {
        m_driver->click(box);
        states.append(enabled());
    }
    QCOMPARE(states.join(u' '), QStringLiteral("11 00 11 10 00 10"));
}

void MainWindowTest::browsesPhotos()
{
    m_driver->writePhotos(2, {400, 300});
    const QString aside = m_driver->path(QStringLiteral("aparte.jpg"));
    writePhoto(aside, plainImage({400, 300}, Qt::green));
    QVERIFY(QFile::link(aside, m_driver->photos() + QStringLiteral("/enlace.jpg")));
    m_driver->type("directoryEdit", m_driver->photos());
    const auto *caption = m_driver->find<QLabel>("photoCaption");
    const auto place = [&]() -> QString {
        return caption->text().section(u' ', 1) + QString::number(m_driver->isEnabled("prevButton")) +
               QString::number(m_driver->isEnabled("nextButton"));
    };
    QStringList places{place()};
    QList<QImage> pictures{m_driver->preview()};
    auto *next = m_driver->find<QPushButton>("nextButton");
    m_driver->window->activateWindow();
    next->setFocus();
    QTRY_VERIFY(next->hasFocus());
    for (int step = 0; step < 2; ++step) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
        places.append(place());
        pictures.append(m_driver->preview());
    }
    // The key goes to no field once the button is out of use.
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
    QCOMPARE(m_driver->textOf("directoryEdit"), m_driver->photos());
    QVERIFY(!qobject_cast<QLineEdit *>(QApplication::focusWidget()));
    m_driver->click("prevButton");
    places.append(place());
    QCOMPARE(places.join(u' '), QStringLiteral("(1 de 3)01 (2 de 3)11 (3 de 3)10 (2 de 3)11"));
    QVERIFY(pictures[0] != pictures[1] && pictures[1] != pictures[2]);

    // A look aside does not move the place.
    m_driver->type("directoryEdit", m_driver->photos() + u'/');
    const auto lookAt = [this](int index) {
        QMetaObject::invokeMethod(m_driver->window.get(), "showPreviewAtIndex", Q_ARG(int, index));
    };
    for (const int index : {2, -1, 3})
        lookAt(index);
    QCOMPARE(place(), QStringLiteral("(3 de 3)01"));
    QCOMPARE(m_driver->preview(), pictures[2]);
    m_driver->click("nextButton");
    QCOMPARE(m_driver->preview(), pictures[1]);
}

void MainWindowTest::previewsWithoutATrace()
{
    m_driver->writePhotos(1, {400, 300});
    const QString photo = m_driver->photos() + QStringLiteral("/0.jpg");
    QFile::setPermissions(photo, QFile::ReadOwner);
    const QByteArray original = bytesOf(photo);
    m_driver->check("prefixCheck", true);
    m_driver->check("outputFolderCheck", true);
    m_driver->type("outputFolderEdit", m_driver->path({}));
    m_driver->type("directoryEdit", m_driver->photos());
    const QImage stamped = m_driver->preview();
    m_driver->check("drawDataCheck", false);
    m_driver->check("compassCheck", false);
    QVERIFY(!stamped.isNull() && m_driver->preview() != stamped);
    for (const QString &folder : {m_driver->photos(), m_driver->path({})})
        QCOMPARE(QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 1);
    QCOMPARE(bytesOf(photo), original);
    QCOMPARE(m_driver->log(), QString());
}

void MainWindowTest::previewsAsAViewerShows()
{
    writePhoto(m_driver->photos() + QStringLiteral("/a.jpg"), plainImage({400, 200}),
               {{"Exif.Image.Orientation", "6"}});
    m_driver->type("directoryEdit", m_driver->photos());
    const QImage byExif = m_driver->preview();
    QVERIFY(byExif.height() > byExif.width());

    // By the coordinates file: as it is without a row, stamped with one, and anew once the file has changed.
    const QString table = m_driver->path(QStringLiteral("tabla.csv"));
    m_driver->click("txtRadio");
    QList<QImage> pictures{m_driver->preview()};
    for (const char *row : {"a.jpg;19;H;300000;6000000\n", "a.jpg;19;H;300001;6000000\n"}) {
        writeText(table, row);
        m_driver->type("txtPathEdit", table);
        m_driver->check("drawTimeCheck", pictures.size() == 1); // a change that draws it again
        pictures.append(m_driver->preview());
    }
    QVERIFY(pictures[0] != byExif && pictures[0] != pictures[1] && pictures[1] != pictures[2]);
}

void MainWindowTest::tellsWhatCannotBeShown()
{
    const QString nothing = m_driver->path(QStringLiteral("nada"));
    const QString empty = QStringLiteral("No se encontraron imágenes en el directorio seleccionado.");
    m_driver->type("directoryEdit", m_driver->photos());
    QCOMPARE(m_driver->previewText(), empty);
    m_driver->type("directoryEdit", nothing);
    QCOMPARE(m_driver->previewText(), QStringLiteral("El directorio seleccionado no es válido."));
    m_driver->type("directoryEdit", QString()); // not the current directory either
    QCOMPARE(m_driver->previewText(), empty);
    writeText(m_driver->photos() + QStringLiteral("/a.jpg"), "no image");
    m_driver->type("directoryEdit", m_driver->photos());
    QCOMPARE(m_driver->previewText(), QStringLiteral("Error al generar la vista previa."));

    // A resize scales the last good preview, and brings it back in place of a message.
    QFile::remove(m_driver->photos() + QStringLiteral("/a.jpg"));
    m_driver->writePhotos(2, {400, 300});
    m_driver->type("directoryEdit", m_driver->photos() + u'/');
    const QSize before = m_driver->preview().size();
    m_driver->window->showNormal();
    m_driver->window->resize(700, 500);
    QTRY_VERIFY(m_driver->preview().width() < before.width());
    m_driver->type("directoryEdit", nothing);
    QVERIFY(m_driver->preview().isNull() && !m_driver->isEnabled("nextButton"));
    m_driver->window->resize(800, 600);
    QTRY_VERIFY(!m_driver->preview().isNull());
}

void MainWindowTest::drawsQuickChangesOnce()
{
    m_driver->writePhotos(1, {8000, 6000}); // takes longer than what is drawn at once
    m_driver->type("directoryEdit", m_driver->photos());
    const QImage first = m_driver->preview();
    QCOMPARE(m_driver->previewsOf([this] {
        for (int i = 0; i < 10; ++i)
            m_driver->find<QAbstractButton>("drawDataCheck")->click();
    }),
             1);
    m_driver->check("compassCheck", false);
    QVERIFY(m_driver->preview() != first);
}

void MainWindowTest::listsATypedPathWhenTypingPauses()
{
    m_driver->writePhotos(1, {20, 15});
    m_driver->check("subdirsCheck", true);
    auto *edit = m_driver->find<QLineEdit>("directoryEdit");
    const QString asItWas = m_driver->previewText();
    QTest::keyClicks(edit, m_driver->photos());
    QCOMPARE(m_driver->previewText(), asItWas); // although it began with "/"
    QTRY_VERIFY(!m_driver->preview().isNull());

    for (const bool byEnter : {true, false}) {
        edit->selectAll();
        byEnter ? QTest::keyClicks(edit, QStringLiteral("/nada\r")) : edit->setText(QStringLiteral("/nada"));
        QVERIFY(m_driver->preview().isNull());
        edit->setText(m_driver->photos());
        QVERIFY(!m_driver->preview().isNull());
    }
}

QTEST_MAIN(MainWindowTest)
#include "mainwindow.moc"
