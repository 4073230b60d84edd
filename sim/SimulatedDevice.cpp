#include "SimulatedDevice.h"

#include <fstream>

#include "FakeBatterySwapHandler.h"
#include "FakeCameraVendorTagProvider.h"
#include "FakeImager.h"
#include "FakeImagerAdapter.h"
#include "FakeImagerControl.h"
#include "FakeSerial.h"
#include "FakeSerialFWUpdate.h"
#include "feedback/FakeAidlLights.h"
#include "feedback/FakeAudioService.h"
#include "feedback/FakeHardwareBeep.h"
#include "feedback/FakeHidlLight.h"
#include "FakePlugableDeviceNotifier.h"
#include "orvex/camera_service.h"
#include "orvex/device_root.h"

namespace orvex {
namespace sim {

namespace {

std::map<std::string, std::string> ReadServices() {
    std::map<std::string, std::string> services = {{"hardware_manager", "1"},
                                                   {"beep", "1"},
                                                   {"light", "hidl"},
                                                   {"audio", "1"},
                                                   {"external_vibrator", "0"},
                                                   {"imager", "1"},
                                                   {"imager_engine_id", "31"},
                                                   {"serial", "1"},
                                                   {"battery_swap", "1"},
                                                   {"camera_vendor_tags", "1"}};
    std::ifstream in(DevicePath("/sim/services.prop"));
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        size_t eq = line.find('=');
        if (eq != std::string::npos) services[line.substr(0, eq)] = line.substr(eq + 1);
    }
    return services;
}

}  // namespace

SimulatedDevice::SimulatedDevice() : mHardwareManager(new HardwareManagerSim(false)) {}

SimulatedDevice::~SimulatedDevice() {
    mHardwareManager.reset();
    if (mBeep) FakeHardwareBeep::Remove();
    if (mHidlLight) FakeHidlLight::Remove();
}

void SimulatedDevice::Start() {
    mServices = ReadServices();
    camera::LoadProfileCameras();
    if (mServices["audio"] == "1") mAudio = FakeAudioService::Register();
    if (mServices["beep"] == "1") mBeep = FakeHardwareBeep::Register();
    if (mServices["light"] == "hidl") mHidlLight = FakeHidlLight::Register();
    if (mServices["light"] == "aidl") mAidlLights = FakeAidlLights::Register();
    if (mServices["hardware_manager"] != "1") return;

    mNotifier = new FakePlugableDeviceNotifier();
    mNotifier->SetExternalVibratorPresent(mServices["external_vibrator"] == "1");
    mNotifier->calls().SetName("IPlugableDeviceNotifier");
    ::android::sp<FakePlugableDeviceNotifier> notifier = mNotifier;
    if (mServices["imager"] == "1") {
        mImager = new FakeImager();
        FakeImager::Answers answers;
        answers.engineId = mServices["imager_engine_id"];
        mImager->SetAnswers(answers);
        mImager->calls().SetName("IImager");
    }
    if (mServices["serial"] == "1") {
        mSerial = new FakeSerial();
        mSerial->calls().SetName("ISerial");
        ::android::sp<FakeSerialFWUpdate> firmware = new FakeSerialFWUpdate();
        firmware->calls().SetName("ISerialFWUpdate");
        mSerial->SetFirmware(firmware);
    }
    if (mServices["battery_swap"] == "1") {
        mBatterySwap = new FakeBatterySwapHandler();
        mBatterySwap->calls().SetName("IBatterySwapHandler");
    }
    if (mServices["camera_vendor_tags"] == "1") {
        mVendorTags = new FakeCameraVendorTagProvider();
        mVendorTags->calls().SetName("ICameraVendorTagProvider");
    }
    ::android::sp<FakeImager> imager = mImager;
    ::android::sp<FakeSerial> serial = mSerial;
    ::android::sp<FakeBatterySwapHandler> batterySwap = mBatterySwap;
    ::android::sp<FakeCameraVendorTagProvider> vendorTags = mVendorTags;
    mHardwareManager->AddBuilder(
        [notifier, imager, serial, batterySwap, vendorTags](FakeDCHWManager& manager) {
            manager.calls().SetName("IDCHWManager");
            manager.SetPlugableDeviceNotifier(notifier);
            if (imager != nullptr) {
                // The imager's control and adapter live in the manager's process: they died
                // with the last instance (the adapter stopped streaming for good) and a new
                // instance comes with new ones.
                ::android::sp<FakeImagerControl> control = new FakeImagerControl();
                control->calls().SetName("IImagerControl");
                ::android::sp<FakeImagerAdapter> adapter = new FakeImagerAdapter();
                adapter->calls().SetName("IImagerAdapter");
                imager->SetControl(control);
                imager->SetAdapter(adapter);
                manager.SetImager(imager);
            }
            if (serial != nullptr) manager.SetSerial(serial);
            if (batterySwap != nullptr) manager.SetBatterySwapHandler(batterySwap);
            if (vendorTags != nullptr) manager.SetCameraVendorTagProvider(vendorTags);
        });
    mHardwareManager->Start();
}

}  // namespace sim
}  // namespace orvex

// A C entry for callers that declare nothing of the simulator's (the caller-side ABI check).
extern "C" __attribute__((visibility("default"))) void* orvex_sim_device_start(void) {
    auto* device = new orvex::sim::SimulatedDevice();
    device->Start();
    return device;
}

extern "C" __attribute__((visibility("default"))) void orvex_sim_device_stop(void* device) {
    delete static_cast<orvex::sim::SimulatedDevice*>(device);
}

// Presses a trigger key on the device; 0 when the hardware manager holds no client queue.
extern "C" __attribute__((visibility("default"))) int orvex_sim_press_trigger(
    void* device, unsigned type, unsigned first, unsigned second) {
    auto* d = static_cast<orvex::sim::SimulatedDevice*>(device);
    auto trigger = d->hardwareManager().trigger();
    return trigger != nullptr && trigger->Press(type, first, second) ? 1 : 0;
}
