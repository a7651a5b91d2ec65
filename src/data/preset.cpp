// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/preset.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonDocument>

#include <algorithm>
#include <cmath>
#include <variant>

namespace
{

// How the value of a key is read into a member; what happens without one is part of it.
struct PathRule {
    QString Preset::*member;
};
struct TextRule {
    QString Preset::*member;
};
struct CornerRule {
    CornerPosition Preset::*member;
};
struct RatioRule {
    double Preset::*member;
    RatioRange range;
};
struct FlagRule {
    bool Preset::*member;
};
struct StyleRule {
    int Preset::*member;
};
struct ArrowColorRule {
    QColor Preset::*member;
};
using Rule = std::variant<PathRule, TextRule, CornerRule, RatioRule, FlagRule, StyleRule, ArrowColorRule>;

struct Row {
    const char *key;
    Rule rule;
};

const Row rows[] = {
    {"logoPath", PathRule{&Preset::logoPath}},
    {"fontPath", PathRule{&Preset::fontPath}},
    {"fontSizeRatio", RatioRule{&Preset::fontSizeRatio, fontSizeRange}},
    {"logoRatio", RatioRule{&Preset::logoRatio, logoSizeRange}},
    {"logoPosition", CornerRule{&Preset::logoPosition}},
    {"dtPosition", CornerRule{&Preset::dtPosition}},
    {"coordsPosition", CornerRule{&Preset::coordsPosition}},
    {"orientationPosition", CornerRule{&Preset::orientationPosition}},
    {"compassRatio", RatioRule{&Preset::compassRatio, compassSizeRange}},
    {"compassPosition", CornerRule{&Preset::compassPosition}},
    {"compassStyle", StyleRule{&Preset::compassStyle}},
    {"compassArrowColor", ArrowColorRule{&Preset::compassArrowColor}},
    {"rotateCompass", FlagRule{&Preset::rotateCompass}},
    {"usePrefix", FlagRule{&Preset::usePrefix}},
    {"prefix", TextRule{&Preset::prefix}},
    {"renamePhotos", FlagRule{&Preset::renamePhotos}},
    {"drawData", FlagRule{&Preset::drawData}},
    {"drawOrientation", FlagRule{&Preset::drawOrientation}},
    {"drawTime", FlagRule{&Preset::drawTime}},
    {"addCompass", FlagRule{&Preset::addCompass}},
    {"bgText", FlagRule{&Preset::bgText}},
    {"drawGeo", FlagRule{&Preset::drawGeo}},
    {"fontColor", TextRule{&Preset::fontColor}},
    {"drawAltitude", FlagRule{&Preset::drawAltitude}},
    {"altitudePosition", CornerRule{&Preset::altitudePosition}},
};

struct Writer {
    const Preset &preset;

    QJsonValue operator()(const StyleRule &rule) const { return preset.*rule.member; }
    QJsonValue operator()(const ArrowColorRule &rule) const { return (preset.*rule.member).name(); }
    template <typename AnyRule>
    QJsonValue operator()(const AnyRule &rule) const
    {
        return preset.*rule.member;
    }
};

struct Reader {
    Preset &preset;
    QJsonValue value;

    void operator()(const PathRule &rule) const { preset.*rule.member = value.toString(); }
    void operator()(const TextRule &rule) const { preset.*rule.member = value.toString(preset.*rule.member); }
    void operator()(const CornerRule &rule) const
    {
        if (Corner::All.contains(value.toString()))
            preset.*rule.member = value.toString();
    }
    void operator()(const RatioRule &rule) const
    {
        if (value.isDouble())
            preset.*rule.member = rule.range.accept(value.toDouble());
    }
    void operator()(const FlagRule &rule) const { preset.*rule.member = value.toBool(preset.*rule.member); }
    void operator()(const StyleRule &rule) const { preset.*rule.member = value.toInt(0); }
    void operator()(const ArrowColorRule &rule) const
    {
        preset.*rule.member = QColor::fromString(value.toString(QStringLiteral("#FF0000")));
    }
};

} // namespace

double RatioRange::accept(double value) const
{
    const double scale = std::pow(10.0, decimals);
    const double roundedValue = std::round(value * scale) / scale;
    return std::clamp(std::isnan(roundedValue) ? minimum : roundedValue, minimum, maximum);
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
        profile.insert(QLatin1String(row.key), std::visit(Writer{*this}, row.rule));
    return profile;
}

void Preset::apply(const QJsonObject &profile)
{
    for (const Row &row : rows)
        std::visit(Reader{*this, profile.value(QLatin1String(row.key))}, row.rule);
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
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}
