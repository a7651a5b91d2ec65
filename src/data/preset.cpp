// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/preset.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonDocument>

#include <algorithm>
#include <array>
#include <cmath>
#include <variant>

namespace
{

// Each kind of value knows how a profile stores it, and what becomes of it when the key is missing or of
// another type.

struct Path {
    QString Preset::*member;

    QJsonValue stored(const Preset &preset) const { return preset.*member; }
    void take(Preset &preset, const QJsonValue &value) const { preset.*member = value.toString(); }
};

struct Text {
    QString Preset::*member;

    QJsonValue stored(const Preset &preset) const { return preset.*member; }
    void take(Preset &preset, const QJsonValue &value) const
    {
        preset.*member = value.toString(preset.*member);
    }
};

struct CornerName {
    CornerPosition Preset::*member;

    QJsonValue stored(const Preset &preset) const { return preset.*member; }
    void take(Preset &preset, const QJsonValue &value) const
    {
        const CornerPosition corner = value.toString();
        if (Corner::All.contains(corner))
            preset.*member = corner;
    }
};

struct Ratio {
    double Preset::*member;
    RatioRange range;

    QJsonValue stored(const Preset &preset) const { return preset.*member; }
    void take(Preset &preset, const QJsonValue &value) const
    {
        if (value.isDouble())
            preset.*member = range.accept(value.toDouble());
    }
};

struct Flag {
    bool Preset::*member;

    QJsonValue stored(const Preset &preset) const { return preset.*member; }
    void take(Preset &preset, const QJsonValue &value) const
    {
        preset.*member = value.toBool(preset.*member);
    }
};

struct Style {
    int Preset::*member;

    QJsonValue stored(const Preset &preset) const { return preset.*member; }
    void take(Preset &preset, const QJsonValue &value) const { preset.*member = value.toInt(); }
};

struct ArrowColor {
    QColor Preset::*member;

    QJsonValue stored(const Preset &preset) const { return (preset.*member).name(); }
    void take(Preset &preset, const QJsonValue &value) const
    {
        preset.*member = QColor::fromString(value.toString(QStringLiteral("#FF0000")));
    }
};

struct Row {
    QLatin1String key;
    std::variant<Path, Text, CornerName, Ratio, Flag, Style, ArrowColor> field;
};

constexpr std::array<Row, 25> rows{{
    {QLatin1String("logoPath"), Path{&Preset::logoPath}},
    {QLatin1String("fontPath"), Path{&Preset::fontPath}},
    {QLatin1String("fontSizeRatio"), Ratio{&Preset::fontSizeRatio, fontSizeRange}},
    {QLatin1String("logoRatio"), Ratio{&Preset::logoRatio, logoSizeRange}},
    {QLatin1String("logoPosition"), CornerName{&Preset::logoPosition}},
    {QLatin1String("dtPosition"), CornerName{&Preset::dtPosition}},
    {QLatin1String("coordsPosition"), CornerName{&Preset::coordsPosition}},
    {QLatin1String("orientationPosition"), CornerName{&Preset::orientationPosition}},
    {QLatin1String("compassRatio"), Ratio{&Preset::compassRatio, compassSizeRange}},
    {QLatin1String("compassPosition"), CornerName{&Preset::compassPosition}},
    {QLatin1String("compassStyle"), Style{&Preset::compassStyle}},
    {QLatin1String("compassArrowColor"), ArrowColor{&Preset::compassArrowColor}},
    {QLatin1String("rotateCompass"), Flag{&Preset::rotateCompass}},
    {QLatin1String("usePrefix"), Flag{&Preset::usePrefix}},
    {QLatin1String("prefix"), Text{&Preset::prefix}},
    {QLatin1String("renamePhotos"), Flag{&Preset::renamePhotos}},
    {QLatin1String("drawData"), Flag{&Preset::drawData}},
    {QLatin1String("drawOrientation"), Flag{&Preset::drawOrientation}},
    {QLatin1String("drawTime"), Flag{&Preset::drawTime}},
    {QLatin1String("addCompass"), Flag{&Preset::addCompass}},
    {QLatin1String("bgText"), Flag{&Preset::bgText}},
    {QLatin1String("drawGeo"), Flag{&Preset::drawGeo}},
    {QLatin1String("fontColor"), Text{&Preset::fontColor}},
    {QLatin1String("drawAltitude"), Flag{&Preset::drawAltitude}},
    {QLatin1String("altitudePosition"), CornerName{&Preset::altitudePosition}},
}};

} // namespace

double RatioRange::accept(double value) const
{
    if (std::isnan(value))
        return maximum; // as a spin box
    return std::clamp(QString::number(value, 'f', decimals).toDouble(), minimum, maximum);
}

Preset Preset::atStart()
{
    Preset preset;
    preset.fontPath = defaultFontPath();
    return preset;
}

QJsonObject Preset::toJson() const
{
    QJsonObject profile;
    for (const Row &row : rows)
        profile.insert(row.key,
                       std::visit([this](const auto &field) { return field.stored(*this); }, row.field));
    return profile;
}

void Preset::apply(const QJsonObject &profile)
{
    for (const Row &row : rows)
        std::visit([&](const auto &field) { field.take(*this, profile.value(row.key)); }, row.field);
}

void Preset::fill(ProcessOptions &options, bool drawLogo) const
{
    options.logoPath = drawLogo ? logoPath : QString();
    options.fontPath = fontPath;
    options.fontSizeRatio = fontSizeRatio;
    options.fontColor = QColor::fromString(fontColor);
    options.logoRatio = options.logoPath.isEmpty() ? 0.0 : logoRatio;
    options.logoPosition = logoPosition;
    options.dtPosition = dtPosition;
    options.coordsPosition = coordsPosition;
    options.orientationPosition = orientationPosition;
    options.compassRatio = compassRatio;
    options.renamePhotos = renamePhotos;
    options.usePrefix = usePrefix;
    options.prefix = prefix;
    options.addCompass = addCompass;
    options.drawOrientation = drawOrientation;
    options.drawTime = drawTime;
    options.drawData = drawData;
    options.drawGeo = drawGeo;
    options.bgText = bgText;
    options.compassPosition = compassPosition;
    options.rotateCompass = rotateCompass;
    options.compassStyle = compassStyle;
    options.compassArrowColor = compassArrowColor;
    options.drawAltitude = drawAltitude;
    options.altitudePosition = altitudePosition;
}

QString defaultFontPath()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/notosans.ttf");
}

std::optional<QJsonObject> readProfile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll());
    if (!document.isObject())
        return std::nullopt;
    return document.object();
}
