// The whole simulated device behind one object, for the tool and end-to-end tests: every fake
// service the device's profile calls for, started from the device root in ORVEX_DEVICE_ROOT.
// Tests of one module drive the individual fakes instead.
//
// Which services exist comes from the profile's /sim/services.prop ("name=value" lines):
//   hardware_manager=1|0   the data-capture hardware manager and its sub-interfaces
//   beep=1|0               the beep service
//   light=hidl|aidl|none   the lights service and its flavour
//   audio=1|0              the audio service
//   external_vibrator=1|0  an external vibrator on the pluggable-device interface
//   imager=1|0             the hardware manager's imager (with its control and adapter)
//   imager_engine_id=TEXT  the engine identifier the imager reports (default 31)
//   serial=1|0             the serial interface with its firmware-update interface
//   battery_swap=1|0       the battery swap handler
//   camera_vendor_tags=1|0 the camera vendor tag provider
// A missing file or key means present (light: hidl, external_vibrator: 0).
#pragma once

#include <map>
#include <memory>
#include <string>

#include "HardwareManagerSim.h"

namespace orvex {
namespace sim {

class FakeAudioService;
class FakeHardwareBeep;
class FakeHidlLight;
class FakeAidlLights;
class FakePlugableDeviceNotifier;
class FakeImager;
class FakeSerial;
class FakeBatterySwapHandler;
class FakeCameraVendorTagProvider;

class SimulatedDevice {
public:
    SimulatedDevice();
    ~SimulatedDevice();
    SimulatedDevice(const SimulatedDevice&) = delete;
    SimulatedDevice& operator=(const SimulatedDevice&) = delete;

    // Starts the services the profile names.
    void Start();

    HardwareManagerSim& hardwareManager() { return *mHardwareManager; }
    // Null when the profile has no such service.
    FakeHardwareBeep* beep() const { return mBeep.get(); }
    FakeHidlLight* hidlLight() const { return mHidlLight.get(); }
    FakeAidlLights* aidlLights() const { return mAidlLights.get(); }
    FakeAudioService* audio() const { return mAudio.get(); }
    FakePlugableDeviceNotifier* plugableDeviceNotifier() const { return mNotifier.get(); }
    FakeImager* imager() const { return mImager.get(); }
    FakeSerial* serial() const { return mSerial.get(); }
    FakeBatterySwapHandler* batterySwap() const { return mBatterySwap.get(); }
    FakeCameraVendorTagProvider* cameraVendorTags() const { return mVendorTags.get(); }

    // The profile's service settings, as read by Start().
    const std::map<std::string, std::string>& services() const { return mServices; }

private:
    std::map<std::string, std::string> mServices;
    std::unique_ptr<HardwareManagerSim> mHardwareManager;
    ::android::sp<FakeHardwareBeep> mBeep;
    ::android::sp<FakeHidlLight> mHidlLight;
    ::android::sp<FakeAidlLights> mAidlLights;
    ::android::sp<FakeAudioService> mAudio;
    ::android::sp<FakePlugableDeviceNotifier> mNotifier;
    ::android::sp<FakeImager> mImager;
    ::android::sp<FakeSerial> mSerial;
    ::android::sp<FakeBatterySwapHandler> mBatterySwap;
    ::android::sp<FakeCameraVendorTagProvider> mVendorTags;
};

}  // namespace sim
}  // namespace orvex
