// The scan LED on a HIDL lights service (android.hardware.light@2.0::ILight), where the device
// defines it as light type 8.
#pragma once

#include <android/hardware/light/2.0/ILight.h>

#include "LightInterface.h"

class HIDLinterface : public LightInterface {
  public:
    explicit HIDLinterface(android::sp<android::hardware::light::V2_0::ILight> light);

    void setlight() override;
    // Flash-on time and brightness mode keep their values.
    void setcolor(int color) override;

  private:
    android::sp<android::hardware::light::V2_0::ILight> sp_Light;
    android::hardware::light::V2_0::LightState m_LightState;
};
