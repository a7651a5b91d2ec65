// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/formbuilding.h"
#include "app/logtext.h"
#include "app/photorenamergui.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QScrollArea>
#include <QSplitter>
#include <QStatusBar>
#include <QTabWidget>
#include <QTextEdit>
#include <QWidgetAction>

using namespace FormBuilding;

void PhotoRenamerGUI::buildUi()
{
    setObjectName(QStringLiteral("PhotoRenamerGUI"));
    setWindowTitle(QStringLiteral("Velmaro: Renombrador/Incrustador de coordenadas UTM en fotografías"));
    resize(1280, 800);

    auto *central = new QWidget(this);
    auto *layout = new QHBoxLayout(central);
    layout->setContentsMargins(5, 5, 5, 5);
    layout->setSpacing(2);
    auto *splitter = new QSplitter(Qt::Horizontal, central);
    splitter->setObjectName(QStringLiteral("splitter"));
    splitter->setChildrenCollapsible(false);
    QWidget *panel = buildControlPanel(splitter);
    previewGroup = buildPreviewGroup(splitter);
    splitter->setStretchFactor(0, 0);
    splitter->setStretchFactor(1, 1);
    splitter->setSizes({panel->maximumWidth(), width() - panel->maximumWidth()});
    // The pane shrinks and grows with the handle as it does with the window.
    connect(splitter, &QSplitter::splitterMoved, this, &PhotoRenamerGUI::rescalePreview);
    layout->addWidget(splitter);
    setCentralWidget(central);

    buildMenus();
    buildStatusBar();
    setAcceptDrops(true);
    applyStartValues();
    for (QTimer *timer : {&previewTimer, &typingTimer})
        timer->setSingleShot(true);
    previewTimer.setObjectName(QStringLiteral("previewTimer"));
    previewTimer.setInterval(150);
    typingTimer.setInterval(400);
    fitIntoScreen();
}

void PhotoRenamerGUI::buildStatusBar()
{
    photoCaption = new QLabel(statusBar());
    photoCaption->setObjectName(QStringLiteral("photoCaption"));
    photoCaption->setTextFormat(Qt::PlainText);
    auto *author = new QLabel(QStringLiteral("Velmaro " VELMARO_VERSION), statusBar());
    author->setContentsMargins(8, 0, 8, 0);
    QFont usual;
    usual.setBold(false); // whatever is told beside them
    for (QLabel *label : {photoCaption, author}) {
        label->setFont(usual);
        statusBar()->addPermanentWidget(label);
    }
}

// A window that is larger than the screen has its buttons where no mouse gets.
void PhotoRenamerGUI::fitIntoScreen()
{
    constexpr int titleBar = 30;
    const QSize room = screen()->availableSize();
    if (width() > room.width() || height() + titleBar > room.height())
        setWindowState(Qt::WindowMaximized);
}

QWidget *PhotoRenamerGUI::buildControlPanel(QWidget *parent)
{
    auto *panel = new QWidget(parent);
    panel->setObjectName(QStringLiteral("controlPanel"));
    panel->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Expanding);
    panel->setMaximumWidth(400);
    auto *layout = new QVBoxLayout(panel);
    layout->setSpacing(4);
    layout->setContentsMargins(5, 5, 5, 5);
    layout->addWidget(buildInputGroup(panel));

    auto *tabs = new QTabWidget(panel);
    tabs->setObjectName(QStringLiteral("tabs"));
    tabs->addTab(scrollable(buildGeneralTab(tabs)), QStringLiteral("General"));
    tabs->addTab(scrollable(buildTextTab(tabs)), QStringLiteral("Texto"));
    tabs->addTab(scrollable(buildLogoTab(tabs)), QStringLiteral("Logo"));
    tabs->addTab(scrollable(buildCompassTab(tabs)), QStringLiteral("Rosa de Vientos"));
    layout->addWidget(tabs);

    auto *startRow = new QHBoxLayout;
    startButton = button(panel, "startButton", QStringLiteral("Iniciar Proceso"));
    startButton->setStyleSheet(QStringLiteral("QPushButton { font-size: 16px; padding: 8px; }"));
    startRow->addWidget(startButton);
    layout->addLayout(startRow);

    layout->addWidget(buildLogGroup(panel), 1);
    return panel;
}

QGroupBox *PhotoRenamerGUI::buildInputGroup(QWidget *parent)
{
    auto *group = new QGroupBox(QStringLiteral("Archivos de Entrada"), parent);
    auto *form = new QFormLayout(group);
    form->setContentsMargins(5, 5, 5, 5);
    form->setSpacing(5);
    form->setLabelAlignment(Qt::AlignRight);

    const QString select = QStringLiteral("Seleccionar");
    directoryEdit = lineEdit(group, "directoryEdit", PathEdit::Takes::Folder);
    selectDirButton =
        button(group, "selectDirButton", select, QStringLiteral("Seleccionar carpeta de fotos"));
    addFieldRow(form, QStringLiteral("Carpeta de Fotos:"), directoryEdit, selectDirButton);
    subdirsCheck = checkBox(group, "subdirsCheck", QStringLiteral("Incluir subdirectorios"));
    form->addRow(QString(), subdirsCheck);
    logoEdit = lineEdit(group, "logoEdit", PathEdit::Takes::File);
    selectLogoButton = button(group, "selectLogoButton", select, QStringLiteral("Seleccionar logo"));
    addFieldRow(form, QStringLiteral("Logo (opcional):"), logoEdit, selectLogoButton);
    fontEdit = lineEdit(group, "fontEdit", PathEdit::Takes::File);
    selectFontButton = button(group, "selectFontButton", select, QStringLiteral("Seleccionar fuente"));
    addFieldRow(form, QStringLiteral("Fuente (opcional):"), fontEdit, selectFontButton);

    // They show the name alone of a file that is chosen; what is typed there would lead nowhere.
    for (QLineEdit *edit : {logoEdit, fontEdit})
        edit->setReadOnly(true);
    subdirsCheck->setToolTip(QStringLiteral("Procesa también las fotos de las carpetas interiores."));
    logoEdit->setToolTip(QStringLiteral("Imagen que se dibuja en una esquina de cada foto."));
    fontEdit->setToolTip(QStringLiteral("Tipo de letra de los textos que se dibujan en las fotos."));
    return group;
}

