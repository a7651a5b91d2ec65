// SPDX-License-Identifier: GPL-3.0-or-later
#include "photofiles.h"
#include "support/windowdriver.h"

#include <QColorDialog>
#include <QComboBox>
#include <QDir>
#include <QDoubleSpinBox>
#include <QDropEvent>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QTest>

/// What is chosen in the window: profiles, colours, files and folders, numbers.
class WindowChoicesTest : public QObject
{
    Q_OBJECT

public:
    static void initMain() { WindowDriver::prepareProcess(); }

private slots:
    void init() { m_driver = std::make_unique<WindowDriver>(); }
    void cleanup() { m_driver.reset(); }
    void savesAndListsProfiles();
    void loadsProfilesUnevenly();
    void choosesColours();
    void choosesFilesAndFolders();
    void takesDroppedPaths();
    void takesCommaAndDot();

private:
    void loadProfile(const QByteArray &profile) const;

    std::unique_ptr<WindowDriver> m_driver;
};

void WindowChoicesTest::savesAndListsProfiles()
{
    auto *combo = m_driver->find<QComboBox>("presetCombo");
    QDir(m_driver->path({})).mkpath(QStringLiteral("otra"));
    // One name in two folders is one entry; a name without suffix gets one; where nothing can be written,
    // nothing is said, and the name is listed.
    for (const char *name : {"estilo.final.json", "perfil uno", "otra/estilo.json", "/proc/nada.json"}) {
        const QString file = QString::fromLatin1(name);
        m_driver->type("prefixEdit", file);
        m_driver->choose("savePresetButton", file.startsWith(u'/') ? file : m_driver->path(file));
    }
    m_driver->choose("savePresetButton", {});
    QStringList items;
    for (int i = 0; i < combo->count(); ++i)
        items.append(combo->itemText(i));
    QCOMPARE(items.join(u','), QStringLiteral("estilo,perfil uno,nada"));
    QVERIFY(m_driver->messages.isEmpty());
    const QJsonObject saved =
        QJsonDocument::fromJson(bytesOf(m_driver->path(QStringLiteral("perfil uno.json")))).object();
    QCOMPARE(saved.value(QLatin1String("prefix")).toString(), QStringLiteral("perfil uno"));

    // The profile that is shown is applied again when it is chosen again.
    combo->setCurrentIndex(1);
    combo->setCurrentIndex(0);
    QCOMPARE(m_driver->textOf("prefixEdit"), QStringLiteral("otra/estilo.json"));
    QCoreApplication::processEvents();
    m_driver->type("prefixEdit", QStringLiteral("otro"));
    emit combo->activated(0);
    QCOMPARE(m_driver->textOf("prefixEdit"), QStringLiteral("otra/estilo.json"));
}

void WindowChoicesTest::loadProfile(const QByteArray &profile) const
{
    writeText(m_driver->path(QStringLiteral("p.json")), profile);
    m_driver->choose("loadPresetButton", m_driver->path(QStringLiteral("p.json")));
}

void WindowChoicesTest::loadsProfilesUnevenly()
{
    m_driver->writePhotos(1, {20, 15});
    m_driver->type("directoryEdit", m_driver->photos());
    const QByteArray profile = R"({"logoPath": "/l/logo.png", "fontPath": "/f/letra.ttf", "fontSizeRatio": 5,
        "compassStyle": 3, "compassArrowColor": "#00ff00", "fontColor": "gold", "dtPosition": "arriba-izquierda",
        "drawGeo": true, "drawData": false, "addCompass": false, "renamePhotos": false, "usePrefix": true})";
    QCOMPARE(m_driver->previewsOf([&] { loadProfile(profile); }), 1);
    QVERIFY(m_driver->isEnabled("compassCheck") && !m_driver->isEnabled("bgTextCheck") &&
            !m_driver->isEnabled("rotateCompassCheck") && !m_driver->isEnabled("prefixCheck"));
    const auto shown = [this] {
        QStringList lines = m_driver->state().filter(QRegularExpression(QStringLiteral(
            "^(logoEdit|fontEdit|fontSizeSpin|compassStyle|arrowC|colorS|dtP|drawGeo|presetC|logoCheck)")));
        return lines.replaceInStrings(QRegularExpression(QStringLiteral("^\\w+ | in .*| \\(.*$")), {})
            .join(u'|');
    };
    QCOMPARE(shown(),
             QStringLiteral("background-color: #00ff00|background-color: gold|Numerado of 4|[x] Dibujar "
                            "coordenadas geográficas|arriba-izquierda of 4|letra.ttf|0.2000|[x] Incrustar "
                            "logo en las fotos|logo.png|of 0"));
    loadProfile(R"({"fontColor": "red; min-width: 900px", "compassArrowColor": "nada"})");
    const QString cleared =
        QStringLiteral("background-color: #ff0000|background-color: gold|Estilo Puntos of 4|[x] "
                       "Dibujar coordenadas geográficas|arriba-izquierda of 4|(read-only)|0.2000|[x] "
                       "Incrustar logo en las fotos|(read-only)|of 0");
    QCOMPARE(shown(), cleared);
    loadProfile("[1, 2");
    m_driver->choose("loadPresetButton", {});
    QCOMPARE(shown(), cleared);
}

