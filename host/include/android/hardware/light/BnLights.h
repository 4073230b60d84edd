// The local half of android.hardware.light.ILights: services derive from it.
#pragma once

#include <android/hardware/light/ILights.h>
#include <binder/IInterface.h>

namespace android {
namespace hardware {
namespace light {

class BnLights : public ::android::BnInterface<ILights> {
  public:
    static constexpr uint32_t TRANSACTION_setLightState =
        ::android::IBinder::FIRST_CALL_TRANSACTION + 0;
    static constexpr uint32_t TRANSACTION_getLights =
        ::android::IBinder::FIRST_CALL_TRANSACTION + 1;

    explicit BnLights();

    // Unmarshals a request written by BpLights, calls the implementation and writes its status
    // and result.
    ::android::status_t onTransact(uint32_t _aidl_code, const ::android::Parcel& _aidl_data,
                                   ::android::Parcel* _aidl_reply, uint32_t _aidl_flags) override;
};

}  // namespace light
}  // namespace hardware
}  // namespace android
