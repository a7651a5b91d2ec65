// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/windowfixture.h"

#include <QDir>
#include <QLineEdit>
#include <QTest>

using namespace Qt::StringLiterals;

/// The photo in the window: which one it is, how it is drawn, and what stands there without one.
class WindowPreviewTest : public WindowFixture
{
    Q_OBJECT

private slots:
    void init() { startOver(); }
    void browsesPhotos();
    void leavesNoTrace();
    void showsWhatAViewerShows();
    void tellsWhatCannotBeShown();
    void drawsQuickChangesOnce();
    void listsATypedPathWhenTypingPauses();

private:
    QString shown() const { return textOf(find(u"previewLabel"_s)); }
};

void WindowPreviewTest::browsesPhotos()
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
    type(u"directoryEdit"_s, photos() + u'/');
    for (const int index : {2, -1, 3}) // a look aside does not move the place
        QMetaObject::invokeMethod(window.get(), "showPreviewAtIndex", Q_ARG(int, index));
    look();
    click(u"nextButton"_s);
    look();
    // The folder has them in an order of its own.
    QString seen = steps.join(u", "_s);
    for (const int place : {0, 1, 2})
        seen.replace(steps[place].section(u' ', 0, 0), QString(QChar(u'A' + place)));
    QCOMPARE(seen, u"A (1 de 3): A >, B (2 de 3): B < >, C (3 de 3): C <, C (3 de 3): C <, "
                   "B (2 de 3): B < >, C (3 de 3): C >, B (2 de 3): B < >"_s);
    QVERIFY(find(u"photoCaption"_s)->toolTip().endsWith(u'/' + steps[1].section(u' ', 0, 0)));
}

void WindowPreviewTest::leavesNoTrace()
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

void WindowPreviewTest::showsWhatAViewerShows()
{
    writePhoto(photo(u"a.jpg"_s), plainImage({400, 200}), {{"Exif.Image.Orientation", "6"}});
    type(u"directoryEdit"_s, photos());
    const QImage byExif = preview();
    QVERIFY(byExif.height() > byExif.width());

    // By the coordinates file: as it is without a row, stamped with one, and anew once the file has changed.
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

void WindowPreviewTest::tellsWhatCannotBeShown()
{
    QStringList texts;
    for (const QString &folder :
         {photos(), path(u"nada"_s), QString()}) { // no name is not the current folder
        type(u"directoryEdit"_s, folder);
        texts.append(shown());
    }
    writeText(photo(u"a.jpg"_s), "no image");
    type(u"directoryEdit"_s, photos());
    QCOMPARE(texts.join(u'\n') + u'\n' + shown(),
             uR"(No se encontraron imágenes en el directorio seleccionado.
El directorio seleccionado no es válido.
No se encontraron imágenes en el directorio seleccionado.
Error al generar la vista previa.)"_s);

    // A resize scales the last good preview, and brings it back in place of a message.
    QFile::remove(photo(u"a.jpg"_s));
    showPhotos(2, {400, 300});
    type(u"directoryEdit"_s, photos() + u'/');
    const QSize before = preview().size();
    window->showNormal();
    window->resize(700, 500);
    QTRY_VERIFY(preview().width() < before.width());
    type(u"directoryEdit"_s, path(u"nada"_s));
    QVERIFY(preview().isNull() && !isEnabled(u"nextButton"_s));
    window->resize(800, 600);
    QTRY_VERIFY(!preview().isNull());
}

void WindowPreviewTest::drawsQuickChangesOnce()
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

void WindowPreviewTest::listsATypedPathWhenTypingPauses()
{
    showPhotos(1);
    type(u"directoryEdit"_s, {});
    check(u"subdirsCheck"_s);
    auto *edit = find<QLineEdit>(u"directoryEdit"_s);
    const QString asItWas = shown();
    QTest::keyClicks(edit, photos());
    QCOMPARE(shown(), asItWas); // although it began with "/"
    QTRY_VERIFY(!preview().isNull());
    for (const bool byEnter : {true, false}) {
        edit->selectAll();
        byEnter ? QTest::keyClicks(edit, u"/nada\r"_s) : edit->setText(u"/nada"_s);
        QVERIFY(preview().isNull());
        edit->setText(photos());
        QVERIFY(!preview().isNull());
    }
}

QTEST_MAIN(WindowPreviewTest)
#include "windowpreview.moc"
