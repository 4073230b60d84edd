#include "HIDLinterface.h"

#include "ScannerLog.h"

namespace {
// The device's own light type for the scan LED on HIDL lights services.
constexpr int kScanLedType = 8;
}  // namespace

HIDLinterface::HIDLinterface(android::sp<android::hardware::light::V2_0::ILight> light)
    : sp_Light(std::move(light)), m_LightState() {}

void HIDLinterface::setlight() {
    SF_LOGD("[HIDLinterface::setlight] set light %d\n", kScanLedType);
    // The service's answer changes nothing for the caller.
    sp_Light
        ->setLight(static_cast<android::hardware::light::V2_0::Type>(kScanLedType), m_LightState)
        .isOk();
}

void HIDLinterface::setcolor(int color) {
    m_LightState.color = static_cast<uint32_t>(color);
    m_LightState.flashMode = android::hardware::light::V2_0::Flash::NONE;
    m_LightState.flashOffMs = 0;
}
