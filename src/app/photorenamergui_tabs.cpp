// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/formbuilding.h"
#include "app/photorenamergui.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

using namespace FormBuilding;

namespace
{

QVBoxLayout *tabLayout(QWidget *tab)
{
    auto *layout = new QVBoxLayout(tab);
    layout->setContentsMargins(3, 2, 3, 2);
    layout->setSpacing(1);
    return layout;
}

// Groups and rows stand close together, so that the longest tab fits into a small screen.
template <typename Layout>
Layout *groupLayout(QWidget *group)
{
    auto *layout = new Layout(group);
    layout->setContentsMargins(6, 1, 6, 2);
    layout->setSpacing(2);
    return layout;
}

// Rows that are too long for the panel wrap, so that nothing is cut off with a large font.
QFormLayout *wrappingForm(QWidget *group = nullptr)
{
    auto *form = group ? groupLayout<QFormLayout>(group) : new QFormLayout;
    form->setFormAlignment(Qt::AlignLeft | Qt::AlignTop);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setRowWrapPolicy(QFormLayout::WrapLongRows);
    form->setHorizontalSpacing(5);
    form->setVerticalSpacing(3);
    return form;
}

// Makes the labels of a form so wide that its fields begin where those of another form do, whose longest
// label is `longest` and which stands `indent` pixels further to the left.
void alignFields(const QFormLayout *form, const QString &longest, int indent)
{
    for (int row = 0; row < form->rowCount(); ++row) {
        const QLayoutItem *label = form->itemAt(row, QFormLayout::LabelRole);
        if (label && label->widget())
            label->widget()->setMinimumWidth(label->widget()->fontMetrics().horizontalAdvance(longest) -
                                             indent);
    }
}

// To the labels of the group above the tabs.
constexpr int tabIndent = 5;
const QString longestTextLabel = QStringLiteral("Tamaño de Fuente (ratio):");
const QString longestInputLabel = QStringLiteral("Fuente (opcional):");

} // namespace

QWidget *PhotoRenamerGUI::buildGeneralTab(QWidget *parent)
{
    auto *tab = new QWidget(parent);
    QVBoxLayout *layout = tabLayout(tab);
    layout->addWidget(buildModeGroup(tab));
    layout->addWidget(buildCoordinatesGroup(tab));
    layout->addWidget(buildRenamingGroup(tab));
    layout->addWidget(buildOutputGroup(tab));
    layout->addStretch();
    return tab;
}

QGroupBox *PhotoRenamerGUI::buildModeGroup(QWidget *parent)
{
    auto *group = new QGroupBox(QStringLiteral("Modo de Obtención de Coordenadas"), parent);
    auto *layout = groupLayout<QHBoxLayout>(group);
    exifRadio = new QRadioButton(QStringLiteral("Desde EXIF de las fotos"), group);
    exifRadio->setObjectName(QStringLiteral("exifRadio"));
    exifRadio->setToolTip(QStringLiteral("Posición, orientación, fecha y altitud guardadas en cada foto."));
    txtRadio = new QRadioButton(QStringLiteral("Desde archivo .csv"), group);
    txtRadio->setObjectName(QStringLiteral("txtRadio"));
    txtRadio->setToolTip(QStringLiteral("Datos de un archivo de coordenadas con una línea por foto."));
    modeGroup = new QButtonGroup(group);
    modeGroup->setObjectName(QStringLiteral("modeGroup"));
    for (QRadioButton *radio : {exifRadio, txtRadio}) {
        modeGroup->addButton(radio);
        layout->addWidget(radio);
    }
    stackIfTooWide(layout);
    return group;
}

