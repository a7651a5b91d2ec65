// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/windowfixture.h"

using namespace Qt::StringLiterals;

int velmaroMain(int argc, char *argv[]);

/// The program's start, and what each widget of its window says and does.
class MainWindowTest : public WindowFixture
{
    Q_OBJECT

private slots:
    void init() { startOver(); }
    void startsInSpanish();
    void saysAndDoesWhatIsDescribed();
    void loadsProfilesUnevenly();
    void listsSavedProfiles();
    void takesDroppedPaths();
    void takesCommaAndDot();
    void fitsIntoScreens();
    void wheelPassesUnfocusedFields();

private:
    QString useOf(const QString &name);
    QStringList everythingAfter(const QByteArray &profile) const;
};

void MainWindowTest::startsInSpanish()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    const auto isShown = [](const QWidget *widget) {
        return widget->isVisible() &&
               widget->windowTitle() == u"Velmaro: Renombrador/Incrustador de coordenadas UTM en fotografías";
    };
    QCOMPARE(std::count_if(windows.begin(), windows.end(), isShown), 2); // that of the program, and ours
    QVERIFY(!QApplication::windowIcon().pixmap(16).isNull());
    QStringList found{QApplication::organizationName(),
                      QApplication::applicationName(),
                      QGuiApplication::desktopFileName(),
                      QLocale().name(),
                      QLocale::system().monthName(3),
                      QCoreApplication::translate("QPlatformTheme", "Cancel"),
                      QCoreApplication::translate("QAbstractFileIconProvider", "Folder"),
                      QCoreApplication::translate("QAbstractFileIconProvider", "Drive"),
                      QCoreApplication::translate("other", "Folder")};
    for (const char *variable : {"LC_ALL", "LC_CTYPE", "LC_TIME", "LC_MESSAGES", "LANGUAGE"})
        found.append(qEnvironmentVariable(variable));
    QCOMPARE(found.join(u' '), u"Velmaro Velmaro velmaro es_ES marzo Cancelar Carpeta Unidad Folder  C.UTF-8 "
                               "es_ES.UTF-8 es_ES.UTF-8 es"_s);
}

QStringList MainWindowTest::everythingAfter(const QByteArray &profile) const
{
    writeText(path(u"p.json"_s), profile);
    QMetaObject::invokeMethod(window.get(), "loadPresetFromCombo", Q_ARG(QString, path(u"p.json"_s)));
    return everything();
}

// What comes of using a widget once. When that opens a dialog, it is first cancelled. In the end, whether a
// profile keeps what was changed.
QString MainWindowTest::useOf(const QString &name)
{
    startOver();
    showPhotos(2);
    writeText(path(u"archivo.csv"_s), R"({"drawGeo": true})");
    auto *widget = find(name);
    widget->setEnabled(true);
    QString answer;
    const auto use = [&] {
        if (auto *combo = qobject_cast<QComboBox *>(widget))
            combo->setCurrentIndex(combo->currentIndex() == 0 ? 1 : 0);
        else if (auto *edit = qobject_cast<QLineEdit *>(widget))
            edit->setText(u"otro"_s);
        else if (auto *spin = qobject_cast<QDoubleSpinBox *>(widget))
            spin->setValue(spin->minimum());
        else if (qobject_cast<QPushButton *>(widget))
            dialogOf(name, answer);
        else if (auto *button = qobject_cast<QAbstractButton *>(widget))
            button->toggle();
    };
    const auto profile = [this] {
        return QJsonDocument(window->currentRequest().preset.toJson()).toJson();
    };
    const QByteArray start = profile();
    QString effect = effectOf(use);
    if (!m_dialog.isEmpty()) {
        const bool folder = name.contains(u"Dir") || name.contains(u"Output");
        answer = name.contains(u"Color") ? u"#010203"_s : path(folder ? u""_s : u"archivo.csv"_s);
        effect = m_dialog + u' ' + effect + u", " + effectOf(use);
    }
    const QStringList changed = everything();
    const QByteArray changedProfile = profile();
    if (everythingAfter(start) != changed && everythingAfter(changedProfile) == changed)
        effect += u" kept";
    return effect.remove(QRegularExpression(u' ' + name + u"\\b(?!\\()"));
}

