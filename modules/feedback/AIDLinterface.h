// The scan LED on an AIDL lights service (android.hardware.light.ILights), where the device
// lists it among its lights with type 100.
#pragma once

#include <android/hardware/light/HwLightState.h>
#include <android/hardware/light/ILights.h>

#include "LightInterface.h"

class AIDLinterface : public LightInterface {
  public:
    explicit AIDLinterface(android::sp<android::hardware::light::ILights> lights);

    // Looks the scan LED up in the service's current list and sets it; does nothing when the
    // list has none.
    void setlight() override;
    void setcolor(int color) override;

  private:
    android::sp<android::hardware::light::ILights> sp_Lights;
    android::hardware::light::HwLightState m_LightState;
};
