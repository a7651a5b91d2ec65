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

    void startsInSpanish()
    {
        const QWidgetList windows = QApplication::topLevelWidgets();
        const auto isShown = [](const QWidget *widget) {
            return widget->isVisible() &&
                   widget->windowTitle() ==
                       u"Velmaro: Renombrador/Incrustador de coordenadas UTM en fotografías";
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
        QCOMPARE(found.join(u' '),
                 u"Velmaro Velmaro velmaro es_ES marzo Cancelar Carpeta Unidad Folder  C.UTF-8 "
                 "es_ES.UTF-8 es_ES.UTF-8 es"_s);
    }

    // How the window begins, in the order of the keyboard, and behind each arrow what comes of using that
    // widget.
    void saysAndDoesWhatIsDescribed()
    {
        QString expected = uR"(
-(hidden) &Archivo
-(hidden) Perfiles
presetCombo(hidden) Perfil of 0 ? > 0
loadPresetButton(hidden) Cargar perfil Cargar ? > Cargar Perfil Perfiles (*.json) 0, 1 compassStyle=0 drawGeo=true
    fontPath= fontEdit drawGeoCheck compassStyleCombo *
savePresetButton(hidden) Guardar perfil Guardar ? > Guardar Perfil Perfiles (*.json) 0, 1 presetCombo(hidden)
-(hidden) &Herramientas
- Archivos de Entrada
directoryEdit Carpeta de Fotos: > 0 directory=otro previewLabel nextButton(disabled); 0; 1 directory=/fotos/
    nextButton photoCaption
selectDirButton Seleccionar carpeta de fotos Seleccionar > Seleccionar Directorio 0, 0 directory= directoryEdit
    previewLabel nextButton(disabled)
subdirsCheck [ ] Incluir subdirectorios ? > 1 includeSubfolders=true
logoEdit Logo (opcional): read-only ? > 1; 1 logoPath=/archivo.csv; 1 directory=/fotos/ directoryEdit
selectLogoButton Seleccionar logo Seleccionar > Seleccionar Logo Image Files (*.png *.jpg *.jpeg *.tiff) 0, 1
    logoPath=/archivo.csv logoEdit *
fontEdit Fuente (opcional): notosans.ttf read-only ? > 1; 1 fontPath=/archivo.csv; 1 directory=/fotos/ directoryEdit
selectFontButton Seleccionar fuente Seleccionar > Seleccionar Fuente Font Files (*.ttf *.otf) All Files (*) 0, 1
    fontPath=/archivo.csv fontEdit *
- Modo de Obtención de Coordenadas
exifRadio [x] Desde EXIF de las fotos ? > 0
txtRadio [ ] Desde archivo .csv ? > 2 useExif=false exifRadio txtGroup
txtGroup(hidden) Archivo CSV > 0
txtPathEdit Ruta del archivo: > 1 txtPath=otro; 1 txtPath=/archivo.csv; 1 directory=/fotos/ directoryEdit
selectTxtButton Seleccionar archivo CSV Seleccionar > Seleccionar Archivo CSV CSV Files (*.csv *.txt) All Files (*) 0,
    1 txtPath=/archivo.csv txtPathEdit
createSampleButton Crear archivo de ejemplo ? > Guardar Archivo de Ejemplo CSV CSV Files (*.csv) 0, 1
    txtPath=/archivo.csv txtPathEdit
populateAltitudeButton Rellenar altitud desde API ? > Error: Por favor, seleccione un archivo CSV válido. 0, 0
overwriteAltitudeCheck [x] Sobrescribir altitudes existentes ? > 0
sampleFromExifCheck [x] Usar datos EXIF para crear el ejemplo ? > 0
embedCsvCheck [x] Incrustar datos del CSV en el EXIF ? > 0 embedCsvInExif=false
- Opciones de Renombrado
renameCheck [x] Renombrar fotos con coordenadas UTM ? > 0 renamePhotos=false prefixCheck(disabled) *
prefixCheck [ ] Agregar prefijo al nombre ? > 0 usePrefix=true prefixEdit *
prefixEdit(disabled) Prefijo XXX_XXX_SA_ ? > 0 prefix=otro *; 0; 1 directory=/fotos/ directoryEdit
- Opciones de Salida
outputFolderCheck [ ] Guardar fotos modificadas en una carpeta separada ? > 0 useOutputFolder=true outputFolderEdit
    selectOutputButton backupCheck(disabled)
outputFolderEdit(disabled) Carpeta de salida ? > 0 outputFolder=otro; 0; 0 outputFolder=/fotos/
selectOutputButton(disabled) Seleccionar carpeta de salida Seleccionar > Seleccionar Carpeta de Salida 0, 0
    outputFolder= outputFolderEdit(disabled)
backupCheck [x] Realizar copia de seguridad de las fotos originales ? > 0 createBackup=false
- Nota: La copia de seguridad se ignora si se usa una carpeta de salida. font-style: italic; color: grey;
drawDataCheck [x] Dibujar datos (coordenadas, fecha) en las fotos > 1 drawData=false bgTextCheck(disabled) *
- Configuración del Texto
dtPositionCombo Posición Fecha/Hora: abajo-derecha of 4 > 1 dtPosition=arriba-izquierda *
coordsPositionCombo Posición Coordenadas: abajo-derecha of 4 > 1 coordsPosition=arriba-izquierda *
orientationPositionCombo Posición Orientación: abajo-derecha of 4 > 1 orientationPosition=arriba-izquierda *
altitudePositionCombo Posición Altitud: abajo-derecha of 4 > 1 altitudePosition=arriba-izquierda *
fontSizeSpin Tamaño de Fuente (ratio): 0,0300 in 0,0010 to 0,2000 by 0,0010 when done ? > 1 fontSizeRatio=0.001 *
colorSwatch background-color: #FFFFFF > 0
selectColorButton Color de Fuente: Seleccionar color de fuente Seleccionar Color > Seleccionar Color Fuente #ffffff 0,
    1 fontColor=#010203 colorSwatch *
drawOrientationCheck [x] Dibujar orientación (ej: 090° E) ? > 1 drawOrientation=false *
drawAltitudeCheck [x] Dibujar altitud (ej: Alt: 123 m) > 1 drawAltitude=false *
drawTimeCheck [x] Incluir hora (además de la fecha) > 1 drawTime=false *
bgTextCheck [x] Agregar fondo al texto ? > 1 bgText=false *
drawGeoCheck [ ] Dibujar coordenadas geográficas (Lat/Lon DMS) ? > 1 drawGeo=true *
- Configuración del Logo
logoCheck [x] Incrustar logo en las fotos > 1 drawLogo=false logoEdit(disabled) selectLogoButton(disabled)
logoPositionCombo Posición del Logo: arriba-izquierda of 4 > 1 logoPosition=arriba-derecha *
logoSizeSpin Tamaño del Logo (ratio): 0,20 in 0,01 to 0,30 by 0,01 ? > 1 logoRatio=0.01 *
compassCheck [x] Dibujar rosa de los vientos (si hay datos de orientación) > 1 addCompass=false
    rotateCompassCheck(disabled) *
- Configuración de la Rosa de Vientos
compassPositionCombo Posición: Posición de la rosa abajo-izquierda of 4 > 1 compassPosition=arriba-izquierda *
compassSizeSpin Tamaño (ratio): Tamaño de la rosa (ratio) 0,18 in 0,05 to 0,50 by 0,01 ? > 1 compassRatio=0.05 *
compassStyleCombo Estilo: Clásico of 4 > 1 compassStyle=0 *
arrowColorSwatch background-color: #ff0000 > 0
selectArrowColorButton Color de Flecha: Seleccionar color de flecha Seleccionar Color > Seleccionar Color de Flecha
    #ff0000 1, 2 compassArrowColor=#010203 arrowColorSwatch *
rotateCompassCheck [ ] Rotar rosa (flecha siempre apunta arriba) ? > 1 rotateCompass=true *
startButton Iniciar Proceso QPushButton { font-size: 16px; padding: 8px; } > Error: Seleccione un archivo de logo
    válido. 0, 0
- Log de Procesos
logView Log de Procesos read-only > 0
previewGroup Vista Previa Interactiva > 0
previewLabel Seleccione una carpeta con imágenes para activar la vista previa. > 0
prevButton(disabled) Anterior > 0
nextButton(disabled) Siguiente > 1 prevButton nextButton(disabled) photoCaption
- Velmaro VERSION)"_s.sliced(1);
        expected.replace(u"\n    "_s, u" "_s);
        QStringList actual = state();
        for (QString &line : actual) {
            line.replace(QApplication::applicationVersion(), u"VERSION"_s);
            const QString name = line.section(QRegularExpression(u"[ (]"_s), 0, 0);
            if (name != u'-')
                line += u" > " + useOf(name);
        }
        QCOMPARE(entriesOf(u"compassStyleCombo"_s), u"Estilo Puntos,Estilo Graduado,Clásico,Numerado"_s);
        QCOMPARE(actual, expected.split(u'\n'));
    }

    void loadsProfilesUnevenly()
    {
        showPhotos(1);
        const QByteArray rich = R"({"logoPath": "/l/logo.png", "fontSizeRatio": 5, "compassStyle": 3,
        "fontColor": "gold", "drawData": false, "renamePhotos": false, "usePrefix": true})";
        QCOMPARE(effectOf([&] { everythingAfter(rich); }),
                 u"1 compassStyle=3 drawData=false fontColor=gold fontPath= fontSizeRatio=0.2 "
                 "logoPath=/l/logo.png renamePhotos=false usePrefix=true logoEdit fontEdit renameCheck "
                 "prefixCheck(disabled) drawDataCheck fontSizeSpin colorSwatch bgTextCheck(disabled) "
                 "compassStyleCombo"_s);
        QCOMPARE(textOf(find(u"logoEdit"_s)), u"logo.png"_s);
        const QByteArray poor =
            R"({"fontColor": "red; min-width: 9px", "compassArrowColor": "?", "renamePhotos": true})";
        QCOMPARE(effectOf([&] { everythingAfter(poor); }),
                 u"1 compassStyle=0 logoPath= renamePhotos=true logoEdit renameCheck prefixCheck prefixEdit "
                 "compassStyleCombo"_s);
        QCOMPARE(effectOf([&] { everythingAfter("[1, 2"); }), u"0"_s);
    }

    void listsSavedProfiles()
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
        QCOMPARE(entriesOf(u"presetCombo"_s), u"estilo,perfil uno,nada"_s);
        QVERIFY(bytesOf(path(u"perfil uno.json"_s)).contains("\"prefix\": \"perfil uno\""));

        // The profile that is shown is applied again when it is chosen again.
        combo->setCurrentIndex(1);
        combo->setCurrentIndex(0);
        QCOMPARE(textOf(find(u"prefixEdit"_s)), u"otra/estilo.json"_s);
        QCoreApplication::processEvents();
        type(u"prefixEdit"_s, u"otro"_s);
        emit combo->activated(0);
        QCOMPARE(textOf(find(u"prefixEdit"_s)), u"otra/estilo.json"_s);
        type(u"prefixEdit"_s, u"otro"_s);
        QStringList dialogs;
        for (QWidgetAction *entry : window->findChildren<QWidgetAction *>()) { // as the Enter key does
            m_dialog.clear();
            answerNextDialog({});
            entry->trigger();
            dialogs.append(m_dialog.section(u' ', 0, 0));
        }
        QCOMPARE(textOf(find(u"prefixEdit"_s)) + dialogs.join(u' '), u"otra/estilo.json Cargar Guardar"_s);
    }

    // By keys with a comma and a dot alike; by the wheel only with the focus.
    void changesNumbers()
    {
        find<QTabWidget>(u"tabs"_s)->setCurrentIndex(1);
        auto *spin = find<QDoubleSpinBox>(u"fontSizeSpin"_s);
        QStringList values;
        const auto turnWheel = [&] {
            const QPointF middle = spin->rect().center();
            QWheelEvent event(middle, spin->mapToGlobal(middle), {}, {0, 120}, Qt::NoButton, Qt::NoModifier,
                              Qt::NoScrollPhase, false);
            QCoreApplication::sendEvent(spin, &event);
            values.append(QString::number(spin->value()));
        };
        turnWheel();
        window->activateWindow();
        spin->setFocus();
        QTRY_VERIFY(spin->hasFocus());
        turnWheel();
        for (const auto language : {QLocale::C, QLocale::Spanish}) {
            spin->setLocale(language);
            for (const QString &text : {u"0.05\r"_s, u"0,07\r"_s}) {
                spin->selectAll();
                QTest::keyClicks(spin, text);
                values.append(QString::number(spin->value()));
            }
        }
        QCOMPARE(values.join(u' '), u"0.03 0.031 0.05 0.07 0.05 0.07"_s);
    }

    // The panel never scrolls sideways, and at the window's own size not up and down either; no button is cut
    // off.
    void fitsIntoScreens()
    {
        // The smallest screen that is expected: 1280 × 800 at a scale of 1.5, below a title bar.
        const QSize smallest = window->minimumSizeHint();
        QVERIFY(smallest.width() <= 853 && smallest.height() <= 500);
        const QFont usual = QApplication::font();
        QFont large = usual;
        large.setPixelSize(17);
        const QStringList titles{u"General"_s, u"Texto"_s, u"Logo"_s, u"Rosa de Vientos"_s};
        for (const auto &[font, size] : {std::pair{large, QSize(1024, 700)}, {usual, QSize(1280, 779)}}) {
            QApplication::setFont(font);
            startOver();
            QVERIFY(window->screen()->availableGeometry().contains(window->geometry()));
            window->showNormal();
            window->resize(size);
            window->activateWindow();
            check(u"txtRadio"_s);
            auto *tabs = find<QTabWidget>(u"tabs"_s);
            for (int index = 0; index < tabs->count(); ++index) {
                tabs->setCurrentIndex(index);
                QCOMPARE(tabs->tabText(index), titles[index]);
                QCoreApplication::processEvents();
                const auto *area = qobject_cast<QScrollArea *>(tabs->widget(index));
                QVERIFY(area->widget()->minimumSizeHint().width() <= area->viewport()->width());
                QTRY_VERIFY(font == large || area->widget()->height() <= area->viewport()->height());
                const QWidgetList widgets = area->widget()->findChildren<QWidget *>();
                for (const QWidget *one : widgets) {
                    for (const QWidget *other : widgets)
                        QVERIFY(one == other || one->parent() != other->parent() || !one->isVisible() ||
                                !other->isVisible() || !one->geometry().intersects(other->geometry()));
                }
                for (QCheckBox *check : area->findChildren<QCheckBox *>()) {
                    const QRect besideTheBox(0, 0, check->width() - 14, QWIDGETSIZE_MAX);
                    const QRect text =
                        check->fontMetrics().boundingRect(besideTheBox, Qt::TextWordWrap, check->text());
                    QVERIFY2(check->height() >= text.height(), qPrintable(check->text()));
                    check->setFocus();
                    const QImage before = check->grab().toImage(); // the last line, too, takes a click
                    QTest::mouseClick(check, Qt::LeftButton, {}, {check->width() / 2, check->height() - 2});
                    QCOMPARE(check->grab().toImage() != before, check->isEnabled());
                }
            }
            QCOMPARE(window->size(), size);
            QVERIFY(find(u"controlPanel"_s)->rect().contains(find(u"startButton"_s)->geometry()));
        }
    }

