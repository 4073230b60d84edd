// The types of android.hardware.light@2.0, in the shape of hidl-gen's output for Linux hosts.
#ifndef HIDL_GENERATED_ANDROID_HARDWARE_LIGHT_V2_0_TYPES_H
#define HIDL_GENERATED_ANDROID_HARDWARE_LIGHT_V2_0_TYPES_H

#include <stdint.h>

#include <string>

namespace android {
namespace hardware {
namespace light {
namespace V2_0 {

// Result of setLight.
enum class Status : int32_t {
    SUCCESS = 0,
    LIGHT_NOT_SUPPORTED = 1,
    BRIGHTNESS_NOT_SUPPORTED = 2,
    UNKNOWN = 3,
};

// How a light flashes.
enum class Flash : int32_t {
    NONE = 0,
    TIMED = 1,
    HARDWARE = 2,
};

// Who controls the brightness.
enum class Brightness : int32_t {
    USER = 0,
    SENSOR = 1,
    LOW_PERSISTENCE = 2,
};

// Logical lights; a device may define further numbers of its own.
enum class Type : int32_t {
    BACKLIGHT = 0,
    KEYBOARD = 1,
    BUTTONS = 2,
    BATTERY = 3,
    NOTIFICATIONS = 4,
    ATTENTION = 5,
    BLUETOOTH = 6,
    WIFI = 7,
    COUNT = 8,
};

// What a light should show: an ARGB colour, its flashing and its brightness control.
struct LightState final {
    uint32_t color = {};
    ::android::hardware::light::V2_0::Flash flashMode = {};
    int32_t flashOnMs = {};
    int32_t flashOffMs = {};
    ::android::hardware::light::V2_0::Brightness brightnessMode = {};
};

inline bool operator==(const LightState& a, const LightState& b) {
    return a.color == b.color && a.flashMode == b.flashMode && a.flashOnMs == b.flashOnMs &&
           a.flashOffMs == b.flashOffMs && a.brightnessMode == b.brightnessMode;
}
inline bool operator!=(const LightState& a, const LightState& b) { return !(a == b); }

}  // namespace V2_0
}  // namespace light
}  // namespace hardware
}  // namespace android

#endif  // HIDL_GENERATED_ANDROID_HARDWARE_LIGHT_V2_0_TYPES_H
