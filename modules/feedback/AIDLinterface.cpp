#include "AIDLinterface.h"

#include <vector>

#include "ScannerLog.h"

namespace {
// The device's own light type for the scan LED on AIDL lights services.
constexpr int8_t kScanLedType = 100;
}  // namespace

using android::hardware::light::BrightnessMode;
using android::hardware::light::FlashMode;
using android::hardware::light::HwLight;

AIDLinterface::AIDLinterface(android::sp<android::hardware::light::ILights> lights)
    : sp_Lights(std::move(lights)), m_LightState() {}

void AIDLinterface::setlight() {
    // Asked every time: the service's list is the only place the LED's id comes from.
    std::vector<HwLight> lights;
    sp_Lights->getLights(&lights);
    for (const HwLight& light : lights) {
        if (static_cast<int8_t>(light.type) != kScanLedType) continue;
        SF_LOGD("[AIDLinterface::setlight] set light %hhd\n", kScanLedType);
        sp_Lights->setLightState(light.id, m_LightState);
        return;
    }
}

void AIDLinterface::setcolor(int color) {
    m_LightState.color = color;
    m_LightState.flashMode = FlashMode::NONE;
    m_LightState.flashOnMs = 0;
    m_LightState.flashOffMs = 0;
    m_LightState.brightnessMode = BrightnessMode::USER;
}
