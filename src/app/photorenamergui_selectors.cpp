// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/formbuilding.h"
#include "app/pathedit.h"
#include "app/photorenamergui.h"

#include <QColorDialog>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QScopedValueRollback>

void PhotoRenamerGUI::selectDirectory()
{
    const QString path = QFileDialog::getExistingDirectory(this, QStringLiteral("Seleccionar Directorio"));
    if (!path.isEmpty())
        directoryEdit->setText(path);
}

void PhotoRenamerGUI::selectLogo()
{
    const QString path =
        QFileDialog::getOpenFileName(this, QStringLiteral("Seleccionar Logo"), QString(),
                                     QStringLiteral("Image Files (*.png *.jpg *.jpeg *.tiff)"));
    if (!path.isEmpty())
        chooseLogo(path);
}

void PhotoRenamerGUI::selectFont()
{
    const QString path =
        QFileDialog::getOpenFileName(this, QStringLiteral("Seleccionar Fuente"), QString(),
                                     QStringLiteral("Font Files (*.ttf *.otf);;All Files (*)"));
    if (!path.isEmpty())
        chooseFont(path);
}

void PhotoRenamerGUI::selectTxt()
{
    const QString path =
        QFileDialog::getOpenFileName(this, QStringLiteral("Seleccionar Archivo CSV"), QString(),
                                     QStringLiteral("CSV Files (*.csv *.txt);;All Files (*)"));
    if (!path.isEmpty())
        txtPathEdit->setText(path);
}

void PhotoRenamerGUI::selectOutputDirectory()
{
    const QString path =
        QFileDialog::getExistingDirectory(this, QStringLiteral("Seleccionar Carpeta de Salida"));
    if (!path.isEmpty())
        outputFolderEdit->setText(path);
}

void PhotoRenamerGUI::selectColor()
{
    const QColor color = QColorDialog::getColor(QColor::fromString(fontColorName), this,
                                                QStringLiteral("Seleccionar Color Fuente"));
    if (!color.isValid())
        return;
    setFontColor(color.name());
    updatePreview();
}

void PhotoRenamerGUI::selectCompassArrowColor()
{
    const QColor color =
        QColorDialog::getColor(arrowColor, this, QStringLiteral("Seleccionar Color de Flecha"));
    if (!color.isValid())
        return;
    setArrowColor(color);
    updatePreview();
}

void PhotoRenamerGUI::toggleMode()
{
    txtGroup->setVisible(txtRadio->isChecked());
    updatePreview();
}

void PhotoRenamerGUI::chooseLogo(const QString &path)
{
    {
        const QScopedValueRollback<bool> guard(holdPreview, true); // the field would have it drawn as well
        setLogoPath(path);
    }
    updatePreview();
}

void PhotoRenamerGUI::chooseFont(const QString &path)
{
    {
        const QScopedValueRollback<bool> guard(holdPreview, true);
        setFontPath(path);
    }
    updatePreview();
}

void PhotoRenamerGUI::setLogoPath(const QString &path)
{
    logoPathValue = path;
    logoEdit->setText(QFileInfo(path).fileName());
}

void PhotoRenamerGUI::setFontPath(const QString &path)
{
    fontPathValue = path;
    fontEdit->setText(QFileInfo(path).fileName());
}

void PhotoRenamerGUI::setFontColor(const QString &name)
{
    fontColorName = name;
    colorSwatch->setStyleSheet(FormBuilding::swatchStyle(name));
}

void PhotoRenamerGUI::setArrowColor(const QColor &color)
{
    arrowColor = color;
    arrowColorSwatch->setStyleSheet(FormBuilding::swatchStyle(color.name()));
}

// A folder may be dropped wherever no field of its own takes it.
void PhotoRenamerGUI::dragEnterEvent(QDragEnterEvent *event)
{
    if (QFileInfo(droppedPath(event->mimeData())).isDir())
        acceptPath(event);
}

void PhotoRenamerGUI::dropEvent(QDropEvent *event)
{
    directoryEdit->setText(droppedPath(event->mimeData()));
    acceptPath(event);
}