QGroupBox *PhotoRenamerGUI::buildCoordinatesGroup(QWidget *parent)
{
    txtGroup = new QGroupBox(QStringLiteral("Archivo CSV"), parent);
    txtGroup->setObjectName(QStringLiteral("txtGroup"));
    auto *layout = groupLayout<QVBoxLayout>(txtGroup);
    QFormLayout *form = wrappingForm();
    layout->addLayout(form);
    txtPathEdit = lineEdit(txtGroup, "txtPathEdit", PathEdit::Takes::File);
    selectTxtButton = button(txtGroup, "selectTxtButton", QStringLiteral("Seleccionar"),
                             QStringLiteral("Seleccionar archivo CSV"));
    addFieldRow(form, QStringLiteral("Ruta del archivo:"), txtPathEdit, selectTxtButton);
    alignFields(form, longestInputLabel, tabIndent);

    createSampleButton = button(txtGroup, "createSampleButton", QStringLiteral("Crear archivo de ejemplo"));
    createSampleButton->setToolTip(
        QStringLiteral("Escribe un archivo de coordenadas con una línea por cada foto de la carpeta."));
    populateAltitudeButton =
        button(txtGroup, "populateAltitudeButton", QStringLiteral("Rellenar altitud desde API"));
    populateAltitudeButton->setToolTip(QStringLiteral(
        "Consulta por Internet la altitud del terreno de cada línea y la escribe en el archivo."));
    auto *tools = new QHBoxLayout;
    tools->setSpacing(5);
    tools->addWidget(createSampleButton);
    tools->addWidget(populateAltitudeButton);
    stackIfTooWide(tools);
    layout->addLayout(tools);

    overwriteAltitudeCheck =
        checkBox(txtGroup, "overwriteAltitudeCheck", QStringLiteral("Sobrescribir altitudes existentes"),
                 QStringLiteral("Sin marcar, solo se consultan las líneas que no tienen altitud."));
    sampleFromExifCheck =
        checkBox(txtGroup, "sampleFromExifCheck", QStringLiteral("Usar datos EXIF para crear el ejemplo"),
                 QStringLiteral("Sin marcar, todas las líneas llevan la misma posición de ejemplo."));
    embedCsvCheck = checkBox(
        txtGroup, "embedCsvCheck", QStringLiteral("Incrustar datos del CSV en el EXIF"),
        QStringLiteral("Escribe posición, orientación, altitud y fecha del archivo en cada foto guardada."));
    for (QCheckBox *check : {overwriteAltitudeCheck, sampleFromExifCheck, embedCsvCheck})
        layout->addWidget(check);
    return txtGroup;
}

QGroupBox *PhotoRenamerGUI::buildRenamingGroup(QWidget *parent)
{
    auto *group = new QGroupBox(QStringLiteral("Opciones de Renombrado"), parent);
    auto *layout = groupLayout<QVBoxLayout>(group);
    renameCheck =
        checkBox(group, "renameCheck", QStringLiteral("Renombrar fotos con coordenadas UTM"),
                 QStringLiteral("El nuevo nombre de cada foto es su posición: zona, este y norte."));
    layout->addWidget(renameCheck);
    prefixCheck = checkBox(group, "prefixCheck", QStringLiteral("Agregar prefijo al nombre"));
    prefixEdit = lineEdit(group, "prefixEdit", PathEdit::Takes::Nothing);
    prefixEdit->setAccessibleName(QStringLiteral("Prefijo"));
    for (QWidget *widget : std::initializer_list<QWidget *>{prefixCheck, prefixEdit})
        widget->setToolTip(QStringLiteral("Texto que se antepone al nombre del archivo."));
    auto *row = new QHBoxLayout;
    row->setSpacing(5);
    row->addWidget(prefixCheck);
    row->addWidget(prefixEdit, 1);
    layout->addLayout(row);
    return group;
}

