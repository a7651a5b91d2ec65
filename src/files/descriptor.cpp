// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/descriptor.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

bool Descriptor::close()
{
    if (!isOpen())
        return true;
    // After EINTR, too, the descriptor is closed.
    return ::close(std::exchange(m_number, -1)) == 0 || errno == EINTR;
}

Descriptor openFile(const QString &path, int flags, unsigned int mode)
{
    const QByteArray name = QFile::encodeName(path);
    int number = -1;
    do
        number = ::open(name.constData(), flags | O_CLOEXEC, mode);
    while (number < 0 && errno == EINTR);
    if (number < 0 || number > STDERR_FILENO)
        return Descriptor(number);
    const Descriptor standard(number);
    return Descriptor(::fcntl(number, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

QString systemReason(int error)
{
    static constexpr struct {
        int number;
        const char *text;
    } reasons[] = {
        {EACCES, "permiso denegado"},
        {EPERM, "operación no permitida"},
        {ENOENT, "no existe el archivo o la carpeta"},
        {EEXIST, "el archivo ya existe"},
        {ENOTDIR, "no es una carpeta"},
        {EISDIR, "es una carpeta"},
        {ENOSPC, "no queda espacio en el disco"},
        {EDQUOT, "se superó la cuota de disco"},
        {EFBIG, "el archivo es demasiado grande"},
        {EROFS, "el sistema de archivos es de solo lectura"},
        {ENAMETOOLONG, "el nombre es demasiado largo"},
        {EINVAL, "el sistema de archivos no admite ese nombre"},
        {EIO, "error de entrada o salida del disco"},
        {EMFILE, "demasiados archivos abiertos"},
        {ENODEV, "el disco ya no está"},
        {ESTALE, "la carpeta de red ya no está"},
    };
    for (const auto &reason : reasons) {
        if (reason.number == error)
            return QString::fromUtf8(reason.text);
    }
    return qt_error_string(error);
}
