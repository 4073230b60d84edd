// The frame callback the V4L2 adapter registers with the imager adapter service: maps each
// frame the service hands over, gives its address to the caller's IImageCallback and unmaps it
// as soon as the caller returns, so the caller must copy what it keeps.
//
// Threads: frames arrive on a runtime thread, where OnReceiveFrame runs too; the geometry is
// set from the adapter's caller thread, so it is guarded by m_GeometryLock.
#pragma once

#include <hidl/HidlSupport.h>
#include <stddef.h>
#include <stdint.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IFrameCallback.h>

#include <mutex>

#include "PlatformModuleInterfaces.h"

namespace vendor {
namespace tevrin {
namespace hardware {
namespace dchwmanager {
namespace implementation {

class FrameCallback : public V1_0::IFrameCallback {
  public:
    // `callback` stays the caller's; null is allowed and reported at each frame.
    explicit FrameCallback(IImageCallback* callback);

    // Maps the handle's first descriptor for the current geometry and hands it to the caller.
    ::android::hardware::Return<void> onFrameAvailable(
        const ::android::hardware::hidl_handle& frame) override;

    // Takes the width, height and bits per pixel of `previewSize` and deletes it: the adapter
    // allocates it with new for this call.
    void UpdatePreviewSize(__preview_size__* previewSize);

    // Bytes of a frame of this geometry: rows of 2280 pixels are padded to 2288.
    static size_t FrameSize(uint32_t width, uint32_t height, uint32_t bitsPerPixel);

  private:
    IImageCallback* const m_ImageCallback;
    std::mutex m_GeometryLock;
    uint32_t m_Width;         // GUARDED_BY(m_GeometryLock)
    uint32_t m_Height;        // GUARDED_BY(m_GeometryLock)
    uint32_t m_BitsPerPixel;  // GUARDED_BY(m_GeometryLock)
};

}  // namespace implementation
}  // namespace dchwmanager
}  // namespace hardware
}  // namespace tevrin
}  // namespace vendor