QGroupBox *PhotoRenamerGUI::buildOutputGroup(QWidget *parent)
{
    auto *group = new QGroupBox(QStringLiteral("Opciones de Salida"), parent);
    auto *layout = groupLayout<QVBoxLayout>(group);
    outputFolderCheck = checkBox(group, "outputFolderCheck",
                                 QStringLiteral("Guardar fotos modificadas en una carpeta separada"),
                                 QStringLiteral("Las fotos originales quedan como están."));
    layout->addWidget(outputFolderCheck);
    outputFolderEdit = lineEdit(group, "outputFolderEdit", PathEdit::Takes::Folder);
    outputFolderEdit->setAccessibleName(QStringLiteral("Carpeta de salida"));
    outputFolderEdit->setToolTip(QStringLiteral("Carpeta en la que se guardan las fotos modificadas."));
    selectOutputButton = button(group, "selectOutputButton", QStringLiteral("Seleccionar"),
                                QStringLiteral("Seleccionar carpeta de salida"));
    layout->addLayout(fieldRow(outputFolderEdit, selectOutputButton));
    backupCheck =
        checkBox(group, "backupCheck", QStringLiteral("Realizar copia de seguridad de las fotos originales"),
                 QStringLiteral("Guarda cada foto sin modificar en la carpeta «Backup» junto a las fotos."));
    layout->addWidget(backupCheck);
    auto *note = new QLabel(
        QStringLiteral("Nota: La copia de seguridad se ignora si se usa una carpeta de salida."), group);
    note->setStyleSheet(QStringLiteral("font-style: italic; color: grey;"));
    note->setWordWrap(true);
    QFont noteFont = note->font();
    noteFont.setPointSizeF(QFontInfo(noteFont).pointSizeF() * 0.85);
    note->setFont(noteFont);
    layout->addWidget(note);
    return group;
}

QWidget *PhotoRenamerGUI::buildTextTab(QWidget *parent)
{
    auto *tab = new QWidget(parent);
    QVBoxLayout *layout = tabLayout(tab);
    drawDataCheck =
        checkBox(tab, "drawDataCheck", QStringLiteral("Dibujar datos (coordenadas, fecha) en las fotos"));
    layout->addWidget(drawDataCheck);
    auto *group = new QGroupBox(QStringLiteral("Configuración del Texto"), tab);
    layout->addWidget(group);
    layout->addStretch();
    QFormLayout *form = wrappingForm(group);

    const struct {
        QComboBox *&combo;
        const char *name;
        QString label;
    } corners[] = {
        {dtPositionCombo, "dtPositionCombo", QStringLiteral("Posición Fecha/Hora:")},
        {coordsPositionCombo, "coordsPositionCombo", QStringLiteral("Posición Coordenadas:")},
        {orientationPositionCombo, "orientationPositionCombo", QStringLiteral("Posición Orientación:")},
        {altitudePositionCombo, "altitudePositionCombo", QStringLiteral("Posición Altitud:")},
    };
    for (const auto &corner : corners) {
        corner.combo = cornerCombo(group, corner.name);
        form->addRow(corner.label, corner.combo);
    }

    fontSizeSpin = ratioSpin(group, "fontSizeSpin", fontSizeRange,
                             QStringLiteral("Alto de la letra en proporción al alto de la foto."));
    fontSizeSpin->setKeyboardTracking(false);
    form->addRow(longestTextLabel, fontSizeSpin);
    colorSwatch = swatch(group, "colorSwatch");
    selectColorButton = button(group, "selectColorButton", QStringLiteral("Seleccionar Color"),
                               QStringLiteral("Seleccionar color de fuente"));
    addFieldRow(form, QStringLiteral("Color de Fuente:"), colorSwatch, selectColorButton);

    const struct {
        QCheckBox *&check;
        const char *name;
        QString text;
        QString toolTip;
    } checks[] = {
        {drawOrientationCheck, "drawOrientationCheck", QStringLiteral("Dibujar orientación (ej: 090° E)"),
         QStringLiteral("Hacia dónde miraba la cámara.")},
        {drawAltitudeCheck, "drawAltitudeCheck", QStringLiteral("Dibujar altitud (ej: Alt: 123 m)"), {}},
        {drawTimeCheck, "drawTimeCheck", QStringLiteral("Incluir hora (además de la fecha)"), {}},
        {bgTextCheck, "bgTextCheck", QStringLiteral("Agregar fondo al texto"),
         QStringLiteral("Un recuadro detrás del texto, para que se lea sobre cualquier foto.")},
        {drawGeoCheck, "drawGeoCheck", QStringLiteral("Dibujar coordenadas geográficas (Lat/Lon DMS)"),
         QStringLiteral("Latitud y longitud en grados, minutos y segundos en lugar de las UTM.")},
    };
    for (const auto &row : checks) {
        row.check = checkBox(group, row.name, row.text, row.toolTip);
        form->addRow(row.check);
    }
    return tab;
}