private:
    static void drop(QWidget *target, const QString &path)
    {
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(path)});
        data.setText(data.urls().constFirst().toString());
        const Qt::DropActions actions =
            Qt::CopyAction | Qt::MoveAction; // a move is proposed, which would delete it
        QDragEnterEvent enter({5, 5}, actions, &data, Qt::LeftButton, Qt::ShiftModifier);
        QCoreApplication::sendEvent(target, &enter);
        if (!enter.isAccepted())
            return;
        QDropEvent event({5, 5}, actions, &data, Qt::LeftButton, Qt::ShiftModifier);
        QCoreApplication::sendEvent(target, &event);
        QCOMPARE(event.dropAction(), Qt::CopyAction);
    }

    // What comes of using a widget once. A dialog is first cancelled; what is dropped on a field is first a
    // file, then a folder. A star tells that a profile keeps the last change.
    QString useOf(const QString &name)
    {
        startOver();
        failPreviews();
        showPhotos(2);
        const QString file = path(u"archivo.csv"_s);
        writeText(file, R"({"drawGeo": true})");
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
        const QJsonObject start = window->currentRequest().preset.toJson();
        QString effect = effectOf(use);
        if (!m_dialog.isEmpty()) {
            const bool folder = name.contains(u"Dir") || name.contains(u"Output");
            answer = name.contains(u"Color") ? u"#010203"_s : folder ? path() : file;
            effect = m_dialog + u' ' + effect + u", " + effectOf(use);
        }
        const QStringList changed = everything();
        const QJsonObject change = window->currentRequest().preset.toJson();
        if (everythingAfter(QJsonDocument(start).toJson()) != changed &&
            everythingAfter(QJsonDocument(change).toJson()) == changed)
            effect += u" *";
        for (const QString &dropped :
             qobject_cast<QLineEdit *>(widget) ? QStringList{file, photos() + u'/'} : QStringList())
            effect += u"; " + effectOf([&] { drop(widget, dropped); });
        return effect.remove(QRegularExpression(u' ' + name + u"\\b(?!\\()"));
    }

    QStringList everythingAfter(const QByteArray &profile) const
    {
        writeText(path(u"p.json"_s), profile);
        QMetaObject::invokeMethod(window.get(), "loadPresetFromCombo", Q_ARG(QString, path(u"p.json"_s)));
        return everything();
    }
};

// The tests run inside the program's own main function, beside its window.
int main(int argc, char *argv[])
{
    WindowFixture::initMain();
    qAddPreRoutine([] {
        QTimer::singleShot(0, [] {
            MainWindowTest test;
            QCoreApplication::exit(QTest::qExec(&test, QCoreApplication::arguments()));
        });
    });
    return velmaroMain(argc, argv);
}

#include "mainwindow.moc"
