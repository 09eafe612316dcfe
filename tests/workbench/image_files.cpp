// Writes image files for tests.
#include "tests/workbench/image_files.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace workbench {

GdImage MakeImage(int width, int height, bool isTransparent) {
    GdImage image(gdImageCreateTrueColor(width, height));
    if (image == nullptr) throw std::bad_alloc();
    image->saveAlphaFlag = isTransparent ? 1 : 0;
    image->alphaBlendingFlag = 0;
    std::uint32_t state = 1;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            state = state * 1664525U + 1013904223U;
            // Never fully transparent: encoders may drop the colour there.
            const int alpha = isTransparent ? (x + y * width) % gdAlphaMax : 0;
            image->tpixels[y][x] = static_cast<int>(state >> 8U) | alpha << 24;
        }
    }
    return image;
}

void WriteImage(gdImage& image, const std::filesystem::path& file) {
    std::FILE* const stream = std::fopen(file.c_str(), "wb");
    if (stream == nullptr) throw std::runtime_error("cannot write a test's file");
    const std::string extension = file.extension().string();
    if (extension == ".png") gdImagePng(&image, stream);
    if (extension == ".jpg") gdImageJpeg(&image, stream, 95);
    if (extension == ".gif") gdImageGif(&image, stream);
    if (extension == ".bmp") gdImageBmp(&image, stream, 0);
    if (extension == ".webp") gdImageWebpEx(&image, stream, gdWebpLossless);
    if (extension == ".tiff") gdImageTiff(&image, stream);
    const bool isWritten = std::ftell(stream) > 0;
    if (std::fclose(stream) != 0 || !isWritten)
        throw std::runtime_error("cannot encode a test's file");
}

std::string ReadBytes(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void WriteBytes(const std::filesystem::path& file, const std::string& bytes) {
    std::ofstream stream(file, std::ios::binary);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!stream.flush()) throw std::runtime_error("cannot write a test's file");
}

std::string PngChunk(const std::string& type, const std::string& data, bool isDamaged) {
    const auto bigEndian = [](std::uint32_t number) {
        std::string bytes;
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes += static_cast<char>(number >> static_cast<unsigned>(shift) & 0xFFU);
        return bytes;
    };
    std::uint32_t checksum = 0xFFFFFFFFU;
    for (const char each : type + data) {
        checksum ^= static_cast<unsigned char>(each);
        for (int bit = 0; bit < 8; ++bit)
            checksum = (checksum >> 1U) ^ ((checksum & 1U) != 0 ? 0xEDB88320U : 0U);
    }
    checksum = isDamaged ? checksum : ~checksum;
    return bigEndian(static_cast<std::uint32_t>(data.size())) + type + data + bigEndian(checksum);
}

}  // namespace workbench