void WindowChoicesTest::choosesColours()
{
    m_driver->writePhotos(1, {20, 15});
    m_driver->type("directoryEdit", m_driver->photos());
    const struct {
        const char *button;
        const char *swatch;
        QString title;
        QString start;
        int previewsWhenCancelled; ///< the button of the arrow asks for one itself
    } rows[] = {{"selectColorButton", "colorSwatch", QStringLiteral("Seleccionar Color Fuente"),
                 QStringLiteral("#ffffff"), 0},
                {"selectArrowColorButton", "arrowColorSwatch", QStringLiteral("Seleccionar Color de Flecha"),
                 QStringLiteral("#ff0000"), 1}};
    for (const auto &row : rows) {
        const auto answer = [&](bool accept) {
            return m_driver->previewsOf([&] {
                m_driver->onNextDialog([&, accept](QWidget *widget) {
                    auto *dialog = qobject_cast<QColorDialog *>(widget);
                    QVERIFY(dialog);
                    QCOMPARE(dialog->windowTitle(), row.title);
                    QCOMPARE(dialog->currentColor().name(), row.start);
                    dialog->setCurrentColor(QColor(1, 2, 3));
                    accept ? dialog->accept() : dialog->reject();
                });
                m_driver->click(row.button);
            });
        };
        const auto style = [&] {
            return m_driver->find<QLabel>(row.swatch)->styleSheet().toLower();
        };
        QCOMPARE(answer(false), row.previewsWhenCancelled);
        QCOMPARE(style(), QStringLiteral("background-color: ") + row.start);
        QCOMPARE(answer(true), row.previewsWhenCancelled + 1);
        QCOMPARE(style(), QStringLiteral("background-color: #010203"));
    }
    const ProcessOptions options = m_driver->window->currentRequest().options();
    QVERIFY(options.fontColor == QColor(1, 2, 3) && options.compassArrowColor == QColor(1, 2, 3));
}

void WindowChoicesTest::choosesFilesAndFolders()
{
    const QString file = m_driver->path(QStringLiteral("archivo.csv"));
    writeText(file, "");
    m_driver->click("txtRadio");
    m_driver->check("outputFolderCheck", true);
    for (const auto &[button, edit, choice] :
         {std::tuple{"selectDirButton", "directoryEdit", m_driver->photos()},
          {"selectTxtButton", "txtPathEdit", file},
          {"selectOutputButton", "outputFolderEdit", m_driver->photos()},
          {"selectLogoButton", "logoEdit", file},
          {"selectFontButton", "fontEdit", file}}) {
        m_driver->choose(button, choice);
        m_driver->choose(button, {});
        const bool nameAlone = m_driver->find<QLineEdit>(edit)->isReadOnly();
        QCOMPARE(m_driver->textOf(edit), nameAlone ? QStringLiteral("archivo.csv") : choice);
    }
    const ProcessOptions options = m_driver->window->currentRequest().options();
    QCOMPARE(options.logoPath, file);
    QCOMPARE(options.fontPath, file);
}

void WindowChoicesTest::takesDroppedPaths()
{
    const QString file = m_driver->path(QStringLiteral("archivo.csv"));
    writeText(file, "");
    // Whether it was taken, and by whom the path was set.
    const auto drop = [](QWidget *target, const QString &path) {
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(path)});
        data.setText(QUrl::fromLocalFile(path).toString());
        QDragEnterEvent enter({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, {});
        QCoreApplication::sendEvent(target, &enter);
        if (enter.isAccepted()) {
            QDropEvent event({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, {});
            QCoreApplication::sendEvent(target, &event);
        }
        return enter.isAccepted();
    };
    QVERIFY(!drop(m_driver->window.get(), file));
    m_driver->check("outputFolderCheck", true);
    m_driver->check("prefixCheck", true);
    for (const char *edit : {"logoEdit", "fontEdit", "txtPathEdit"})
        QVERIFY2(drop(m_driver->find<QLineEdit>(edit), file), edit);
    QVERIFY(drop(m_driver->find<QLineEdit>("outputFolderEdit"), m_driver->photos()));
    // A folder where no folder goes is one dropped on the window.
    for (const char *edit : {"directoryEdit", "prefixEdit", "logoEdit"}) {
        m_driver->type("directoryEdit", {});
        QVERIFY(drop(m_driver->find<QLineEdit>(edit), m_driver->photos()));
        QCOMPARE(m_driver->textOf("directoryEdit"), m_driver->photos());
    }
    QCOMPARE(m_driver->textOf("prefixEdit"), QStringLiteral("XXX_XXX_SA_"));
    const RunRequest request = m_driver->window->currentRequest();
    QCOMPARE(QStringList({request.preset.logoPath, request.preset.fontPath, request.run.txtPath}),
             QStringList({file, file, file}));
    QCOMPARE(request.run.outputFolder, m_driver->photos());
}

void WindowChoicesTest::takesCommaAndDot()
{
    auto *spin = m_driver->find<QDoubleSpinBox>("fontSizeSpin");
    for (const auto language : {QLocale::C, QLocale::Spanish}) {
        spin->setLocale(language);
        for (const char *text : {"0.05\r", "0,07\r"}) {
            spin->selectAll();
            QTest::keyClicks(spin, QString::fromLatin1(text));
            QCOMPARE(spin->value(), text[1] == '.' ? 0.05 : 0.07);
        }
    }
}

QTEST_MAIN(WindowChoicesTest)
#include "windowchoices.moc"
