// android.hardware.light.LightType (a byte enum of the AIDL lights interface), for Linux hosts.
// Devices add their own types beyond the standard ones; those travel as plain numbers.
#pragma once

#include <stdint.h>

#include <string>

namespace android {
namespace hardware {
namespace light {

enum class LightType : int8_t {
    BACKLIGHT = 0,
    KEYBOARD = 1,
    BUTTONS = 2,
    BATTERY = 3,
    NOTIFICATIONS = 4,
    ATTENTION = 5,
    BLUETOOTH = 6,
    WIFI = 7,
};

std::string toString(LightType val);

}  // namespace light
}  // namespace hardware
}  // namespace android
