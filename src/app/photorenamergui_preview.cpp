// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/pathedit.h"
#include "app/photorenamergui.h"
#include "app/stampedpreview.h"
#include "app/waitcursor.h"
#include "processing/photowalk.h"

#include <QCheckBox>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QPushButton>

#include <utility>

namespace
{

// A preview that took longer than this is not drawn at each of several quick changes; nor does the next one
// begin before so long a time without a change.
constexpr qint64 quickPreview = 150; // ms

} // namespace

void PhotoRenamerGUI::onDirectoryChanged()
{
    // A folder may hold a whole disk: while its path is typed, each letter would be walked to the bottom.
    if (std::exchange(directoryTyped, false) && subdirsCheck->isChecked())
        typingTimer.start();
    else
        listPhotos();
}

void PhotoRenamerGUI::listTypedPhotos()
{
    if (typingTimer.isActive())
        listPhotos();
}

void PhotoRenamerGUI::listPhotos()
{
    typingTimer.stop();
    const QString directory = directoryEdit->text();
    if (!QDir(directory).exists()) {
        browser.setPhotos({});
        return showPreviewMessage(QStringLiteral("El directorio seleccionado no es válido."));
    }
    {
        const WaitCursor wait;
        browser.setPhotos(findPhotos(directory, subdirsCheck->isChecked(), PhotoWalk::Preview));
    }
    if (browser.isEmpty())
        return showPreviewMessage(
            QStringLiteral("No se encontraron imágenes en el directorio seleccionado."));
    showPhoto();
}

void PhotoRenamerGUI::onPreviousPreview()
{
    if (browser.previous())
        showPhoto();
}

void PhotoRenamerGUI::onNextPreview()
{
    if (browser.next())
        showPhoto();
}

// Looks at one photo aside: the buttons go on from where they were.
void PhotoRenamerGUI::showPreviewAtIndex(int index)
{
    if (browser.lookAt(index))
        showPhoto();
}

void PhotoRenamerGUI::showPhoto()
{
    updatePreview();
    updateNavigation();
}

void PhotoRenamerGUI::updateNavigation()
{
    const std::pair<QPushButton *, bool> steps[] = {{prevButton, browser.hasPrevious()},
                                                    {nextButton, browser.hasNext()}};
    for (const auto &[button, possible] : steps) {
        if (possible)
            button->setEnabled(true);
        else
            disableKeepingFocus(button, previewLabel);
    }
}

void PhotoRenamerGUI::updatePreview()
{
    if (holdPreview || browser.photo().isEmpty() || !QFile::exists(browser.photo()))
        return;
    showCaption(browser.caption());
    if (previewTook > quickPreview)
        previewTimer.start();
    else
        drawPreview();
}

void PhotoRenamerGUI::drawPreview()
{
    previewTimer.stop();
    const WaitCursor wait;
    QElapsedTimer timer;
    timer.start();
    const StampedPreview preview = stampedPreview(browser.photo(), currentRequest().options(), coordinates);
    if (!preview.error.isEmpty())
        return appendLog(preview.error);
    if (preview.picture.isNull()) {
        previewLabel->setPixmap(QPixmap());
        previewLabel->setText(QStringLiteral("Error al generar la vista previa."));
    } else {
        previewPixmap = QPixmap::fromImage(preview.picture);
        showScaledPreview();
    }
    previewTook = timer.elapsed();
}

// The name may be long: the pane and the rest of the bar do not make room for it.
void PhotoRenamerGUI::showCaption(const QString &caption)
{
    const int room = width() / 3;
    photoCaption->setText(photoCaption->fontMetrics().elidedText(caption, Qt::ElideMiddle, room));
    photoCaption->setToolTip(browser.photo());
}

void PhotoRenamerGUI::showPreviewMessage(const QString &message)
{
    previewLabel->setPixmap(QPixmap());
    previewLabel->setText(message);
    previewTimer.stop();
    showCaption({});
    updateNavigation();
}

void PhotoRenamerGUI::showScaledPreview()
{
    const qreal pixelsPerUnit = previewLabel->devicePixelRatioF();
    QPixmap scaled = previewPixmap.scaled((QSizeF(previewLabel->size()) * pixelsPerUnit).toSize(),
                                          Qt::KeepAspectRatio, Qt::SmoothTransformation);
    scaled.setDevicePixelRatio(pixelsPerUnit);
    previewLabel->setPixmap(scaled);
}

void PhotoRenamerGUI::rescalePreview()
{
    // A collapsed pane would give a degenerate scale.
    constexpr int smallest = 10;
    if (!previewPixmap.isNull() && previewLabel->width() > smallest && previewLabel->height() > smallest)
        showScaledPreview();
}