// How the window begins, in the order of the keyboard, and behind each arrow what comes of using that widget.
void MainWindowTest::saysAndDoesWhatIsDescribed()
{
    const QString expected = uR"(
-(hidden) &Archivo
-(hidden) Perfiles
presetCombo(hidden) Perfil of 0 ? > 0
loadPresetButton(hidden) Cargar perfil Cargar ? > Cargar Perfil Perfiles (*.json) 0, 1 compassStyle=0
    drawGeo=true fontPath= fontEdit drawGeoCheck compassStyleCombo kept
savePresetButton(hidden) Guardar perfil Guardar ? > Guardar Perfil Perfiles (*.json) 0, 1 presetCombo(hidden)
-(hidden) &Herramientas
- Archivos de Entrada
directoryEdit Carpeta de Fotos: > 0 directory=otro previewLabel nextButton(disabled)
selectDirButton Seleccionar carpeta de fotos Seleccionar > Seleccionar Directorio 0, 0 directory=
    directoryEdit previewLabel nextButton(disabled)
subdirsCheck [ ] Incluir subdirectorios ? > 1 includeSubfolders=true
logoEdit Logo (opcional): read-only ? > 1
selectLogoButton Seleccionar logo Seleccionar > Seleccionar Logo Image Files (*.png *.jpg *.jpeg *.tiff) 0, 1
    logoPath=/archivo.csv logoEdit kept
fontEdit Fuente (opcional): notosans.ttf read-only ? > 1
selectFontButton Seleccionar fuente Seleccionar > Seleccionar Fuente Font Files (*.ttf *.otf) All Files (*) 0,
    1 fontPath=/archivo.csv fontEdit kept
- Modo de Obtención de Coordenadas
exifRadio [x] Desde EXIF de las fotos ? > 0
txtRadio [ ] Desde archivo .csv ? > 2 useExif=false exifRadio txtGroup
txtGroup(hidden) Archivo CSV > 0
txtPathEdit Ruta del archivo: > 1 txtPath=otro
selectTxtButton Seleccionar archivo CSV Seleccionar > Seleccionar Archivo CSV CSV Files (*.csv *.txt) All
    Files (*) 0, 1 txtPath=/archivo.csv txtPathEdit
createSampleButton Crear archivo de ejemplo ? > Guardar Archivo de Ejemplo CSV CSV Files (*.csv) 0, 1
    txtPath=/archivo.csv txtPathEdit
populateAltitudeButton Rellenar altitud desde API ? > Error: Por favor, seleccione un archivo CSV válido. 0, 0
overwriteAltitudeCheck [x] Sobrescribir altitudes existentes ? > 0
sampleFromExifCheck [x] Usar datos EXIF para crear el ejemplo ? > 0
embedCsvCheck [x] Incrustar datos del CSV en el EXIF ? > 0 embedCsvInExif=false
- Opciones de Renombrado
renameCheck [x] Renombrar fotos con coordenadas UTM ? > 0 renamePhotos=false prefixCheck(disabled) kept
prefixCheck [ ] Agregar prefijo al nombre ? > 0 usePrefix=true prefixEdit kept
prefixEdit(disabled) Prefijo XXX_XXX_SA_ ? > 0 prefix=otro kept
- Opciones de Salida
outputFolderCheck [ ] Guardar fotos modificadas en una carpeta separada ? > 0 useOutputFolder=true
    outputFolderEdit selectOutputButton backupCheck(disabled)
outputFolderEdit(disabled) Carpeta de salida ? > 0 outputFolder=otro
selectOutputButton(disabled) Seleccionar carpeta de salida Seleccionar > Seleccionar Carpeta de Salida 0, 0
    outputFolder= outputFolderEdit(disabled)
backupCheck [x] Realizar copia de seguridad de las fotos originales ? > 0 createBackup=false
- Nota: La copia de seguridad se ignora si se usa una carpeta de salida. font-style: italic; color: grey;
drawDataCheck [x] Dibujar datos (coordenadas, fecha) en las fotos > 1 drawData=false bgTextCheck(disabled)
    kept
- Configuración del Texto
dtPositionCombo Posición Fecha/Hora: abajo-derecha of 4 > 1 dtPosition=arriba-izquierda kept
coordsPositionCombo Posición Coordenadas: abajo-derecha of 4 > 1 coordsPosition=arriba-izquierda kept
orientationPositionCombo Posición Orientación: abajo-derecha of 4 > 1 orientationPosition=arriba-izquierda
    kept
altitudePositionCombo Posición Altitud: abajo-derecha of 4 > 1 altitudePosition=arriba-izquierda kept
fontSizeSpin Tamaño de Fuente (ratio): 0,0300 in 0,0010 to 0,2000 by 0,0010 when done ? > 1
    fontSizeRatio=0.001 kept
colorSwatch background-color: #FFFFFF > 0
selectColorButton Color de Fuente: Seleccionar color de fuente Seleccionar Color > Seleccionar Color Fuente
    #ffffff 0, 1 fontColor=#010203 colorSwatch kept
drawOrientationCheck [x] Dibujar orientación (ej: 090° E) ? > 1 drawOrientation=false kept
drawAltitudeCheck [x] Dibujar altitud (ej: Alt: 123 m) > 1 drawAltitude=false kept
drawTimeCheck [x] Incluir hora (además de la fecha) > 1 drawTime=false kept
bgTextCheck [x] Agregar fondo al texto ? > 1 bgText=false kept
drawGeoCheck [ ] Dibujar coordenadas geográficas (Lat/Lon DMS) ? > 1 drawGeo=true kept
- Configuración del Logo
logoCheck [x] Incrustar logo en las fotos > 1 drawLogo=false logoEdit(disabled) selectLogoButton(disabled)
logoPositionCombo Posición del Logo: arriba-izquierda of 4 > 1 logoPosition=arriba-derecha kept
logoSizeSpin Tamaño del Logo (ratio): 0,20 in 0,01 to 0,30 by 0,01 ? > 1 logoRatio=0.01 kept
compassCheck [x] Dibujar rosa de los vientos (si hay datos de orientación) > 1 addCompass=false
    rotateCompassCheck(disabled) kept
- Configuración de la Rosa de Vientos
compassPositionCombo Posición: Posición de la rosa abajo-izquierda of 4 > 1 compassPosition=arriba-izquierda
    kept
compassSizeSpin Tamaño (ratio): Tamaño de la rosa (ratio) 0,18 in 0,05 to 0,50 by 0,01 ? > 1 compassRatio=0.05
    kept
compassStyleCombo Estilo: Clásico of 4 > 1 compassStyle=0 kept
arrowColorSwatch background-color: #ff0000 > 0
selectArrowColorButton Color de Flecha: Seleccionar color de flecha Seleccionar Color > Seleccionar Color de
    Flecha #ff0000 1, 2 compassArrowColor=#010203 arrowColorSwatch kept
rotateCompassCheck [ ] Rotar rosa (flecha siempre apunta arriba) ? > 1 rotateCompass=true kept
startButton Iniciar Proceso QPushButton { font-size: 16px; padding: 8px; } > Error: Seleccione un archivo de
    logo válido. 0, 0
- Log de Procesos
logView Log de Procesos read-only > 0
previewGroup Vista Previa Interactiva > 0
previewLabel Seleccione una carpeta con imágenes para activar la vista previa. > 0
prevButton(disabled) Anterior > 0
nextButton(disabled) Siguiente > 1 prevButton nextButton(disabled) photoCaption
- Velmaro VERSION)"_s;
    QStringList actual = state();
    for (QString &line : actual) {
        line.replace(QApplication::applicationVersion(), u"VERSION"_s);
        const QString name = line.section(QRegularExpression(u"[ (]"_s), 0, 0);
        if (name != u'-')
            line += u" > " + useOf(name);
    }
    {
        QFile f(u"/tmp/diet-window/table"_s);
        if (f.open(QFile::WriteOnly))
            f.write(actual.join(u"\n"_s).toUtf8());
    }
    QCOMPARE(actual, QString(expected).remove(0, 1).replace(u"\n    "_s, u" "_s).split(u'\n'));
}

