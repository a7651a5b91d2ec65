// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/coordinatesfile.h"
#include "data/settings.h"
#include "support/elevationserver.h"
#include "support/windowfixture.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QProgressDialog>
#include <QPushButton>
#include <QSpinBox>
#include <QStatusBar>
#include <QTest>
#include <QThreadPool>

using namespace Qt::StringLiterals;

/// What runs from the window: the batch, the sample file, the altitude fill and the settings.
class WindowFlowsTest : public WindowFixture
{
    Q_OBJECT

private slots:
    void init();
    void refusesInOrder();
    void runsABatchToItsEnd();
    void tellsWhatWasNotDone();
    void hidesACancelledBatch();
    void closesAfterItsBatch();
    void breaksOffItsBatchAtTheEnd();
    void writesASampleFile();
    void fillsAltitudes();
    void breaksOffAnAltitudeFill();
    void refusesAnAltitudeFill();
    void keepsSettings();

private:
    QStringList photoNames() const { return QDir(photos()).entryList(QDir::Files, QDir::Name); }
    void useTable(const QByteArray &rows) const;
    bool fillEnds() const;

    ElevationServer m_server;
    const QString m_table = u"tabla.csv"_s;
};

void WindowFlowsTest::init()
{
    m_server.setAnswers({});
    startOver({m_server.url(), m_server.url(), std::chrono::milliseconds(20)});
}

void WindowFlowsTest::useTable(const QByteArray &rows) const
{
    writeText(path(m_table), rows);
    check(u"txtRadio"_s);
    type(u"txtPathEdit"_s, path(m_table));
}

void WindowFlowsTest::refusesInOrder()
{
    check(u"txtRadio"_s);
    check(u"outputFolderCheck"_s);
    writeText(path(m_table), "");
    QStringList told;
    for (const auto &[edit, text] : {std::pair{u"directoryEdit"_s, path(u"nada"_s)},
                                     {u"directoryEdit"_s, photos()},
                                     {u"txtPathEdit"_s, u""_s},
                                     {u"txtPathEdit"_s, photos()}, // a folder is no file
                                     {u"txtPathEdit"_s, path(m_table)},
                                     {u"outputFolderEdit"_s, path(u"nada"_s)}}) {
        check(u"logoCheck"_s, edit == u"directoryEdit");
        type(edit, text);
        told.append(dialogOf(u"startButton"_s));
    }
    QCOMPARE(told.join(u'\n') + log(), uR"(Error: Seleccione un directorio de fotos válido.
Error: Seleccione un archivo de logo válido.
Error: Seleccione un archivo txt válido (o cambie el modo a EXIF).
Error: Seleccione un archivo txt válido (o cambie el modo a EXIF).
Error: Seleccione una carpeta de salida válida.
Error: Seleccione una carpeta de salida válida.)"_s);
    QVERIFY(isEnabled(u"startButton"_s));
}

void WindowFlowsTest::runsABatchToItsEnd()
{
    writePhoto(photo(u"<b>ladera & río.jpg"_s), plainImage({100, 100}), gpsTags());
    check(u"prefixCheck"_s);
    type(u"prefixEdit"_s, u"P "_s);
    runBatch();
    const QStringList lines = log().replace(QRegularExpression(u"\\ds"_s), u"0s"_s).split(u'\n');
    QCOMPARE((lines.first(1) + lines.filter(u"Procesando"_s) + lines.last(3)).join(u'\n'),
             uR"(Iniciando el proceso de renombrado y modificación de fotos...
Procesando: <b>ladera & río.jpg
Se procesaron 1 fotos en 0s.

Proceso finalizado.)"_s);
    QCOMPARE(m_dialog + status(), u"Completado: El proceso ha finalizado.Terminadas 1 de 1 fotos."_s);
    QCOMPARE(photoNames(), QStringList(u"P 19G 345093 6297582.jpg"_s));
    QCOMPARE(textOf(find(u"photoCaption"_s)), u"P 19G 345093 6297582.jpg (1 de 1)"_s); // listed anew
    QVERIFY(!preview().isNull());
    QTRY_VERIFY(!window->findChild<QProgressDialog *>());
}

