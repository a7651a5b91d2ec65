// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/windowdriver.h"

#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QScreen>
#include <QScrollArea>
#include <QTabWidget>
#include <QTest>
#include <QWheelEvent>

/// What the window looks like and how a keyboard gets around in it.
class WindowLayoutTest : public QObject
{
    Q_OBJECT

public:
    static void initMain() { WindowDriver::prepareProcess(); }

private slots:
    void fitsIntoScreens();
    void namesItsTabStops();
    void wheelPassesUnfocusedFields();
};

// The panel never scrolls sideways, and at the window's own size not up and down either; no button is cut
// off.
void WindowLayoutTest::fitsIntoScreens()
{
    const QFont usual = QApplication::font();
    QFont large = usual;
    large.setPixelSize(17);
    for (const auto &[font, size] : {std::pair{usual, QSize(1280, 779)}, {large, QSize(1024, 700)}}) {
        QApplication::setFont(font);
        const WindowDriver driver;
        QVERIFY(driver.window->screen()->availableGeometry().contains(driver.window->geometry()));
        driver.window->showNormal();
        driver.window->resize(size);
        driver.check("txtRadio", true);
        auto *tabs = driver.find<QTabWidget>("tabs");
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
        QCOMPARE(driver.window->size(), size);
        const auto *panel = driver.find<QWidget>("controlPanel");
        QVERIFY(panel->rect().contains(driver.find<QWidget>("startButton")->geometry()));
    }
    QApplication::setFont(usual);
    // The smallest screen that is expected: 1280 × 800 at a scale of 1.5, below a title bar.
    const QSize smallest = WindowDriver().window->minimumSizeHint();
    QVERIFY(smallest.width() <= 853 && smallest.height() <= 500);
}

void WindowLayoutTest::namesItsTabStops()
{
    const WindowDriver driver;
    QStringList names;
    QStringList stops;
    for (QWidget *widget = driver.window->nextInFocusChain(); widget != driver.window.get();
         widget = widget->nextInFocusChain()) {
        if (!(widget->focusPolicy() & Qt::TabFocus) || widget->focusProxy() || widget->isHidden())
            continue;
        const auto *accessible = QAccessible::queryAccessibleInterface(widget);
        if (accessible->role() == QAccessible::ComboBox) // whose name is its value, beside its label
            accessible = accessible->relations(QAccessible::Label).value(0).first;
        stops.append(widget->objectName());
        names.append(accessible ? accessible->text(QAccessible::Name) : QString());
        QVERIFY2(!names.constLast().isEmpty(), qPrintable(stops.constLast()));
    }
    QCOMPARE(names.removeDuplicates(), 0);
    QCOMPARE(stops.join(u' '), QStringLiteral(R"(
directoryEdit selectDirButton subdirsCheck logoEdit selectLogoButton fontEdit selectFontButton qt_tabwidget_tabbar exifRadio
txtRadio txtPathEdit selectTxtButton createSampleButton populateAltitudeButton overwriteAltitudeCheck sampleFromExifCheck
embedCsvCheck renameCheck prefixCheck prefixEdit outputFolderCheck outputFolderEdit selectOutputButton backupCheck
drawDataCheck dtPositionCombo coordsPositionCombo orientationPositionCombo altitudePositionCombo fontSizeSpin
selectColorButton drawOrientationCheck drawAltitudeCheck drawTimeCheck bgTextCheck drawGeoCheck logoCheck
logoPositionCombo logoSizeSpin compassCheck compassPositionCombo compassSizeSpin compassStyleCombo
selectArrowColorButton rotateCompassCheck startButton logView prevButton nextButton)")
                                   .simplified());
}

void WindowLayoutTest::wheelPassesUnfocusedFields()
{
    const WindowDriver driver;
    driver.find<QTabWidget>("tabs")->setCurrentIndex(1);
    auto *spin = driver.find<QDoubleSpinBox>("fontSizeSpin");
    const auto turnWheel = [spin] {
        const QPointF middle = spin->rect().center();
        QWheelEvent event(middle, spin->mapToGlobal(middle), {}, {0, 120}, Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(spin, &event);
    };
    turnWheel();
    QCOMPARE(spin->value(), 0.03);
    driver.window->activateWindow();
    spin->setFocus();
    QTRY_VERIFY(spin->hasFocus());
    turnWheel();
    QVERIFY(spin->value() > 0.03);
}

QTEST_MAIN(WindowLayoutTest)
#include "windowlayout.moc"
