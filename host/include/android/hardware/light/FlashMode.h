// android.hardware.light.FlashMode, for Linux hosts.
#pragma once

#include <stdint.h>

#include <string>

namespace android {
namespace hardware {
namespace light {

enum class FlashMode : int8_t {
    NONE = 0,
    TIMED = 1,
    HARDWARE = 2,
};

std::string toString(FlashMode val);

}  // namespace light
}  // namespace hardware
}  // namespace android