void WindowFlowsTest::tellsWhatWasNotDone()
{
    runBatch();
    QCOMPARE(status(), u"No había fotos que procesar."_s);
    showPhotos(2);
    writePhoto(photo(u"z.png"_s), plainImage({66000, 1})); // too wide for a JPEG
    writeText(photo(u"Backup"_s), "in the way");
    useTable("1.jpg;19;H;300000;6000000\nz.png;19;H;1;2\n");
    runBatch();
    type(u"directoryEdit"_s, path(u"nada"_s)); // nothing but the next run takes the place of it
    QCOMPARE(status(),
             u"Terminadas 1 de 3 fotos; 1 sin procesar, 1 sin guardar, 3 sin copia de seguridad."_s);
    QStringList details = window->statusBar()->toolTip().split(u'\n');
    details.sort();
    QCOMPARE(details.join(u'\n'), uR"(0.jpg: Coordenadas UTM no encontradas en archivo TXT para 0.jpg
Copias de seguridad que no se pudieron hacer: 3
z.png: Error guardando la imagen: Maximum supported image dimension is 65500 pixels)"_s);
    QVERIFY(window->statusBar()->font().bold());
}

void WindowFlowsTest::hidesACancelledBatch()
{
    showPhotos(8, {3000, 2000});
    check(u"backupCheck"_s, false);
    // The painting and scaling of Qt needs a thread of the global pool meanwhile.
    const int threads = QThreadPool::globalInstance()->maxThreadCount();
    QThreadPool::globalInstance()->setMaxThreadCount(1);
    bool shownAgain = false;
    bool poolFree = false;
    QString goesOn;
    onNext<QProgressDialog>([&](QProgressDialog *progress) {
        progress->setMinimumDuration(0); // else Qt itself keeps it hidden for four seconds
        auto *cancel = progress->findChild<QPushButton *>();
        QCOMPARE(progress->labelText() + cancel->text(), u"Procesando fotos...Cancelar"_s);
        cancel->click();
        auto *watch = new QTimer(progress);
        connect(watch, &QTimer::timeout, progress, [&, progress] {
            shownAgain = shownAgain || progress->isVisible();
            poolFree = poolFree || QThreadPool::globalInstance()->tryStart([] {});
            if (goesOn.isEmpty() && status().contains(u" de 8 "))
                goesOn = status().remove(QRegularExpression(u"\\d "_s));
        });
        watch->start(1);
    });
    runBatch();
    QThreadPool::globalInstance()->setMaxThreadCount(threads);
    QVERIFY(!shownAgain && poolFree);
    QCOMPARE(goesOn, u"El proceso continúa: de fotos."_s);
    QCOMPARE(status(), u"Terminadas 8 de 8 fotos."_s);
}

void WindowFlowsTest::closesAfterItsBatch()
{
    showPhotos(2, {400, 300});
    onNext<QProgressDialog>([this](QProgressDialog *progress) {
        progress->close();
        window->close();
        QVERIFY(window->isVisible());
        QCOMPARE(status(), u"Las fotos se están procesando. La ventana se cerrará al terminar."_s);
    });
    runBatch();
    QVERIFY(!window->isVisible());
    QCOMPARE(photoNames().filter(u"19"_s).size(), 2);
}

void WindowFlowsTest::breaksOffItsBatchAtTheEnd()
{
    showPhotos(40, {2000, 1500});
    const QStringList before = photoNames();
    check(u"logoCheck"_s, false);
    check(u"backupCheck"_s, false);
    preview();
    click(u"startButton"_s);
    QTest::qWait(100);
    window.reset();
    // What was taken up is finished, the rest untouched.
    const QStringList after = photoNames();
    QCOMPARE(after.size(), before.size());
    QVERIFY(after.filter(u"19"_s).size() < 40);
    for (const QString &name : after) {
        const QImage picture(photo(name));
        const bool stamped = picture.pixelColor(1900, 1400) != picture.pixelColor(9, 9);
        QVERIFY2(stamped != before.contains(name), qPrintable(name));
    }
}

