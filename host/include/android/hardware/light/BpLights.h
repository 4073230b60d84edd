// The proxy half of android.hardware.light.ILights: used for a service in another process.
#pragma once

#include <android/hardware/light/ILights.h>
#include <binder/IBinder.h>
#include <binder/IInterface.h>

namespace android {
namespace hardware {
namespace light {

class BpLights : public ::android::BpInterface<ILights> {
  public:
    explicit BpLights(const ::android::sp<::android::IBinder>& _aidl_impl);
    virtual ~BpLights() = default;

    ::android::binder::Status setLightState(int32_t id, const HwLightState& state) override;
    ::android::binder::Status getLights(::std::vector<HwLight>* _aidl_return) override;
};

}  // namespace light
}  // namespace hardware
}  // namespace android