QWidget *PhotoRenamerGUI::buildLogoTab(QWidget *parent)
{
    auto *tab = new QWidget(parent);
    QVBoxLayout *layout = tabLayout(tab);
    auto *group = new QGroupBox(QStringLiteral("Configuración del Logo"), tab);
    layout->addWidget(group);
    layout->addStretch();

    auto *column = groupLayout<QVBoxLayout>(group);
    logoCheck = checkBox(group, "logoCheck", QStringLiteral("Incrustar logo en las fotos"));
    column->addWidget(logoCheck);
    QFormLayout *form = wrappingForm();
    column->addLayout(form);
    logoPositionCombo = cornerCombo(group, "logoPositionCombo");
    form->addRow(QStringLiteral("Posición del Logo:"), logoPositionCombo);
    logoSizeSpin = ratioSpin(group, "logoSizeSpin", logoSizeRange,
                             QStringLiteral("Ancho del logo en proporción al ancho de la foto."));
    form->addRow(QStringLiteral("Tamaño del Logo (ratio):"), logoSizeSpin);
    alignFields(form, longestTextLabel, 0);
    return tab;
}

QWidget *PhotoRenamerGUI::buildCompassTab(QWidget *parent)
{
    auto *tab = new QWidget(parent);
    QVBoxLayout *layout = tabLayout(tab);
    compassCheck = checkBox(tab, "compassCheck",
                            QStringLiteral("Dibujar rosa de los vientos (si hay datos de orientación)"));
    layout->addWidget(compassCheck);
    auto *group = new QGroupBox(QStringLiteral("Configuración de la Rosa de Vientos"), tab);
    layout->addWidget(group);
    layout->addStretch();

    QFormLayout *form = wrappingForm(group);
    compassPositionCombo = cornerCombo(group, "compassPositionCombo");
    compassPositionCombo->setAccessibleName(QStringLiteral("Posición de la rosa"));
    form->addRow(QStringLiteral("Posición:"), compassPositionCombo);
    compassSizeSpin = ratioSpin(group, "compassSizeSpin", compassSizeRange,
                                QStringLiteral("Tamaño de la rosa en proporción al lado menor de la foto."));
    compassSizeSpin->setAccessibleName(QStringLiteral("Tamaño de la rosa (ratio)"));
    form->addRow(QStringLiteral("Tamaño (ratio):"), compassSizeSpin);
    compassStyleCombo = comboBox(group, "compassStyleCombo",
                                 {QStringLiteral("Estilo Puntos"), QStringLiteral("Estilo Graduado"),
                                  QStringLiteral("Clásico"), QStringLiteral("Numerado")});
    form->addRow(QStringLiteral("Estilo:"), compassStyleCombo);
    arrowColorSwatch = swatch(group, "arrowColorSwatch");
    selectArrowColorButton = button(group, "selectArrowColorButton", QStringLiteral("Seleccionar Color"),
                                    QStringLiteral("Seleccionar color de flecha"));
    addFieldRow(form, QStringLiteral("Color de Flecha:"), arrowColorSwatch, selectArrowColorButton);
    rotateCompassCheck =
        checkBox(group, "rotateCompassCheck", QStringLiteral("Rotar rosa (flecha siempre apunta arriba)"),
                 QStringLiteral("Gira el dial según la orientación en lugar de girar la flecha."));
    form->addRow(QString(), rotateCompassCheck);
    alignFields(form, longestInputLabel, tabIndent);
    return tab;
}
