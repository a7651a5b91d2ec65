// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <array>
#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <jpeglib.h>

/// Where a JPEG object of the library finds the coefficients of its components, in place of the arrays for
/// the whole picture that the library would keep by itself.
class BlockStore
{
public:
    virtual ~BlockStore() = default;

    /// `count` rows of blocks of a component (the first is 0) from row `first` on: always those of one row of
    /// MCUs. Valid until the next call for the same component. With `toWrite` the rows are about to be
    /// written; where that is their first time they are zero. Null makes the library give up.
    virtual JBLOCKARRAY rows(size_t component, JDIMENSION first, JDIMENSION count, bool toWrite) noexcept = 0;

protected:
    BlockStore() = default;

private:
    BlockStore(const BlockStore &) = delete;
    BlockStore &operator=(const BlockStore &) = delete;
};

/// A compressor or decompressor of libjpeg, whose errors end the step in which they happen and nothing else.
template <typename Info>
class JpegObject
{
public:
    JpegObject();
    ~JpegObject();

    Info *operator->() { return &m_info; }
    Info *get() { return &m_info; }

    /// Runs a step of work with the library. False when it gave up; the object is then only good to be
    /// destroyed. An error leaves the step by a jump: no object that needs a destructor may live in it.
    template <typename Step>
    bool run(const Step &step)
    {
        if (setjmp(m_jump) != 0)
            return false;
        if (!m_info.mem)
            create();
        step();
        return true;
    }

    /// How often the library complained about the data without giving up.
    long warnings() const { return m_errors.num_warnings; }

    /// The coefficients come from and go to `store`. To be called in the first step, before the library sets
    /// its work up.
    void keepBlocksIn(BlockStore *store);

    /// How many components keep their blocks in the store.
    size_t components() const { return m_components; }

    /// What stands for the components of the store where the library wants coefficient arrays.
    jvirt_barray_ptr *arrays() { return m_arrays.data(); }

private:
    JpegObject(const JpegObject &) = delete;
    JpegObject &operator=(const JpegObject &) = delete;

    void create();
    [[noreturn]] static void giveUp(j_common_ptr info);
    static jvirt_barray_ptr requestArray(j_common_ptr info, int pool, boolean zeroed, JDIMENSION width,
                                         JDIMENSION height, JDIMENSION rowsAtOnce);
    static JBLOCKARRAY rows(j_common_ptr info, jvirt_barray_ptr array, JDIMENSION first, JDIMENSION count,
                            boolean toWrite);

    Info m_info = {};
    jpeg_error_mgr m_errors = {};
    std::jmp_buf m_jump = {};
    BlockStore *m_store = nullptr;
    size_t m_components = 0;
    std::array<char, MAX_COMPONENTS> m_handles = {}; ///< only their addresses count
    std::array<jvirt_barray_ptr, MAX_COMPONENTS> m_arrays = {};
};

extern template class JpegObject<jpeg_decompress_struct>;
extern template class JpegObject<jpeg_compress_struct>;

using JpegDecompressor = JpegObject<jpeg_decompress_struct>;
using JpegCompressor = JpegObject<jpeg_compress_struct>;

/// What a compressor writes, in memory that grows. In front of it there is room for the metadata of a photo.
class EncodedBytes : private jpeg_destination_mgr
{
public:
    explicit EncodedBytes(qsizetype expected);

    jpeg_destination_mgr *manager() { return this; }

    /// All that was written, once the compressor has finished.
    QByteArray take() { return std::move(m_bytes); }

private:
    Q_DISABLE_COPY_MOVE(EncodedBytes)

    static EncodedBytes &of(j_compress_ptr info);
    static void start(j_compress_ptr info);
    static boolean grow(j_compress_ptr info);
    static void finish(j_compress_ptr info);
    bool resize(qsizetype size) noexcept;
    void offerFrom(qsizetype filled);

    static constexpr qsizetype room = qsizetype(256) * 1024;

    QByteArray m_bytes;
};
