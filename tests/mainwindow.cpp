// SPDX-License-Identifier: GPL-3.0-or-later
#include "photofiles.h"
#include "processing/photowalk.h"
#include "windowdriver.h"

#include <QDir>
#include <QScrollArea>
#include <QTabWidget>
#include <QTemporaryDir>

class MainWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void startState();
    void enableRules();
    void nothingIsCutOff();
    void wheelScrollsPastUnfocusedFields();
    void previewTriggers_data();
    void previewTriggers();
    void folderMessages();
    void navigation();
    void previewLeavesNoTrace();
    void previewIsUpright();
    void resizing();

private:
    QString newFolder(const QStringList &names = {});

    QTemporaryDir m_settings;
    std::unique_ptr<QTemporaryDir> m_dir;
};

void MainWindowTest::initTestCase()
{
    isolateWindow(m_settings.path());
}

void MainWindowTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
}

// A folder with plain photos of the given names.
QString MainWindowTest::newFolder(const QStringList &names)
{
    for (const QString &name : names)
        writePhoto(m_dir->filePath(name), plainImage({320, 240}));
    return m_dir->path();
}

void MainWindowTest::startState()
{
    const PhotoRenamerGUI window;
    const auto child = [&window](const char *name) {
        return window.findChild<QWidget *>(QString::fromLatin1(name));
    };
    for (const char *name :
         {"prefixEdit", "outputFolderEdit", "selectOutputButton", "prevButton", "nextButton"})
        QVERIFY2(!child(name)->isEnabled(), name);
    QVERIFY(child("txtGroup")->isHidden());

    const QHash<QByteArray, QString> combos{{"dtPositionCombo", text("abajo-derecha")},
                                            {"coordsPositionCombo", text("abajo-derecha")},
                                            {"orientationPositionCombo", text("abajo-derecha")},
                                            {"altitudePositionCombo", text("abajo-derecha")},
                                            {"logoPositionCombo", text("arriba-izquierda")},
                                            {"compassPositionCombo", text("abajo-izquierda")},
                                            {"compassStyleCombo", text("Clásico")},
                                            {"presetCombo", QString()}};
    for (auto combo = combos.begin(); combo != combos.end(); ++combo)
        QCOMPARE(qobject_cast<QComboBox *>(child(combo.key().constData()))->currentText(), combo.value());

    const QSet<QString> unchecked{text("subdirsCheck"), text("prefixCheck"), text("outputFolderCheck"),
                                  text("drawGeoCheck"), text("rotateCompassCheck")};
    const auto checks = window.findChildren<QCheckBox *>();
    QCOMPARE(checks.size(), 17);
    for (const QCheckBox *check : checks)
        QVERIFY2(check->isChecked() != unchecked.contains(check->objectName()),
                 qPrintable(check->objectName()));

    const auto spin = [&child](const char *name) {
        return qobject_cast<QDoubleSpinBox *>(child(name));
    };
    QCOMPARE(spin("fontSizeSpin")->value(), 0.03);
    QVERIFY(!spin("fontSizeSpin")->keyboardTracking());
    QCOMPARE(spin("logoSizeSpin")->value(), 0.2);
    QCOMPARE(spin("compassSizeSpin")->value(), 0.18);
    QCOMPARE(qobject_cast<QLineEdit *>(child("prefixEdit"))->text(), text("XXX_XXX_SA_"));
    QCOMPARE(qobject_cast<QLineEdit *>(child("fontEdit"))->text(), text("notosans.ttf"));
    QCOMPARE(child("colorSwatch")->styleSheet(), text("background-color: #FFFFFF"));
    QCOMPARE(child("arrowColorSwatch")->styleSheet(), text("background-color: #ff0000"));
}

void MainWindowTest::enableRules()
{
    Window window;
    window.check("outputFolderCheck", true);
    QVERIFY(window.enabled("outputFolderEdit") && window.enabled("selectOutputButton"));
    QVERIFY(!window.enabled("backupCheck") && window.get<QCheckBox>("backupCheck")->isChecked());
    window.check("outputFolderCheck", false);
    QVERIFY(!window.enabled("outputFolderEdit") && window.enabled("backupCheck"));

    window.check("prefixCheck", true);
    QVERIFY(window.enabled("prefixEdit"));
    window.check("renameCheck", false);
    QVERIFY(!window.enabled("prefixCheck") && !window.enabled("prefixEdit"));
    window.check("renameCheck", true);
    QVERIFY(window.enabled("prefixCheck") && window.enabled("prefixEdit"));
    window.check("prefixCheck", false);
    QVERIFY(!window.enabled("prefixEdit"));

    QVERIFY(!window.enabled("logoEdit") && !window.enabled("selectLogoButton"));
    window.check("logoCheck", true);
    QVERIFY(window.enabled("logoEdit") && window.enabled("selectLogoButton"));
    window.check("compassCheck", false);
    QVERIFY(!window.enabled("rotateCompassCheck"));
    window.check("drawDataCheck", false);
    QVERIFY(!window.enabled("bgTextCheck"));
    window.check("txtRadio", true);
    QVERIFY(window.get("txtGroup")->isVisible());
    window.check("exifRadio", true);
    QVERIFY(!window.get("txtGroup")->isVisible());
}

