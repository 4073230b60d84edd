// The types of vendor.tevrin.hardware.dchwmanager@1.0, in the shape of hidl-gen's output for Linux
// hosts.
#ifndef HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_DCHWMANAGER_V1_0_TYPES_H
#define HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_DCHWMANAGER_V1_0_TYPES_H

#include <stdint.h>

#include <string>

namespace vendor {
namespace tevrin {
namespace hardware {
namespace dchwmanager {
namespace V1_0 {

// Frame geometry as the imager adapter takes it; the two flags are passed on unchanged.
struct PreviewSize final {
    uint16_t width = {};
    uint16_t height = {};
    uint8_t bitsPerPixel = {};
    bool flag1 = {};
    bool flag2 = {};
};

inline bool operator==(const PreviewSize& a, const PreviewSize& b) {
    return a.width == b.width && a.height == b.height && a.bitsPerPixel == b.bitsPerPixel &&
           a.flag1 == b.flag1 && a.flag2 == b.flag2;
}
inline bool operator!=(const PreviewSize& a, const PreviewSize& b) { return !(a == b); }

}  // namespace V1_0
}  // namespace dchwmanager
}  // namespace hardware
}  // namespace tevrin
}  // namespace vendor

#endif  // HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_DCHWMANAGER_V1_0_TYPES_H
