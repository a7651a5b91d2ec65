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
        const QColor color = QColor::fromString(value.toString());
        preset.*member = color.isValid() ? color : QColor(Qt::red);
    }
};

// The window puts it into a style sheet as it stands.
struct ColorName {
    QString Preset::*member;

    QJsonValue stored(const Preset &preset) const { return preset.*member; }
    void take(Preset &preset, const QJsonValue &value) const
    {
        if (const QString name = value.toString(); QColor::isValidColorName(name))
            preset.*member = name;
    }
};

struct Row {
    QLatin1String key;
    std::variant<Path, Text, CornerName, Ratio, Flag, Style, ArrowColor, ColorName> field;
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
    {QLatin1String("fontColor"), ColorName{&Preset::fontColor}},
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

Preset::Preset()
{
    fontSizeRatio = 0.03;
    logoRatio = 0.2;
    logoPosition = Corner::TopLeft;
    dtPosition = coordsPosition = orientationPosition = altitudePosition = Corner::BottomRight;
    compassRatio = 0.18;
    compassPosition = Corner::BottomLeft;
    compassStyle = 2;
    compassArrowColor = Qt::red;
    prefix = QStringLiteral("XXX_XXX_SA_");
    renamePhotos = drawData = drawOrientation = drawTime = drawAltitude = addCompass = bgText = true;
    fontColor = QStringLiteral("#FFFFFF");
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