void MainWindowTest::loadsProfilesUnevenly()
{
    showPhotos(1);
    const QByteArray profile = R"({"logoPath": "/l/logo.png", "fontPath": "/f/letra.ttf", "fontSizeRatio": 5,
        "compassStyle": 3, "compassArrowColor": "#00ff00", "fontColor": "gold", "dtPosition": "arriba-izquierda",
        "drawGeo": true, "drawData": false, "addCompass": false, "renamePhotos": false, "usePrefix": true})";
    QCOMPARE(effectOf([&] { everythingAfter(profile); }),
             u"1 addCompass=false compassArrowColor=#00ff00 compassStyle=3 drawData=false drawGeo=true "
             "dtPosition=arriba-izquierda fontColor=gold fontPath=/f/letra.ttf fontSizeRatio=0.2 "
             "logoPath=/l/logo.png renamePhotos=false usePrefix=true logoEdit fontEdit renameCheck "
             "prefixCheck(disabled) drawDataCheck dtPositionCombo fontSizeSpin colorSwatch "
             "bgTextCheck(disabled) drawGeoCheck compassCheck compassStyleCombo arrowColorSwatch "
             "rotateCompassCheck(disabled)"_s);
    QCOMPARE(textOf(find(u"logoEdit"_s)) + textOf(find(u"fontEdit"_s)), u"logo.pngletra.ttf"_s);
    const QByteArray poor =
        R"({"fontColor": "red; min-width: 9px", "compassArrowColor": "?", "renamePhotos": true})";
    QCOMPARE(effectOf([&] { everythingAfter(poor); }),
             u"1 compassArrowColor=#ff0000 compassStyle=0 fontPath= logoPath= renamePhotos=true logoEdit "
             "fontEdit renameCheck prefixCheck prefixEdit compassStyleCombo arrowColorSwatch"_s);
    QCOMPARE(effectOf([&] { everythingAfter("[1, 2"); }), u"0"_s);
}

