// The proxy of vendor.tevrin.hardware.hwbeep@1.0::IHardwareBeepConfigs and its service helpers.

#include <vendor/tevrin/hardware/hwbeep/1.0/IHardwareBeepConfigs.h>

#include "Transport.h"

namespace vendor {
namespace tevrin {
namespace hardware {
namespace hwbeep {
namespace V1_0 {

namespace {

class BpHwHardwareBeepConfigs : public ::android::hardware::details::BpHw<IHardwareBeepConfigs> {
  public:
    using BpHw::BpHw;

    ::android::hardware::Return<int32_t> startBeep() override {
        return call(&IHardwareBeepConfigs::startBeep);
    }
    ::android::hardware::Return<void> reserved2() override {
        return call(&IHardwareBeepConfigs::reserved2);
    }
    ::android::hardware::Return<void> reserved3() override {
        return call(&IHardwareBeepConfigs::reserved3);
    }
    ::android::hardware::Return<void> reserved4() override {
        return call(&IHardwareBeepConfigs::reserved4);
    }
    ::android::hardware::Return<void> reserved5() override {
        return call(&IHardwareBeepConfigs::reserved5);
    }
    ::android::hardware::Return<void> reserved6() override {
        return call(&IHardwareBeepConfigs::reserved6);
    }
    ::android::hardware::Return<void> reserved7() override {
        return call(&IHardwareBeepConfigs::reserved7);
    }
    ::android::hardware::Return<void> reserved8() override {
        return call(&IHardwareBeepConfigs::reserved8);
    }
    ::android::hardware::Return<void> setBeepConfig(int32_t frequency, int32_t duration,
                                                    int32_t volume, int32_t timeout,
                                                    int32_t timeoutAfter) override {
        return call(&IHardwareBeepConfigs::setBeepConfig, frequency, duration, volume, timeout,
                    timeoutAfter);
    }
    ::android::hardware::Return<bool> isHWBeepSupported() override {
        return call(&IHardwareBeepConfigs::isHWBeepSupported);
    }
};

}  // namespace

ORVEX_HIDL_INTERFACE_SUPPORT(IHardwareBeepConfigs,
                             "vendor.tevrin.hardware.hwbeep@1.0::IHardwareBeepConfigs",
                             BpHwHardwareBeepConfigs)

}  // namespace V1_0
}  // namespace hwbeep
}  // namespace hardware
}  // namespace tevrin
}  // namespace vendor
