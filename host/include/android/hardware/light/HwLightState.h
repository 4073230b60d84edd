// android.hardware.light.HwLightState: what a light shows, for Linux hosts.
#pragma once

#include <android/hardware/light/BrightnessMode.h>
#include <android/hardware/light/FlashMode.h>
#include <binder/Parcel.h>
#include <binder/Parcelable.h>
#include <stdint.h>

#include <string>

namespace android {
namespace hardware {
namespace light {

class HwLightState : public ::android::Parcelable {
  public:
    // ARGB; alpha 0 means off.
    int32_t color = 0;
    FlashMode flashMode = FlashMode(0);
    int32_t flashOnMs = 0;
    int32_t flashOffMs = 0;
    BrightnessMode brightnessMode = BrightnessMode(0);

    bool operator==(const HwLightState& o) const {
        return color == o.color && flashMode == o.flashMode && flashOnMs == o.flashOnMs &&
               flashOffMs == o.flashOffMs && brightnessMode == o.brightnessMode;
    }
    bool operator!=(const HwLightState& o) const { return !(*this == o); }

    ::android::status_t readFromParcel(const ::android::Parcel* parcel) final;
    ::android::status_t writeToParcel(::android::Parcel* parcel) const final;

    std::string toString() const;
};

}  // namespace light
}  // namespace hardware
}  // namespace android
