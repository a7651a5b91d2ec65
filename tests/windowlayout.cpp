// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/windowdriver.h"

#include <QApplication>
#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QScrollArea>
#include <QTabWidget>
#include <QTest>
#include <QWheelEvent>

class WindowLayoutTest : public QObject
{
    Q_OBJECT

public:
    static void initMain() { WindowDriver::prepareProcess(); }

private slots:
    void fitsWithALargeFont();
    void wheelPassesUnfocusedFields();
};

// The panel never scrolls sideways: no tab may be wider than it.
void WindowLayoutTest::fitsWithALargeFont()
{
    const QFont before = QApplication::font();
    QFont large = before;
    large.setPixelSize(17);
    QApplication::setFont(large);
    {
        const WindowDriver driver;
        driver.window->show();
        driver.window->resize(1024, 700);
        driver.find<QAbstractButton>("txtRadio")->setChecked(true);
        auto *tabs = driver.find<QTabWidget>("tabs");
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
        QCOMPARE(driver.window->size(), QSize(1024, 700));
        const auto *panel = driver.find<QWidget>("controlPanel");
        QVERIFY(panel->rect().contains(driver.find<QWidget>("startButton")->geometry()));
    }
    QApplication::setFont(before);
}

void WindowLayoutTest::wheelPassesUnfocusedFields()
{
    const WindowDriver driver;
    driver.window->show();
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