void WindowFlowsTest::writesASampleFile()
{
    for (const QString &folder : {u""_s, path(u"nada"_s)}) {
        type(u"directoryEdit"_s, folder);
        QCOMPARE(dialogOf(u"createSampleButton"_s),
                 u"Error: Seleccione un directorio de fotos válido antes de crear el archivo de ejemplo."_s);
    }
    writePhoto(photo(u"a.jpg"_s), plainImage({20, 20}), gpsTags());
    writePhoto(photo(u"b.PNG"_s), plainImage({20, 20}));
    type(u"directoryEdit"_s, photos());
    dialogOf(u"createSampleButton"_s, u"/proc/muestra.csv"_s);
    QCOMPARE(status() + window->statusBar()->toolTip(),
             u"No se creó el archivo de ejemplo.no existe el archivo o la carpeta"_s);
    // Where there is no date, it is now: the minute may change meanwhile.
    const QRegularExpression now(QDateTime::currentDateTime().toString(u"yyyy-MM-ddTHH"_s) + u"[0-9:]+"_s);
    QStringList files;
    for (const bool fromExif : {true, false}) {
        check(u"sampleFromExifCheck"_s, fromExif);
        const QString file = path(u"%1.csv"_s.arg(fromExif));
        dialogOf(u"createSampleButton"_s, file);
        QStringList lines = QString::fromUtf8(bytesOf(file)).replace(now, u"now"_s).split(u'\n').mid(0, 3);
        QVERIFY(lines.removeOne(coordinatesHeader()));
        lines.sort();
        files.append(lines);
    }
    QCOMPARE(files.join(u'\n'), uR"(a.jpg;19;G;345093;6297581;90;2024-03-05T14:07:09;520.3
b.PNG;19;J;500000;6000000;;now;
a.jpg;19;J;500000;6000000;;now;
b.PNG;19;J;500000;6000000;;now;)"_s);
    QCOMPARE(log().remove(path()), uR"(Error al crear el archivo de ejemplo: no se pudo abrir el archivo.
Datos GPS no encontrados en EXIF para b.PNG. Usando coordenadas y orientación fijas
Archivo de ejemplo creado en: /1.csv
Archivo de ejemplo creado en: /0.csv)"_s);
    QCOMPARE(textOf(find(u"txtPathEdit"_s)), path(u"0.csv"_s));
}

bool WindowFlowsTest::fillEnds() const
{
    return QTest::qWaitFor([this] { return isEnabled(u"populateAltitudeButton"_s); }, 20000);
}

void WindowFlowsTest::fillsAltitudes()
{
    const QByteArray header = coordinatesHeader().toUtf8() + '\n';
    showPhotos(1, {200, 150});
    for (const bool overwrite : {false, true}) {
        useTable(header + "0.jpg;19;H;300000;6000000;;;7\nb.jpg;19;H;300000;6000000;;;\n");
        check(u"overwriteAltitudeCheck"_s, overwrite);
        const QImage before = preview();
        QCOMPARE(dialogOf(u"populateAltitudeButton"_s), u""_s);
        QVERIFY(!isEnabled(u"populateAltitudeButton"_s) && fillEnds());
        QCOMPARE(m_dialog, u"Completado: El proceso de relleno de altitud ha finalizado.\n"
                           "El archivo CSV ha sido actualizado."_s);
        QCOMPARE(bytesOf(path(m_table)), header + "0.jpg;19;H;300000;6000000;;;" +
                                             (overwrite ? "100.00" : "7") +
                                             "\nb.jpg;19;H;300000;6000000;;;100.00\n");
        QCOMPARE(preview() != before, overwrite); // it is drawn anew
    }
    QCOMPARE(m_server.requests().size(), 3);
    QCOMPARE(status(), u"Terminó la consulta de altitudes."_s);
    const QStringList lines = log().remove(path()).split(u'\n');
    QCOMPARE((lines.first(1) + lines.last(3)).join(u'\n'),
             uR"(Iniciando relleno de altitud desde API para el archivo: /tabla.csv
Proceso completado. Se actualizaron 2 de 2 registros.

Relleno de altitud finalizado.)"_s);
}

