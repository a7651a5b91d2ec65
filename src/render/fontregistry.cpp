// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/fontregistry.h"

#include <QFileInfo>
#include <QFontDatabase>
#include <QHash>
#include <QMutex>

namespace
{

class FontRegistry
{
public:
    std::optional<QString> family(const QString &fontPath)
    {
        const QString key = QFileInfo(fontPath).absoluteFilePath();
        const QMutexLocker locker(&m_mutex);
        if (const auto known = m_families.constFind(key); known != m_families.constEnd())
            return *known;

        const int id = QFontDatabase::addApplicationFont(fontPath);
        if (id < 0)
            return std::nullopt;
        const QString family = QFontDatabase::applicationFontFamilies(id).value(0);
        m_families.insert(key, family);
        return family;
    }

private:
    QMutex m_mutex;
    QHash<QString, QString> m_families;
};

Q_GLOBAL_STATIC(FontRegistry, fontRegistry)

} // namespace

std::optional<QString> registeredFontFamily(const QString &fontPath)
{
    if (fontPath.isEmpty())
        return std::nullopt;
    return fontRegistry->family(fontPath);
}

QFont overlayFont(const QString &family)
{
    QFont font;
    if (family.isEmpty()) {
        font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
        font.setStyleHint(QFont::AnyStyle, QFont::PreferDefault);
    } else {
        font = QFont(QStringList{family});
    }
    // What a desktop asks for its own screen, coloured edges for instance, has no place in a photo; and the
    // window and the command line have to paint the same.
    font.setStyleStrategy(QFont::StyleStrategy(QFont::PreferDefault | QFont::NoSubpixelAntialias));
    font.setHintingPreference(QFont::PreferVerticalHinting);
    return font;
}
