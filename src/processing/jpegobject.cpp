// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/jpegobject.h"

#include <new>
#include <type_traits>

namespace
{

void countWarning(j_common_ptr info, int level)
{
    if (level < 0)
        ++info->err->num_warnings;
}

void saySilently(j_common_ptr) {}

} // namespace

template <typename Info>
JpegObject<Info>::JpegObject()
{
    m_info.err = jpeg_std_error(&m_errors);
    m_info.client_data = this;
    m_errors.error_exit = giveUp;
    m_errors.emit_message = countWarning;
    m_errors.output_message = saySilently;
    for (size_t component = 0; component < m_arrays.size(); ++component)
        m_arrays[component] = reinterpret_cast<jvirt_barray_ptr>(&m_handles[component]);
}

template <typename Info>
JpegObject<Info>::~JpegObject()
{
    jpeg_destroy(reinterpret_cast<j_common_ptr>(&m_info));
}

template <typename Info>
void JpegObject<Info>::create()
{
    if constexpr (std::is_same_v<Info, jpeg_decompress_struct>)
        jpeg_create_decompress(&m_info);
    else
        jpeg_create_compress(&m_info);
}

template <typename Info>
void JpegObject<Info>::keepBlocksIn(BlockStore *store)
{
    m_store = store;
    m_info.mem->request_virt_barray = requestArray;
    m_info.mem->access_virt_barray = rows;
}

template <typename Info>
void JpegObject<Info>::giveUp(j_common_ptr info)
{
    std::longjmp(static_cast<JpegObject *>(info->client_data)->m_jump, 1);
}

template <typename Info>
jvirt_barray_ptr JpegObject<Info>::requestArray(j_common_ptr info, int, boolean, JDIMENSION, JDIMENSION,
                                                JDIMENSION)
{
    auto *self = static_cast<JpegObject *>(info->client_data);
    if (self->m_components == self->m_arrays.size())
        giveUp(info);
    return self->m_arrays[self->m_components++];
}

template <typename Info>
JBLOCKARRAY JpegObject<Info>::rows(j_common_ptr info, jvirt_barray_ptr array, JDIMENSION first,
                                   JDIMENSION count, boolean toWrite)
{
    auto *self = static_cast<JpegObject *>(info->client_data);
    const auto component = static_cast<size_t>(reinterpret_cast<char *>(array) - self->m_handles.data());
    const JBLOCKARRAY found = self->m_store->rows(component, first, count, toWrite != FALSE);
    if (!found)
        giveUp(info);
    return found;
}

template class JpegObject<jpeg_decompress_struct>;
template class JpegObject<jpeg_compress_struct>;

EncodedBytes::EncodedBytes(qsizetype expected)
    : jpeg_destination_mgr()
    , m_bytes(room + expected, Qt::Uninitialized)
{
    init_destination = start;
    empty_output_buffer = grow;
    term_destination = finish;
}

EncodedBytes &EncodedBytes::of(j_compress_ptr info)
{
    return *static_cast<EncodedBytes *>(info->dest);
}

void EncodedBytes::start(j_compress_ptr info)
{
    of(info).offerFrom(room);
}

boolean EncodedBytes::grow(j_compress_ptr info)
{
    EncodedBytes &self = of(info);
    const qsizetype filled = self.m_bytes.size();
    if (!self.resize(2 * filled))
        info->err->error_exit(reinterpret_cast<j_common_ptr>(info));
    self.offerFrom(filled);
    return TRUE;
}

void EncodedBytes::finish(j_compress_ptr info)
{
    EncodedBytes &self = of(info);
    self.m_bytes.truncate(self.m_bytes.size() - static_cast<qsizetype>(self.free_in_buffer));
    self.m_bytes.remove(0, room); // of which Qt knows
}

bool EncodedBytes::resize(qsizetype size) noexcept
{
    try {
        m_bytes.resize(size);
        return true;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

void EncodedBytes::offerFrom(qsizetype filled)
{
    next_output_byte = reinterpret_cast<JOCTET *>(m_bytes.data()) + filled;
    free_in_buffer = static_cast<size_t>(m_bytes.size() - filled);
}