// With a font as large as this no tab may be wider than the panel, which never scrolls sideways.
void MainWindowTest::nothingIsCutOff()
{
    const QFont before = QApplication::font();
    QFont large = before;
    large.setPixelSize(17);
    QApplication::setFont(large);
    Window window;
    window.resize(1024, 700);
    window.check("txtRadio", true);
    auto *tabs = window.get<QTabWidget>("tabs");
    for (int index = 0; index < tabs->count(); ++index) {
        tabs->setCurrentIndex(index);
        QCoreApplication::processEvents();
        const auto *area = qobject_cast<QScrollArea *>(tabs->widget(index));
        QVERIFY2(area->widget()->minimumSizeHint().width() <= area->viewport()->width(),
                 qPrintable(tabs->tabText(index)));
        for (const QCheckBox *check : area->findChildren<QCheckBox *>())
            QVERIFY2(check->isHidden() || check->height() >= check->heightForWidth(check->width()),
                     qPrintable(check->text()));
    }
    QCOMPARE(window.size(), QSize(1024, 700));
    QVERIFY(window.get("controlPanel")->rect().contains(window.get("startButton")->geometry()));
    QApplication::setFont(before);
}

void MainWindowTest::wheelScrollsPastUnfocusedFields()
{
    Window window;
    window.get<QTabWidget>("tabs")->setCurrentIndex(1);
    auto *spin = window.get<QDoubleSpinBox>("fontSizeSpin");
    const auto turnWheel = [spin] {
        const QPointF middle = spin->rect().center();
        QWheelEvent event(middle, spin->mapToGlobal(middle), {}, {0, 120}, Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(spin, &event);
    };
    turnWheel();
    QCOMPARE(spin->value(), 0.03);
    window.activateWindow();
    spin->setFocus();
    QTRY_VERIFY(spin->hasFocus());
    turnWheel();
    QVERIFY(spin->value() > 0.03);
}

void MainWindowTest::previewTriggers_data()
{
    QTest::addColumn<QByteArray>("widget");
    QTest::addColumn<int>("previews");
    for (const char *once : {"logoEdit",
                             "fontEdit",
                             "logoPositionCombo",
                             "dtPositionCombo",
                             "coordsPositionCombo",
                             "orientationPositionCombo",
                             "compassPositionCombo",
                             "logoCheck",
                             "compassCheck",
                             "drawDataCheck",
                             "drawOrientationCheck",
                             "drawTimeCheck",
                             "bgTextCheck",
                             "rotateCompassCheck",
                             "txtPathEdit",
                             "drawGeoCheck",
                             "drawAltitudeCheck",
                             "altitudePositionCombo",
                             "compassStyleCombo",
                             "fontSizeSpin",
                             "logoSizeSpin",
                             "compassSizeSpin",
                             "subdirsCheck"})
        QTest::newRow(once) << QByteArray(once) << 1;
    QTest::newRow("the mode, twice") << QByteArray("txtRadio") << 2;
    for (const char *never :
         {"renameCheck", "prefixCheck", "prefixEdit", "outputFolderCheck", "outputFolderEdit", "backupCheck",
          "embedCsvCheck", "overwriteAltitudeCheck", "sampleFromExifCheck"})
        QTest::newRow(never) << QByteArray(never) << 0;
}

void MainWindowTest::previewTriggers()
{
    QFETCH(QByteArray, widget);
    QFETCH(int, previews);
    Window window;
    window.type("directoryEdit", newFolder({text("a.jpg")}));
    const PreviewCounter counter(window);
    auto *changed = window.get(widget.constData());
    if (auto *combo = qobject_cast<QComboBox *>(changed))
        combo->setCurrentIndex((combo->currentIndex() + 1) % combo->count());
    else if (auto *edit = qobject_cast<QLineEdit *>(changed))
        edit->setText(text("otro"));
    else if (auto *spin = qobject_cast<QDoubleSpinBox *>(changed))
        spin->stepUp();
    else
        qobject_cast<QAbstractButton *>(changed)->toggle();
    QCOMPARE(counter.made(), previews);
}

void MainWindowTest::folderMessages()
{
    Window window;
    const auto *label = window.get<QLabel>("previewLabel");
    QCOMPARE(label->text(), text("Seleccione una carpeta con imágenes para activar la vista previa."));
    window.type("directoryEdit", m_dir->filePath(text("no existe")));
    QCOMPARE(label->text(), text("El directorio seleccionado no es válido."));
    writeText(m_dir->filePath(text("a.gif")), "GIF89a");
    window.type("directoryEdit", newFolder());
    QCOMPARE(label->text(), text("No se encontraron imágenes en el directorio seleccionado."));
    writeText(m_dir->filePath(text("rota.jpg")), "no es una foto");
    window.check("subdirsCheck", true);
    QCOMPARE(label->text(), text("Error al generar la vista previa."));
    QVERIFY(!window.enabled("nextButton"));

    // Nothing of the current directory is taken for the empty field.
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(newFolder({text("a.jpg")})));
    window.type("directoryEdit", QString());
    QCOMPARE(label->text(), text("No se encontraron imágenes en el directorio seleccionado."));
    QVERIFY(QDir::setCurrent(before));
}