void MainWindowTest::listsSavedProfiles()
{
    auto *combo = find<QComboBox>(u"presetCombo"_s);
    QDir(path()).mkpath(u"otra"_s);
    // One name in two folders is one entry; a name without suffix gets one; where nothing can be written,
    // nothing is said, and the name is listed.
    for (const QString &file :
         {u"estilo.final.json"_s, u"perfil uno"_s, u"otra/estilo.json"_s, u"/proc/nada.json"_s}) {
        type(u"prefixEdit"_s, file);
        dialogOf(u"savePresetButton"_s, QDir(path()).absoluteFilePath(file));
    }
    QStringList items;
    for (int i = 0; i < combo->count(); ++i)
        items.append(combo->itemText(i));
    QCOMPARE(items.join(u','), u"estilo,perfil uno,nada"_s);
    QVERIFY(bytesOf(path(u"perfil uno.json"_s)).contains("\"prefix\": \"perfil uno\""));

    // The profile that is shown is applied again when it is chosen again.
    combo->setCurrentIndex(1);
    combo->setCurrentIndex(0);
    QCOMPARE(textOf(find(u"prefixEdit"_s)), u"otra/estilo.json"_s);
    QCoreApplication::processEvents();
    type(u"prefixEdit"_s, u"otro"_s);
    emit combo->activated(0);
    QCOMPARE(textOf(find(u"prefixEdit"_s)), u"otra/estilo.json"_s);
}

// Of each target, what a dropped file does, and what a folder does: where none goes, the window takes it.
void MainWindowTest::takesDroppedPaths()
{
    const auto drop = [](QWidget *target, const QString &path) {
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(path)});
        data.setText(data.urls().constFirst().toString());
        QDragEnterEvent enter({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, {});
        QCoreApplication::sendEvent(target, &enter);
        QDropEvent event({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, {});
        if (enter.isAccepted())
            QCoreApplication::sendEvent(target, &event);
    };
    QStringList effects;
    for (const auto &name : {u"PhotoRenamerGUI"_s, u"directoryEdit"_s, u"logoEdit"_s, u"fontEdit"_s,
                             u"txtPathEdit"_s, u"prefixEdit"_s, u"outputFolderEdit"_s}) {
        startOver();
        check(u"outputFolderCheck"_s);
        check(u"prefixCheck"_s);
        const QString file = path(u"archivo.csv"_s);
        writeText(file, "");
        QWidget *target = name == window->objectName() ? window.get() : find(name);
        effects.append(name + u' ' + effectOf([&] { drop(target, file); }) + u", " +
                       effectOf([&] { drop(target, photos()); }));
    }
    QCOMPARE(effects.join(u'\n'), uR"(PhotoRenamerGUI 0, 0 directory=/fotos directoryEdit previewLabel
directoryEdit 0, 0 directory=/fotos directoryEdit previewLabel
logoEdit 0 logoPath=/archivo.csv logoEdit, 0 directory=/fotos directoryEdit previewLabel
fontEdit 0 fontPath=/archivo.csv fontEdit, 0 directory=/fotos directoryEdit previewLabel
txtPathEdit 0 txtPath=/archivo.csv txtPathEdit, 0 directory=/fotos directoryEdit previewLabel
prefixEdit 0, 0 directory=/fotos directoryEdit previewLabel
outputFolderEdit 0, 0 outputFolder=/fotos outputFolderEdit)"_s);
}

