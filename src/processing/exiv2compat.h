// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <exiv2/exiv2.hpp>

#include <algorithm>
#include <cstdint>
#include <limits>

// What differs between exiv2 0.27 and 0.28.
namespace Exiv2Compat
{
#if EXIV2_TEST_VERSION(0, 28, 0)
using ImagePtr = Exiv2::Image::UniquePtr;

inline QByteArray iccProfile(const Exiv2::Image &image)
{
    const Exiv2::DataBuf &profile = image.iccProfile();
    return QByteArray(profile.c_str(), static_cast<qsizetype>(profile.size()));
}

inline void setIccProfile(Exiv2::Image &image, const QByteArray &profile)
{
    image.setIccProfile(Exiv2::DataBuf(reinterpret_cast<const Exiv2::byte *>(profile.constData()),
                                       static_cast<size_t>(profile.size())));
}

inline size_t sizeOf(const QByteArray &bytes)
{
    return static_cast<size_t>(bytes.size());
}

inline qint64 toInteger(const Exiv2::Exifdatum &datum)
{
    return datum.toInt64(0);
}

#else
using ImagePtr = Exiv2::Image::AutoPtr;

inline QByteArray iccProfile(Exiv2::Image &image)
{
    const Exiv2::DataBuf *profile = image.iccProfile();
    return QByteArray(reinterpret_cast<const char *>(profile->pData_),
                      static_cast<qsizetype>(profile->size_));
}

inline void setIccProfile(Exiv2::Image &image, const QByteArray &profile)
{
    Exiv2::DataBuf buffer(reinterpret_cast<const Exiv2::byte *>(profile.constData()),
                          static_cast<long>(profile.size()));
    image.setIccProfile(buffer);
}

// The types differ from function to function; what is too large for any of them is read as far as it goes.
inline uint32_t sizeOf(const QByteArray &bytes)
{
    constexpr qsizetype limit = std::numeric_limits<int32_t>::max();
    return static_cast<uint32_t>(std::min(bytes.size(), limit));
}

inline qint64 toInteger(const Exiv2::Exifdatum &datum)
{
    return datum.toLong(0);
}

#endif

inline ImagePtr openImage(const QByteArray &encoded)
{
    return Exiv2::ImageFactory::open(reinterpret_cast<const Exiv2::byte *>(encoded.constData()),
                                     sizeOf(encoded));
}

/// A rational with both numbers read as signed 32-bit ones, as they stand; 0.28 refuses unsigned ones that
/// are too large.
inline Exiv2::Rational toRational(const Exiv2::Exifdatum &datum, int component)
{
    if (const auto *value = dynamic_cast<const Exiv2::URationalValue *>(&datum.value())) {
        const Exiv2::URational rational = value->value_.at(static_cast<size_t>(component));
        return {static_cast<int32_t>(rational.first), static_cast<int32_t>(rational.second)};
    }
#if EXIV2_TEST_VERSION(0, 28, 0)
    return datum.toRational(static_cast<size_t>(component));
#else
    return datum.toRational(component);
#endif
}
} // namespace Exiv2Compat
