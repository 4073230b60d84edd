#include "FrameCallback.h"

#include <sys/mman.h>

#include "ScannerLog.h"

namespace vendor {
namespace tevrin {
namespace hardware {
namespace dchwmanager {
namespace implementation {

namespace {

constexpr uint32_t kPaddedWidth = 2280;
constexpr uint32_t kRowPadding = 8;

// One frame's mapping, unmapped however the delivery ends.
class FrameMapping {
  public:
    FrameMapping(int fd, size_t size)
        : m_Size(size), m_Address(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0)) {}
    ~FrameMapping() {
        if (valid()) munmap(m_Address, m_Size);
    }
    FrameMapping(const FrameMapping&) = delete;
    FrameMapping& operator=(const FrameMapping&) = delete;

    bool valid() const { return m_Address != MAP_FAILED; }
    void* address() const { return m_Address; }

  private:
    const size_t m_Size;
    void* const m_Address;
};

}  // namespace

FrameCallback::FrameCallback(IImageCallback* callback)
    : m_ImageCallback(callback), m_Width(0), m_Height(0), m_BitsPerPixel(0) {}

size_t FrameCallback::FrameSize(uint32_t width, uint32_t height, uint32_t bitsPerPixel) {
    size_t row = width == kPaddedWidth ? kPaddedWidth + kRowPadding : width;
    return row * height * bitsPerPixel / 8;
}

::android::hardware::Return<void> FrameCallback::onFrameAvailable(
    const ::android::hardware::hidl_handle& frame) {
    const native_handle_t* handle = frame.getNativeHandle();
    // A handle without a descriptor cannot be mapped and is reported as a failed map.
    int fd = handle != nullptr && handle->numFds > 0 ? handle->data[0] : -1;
    SF_LOGD("[FrameCallback::onFrameAvailable] FD =%d\n", fd);

    uint32_t width;
    uint32_t height;
    uint32_t bitsPerPixel;
    {
        std::lock_guard<std::mutex> lock(m_GeometryLock);
        width = m_Width;
        height = m_Height;
        bitsPerPixel = m_BitsPerPixel;
    }
    if (width == kPaddedWidth) {
        SF_LOGD("[FrameCallback::onFrameAvailable] Byte Allignement Needed =%d\n", fd);
    }
    FrameMapping mapping(fd, FrameSize(width, height, bitsPerPixel));
    if (!mapping.valid()) {
        SF_LOGE("[FrameCallback::onFrame] mmap failed\n");
        return ::android::hardware::Void();
    }
    if (m_ImageCallback == nullptr) {
        SF_LOGE("[FrameCallback::onFrameAvailable] IImageCallback is null");
    } else if (!m_ImageCallback->OnReceiveFrame(mapping.address())) {
        SF_LOGE("[FrameCallback::onFrameAvailable] OnReceiveFrame failed");
    }
    return ::android::hardware::Void();
}

void FrameCallback::UpdatePreviewSize(__preview_size__* previewSize) {
    {
        std::lock_guard<std::mutex> lock(m_GeometryLock);
        m_Width = previewSize->width;
        m_Height = previewSize->height;
        m_BitsPerPixel = previewSize->bitsPerPixel;
    }
    delete previewSize;
}

}  // namespace implementation
}  // namespace dchwmanager
}  // namespace hardware
}  // namespace tevrin
}  // namespace vendor
