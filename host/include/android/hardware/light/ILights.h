// android.hardware.light.ILights, the AIDL lights service, for Linux hosts. Instances are
// registered as "<descriptor>/<instance>", normally "android.hardware.light.ILights/default".
#pragma once

#include <android/hardware/light/HwLight.h>
#include <android/hardware/light/HwLightState.h>
#include <binder/IBinder.h>
#include <binder/IInterface.h>
#include <binder/Status.h>
#include <stdint.h>

#include <vector>

namespace android {
namespace hardware {
namespace light {

class ILights : public ::android::IInterface {
  public:
    DECLARE_META_INTERFACE(Lights)

    // Sets the light with this id; an unknown id is rejected with EX_UNSUPPORTED_OPERATION.
    virtual ::android::binder::Status setLightState(int32_t id, const HwLightState& state) = 0;
    // Every light of the service, in the service's order.
    virtual ::android::binder::Status getLights(::std::vector<HwLight>* _aidl_return) = 0;
};

// The do-nothing implementation used where a service must answer without lights.
class ILightsDefault : public ILights {
  public:
    ::android::IBinder* onAsBinder() override { return nullptr; }
    ::android::binder::Status setLightState(int32_t, const HwLightState&) override;
    ::android::binder::Status getLights(::std::vector<HwLight>*) override;
};

}  // namespace light
}  // namespace hardware
}  // namespace android