QGroupBox *PhotoRenamerGUI::buildLogGroup(QWidget *parent)
{
    auto *group = new QGroupBox(QStringLiteral("Log de Procesos"), parent);
    auto *layout = new QVBoxLayout(group);
    layout->setContentsMargins(1, 0, 1, 1);
    logView = new QTextEdit(group);
    logView->setObjectName(QStringLiteral("logView"));
    logView->setAccessibleName(group->title());
    logView->setReadOnly(true);
    logView->setTabChangesFocus(true);
    logView->setUndoRedoEnabled(false);
    followEnd(logView);
    // It takes what the tabs leave, and never less than three lines.
    logView->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Ignored);
    logView->setMinimumHeight(logView->fontMetrics().lineSpacing() * 3 + 10);
    layout->addWidget(logView);
    return group;
}

QGroupBox *PhotoRenamerGUI::buildPreviewGroup(QWidget *parent)
{
    auto *group = new QGroupBox(QStringLiteral("Vista Previa Interactiva"), parent);
    group->setObjectName(QStringLiteral("previewGroup"));
    group->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    auto *layout = new QVBoxLayout(group);
    layout->setContentsMargins(5, 5, 5, 5);
    layout->setSpacing(5);
    previewLabel = new QLabel(
        QStringLiteral("Seleccione una carpeta con imágenes para activar la vista previa."), group);
    previewLabel->setObjectName(QStringLiteral("previewLabel"));
    previewLabel->setAlignment(Qt::AlignCenter);
    previewLabel->setWordWrap(true);
    previewLabel->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    layout->addWidget(previewLabel, 1);

    prevButton = button(group, "prevButton", QStringLiteral("Anterior"));
    nextButton = button(group, "nextButton", QStringLiteral("Siguiente"));
    auto *row = new QHBoxLayout;
    row->addStretch();
    for (QPushButton *step : {prevButton, nextButton}) {
        step->setEnabled(false);
        row->addWidget(step);
    }
    row->addStretch();
    layout->addLayout(row);
    return group;
}

void PhotoRenamerGUI::buildMenus()
{
    QMenu *fileMenu = menuBar()->addMenu(tr("&Archivo"));
    buildProfileMenu(fileMenu->addMenu(tr("Perfiles")));
    QMenu *toolsMenu = menuBar()->addMenu(tr("&Herramientas"));
    connect(toolsMenu->addAction(tr("Configuración...")), &QAction::triggered, this,
            &PhotoRenamerGUI::openSettingsDialog);
}

void PhotoRenamerGUI::buildProfileMenu(QMenu *menu)
{
    presetCombo = comboBox(menu, "presetCombo", {});
    presetCombo->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    presetCombo->setMinimumContentsLength(20);
    presetCombo->setAccessibleName(QStringLiteral("Perfil"));
    presetCombo->setToolTip(QStringLiteral("Perfiles guardados desde que se abrió el programa."));
    loadPresetButton =
        button(menu, "loadPresetButton", QStringLiteral("Cargar"), QStringLiteral("Cargar perfil"));
    loadPresetButton->setToolTip(QStringLiteral("Abre un archivo de perfil y aplica sus opciones."));
    savePresetButton =
        button(menu, "savePresetButton", QStringLiteral("Guardar"), QStringLiteral("Guardar perfil"));
    savePresetButton->setToolTip(QStringLiteral("Guarda las opciones actuales en un archivo de perfil."));
    menu->setContentsMargins(4, 4, 4, 4);
    // A screen reader reads the entry, not the widget that is shown in its place.
    const auto add = [menu](QWidget *widget) {
        auto *action = new QWidgetAction(menu);
        action->setText(widget->accessibleName());
        action->setDefaultWidget(widget);
        menu->addAction(action);
        return action;
    };
    // The menu takes the Enter key for itself: it triggers the entry.
    connect(add(presetCombo), &QAction::triggered, this, &PhotoRenamerGUI::choosePreset);
    for (QPushButton *push : {loadPresetButton, savePresetButton})
        connect(add(push), &QAction::triggered, push, &QAbstractButton::click);
}

void PhotoRenamerGUI::applyStartValues()
{
    applyPreset(Preset::atStart());
    exifRadio->setChecked(true);
    txtGroup->hide();
    for (QCheckBox *check :
         {overwriteAltitudeCheck, sampleFromExifCheck, embedCsvCheck, backupCheck, logoCheck})
        check->setChecked(true);
    outputFolderEdit->setEnabled(false);
    selectOutputButton->setEnabled(false);
}