void MainWindowTest::takesCommaAndDot()
{
    auto *spin = find<QDoubleSpinBox>(u"fontSizeSpin"_s);
    for (const auto language : {QLocale::C, QLocale::Spanish}) {
        spin->setLocale(language);
        for (const char *text : {"0.05\r", "0,07\r"}) {
            spin->selectAll();
            QTest::keyClicks(spin, QString::fromLatin1(text));
            QCOMPARE(spin->value(), text[1] == '.' ? 0.05 : 0.07);
        }
    }
}

// The panel never scrolls sideways, and at the window's own size not up and down either; no button is cut
// off.
void MainWindowTest::fitsIntoScreens()
{
    // The smallest screen that is expected: 1280 × 800 at a scale of 1.5, below a title bar.
    const QSize smallest = window->minimumSizeHint();
    QVERIFY(smallest.width() <= 853 && smallest.height() <= 500);
    const QFont usual = QApplication::font();
    QFont large = usual;
    large.setPixelSize(17);
    for (const auto &[font, size] : {std::pair{large, QSize(1024, 700)}, {usual, QSize(1280, 779)}}) {
        QApplication::setFont(font);
        startOver();
        QVERIFY(window->screen()->availableGeometry().contains(window->geometry()));
        window->showNormal();
        window->resize(size);
        check(u"txtRadio"_s);
        auto *tabs = find<QTabWidget>(u"tabs"_s);
        for (int index = 0; index < tabs->count(); ++index) {
            tabs->setCurrentIndex(index);
            QCoreApplication::processEvents();
            const auto *area = qobject_cast<QScrollArea *>(tabs->widget(index));
            QVERIFY2(area->widget()->minimumSizeHint().width() <= area->viewport()->width(),
                     qPrintable(tabs->tabText(index)));
            if (font == usual)
                QTRY_VERIFY2(area->widget()->height() <= area->viewport()->height(),
                             qPrintable(tabs->tabText(index)));
            for (QCheckBox *check : area->findChildren<QCheckBox *>()) {
                const QRect besideTheBox(0, 0, check->width() - 14, QWIDGETSIZE_MAX);
                const QFontMetrics metrics = check->fontMetrics();
                QVERIFY2(!check->isVisible() ||
                             check->height() >=
                                 metrics.boundingRect(besideTheBox, Qt::TextWordWrap, check->text()).height(),
                         qPrintable(check->text()));
                const bool before = check->isChecked(); // the last line, too, takes a click
                QTest::mouseClick(check, Qt::LeftButton, {}, {check->width() / 2, check->height() - 2});
                QCOMPARE(check->isChecked(), before != (check->isVisible() && check->isEnabled()));
            }
        }
        QCOMPARE(window->size(), size);
        QVERIFY(find(u"controlPanel"_s)->rect().contains(find(u"startButton"_s)->geometry()));
    }
}

void MainWindowTest::wheelPassesUnfocusedFields()
{
    find<QTabWidget>(u"tabs"_s)->setCurrentIndex(1);
    auto *spin = find<QDoubleSpinBox>(u"fontSizeSpin"_s);
    const auto turnWheel = [spin] {
        const QPointF middle = spin->rect().center();
        QWheelEvent event(middle, spin->mapToGlobal(middle), {}, {0, 120}, Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(spin, &event);
        return spin->value();
    };
    QCOMPARE(turnWheel(), 0.03);
    window->activateWindow();
    spin->setFocus();
    QTRY_VERIFY(spin->hasFocus());
    QCOMPARE(turnWheel(), 0.031);
}

// The tests run inside the program's own main function, beside its window.
static void runTests()
{
    QTimer::singleShot(0, [] {
        MainWindowTest test;
        QCoreApplication::exit(QTest::qExec(&test, QCoreApplication::arguments()));
    });
}
Q_COREAPP_STARTUP_FUNCTION(runTests)

int main(int argc, char *argv[])
{
    WindowFixture::initMain();
    return velmaroMain(argc, argv);
}

#include "mainwindow.moc"
