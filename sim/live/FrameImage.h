// An image the simulated imager is shown: decoded once from a PNG (libpng) or a PGM (libnetpbm),
// kept as 8-bit grey, and laid into frames of whatever geometry the client set.
//
// Threads: Decode on any thread; Paint on the adapter's streaming thread. The scaled frame is
// cached for the last geometry, guarded by mLock.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace orvex {
namespace sim {

class FrameImage {
  public:
    // Images larger than this many pixels are refused (a small PNG can declare a huge one).
    static constexpr uint64_t kMaxPixels = 64ull << 20;

    // Null with `error` set when `bytes` is neither a PNG nor a PGM this can read.
    static std::shared_ptr<FrameImage> Decode(const std::string& bytes, std::string* error);

    FrameImage(uint32_t width, uint32_t height, std::vector<uint8_t> grey)
        : mWidth(width), mHeight(height), mGrey(std::move(grey)) {}

    uint32_t width() const { return mWidth; }
    uint32_t height() const { return mHeight; }
    uint8_t at(uint32_t x, uint32_t y) const { return mGrey[size_t(y) * mWidth + x]; }

    // Fills a frame of `bytes` bytes: `height` rows of bytes / height bytes each (rows may be
    // padded), `width` pixels of `bitsPerPixel` (8, or 16 little-endian) scaled from the image
    // by nearest neighbour; padding is black.
    void Paint(uint8_t* data, size_t bytes, uint32_t width, uint32_t height,
               uint32_t bitsPerPixel);

  private:
    const uint32_t mWidth;
    const uint32_t mHeight;
    const std::vector<uint8_t> mGrey;

    std::mutex mLock;
    std::vector<uint8_t> mFrame;  // GUARDED_BY(mLock): the last geometry's frame
    uint32_t mFrameWidth = 0;     // GUARDED_BY(mLock)
    uint32_t mFrameHeight = 0;    // GUARDED_BY(mLock)
    uint32_t mFrameBits = 0;      // GUARDED_BY(mLock)
};

}  // namespace sim
}  // namespace orvex
