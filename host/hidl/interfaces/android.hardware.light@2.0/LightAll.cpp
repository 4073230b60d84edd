// The proxy of android.hardware.light@2.0::ILight and its service helpers.

#include <android/hardware/light/2.0/ILight.h>

#include "Transport.h"

namespace android {
namespace hardware {
namespace light {
namespace V2_0 {

namespace {

class BpHwLight : public ::android::hardware::details::BpHw<ILight> {
  public:
    using BpHw::BpHw;

    ::android::hardware::Return<::android::hardware::light::V2_0::Status> setLight(
        ::android::hardware::light::V2_0::Type type,
        const ::android::hardware::light::V2_0::LightState& state) override {
        return call(&ILight::setLight, type, state);
    }
    ::android::hardware::Return<void> getSupportedTypes(getSupportedTypes_cb _hidl_cb) override {
        return call(&ILight::getSupportedTypes, _hidl_cb);
    }
};

}  // namespace

ORVEX_HIDL_INTERFACE_SUPPORT(ILight, "android.hardware.light@2.0::ILight", BpHwLight)

}  // namespace V2_0
}  // namespace light
}  // namespace hardware
}  // namespace android
