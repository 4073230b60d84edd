#include "FrameImage.h"

#include <netpbm/pgm.h>
#include <png.h>
#include <setjmp.h>
#include <stdio.h>
#include <string.h>

namespace orvex {
namespace sim {

namespace {

std::shared_ptr<FrameImage> DecodePng(const std::string& bytes, std::string* error) {
    png_image image;
    memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&image, bytes.data(), bytes.size())) {
        *error = std::string("the PNG cannot be read: ") + image.message;
        return nullptr;
    }
    if (uint64_t(image.width) * image.height > FrameImage::kMaxPixels) {
        png_image_free(&image);
        *error = "the image has " + std::to_string(image.width) + "x" +
                 std::to_string(image.height) + " pixels; send at most 64 Mi pixels";
        return nullptr;
    }
    image.format = PNG_FORMAT_GRAY;
    std::vector<uint8_t> grey(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, grey.data(), 0, nullptr)) {
        *error = std::string("the PNG cannot be read: ") + image.message;
        png_image_free(&image);
        return nullptr;
    }
    return std::make_shared<FrameImage>(image.width, image.height, std::move(grey));
}

// libnetpbm reports a bad file through pm_error, which ends the process unless a jump buffer is
// set; both are process-wide, so PGM decoding is serialised.
std::mutex gNetpbmLock;
std::string* gNetpbmMessage = nullptr;  // GUARDED_BY(gNetpbmLock)

void KeepNetpbmMessage(const char* message) {
    if (gNetpbmMessage != nullptr) *gNetpbmMessage = message;
}

// No C++ object with a destructor lives between setjmp and the library's longjmp: the rows go
// into storage the caller owns.
bool ReadPgmRows(FILE* file, int* cols, int* rows, gray* maxval, std::vector<gray>* row,
                 std::vector<uint8_t>* grey) {
    jmp_buf jump;
    jmp_buf* previous = nullptr;
    pm_setjmpbufsave(&jump, &previous);
    if (setjmp(jump) != 0) {
        pm_setjmpbuf(previous);
        return false;
    }
    int format = 0;
    pgm_readpgminit(file, cols, rows, maxval, &format);
    if (*cols <= 0 || *rows <= 0 || uint64_t(*cols) * uint64_t(*rows) > FrameImage::kMaxPixels) {
        pm_setjmpbuf(previous);
        *gNetpbmMessage = "the image has " + std::to_string(*cols) + "x" + std::to_string(*rows) +
                          " pixels; send at most 64 Mi pixels";
        return false;
    }
    row->resize(size_t(*cols));
    grey->resize(size_t(*cols) * size_t(*rows));
    for (int y = 0; y < *rows; ++y) {
        pgm_readpgmrow(file, row->data(), *cols, *maxval, format);
        for (int x = 0; x < *cols; ++x) {
            (*grey)[size_t(y) * size_t(*cols) + size_t(x)] =
                static_cast<uint8_t>((uint64_t((*row)[x]) * 255 + *maxval / 2) / *maxval);
        }
    }
    pm_setjmpbuf(previous);
    return true;
}

std::shared_ptr<FrameImage> DecodePgm(const std::string& bytes, std::string* error) {
    std::lock_guard<std::mutex> lock(gNetpbmLock);
    static bool initialised = [] {
        int argc = 1;
        const char* argv[] = {"orvex-sim", nullptr};
        pm_init(argv[0], 0);
        (void)argc;
        pm_setusererrormsgfn(KeepNetpbmMessage);
        return true;
    }();
    (void)initialised;
    FILE* file = fmemopen(const_cast<char*>(bytes.data()), bytes.size(), "rb");
    if (file == nullptr) {
        *error = "the PGM cannot be read";
        return nullptr;
    }
    std::string message;
    gNetpbmMessage = &message;
    int cols = 0, rows = 0;
    gray maxval = 0;
    std::vector<gray> row;
    std::vector<uint8_t> grey;
    const bool read = ReadPgmRows(file, &cols, &rows, &maxval, &row, &grey);
    gNetpbmMessage = nullptr;
    fclose(file);
    if (!read) {
        *error = "the PGM cannot be read: " + message;
        return nullptr;
    }
    return std::make_shared<FrameImage>(uint32_t(cols), uint32_t(rows), std::move(grey));
}

}  // namespace

std::shared_ptr<FrameImage> FrameImage::Decode(const std::string& bytes, std::string* error) {
    static const char kPngSignature[] = "\x89PNG\r\n\x1a\n";
    if (bytes.compare(0, 8, kPngSignature, 8) == 0) return DecodePng(bytes, error);
    // Raw and plain greymaps (P5, P2); libnetpbm also reads bitmaps (P1, P4) as grey.
    if (bytes.size() >= 2 && bytes[0] == 'P' && strchr("1245", bytes[1]) != nullptr) {
        return DecodePgm(bytes, error);
    }
    *error = "the body is neither a PNG nor a PGM image; send image/png or a binary PGM (P5)";
    return nullptr;
}

void FrameImage::Paint(uint8_t* data, size_t bytes, uint32_t width, uint32_t height,
                       uint32_t bitsPerPixel) {
    std::lock_guard<std::mutex> lock(mLock);
    if (mFrame.size() != bytes || mFrameWidth != width || mFrameHeight != height ||
        mFrameBits != bitsPerPixel) {
        mFrame.assign(bytes, 0);
        mFrameWidth = width;
        mFrameHeight = height;
        mFrameBits = bitsPerPixel;
        const size_t stride = height > 0 ? bytes / height : 0;
        const size_t pixelBytes = bitsPerPixel == 16 ? 2 : 1;
        const uint32_t columns =
            static_cast<uint32_t>(std::min<size_t>(width, stride / pixelBytes));
        for (uint32_t y = 0; y < height; ++y) {
            const uint32_t sy = uint32_t(uint64_t(y) * mHeight / height);
            uint8_t* out = mFrame.data() + y * stride;
            for (uint32_t x = 0; x < columns; ++x) {
                const uint8_t v = at(uint32_t(uint64_t(x) * mWidth / width), sy);
                if (pixelBytes == 2) {
                    out[2 * x] = v;
                    out[2 * x + 1] = v;
                } else {
                    out[x] = v;
                }
            }
        }
    }
    memcpy(data, mFrame.data(), bytes);
}

}  // namespace sim
}  // namespace orvex