void WindowFlowsTest::breaksOffAnAltitudeFill()
{
    const QByteArray table =
        coordinatesHeader().toUtf8() + "\na;19;H;300000;6000000\nb;19;H;300000;6000000\n";
    m_server.setAnswers({{R"({"status": "OK", "results": [{"elevation": 1}]})"}, {"{}", 200, 5000}});
    useTable(table);
    onNext<QProgressDialog>([](QProgressDialog *progress) {
        QCOMPARE(progress->labelText(), u"Consultando altitudes..."_s);
        progress->cancel();
    });
    click(u"populateAltitudeButton"_s);
    QTRY_COMPARE(m_server.requests().size(), 2); // the second waits
    QTRY_COMPARE(status(), u"La consulta de altitudes continúa: 1 de 2 líneas."_s);
    QElapsedTimer timer;
    timer.start();
    window->close();
    QVERIFY(!window->isVisible());
    window.reset();
    QVERIFY(timer.elapsed() < 4000);
    QCOMPARE(bytesOf(path(m_table)), table);
}

void WindowFlowsTest::refusesAnAltitudeFill()
{
    for (const QString &file : {u""_s, path(u"nada.csv"_s), photos()}) {
        type(u"txtPathEdit"_s, file);
        QCOMPARE(dialogOf(u"populateAltitudeButton"_s),
                 u"Error: Por favor, seleccione un archivo CSV válido."_s);
    }
    const auto fillWithKey = [this](const QString &key) {
        Settings{ElevationProvider::Google, key, 90}.save();
        init();
        Settings().save();
        useTable("a;b\na.jpg;19;H;300000;6000000\n");
        return dialogOf(u"populateAltitudeButton"_s);
    };
    QCOMPARE(fillWithKey({}), u"Error: No se ha configurado una clave de API para Google Elevation. Por "
                              "favor, añádala en Herramientas -> Configuración."_s);
    QCOMPARE(m_server.requests(), QStringList());
    fillWithKey(u"clave"_s);
    QVERIFY(fillEnds());
    QVERIFY(m_server.requests().value(0).endsWith(u"&key=clave"));
}

void WindowFlowsTest::keepsSettings()
{
    const auto openDialog = [this](QDialogButtonBox::StandardButton end) {
        onNext<QDialog>([end](QDialog *dialog) {
            dialog->findChild<QComboBox *>()->setCurrentText(ElevationProvider::Google);
            dialog->findChild<QLineEdit *>(u"apiKeyEdit"_s)->setText(u" clave "_s);
            dialog->findChild<QSpinBox *>()->setValue(40);
            dialog->findChild<QDialogButtonBox *>()->button(end)->click();
        });
        for (QAction *action : window->findChildren<QAction *>()) {
            if (action->text() == u"Configuración...")
                action->trigger();
        }
        const Settings stored = Settings::load();
        return QString(stored.altitudeProvider + stored.googleApiKey + QString::number(stored.jpegQuality) +
                       log());
    };
    QCOMPARE(openDialog(QDialogButtonBox::Cancel), u"OpenTopoData90"_s);
    QCOMPARE(openDialog(QDialogButtonBox::Ok),
             u"Google Elevation clave 40Configuración de salida y altitud actualizada."_s);
    QCOMPARE(window->currentRequest().options().jpegQuality, 40);
    Settings().save();
}

QTEST_MAIN(WindowFlowsTest)
#include "windowflows.moc"
