// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/stampedpicture.h"

#include "processing/exiftags.h"
#include "processing/imagefile.h"
#include "processing/jpegcodec.h"
#include "processing/jpegcoefficients.h"
#include "render/uprightimage.h"

#include <QColorSpace>

namespace
{

// The density that a camera's photo has in its tags alone must not be contradicted by one that the writer
// makes up.
QSize densityOf(const PhotoMetadata &metadata)
{
    constexpr QSize exifDefault(2835, 2835); // 72 dpi
    return dotsPerMeterOf(metadata.exif).value_or(exifDefault);
}

// Takes from the metadata what an image says about its pixels.
void describe(QImage &image, const PhotoMetadata &metadata)
{
    const QImage unclaimed(1, 1, QImage::Format_RGB32);
    if (image.dotsPerMeterX() == unclaimed.dotsPerMeterX() &&
        image.dotsPerMeterY() == unclaimed.dotsPerMeterY()) {
        image.setDotsPerMeterX(densityOf(metadata).width());
        image.setDotsPerMeterY(densityOf(metadata).height());
    }
    if (metadata.hasForeignProfile)
        image.setColorSpace(QColorSpace());
}

// One photo on its way, by coefficients or through pixels.
class Stamping
{
public:
    Stamping(const QByteArray &photo, const PhotoMetadata &metadata, const OverlayData &data,
             const QString &suffix, const BatchRun &run)
        : m_photo(photo)
        , m_metadata(metadata)
        , m_data(data)
        , m_suffix(suffix)
        , m_run(run)
        , m_storedOrientation(orientationOf(metadata.exif))
    {
    }

    std::optional<QByteArray> byCoefficients()
    {
        if (!isJpegSuffix(m_suffix) || m_data.exifOrientation != m_storedOrientation)
            return std::nullopt;
        const QSize size = jpegFormatOf(m_photo).size;
        if (!isCredible(size))
            return std::nullopt;
        const JpegCoding coding{m_run.options.jpegQuality, m_run.options.lossless, densityOf(m_metadata)};
        std::optional<QByteArray> encoded =
            stampedByCoefficients(m_photo, overlayFor(size), coding, m_run.buffers);
        if (encoded)
            tell();
        return encoded;
    }

    StampedPicture throughPixels()
    {
        StampedPicture result;
        QImage image = decodedImage(m_photo, m_run.buffers);
        if (image.isNull())
            return result;
        result.isImage = true;
        describe(image, m_metadata);
        if (m_data.exifOrientation != m_storedOrientation)
            image = turnedUpright(image, m_storedOrientation);
        overlayFor(image.size()).paint(image);
        tell();
        const int quality = m_run.options.lossless ? 100 : m_run.options.jpegQuality;
        result.encoded =
            encodedImage(image, m_suffix, quality, jpegFormatOf(m_photo).sampling, &result.error);
        result.isLossless = !isJpegSuffix(m_suffix);
        return result;
    }

private:
    Q_DISABLE_COPY_MOVE(Stamping)

    // Laid out once, unless the picture turns out to have another size than its header says.
    const Overlay &overlayFor(QSize size)
    {
        if (!m_overlay || m_overlay->pictureSize() != size) {
            m_lines.clear();
            m_overlay.emplace(size, m_data, m_run.options, m_run.resources,
                              [this](const QString &line) { m_lines.append(line); });
        }
        return *m_overlay;
    }

    // Only of a photo that is stamped the log hears how.
    void tell() const
    {
        for (const QString &line : m_lines)
            m_run.log(line);
    }

    const QByteArray &m_photo;
    const PhotoMetadata &m_metadata;
    const OverlayData &m_data;
    const QString &m_suffix;
    const BatchRun &m_run;
    const int m_storedOrientation;
    std::optional<Overlay> m_overlay;
    QStringList m_lines;
};

} // namespace

StampedPicture stampedPicture(const QByteArray &photo, const PhotoMetadata &metadata, const OverlayData &data,
                              const QString &suffix, const BatchRun &run)
{
    Stamping stamping(photo, metadata, data, suffix, run);
    if (std::optional<QByteArray> encoded = stamping.byCoefficients())
        return {true, std::move(encoded), {}, run.options.lossless};
    return stamping.throughPixels();
}
