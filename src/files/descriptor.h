// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <utility>

/// An open file descriptor, closed with the object.
class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int number)
        : m_number(number)
    {
    }
    ~Descriptor() { close(); }
    Descriptor(Descriptor &&other) noexcept
        : m_number(std::exchange(other.m_number, -1))
    {
    }
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        std::swap(m_number, other.m_number);
        return *this;
    }

    bool isOpen() const { return m_number >= 0; }
    int number() const { return m_number; }

    /// False, with the reason in errno, when what was written has got lost on the way to the disk.
    bool close();

private:
    int m_number = -1;
};

/// Opens a file with the flags of open(2); without success, errno tells why. Never gives it the number of a
/// standard stream: where one of those was closed by whoever started the program, the next message to it
/// would be written into the file.
Descriptor openFile(const QString &path, int flags, unsigned int mode = 0);

/// What an error number of the system means, for the user.
QString systemReason(int error);
