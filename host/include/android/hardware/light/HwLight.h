// android.hardware.light.HwLight: one light a lights service offers, for Linux hosts.
#pragma once

#include <android/hardware/light/LightType.h>
#include <binder/Parcel.h>
#include <binder/Parcelable.h>
#include <stdint.h>

#include <string>

namespace android {
namespace hardware {
namespace light {

class HwLight : public ::android::Parcelable {
  public:
    int32_t id = 0;
    int32_t ordinal = 0;
    LightType type = LightType(0);

    bool operator==(const HwLight& o) const {
        return id == o.id && ordinal == o.ordinal && type == o.type;
    }
    bool operator!=(const HwLight& o) const { return !(*this == o); }

    ::android::status_t readFromParcel(const ::android::Parcel* parcel) final;
    ::android::status_t writeToParcel(::android::Parcel* parcel) const final;

    std::string toString() const;
};

}  // namespace light
}  // namespace hardware
}  // namespace android
