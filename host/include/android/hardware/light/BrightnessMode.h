// android.hardware.light.BrightnessMode, for Linux hosts.
#pragma once

#include <stdint.h>

#include <string>

namespace android {
namespace hardware {
namespace light {

enum class BrightnessMode : int8_t {
    USER = 0,
    SENSOR = 1,
    LOW_PERSISTENCE = 2,
};

std::string toString(BrightnessMode val);

}  // namespace light
}  // namespace hardware
}  // namespace android
