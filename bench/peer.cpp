// SPDX-License-Identifier: GPL-3.0-or-later

// The floor under the time of a batch: every JPEG file of a folder decoded, encoded again and written, with
// the plain libjpeg interface and nothing in between. Its settings are those of the product: 4:2:0, baseline,
// accurate DCT.

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <jpeglib.h>
#include <string_view>
#include <thread>
#include <vector>

namespace fs = std::filesystem;

namespace
{

struct Work {
    fs::path photos;
    fs::path output;
    int threads = 2;
    int quality = 90;
};

// Buffers that a thread keeps from photo to photo.
struct Buffers {
    std::vector<char> encoded;
    std::vector<JSAMPLE> pixels;
};

[[noreturn]] void fail(const std::string &reason)
{
    std::cerr << reason << '\n';
    std::exit(EXIT_FAILURE);
}

int number(std::string_view text)
{
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < 1)
        fail("Not a number above 0: " + std::string(text));
    return value;
}

Work workFrom(int argc, char *argv[])
{
    Work work;
    std::vector<fs::path> folders;
    for (int at = 1; at < argc; ++at) {
        const std::string_view argument = argv[at];
        if (argument == "--threads" && at + 1 < argc)
            work.threads = number(argv[++at]);
        else if (argument == "--quality" && at + 1 < argc)
            work.quality = number(argv[++at]);
        else
            folders.emplace_back(argument);
    }
    if (folders.size() != 2)
        fail("velmaro-bench-peer PHOTOS OUTPUT [--threads N] [--quality N]");
    work.photos = folders[0];
    work.output = folders[1];
    return work;
}

std::vector<fs::path> jpegFilesOf(const fs::path &folder)
{
    std::vector<fs::path> files;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder)) {
        const fs::path suffix = entry.path().extension();
        if (entry.is_regular_file() && (suffix == ".jpg" || suffix == ".JPG" || suffix == ".jpeg"))
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

void readFile(const fs::path &path, std::vector<char> &bytes)
{
    std::ifstream file(path, std::ios::binary);
    bytes.resize(fs::file_size(path));
    if (!file.read(bytes.data(), static_cast<std::streamsize>(bytes.size())))
        fail("Cannot read " + path.string());
}

struct Size {
    JDIMENSION width;
    JDIMENSION height;
};

Size decode(Buffers &buffers)
{
    jpeg_decompress_struct decoder = {};
    jpeg_error_mgr errors = {};
    decoder.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&decoder);
    jpeg_mem_src(&decoder, reinterpret_cast<const unsigned char *>(buffers.encoded.data()),
                 buffers.encoded.size());
    jpeg_read_header(&decoder, TRUE);
    decoder.out_color_space = JCS_RGB;
    jpeg_start_decompress(&decoder);
    const size_t stride = size_t(decoder.output_width) * 3;
    buffers.pixels.resize(stride * decoder.output_height);
    while (decoder.output_scanline < decoder.output_height) {
        JSAMPROW row = buffers.pixels.data() + stride * decoder.output_scanline;
        jpeg_read_scanlines(&decoder, &row, 1);
    }
    const Size size = {decoder.output_width, decoder.output_height};
    jpeg_finish_decompress(&decoder);
    jpeg_destroy_decompress(&decoder);
    return size;
}

void encode(Buffers &buffers, Size size, int quality, const fs::path &path)
{
    jpeg_compress_struct encoder = {};
    jpeg_error_mgr errors = {};
    encoder.err = jpeg_std_error(&errors);
    jpeg_create_compress(&encoder);
    unsigned char *bytes = nullptr;
    unsigned long length = 0;
    jpeg_mem_dest(&encoder, &bytes, &length);
    encoder.image_width = size.width;
    encoder.image_height = size.height;
    encoder.input_components = 3;
    encoder.in_color_space = JCS_RGB;
    jpeg_set_defaults(&encoder);
    jpeg_set_quality(&encoder, quality, TRUE);
    jpeg_start_compress(&encoder, TRUE);
    while (encoder.next_scanline < encoder.image_height) {
        JSAMPROW row = buffers.pixels.data() + size_t(size.width) * 3 * encoder.next_scanline;
        jpeg_write_scanlines(&encoder, &row, 1);
    }
    jpeg_finish_compress(&encoder);
    jpeg_destroy_compress(&encoder);

    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char *>(bytes), static_cast<std::streamsize>(length));
    file.close();
    std::free(bytes);
    if (!file)
        fail("Cannot write " + path.string());
}

} // namespace

int main(int argc, char *argv[])
{
    const Work work = workFrom(argc, argv);
    const std::vector<fs::path> files = jpegFilesOf(work.photos);
    std::atomic<size_t> next = 0;
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < work.threads; ++thread) {
        threads.emplace_back([&] {
            Buffers buffers;
            for (size_t at = next++; at < files.size(); at = next++) {
                readFile(files[at], buffers.encoded);
                const Size size = decode(buffers);
                encode(buffers, size, work.quality, work.output / files[at].filename());
            }
        });
    }
    threads.clear();
    std::cout << files.size() << " photos\n";
}
