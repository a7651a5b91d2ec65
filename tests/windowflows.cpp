// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/coordinatesfile.h"
#include "data/settings.h"
#include "support/elevationserver.h"
#include "support/windowfixture.h"

using namespace Qt::StringLiterals;

/// What runs in the window: the preview, the batch, the sample file and the altitude fill.
class WindowFlowsTest : public WindowFixture
{
    Q_OBJECT

private slots:
    void init()
    {
        m_server.setAnswers({});
        startOver({m_server.url(), m_server.url(), std::chrono::milliseconds(20)});
    }

    void browsesPhotos()
    {
        writePhoto(path(u"aparte.jpg"_s), plainImage({400, 300}, QColor(80, 100, 200)), gpsTags());
        QVERIFY(QFile::link(path(u"aparte.jpg"_s), photo(u"2.jpg"_s)));
        showPhotos(2, {400, 300});
        // The caption, the name of the photo in the pane by its red, and which buttons are in use.
        QStringList steps;
        const auto look = [&] {
            const QImage picture = preview();
            const int red = picture.pixelColor(picture.rect().center()).red();
            steps.append(u"%1: %2.jpg%3%4"_s.arg(
                textOf(find(u"photoCaption"_s)), QString::number((red + 20) / 40),
                isEnabled(u"prevButton"_s) ? u" <"_s : u""_s, isEnabled(u"nextButton"_s) ? u" >"_s : u""_s));
        };
        window->activateWindow();
        find(u"nextButton"_s)->setFocus();
        QTRY_VERIFY(find(u"nextButton"_s)->hasFocus());
        for (int step = 0; step < 4; ++step) {
            look();
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space); // goes to no field at the end
        }
        QVERIFY(!qobject_cast<QLineEdit *>(QApplication::focusWidget()));
        click(u"prevButton"_s);
        look();
        // The folder has them in an order of its own.
        QString seen = steps.join(u", "_s);
        for (const int place : {0, 1, 2})
            seen.replace(steps[place].section(u' ', 0, 0), QString(QChar(u'A' + place)));
        QCOMPARE(seen, u"A (1 de 3): A >, B (2 de 3): B < >, C (3 de 3): C <, C (3 de 3): C <, "
                       "B (2 de 3): B < >"_s);
        QVERIFY(find(u"photoCaption"_s)->toolTip().endsWith(u'/' + steps[1].section(u' ', 0, 0)));
    }

    void leavesNoTrace()
    {
        showPhotos(1, {400, 300});
        QFile::setPermissions(photo(u"0.jpg"_s), QFile::ReadOwner);
        const QByteArray original = bytesOf(photo(u"0.jpg"_s));
        check(u"prefixCheck"_s);
        check(u"outputFolderCheck"_s);
        type(u"outputFolderEdit"_s, path());
        check(u"drawDataCheck"_s, false);
        const QImage stamped = preview();
        check(u"compassCheck"_s, false);
        QVERIFY(!stamped.isNull() && preview() != stamped);
        for (const QString &folder : {photos(), path()})
            QCOMPARE(QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 1);
        QCOMPARE(bytesOf(photo(u"0.jpg"_s)), original);
        QCOMPARE(log(), u""_s);
    }

    void showsWhatAViewerShows()
    {
        writePhoto(photo(u"a.jpg"_s), plainImage({400, 200}), {{"Exif.Image.Orientation", "6"}});
        type(u"directoryEdit"_s, photos());
        const QImage byExif = preview();
        QVERIFY(byExif.height() > byExif.width());

        // By the coordinates file: as it is without a row, stamped with one, and anew once the file has
        // changed.
        click(u"txtRadio"_s);
        QList<QImage> pictures{preview()};
        for (const char *row : {"a.jpg;19;H;300000;6000000\n", "a.jpg;19;H;300001;6000000\n"}) {
            writeText(path(u"tabla.csv"_s), row);
            type(u"txtPathEdit"_s, path(u"tabla.csv"_s));
            check(u"drawTimeCheck"_s, pictures.size() == 1); // a change that draws it again
            pictures.append(preview());
        }
        QVERIFY(pictures[0] != byExif && pictures[0] != pictures[1] && pictures[1] != pictures[2]);
    }

    void tellsWhatCannotBeShown()
    {
        QDir(path()).mkpath(u"malas"_s);
        writeText(path(u"malas/%1.jpg"_s.arg(QString(150, u'a'))), "no image");
        QStringList texts;
        for (const QString &folder : {photos(), path(u"nada"_s), u""_s, path(u"malas"_s)}) {
            type(u"directoryEdit"_s, folder); // no name is not the current folder
            texts.append(textOf(find(u"previewLabel"_s)));
        }
        QCOMPARE(texts.join(u'\n'), uR"(No se encontraron imágenes en el directorio seleccionado.
El directorio seleccionado no es válido.
No se encontraron imágenes en el directorio seleccionado.
Error al generar la vista previa.)"_s);
        QVERIFY(textOf(find(u"photoCaption"_s)).contains(u'…')); // so long a name makes no window wider

        // A resize scales the last good preview, and brings it back in place of a message.
        showPhotos(2, {400, 300});
        const QSize before = preview().size();
        window->showNormal();
        window->resize(700, 500);
        QTRY_VERIFY(preview().width() < before.width());
        type(u"directoryEdit"_s, path(u"nada"_s));
        QVERIFY(preview().isNull() && !isEnabled(u"nextButton"_s));
        window->resize(800, 600);
        QTRY_VERIFY(!preview().isNull());
    }

    void drawsQuickChangesOnce()
    {
        showPhotos(1, {8000, 6000}); // takes longer than what is drawn at once
        const QImage first = preview();
        const auto changeOften = [this] {
            for (int i = 0; i < 10; ++i)
                click(u"drawDataCheck"_s);
        };
        QCOMPARE(effectOf(changeOften), u"1"_s);
        check(u"compassCheck"_s, false);
        QVERIFY(preview() != first);
    }

    void listsATypedPathWhenTypingPauses()
    {
        showPhotos(1);
        type(u"directoryEdit"_s, {});
        check(u"subdirsCheck"_s);
        auto *edit = find<QLineEdit>(u"directoryEdit"_s);
        const QString asItWas = textOf(find(u"previewLabel"_s));
        QTest::keyClicks(edit, photos());
        QCOMPARE(textOf(find(u"previewLabel"_s)), asItWas); // although it began with "/"
        QTRY_VERIFY(!preview().isNull());
        for (const bool byEnter : {true, false}) {
            edit->selectAll();
            byEnter ? QTest::keyClicks(edit, u"/nada\r"_s) : edit->setText(u"/nada"_s);
            QVERIFY(preview().isNull());
            edit->setText(photos());
            QVERIFY(!preview().isNull());
        }
    }

    void runsABatchToItsEnd()
    {
        writePhoto(photo(u"<b>ladera & río.jpg"_s), plainImage({100, 100}), gpsTags());
        check(u"prefixCheck"_s);
        type(u"prefixEdit"_s, u"P "_s);
        QCOMPARE(runBatch(), u"Completado: El proceso ha finalizado."_s);
        const QStringList lines = log().replace(QRegularExpression(u"\\ds"_s), u"0s"_s).split(u'\n');
        QCOMPARE((lines.first(1) + lines.filter(u"Procesando"_s) + lines.last(3)).join(u'\n'),
                 uR"(Iniciando el proceso de renombrado y modificación de fotos...
Procesando: <b>ladera & río.jpg
Se procesaron 1 fotos en 0s.

Proceso finalizado.)"_s);
        QCOMPARE(status(), u"Terminadas 1 de 1 fotos."_s);
        QCOMPARE(photoNames(), QStringList(u"P 19G 345093 6297582.jpg"_s));
        QCOMPARE(textOf(find(u"photoCaption"_s)), u"P 19G 345093 6297582.jpg (1 de 1)"_s); // listed anew
        QVERIFY(!preview().isNull());
        QTRY_VERIFY(!window->findChild<QProgressDialog *>());
    }

    void tellsWhatWasNotDone()
    {
        runBatch();
        QCOMPARE(status(), u"No había fotos que procesar."_s);
        showPhotos(25);
        writePhoto(photo(u"z.png"_s), plainImage({66000, 1})); // too wide for a JPEG
        writeText(photo(u"Backup"_s), "in the way");
        useTable("1.jpg;19;H;300000;6000000\nz.png;19;H;1;2\n");
        runBatch();
        dialogOf(u"createSampleButton"_s, path(u"muestra.csv"_s));
        type(u"directoryEdit"_s, path(u"nada"_s)); // nothing but the next run takes the place of it
        QStatusTipEvent passedEntry{QString()};
        QCoreApplication::sendEvent(window.get(), &passedEntry);
        QCOMPARE(status(),
                 u"Terminadas 1 de 26 fotos; 24 sin procesar, 1 sin guardar, 26 sin copia de seguridad."_s);
        const QStringList details = window->statusBar()->toolTip().split(u'\n');
        const QRegularExpression left(
            u"^(\\d+.jpg): Coordenadas UTM no encontradas en archivo TXT para \\1$"_s);
        QVERIFY(details.filter(left).size() >= 19); // and perhaps z.png
        QCOMPARE(details.mid(20).join(u'\n'), u"y 5 más\nCopias de seguridad que no se pudieron hacer: 26"_s);
        QVERIFY(window->statusBar()->font().bold());
    }

    void hidesACancelledBatchAndClosesAfterIt()
    {
        showPhotos(8, {3000, 2000});
        check(u"backupCheck"_s, false);
        // The painting and scaling of Qt needs a thread of the global pool meanwhile.
        const int threads = QThreadPool::globalInstance()->maxThreadCount();
        QThreadPool::globalInstance()->setMaxThreadCount(1);
        bool shownAgain = false;
        bool poolFree = false;
        QStringList told;
        const QObject here;
        connect(window->statusBar(), &QStatusBar::messageChanged, &here, [&](QString message) {
            told.append(message.replace(QRegularExpression(u"\\d"_s), u"n"_s));
            const auto *progress = window->findChild<QProgressDialog *>();
            shownAgain = shownAgain || (progress && progress->isVisible());
            poolFree = poolFree || QThreadPool::globalInstance()->tryStart([] {});
        });
        onNext<QProgressDialog>([this](QProgressDialog *progress) {
            progress->setMinimumDuration(0); // else Qt itself keeps it hidden for four seconds
            auto *cancel = progress->findChild<QPushButton *>();
            QCOMPARE(progress->labelText() + cancel->text(), u"Procesando fotos...Cancelar"_s);
            cancel->click();
            window->close();
        });
        runBatch();
        QThreadPool::globalInstance()->setMaxThreadCount(threads);
        QVERIFY(!shownAgain && poolFree && !window->isVisible());
        told.removeDuplicates();
        QCOMPARE(told.join(u'\n'), uR"(Procesando fotos...
El proceso continúa: n de n fotos.
Las fotos se están procesando. La ventana se cerrará al terminar.
El proceso continúa: n de n fotos. La ventana se cerrará al terminar.
Terminadas n de n fotos.)"_s);
        QCOMPARE(photoNames().filter(u"19"_s).size(), 8);
    }

    void breaksOffItsBatchAtTheEnd()
    {
        showPhotos(40, {2000, 1500});
        const QStringList before = photoNames();
        check(u"logoCheck"_s, false);
        check(u"backupCheck"_s, false);
        preview();
        click(u"startButton"_s);
        QTRY_VERIFY(!photoNames().filter(u"19"_s).isEmpty());
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

    void writesASampleFile()
    {
        for (const QString &folder : {u""_s, path(u"nada"_s)}) {
            type(u"directoryEdit"_s, folder);
            QCOMPARE(
                dialogOf(u"createSampleButton"_s),
                u"Error: Seleccione un directorio de fotos válido antes de crear el archivo de ejemplo."_s);
        }
        writePhoto(photo(u"a.jpg"_s), plainImage({20, 20}), gpsTags());
        QDir(photos()).mkpath(u"sub"_s);
        writePhoto(photo(u"sub/b.PNG"_s), plainImage({20, 20}));
        type(u"directoryEdit"_s, photos());
        check(u"subdirsCheck"_s);
        dialogOf(u"createSampleButton"_s, u"/proc/muestra.csv"_s);
        QCOMPARE(status() + window->statusBar()->toolTip(),
                 u"No se creó el archivo de ejemplo.no existe el archivo o la carpeta"_s);
        // Where there is no date, it is now: the minute may change meanwhile.
        const QRegularExpression now(QDateTime::currentDateTime().toString(u"yyyy-MM-ddTHH"_s) +
                                     u"[0-9:]+"_s);
        QStringList files;
        for (const bool fromExif : {true, false}) {
            check(u"sampleFromExifCheck"_s, fromExif);
            const QString file = path(u"%1.csv"_s.arg(fromExif));
            dialogOf(u"createSampleButton"_s, file);
            QStringList lines =
                QString::fromUtf8(bytesOf(file)).replace(now, u"now"_s).split(u'\n').mid(0, 3);
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

    void fillsAltitudes()
    {
        const QByteArray rows =
            coordinatesHeader().toUtf8() + "\n0.jpg;19;H;300000;6000000;;;7\nb;19;H;300000;6000000;;;\n";
        showPhotos(1, {200, 150});
        for (const bool overwrite : {false, true}) {
            useTable(rows);
            check(u"overwriteAltitudeCheck"_s, overwrite);
            const QImage before = preview();
            QCOMPARE(fill(), u"Completado: El proceso de relleno de altitud ha finalizado.\n"
                             "El archivo CSV ha sido actualizado."_s);
            QCOMPARE(
                bytesOf(path(m_table)),
                QByteArray(rows).replace(";;;\n", ";;;100.00\n").replace(";7", overwrite ? ";100.00" : ";7"));
            QCOMPARE(preview() != before, overwrite); // it is drawn anew
        }
        QCOMPARE(m_server.requests().size(), 3);
        const QStringList lines = log().remove(path()).split(u'\n') + QStringList(status());
        QCOMPARE((lines.first(1) + lines.last(4)).join(u'\n'),
                 uR"(Iniciando relleno de altitud desde API para el archivo: /tabla.csv
Proceso completado. Se actualizaron 2 de 2 registros.

Relleno de altitud finalizado.
Terminó la consulta de altitudes.)"_s);
    }

    void breaksOffAnAltitudeFill()
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
        window->close();
        QVERIFY(!window->isVisible());
        // Which does not wait for the answer: that would end the fill, and write the first altitude.
        window.reset();
        QCOMPARE(bytesOf(path(m_table)), table);
    }

    void usesItsSettings()
    {
        useTable("a;b\na.jpg;19;H;300000;6000000\n");
        const auto set = [this](const QString &key, QDialogButtonBox::StandardButton end) {
            onNext<QDialog>([key, end](QDialog *dialog) {
                dialog->findChild<QComboBox *>()->setCurrentText(ElevationProvider::Google);
                dialog->findChild<QLineEdit *>(u"apiKeyEdit"_s)->setText(key);
                dialog->findChild<QSpinBox *>()->setValue(40);
                dialog->findChild<QDialogButtonBox *>()->button(end)->click();
            });
            for (QAction *action : window->findChildren<QAction *>()) {
                if (action->text() == u"Configuración...")
                    action->trigger();
            }
            return QString(log() + QString::number(window->currentRequest().options().jpegQuality));
        };
        QCOMPARE(set(u"clave"_s, QDialogButtonBox::Cancel), u"90"_s);
        QCOMPARE(set({}, QDialogButtonBox::Ok), u"Configuración de salida y altitud actualizada.40"_s);
        QCOMPARE(fill(), u"Error: No se ha configurado una clave de API para Google Elevation. Por favor, "
                         "añádala en Herramientas -> Configuración."_s);
        set(u"clave"_s, QDialogButtonBox::Ok);
        init(); // the next window knows them, too
        Settings().save();
        QCOMPARE(window->currentRequest().options().jpegQuality, 40);
        useTable("a;b\na.jpg;19;H;300000;6000000\n");
        fill();
        QVERIFY(m_server.requests().value(0).endsWith(u"&key=clave"));
    }

private:
    QStringList photoNames() const { return QDir(photos()).entryList(QDir::Files, QDir::Name); }
    void useTable(const QByteArray &rows) const
    {
        writeText(path(m_table), rows);
        check(u"txtRadio"_s);
        type(u"txtPathEdit"_s, path(m_table));
    }
    QString fill() { return finish(u"populateAltitudeButton"_s); }

    ElevationServer m_server;
    const QString m_table = u"tabla.csv"_s;
};

QTEST_MAIN(WindowFlowsTest)
#include "windowflows.moc"