void MainWindowTest::navigation()
{
    const QList<QColor> colours{Qt::red, Qt::green, Qt::blue, Qt::yellow};
    const QStringList names{text("FOTO.JPG"), text("b.tiff"), text("c.png"), text("a%1b[2] ñ.jpeg")};
    for (int i = 0; i < names.size(); ++i)
        writePhoto(m_dir->filePath(names.at(i)), plainImage({320, 240}, colours.at(i)));
    const QStringList order = findPhotos(m_dir->path(), false, PhotoWalk::Preview);
    QCOMPARE(order.size(), 4);

    Window window;
    const auto shows = [&](int index) {
        const QImage shown = window.preview();
        const QColor colour = shown.pixelColor(shown.rect().center());
        const QColor expected = colours.at(names.indexOf(QFileInfo(order.at(index)).fileName()));
        return qAbs(colour.red() - expected.red()) < 8 && qAbs(colour.green() - expected.green()) < 8 &&
               qAbs(colour.blue() - expected.blue()) < 8;
    };
    window.type("directoryEdit", m_dir->path());
    QVERIFY(shows(0));
    QVERIFY(!window.enabled("prevButton") && window.enabled("nextButton"));

    // A look aside does not move the place from which the buttons step.
    QVERIFY(QMetaObject::invokeMethod(&window, "showPreviewAtIndex", Q_ARG(int, 2)));
    QVERIFY(shows(2));
    QVERIFY(!window.enabled("prevButton"));
    QVERIFY(QMetaObject::invokeMethod(&window, "showPreviewAtIndex", Q_ARG(int, 4)));
    QVERIFY(shows(2));
    window.click("nextButton");
    QVERIFY(shows(1));
    window.click("nextButton");
    window.click("nextButton");
    QVERIFY(shows(3));
    QVERIFY(window.enabled("prevButton") && !window.enabled("nextButton"));
    window.click("prevButton");
    QVERIFY(shows(2));
}

void MainWindowTest::previewLeavesNoTrace()
{
    const QString photo = m_dir->filePath(text("a.jpg"));
    writePhoto(photo, plainImage({320, 240}), gpsTags());
    QVERIFY(QFile::setPermissions(photo, QFile::ReadOwner));
    const QString output = m_dir->filePath(text("salida"));
    QVERIFY(QDir().mkdir(output));
    const QByteArray before = bytesOf(photo);

    Window window;
    window.check("prefixCheck", true);
    window.check("outputFolderCheck", true);
    window.type("outputFolderEdit", output);
    window.type("directoryEdit", m_dir->path());
    const QImage plain = plainImage(window.preview().size());
    QVERIFY(window.preview().convertToFormat(plain.format()) != plain); // something is drawn
    QCOMPARE(window.log(), QString());
    QCOMPARE(bytesOf(photo), before);
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             (QStringList{text("a.jpg"), text("salida")}));
    QVERIFY(QDir(output).isEmpty());
}

void MainWindowTest::previewIsUpright()
{
    writePhoto(m_dir->filePath(text("a.jpg")), plainImage({400, 200}), {{"Exif.Image.Orientation", "6"}});
    Window window;
    window.type("directoryEdit", m_dir->path());
    QVERIFY(window.preview().height() > window.preview().width());
}

void MainWindowTest::resizing()
{
    Window window;
    window.resize(1100, 760);
    window.type("directoryEdit", newFolder({text("a.jpg")}));
    const QSize before = window.preview().size();
    const PreviewCounter counter(window);
    window.resize(1500, 1000);
    QTRY_VERIFY(window.preview().width() > before.width());
    QCOMPARE(counter.made(), 0);
    QVERIFY(qAbs(window.preview().width() * 3 - window.preview().height() * 4) <= 4);

    // The last good preview comes back in place of a message.
    window.type("directoryEdit", text("/no/existe"));
    QVERIFY(window.preview().isNull());
    window.resize(1400, 1000);
    QTRY_VERIFY(!window.preview().isNull());

    // A collapsed pane leaves it as it is.
    const QSize last = window.preview().size();
    window.get<QLabel>("previewLabel")->setFixedHeight(9);
    window.resize(1300, 900);
    QCoreApplication::processEvents();
    QCOMPARE(window.preview().size(), last);
}

QTEST_MAIN(MainWindowTest)
#include "mainwindow.moc"
