// Every service dying at every point of each module's sequence: one table of module x point,
// each row run in a fresh process (the connection holders are process statics) and ending in the
// result the module gives there: a false result, a fixed result, a reconnection, or the end of
// the process through the HIDL runtime's checked retrieval of a value from a dead service.
//
// A row is a script of steps, "op" or "op=expected result", run by one interpreter against one
// simulated device. "Dies" means the service's process dies; "came back" means a new instance
// is registered under the same name (as the service manager restarts it); "for good" means the
// name is no longer declared, so lookups answer null at once. Deaths inside a call are made by
// fakes that kill their own registration and fail that call with DEAD_OBJECT, as a binder call
// to a process that dies while serving it fails.

#include <android/hardware/light/2.0/ILight.h>
#include <binder/IServiceManager.h>
#include <gtest/gtest.h>
#include <hidl/Status.h>
#include <orvex/binder_services.h>
#include <orvex/hidl_registry.h>
#include <signal.h>
#include <stdio.h>
#include <unistd.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IDCHWManager.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <future>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "BatterySwapModule.h"
#include "CameraModule.h"
#include "DeviceInfoBuilder.h"
#include "FakeAidlLights.h"
#include "FakeAudioService.h"
#include "FakeBatterySwapHandler.h"
#include "FakeCameraVendorTagProvider.h"
#include "FakeDCHWManager.h"
#include "FakeHardwareBeep.h"
#include "FakeHidlLight.h"
#include "FakeImager.h"
#include "FakeImagerAdapter.h"
#include "FakeImagerControl.h"
#include "FakePlugableDeviceNotifier.h"
#include "FakeSerial.h"
#include "FakeSerialFWUpdate.h"
#include "FakeTrigger.h"
#include "FeedbackTestEnv.h"
#include "HWBeep.h"
#include "HWTrigger.h"
#include "HardwareManagerSim.h"
#include "IExternalHapticFeedack.h"
#include "ImagerControlHIDLProxy.h"
#include "ImagerHIDLProxy.h"
#include "LEDNotification.h"
#include "PlugableDeviceNotifier.h"
#include "SerialPort.h"
#include "SupportedScannerInfo.h"
#include "TimerProvider.h"
#include "V4L2ImagerAdapterHIDLProxy.h"
#include "orvex/log_capture.h"

namespace service_death {
namespace {

using android::sp;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using feedback_test::ChildChecks;
using feedback_test::Entry;
using orvex::hostlog::ScopedCapture;
using namespace orvex::sim;  // the fakes
namespace dch = vendor::tevrin::hardware::dchwmanager::V1_0;

// The longest a row waits for something another thread does before it fails.
constexpr auto kWait = std::chrono::seconds(30);
const std::vector<uint8_t> kCommand = {0x1b, 0x02};
const __preview_size__ kSize = {64, 8, 8, false, false};

// The row's death point inside a call, "[after ]call", and what follows the death there:
// "back" (a new instance), "gone" (removed for good) or "notice" (the death notice is logged).
std::string gDieAt, gThen;
std::atomic<bool> gDied{false};
void AfterDeath();

void KillManager() { orvex::hidl::KillService(dch::IDCHWManager::descriptor, "default"); }

template <typename R>
Return<R> DeadObject() {
    return Return<R>(android::hardware::Status::fromStatusT(android::DEAD_OBJECT));
}

// A fake that dies once, at the row's death point: its process (the hardware manager's, with
// every interface it handed out, or the beep service's) dies in or right after that call.
template <typename B>
class Mortal : public B {
  protected:
    using Base = B;
    bool Dies(const std::string& call, bool after = false) {
        if ((after ? "after " + call : call) != gDieAt || gDied.exchange(true)) return false;
        if constexpr (std::is_base_of_v<Fake, B>) {
            if (!after) this->calls().Add(call + "()");
        }
        if constexpr (std::is_same_v<B, FakeTrigger>) this->OnDeath();
        if constexpr (std::is_same_v<B, FakeHardwareBeep>) {
            FakeHardwareBeep::Kill();
        } else {
            KillManager();
        }
        AfterDeath();
        return true;
    }
};

#define DIES(R, call, params, args)                    \
    Return<R> call params override {                   \
        if (this->Dies(#call)) return DeadObject<R>(); \
        Return<R> answer = Base::call args;            \
        this->Dies(#call, true);                       \
        return answer;                                 \
    }

struct MortalManager : Mortal<FakeDCHWManager> {
    DIES(sp<dch::ITrigger>, getTriggerInterface, (), ())
    DIES(sp<dch::IImager>, getImager, (), ())
    DIES(sp<dch::ISerial>, getSerialInterface, (), ())
    DIES(sp<dch::IPlugableDeviceNotifier>, getPlugableDeviceNotifier, (), ())
    DIES(sp<dch::IBatterySwapHandler>, getBatterySwapHandler, (), ())
    DIES(sp<dch::ICameraVendorTagProvider>, getCameraVendorTagProvider, (), ())
};
struct MortalTrigger : Mortal<FakeTrigger> {
    DIES(bool, acquireTrigger, (), ())
    DIES(bool, setKeyEventQueue, (const android::hardware::MQDescriptorSync<uint32_t>& q), (q))
    DIES(bool, releaseTrigger, (), ())
};
struct MortalBeep : Mortal<FakeHardwareBeep> {
    DIES(int32_t, startBeep, (), ())
};
struct MortalSerial : Mortal<FakeSerial> {
    DIES(uint8_t, registerCallback, (const sp<ISerialCallback>& cb), (cb))
    DIES(uint8_t, openPort, (const hidl_string& port, int32_t baud, bool flow), (port, baud, flow))
    DIES(sp<ISerialFWUpdate>, getSerialFWInterface, (), ())
};
struct MortalFirmware : Mortal<FakeSerialFWUpdate> {
    DIES(void, fwRead, (fwRead_cb cb), (cb))
};
struct MortalNotifier : Mortal<FakePlugableDeviceNotifier> {
    DIES(uint8_t, registerNotifierCallback, (const sp<IPlugableNotifierCallback>& cb, int32_t t),
         (cb, t))
    DIES(void, getPortName, (getPortName_cb cb), (cb))
};
struct MortalHandler : Mortal<FakeBatterySwapHandler> {
    DIES(bool, enterBatterySwap, (), ())
};
struct MortalTags : Mortal<FakeCameraVendorTagProvider> {
    DIES(int32_t, getVendorTagId, (const hidl_string& name), (name))
};
struct MortalImager : Mortal<FakeImager> {
    DIES(int8_t, openImager, (), ())
    DIES(int8_t, closeImager, (), ())
    DIES(void, getEngineID, (getEngineID_cb cb), (cb))
    DIES(sp<dch::IImagerControl>, getImagerControl, (), ())
    DIES(sp<dch::IImagerAdapter>, getImagerAdapter, (), ())
};
struct MortalControl : Mortal<FakeImagerControl> {
    DIES(void, sendCommand,
         (const hidl_vec<uint8_t>& c, uint32_t a, uint32_t b, uint32_t d, uint32_t e,
          sendCommand_cb cb),
         (c, a, b, d, e, cb))
};
struct MortalAdapter : Mortal<FakeImagerAdapter> {
    DIES(int8_t, Init, (const hidl_string& adapterClass, const PreviewSize& size),
         (adapterClass, size))
    DIES(int8_t, RegisterFrameCallback, (const sp<IFrameCallback>& cb), (cb))
    DIES(void, GetParameter, (const hidl_string& name, GetParameter_cb cb), (name, cb))
    DIES(int8_t, HaltAcquisition, (bool halt, int32_t flag), (halt, flag))
};

// A binder service (audio, AIDL lights) whose process can die: every transaction then fails.
template <typename B>
struct Stoppable : B {
    using B::B;
    std::atomic<bool> dead{false};
    android::status_t onTransact(uint32_t code, const android::Parcel& data, android::Parcel* reply,
                                 uint32_t flags) override {
        return dead ? android::DEAD_OBJECT : B::onTransact(code, data, reply, flags);
    }
};

// Callers' callbacks, each recording what reached it as text.
struct Keys : ITriggerKeyEventWrapperCallBack, CallLog {
    void OnKeyEvent(unsigned a, unsigned b) override {
        Add(std::to_string(a) + "." + std::to_string(b));
    }
    void OnPreKeyEvent(unsigned a, unsigned b) override { OnKeyEvent(a, b); }
};
struct SerialData : ISerialDataCallBack, CallLog {
    void OnSerialDataReceived(const uint8_t* data, size_t size) override {
        char hex[3];
        std::string text;
        for (size_t i = 0; i < size; ++i) text += (snprintf(hex, 3, "%02x", data[i]), hex);
        Add(text);
    }
};
struct Changes : IPlugableHALCallBack, CallLog {
    void OnPlugableDeviceChanged(bool connected, const std::string& port, int type) override {
        Add(std::to_string(connected) + " " + port + " " + std::to_string(type));
    }
};
// Counts frames and checks that each is the frame the service filled (its pattern); with
// `kill`, the service dies while the caller reads its first frame.
struct Frames : IImageCallback {
    std::atomic<uint64_t> count{0};
    std::atomic<bool> whole{true}, kill{false};
    bool OnReceiveFrame(void* frame) override {
        if (count++ == 0 && kill) KillManager();
        const auto* bytes = static_cast<const uint8_t*>(frame);
        for (size_t i = 0; i < 64 * 8; ++i) {
            if (bytes[i] != FakeImagerAdapter::PatternByte(bytes[0], i)) whole = false;
        }
        return true;
    }
};

template <typename T>
std::string S(T v) {
    if constexpr (std::is_same_v<T, bool>) {
        return v ? "1" : "0";
    } else if constexpr (std::is_integral_v<T>) {
        return std::to_string(v);
    } else {
        return std::string(v);
    }
}
template <typename C>
std::string Join(const C& items) {
    std::ostringstream out;
    for (const auto& item : items) out << (&item == &*items.begin() ? "" : "|") << item;
    return out.str();
}
// A log line as rows write it: priority letter (D, I, E), then the text.
Entry Line(const std::string& text) {
    return {text[0] == 'D' ? 3 : text[0] == 'I' ? 4 : 6, "ScannerFramework", text.substr(1)};
}

enum class Outcome { kFalse, kFixedResult, kReconnects, kProcessEnds };

struct Row {
    const char* name;  // Module_Point
    Outcome outcome;
    const char* steps;                    // "op[=expected]; ..."
    std::vector<const char*> lines = {};  // what "logged" compares, as Line() reads them
};

void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }

const std::string kUnknown = "\1";

// A new part, kept in `list`.
template <typename T>
__attribute__((noinline)) sp<T> Keep(std::vector<sp<T>>& list) {
    sp<T> part = new T;
    list.push_back(part);
    return part;
}

// The simulated device and the module under test. The hardware manager's every instance
// hands out a fresh part of each kind; the lists keep them all, the first and the current.
struct World {
    const Row& row;
    ChildChecks& checks;
    std::string module;
    HardwareManagerSim sim{false};
    bool vibrator = true;
    std::vector<sp<MortalTrigger>> triggers;
    std::vector<sp<MortalSerial>> serials;
    std::vector<sp<MortalNotifier>> notifiers;
    std::vector<sp<MortalHandler>> handlers;
    std::vector<sp<MortalTags>> tags;
    std::vector<sp<MortalImager>> imagers;
    std::vector<sp<MortalControl>> controls;
    std::vector<sp<MortalAdapter>> adapters;
    std::vector<sp<MortalBeep>> beeps;
    std::vector<sp<FakeHidlLight>> lights;
    sp<Stoppable<FakeAidlLights>> aidl;
    sp<Stoppable<FakeAudioService>> audio;
    std::optional<ScopedCapture> log;
    Keys keys;
    SerialData data;
    Changes changes;
    Frames frames;
    std::vector<uint8_t> reply;
    uint64_t framesBefore = 0;
    // The modules (one per row), dropped before the device.
    std::unique_ptr<IFeedbackModule> feedback;
    std::unique_ptr<HWTrigger<ANDROID_VERSION_10>> trigger;
    std::unique_ptr<SerialPort<ANDROID_VERSION_10>> serial;
    std::unique_ptr<PlugableDeviceNotifier<ANDROID_VERSION_10>> plug;
    std::unique_ptr<BatterySwapModule<ANDROID_VERSION_10>> swap;
    std::unique_ptr<CameraModule<ANDROID_VERSION_10>> camera;
    std::unique_ptr<ImagerHIDLProxy<ANDROID_VERSION_10>> imager;
    std::unique_ptr<V4L2ImagerAdapterHIDLProxy> alone;
    ImagerControlHIDLProxy* control = nullptr;
    V4L2ImagerAdapterHIDLProxy* adapter = nullptr;

    World(const Row& r, ChildChecks& c)
        : row(r), checks(c), module(std::string(r.name).substr(0, std::string(r.name).find('_'))) {
        sim.AddBuilder([this](FakeDCHWManager& m) {
            m.SetTrigger(Keep(triggers));
            m.SetSerial(Keep(serials));
            serials.back()->SetFirmware(new MortalFirmware);
            serials.back()->Firmware()->SetAnswers({0, 0, 0, 0, 0, true, {0x12, 0xAB}});
            m.SetPlugableDeviceNotifier(Keep(notifiers));
            notifiers.back()->SetPortName(1, "/dev/ttyUSB0");
            notifiers.back()->SetExternalVibratorPresent(vibrator);
            m.SetBatterySwapHandler(Keep(handlers));
            m.SetCameraVendorTagProvider(Keep(tags));
            m.SetImager(Keep(imagers));
            imagers.back()->SetControl(Keep(controls));
            imagers.back()->SetAdapter(Keep(adapters));
            controls.back()->SetReply(kCommand, {0, {9, 8}});
            adapters.back()->SetParameterAnswer("exposure", 0, "12");
        });
    }
    ~World() { Drop(); }
    void Drop() {
        feedback.reset(), trigger.reset(), serial.reset(), plug.reset(), swap.reset();
        camera.reset(), imager.reset(), alone.reset();
    }

    std::string Do(const std::string& op);
    std::string Feedback(const std::string& op);
    std::string Trigger(const std::string& op);
    std::string Transport(const std::string& op);
    std::string Imaging(const std::string& op);
    std::string CallsOf(std::string who);
    std::string Facts();
};

World* gWorld = nullptr;

void AfterDeath() {
    if (gThen == "back") gWorld->sim.Start();
    if (gThen == "gone") gWorld->sim.Remove();
    const Entry notice = Line("IISS [HW Trigger] DCHWManager Died");
    for (auto end = std::chrono::steady_clock::now() + kWait;
         gThen == "notice" && !gWorld->log->Contains(notice.priority, notice.tag, notice.message) &&
         std::chrono::steady_clock::now() < end;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

// Steps every row may use: the services' lives ("hw+" starts the hardware manager, or brings
// a new instance when one lives; "hw!" kills it; "hw-" removes it for good; likewise beep,
// light, aidl and audio), the log capture, the fakes' calls ("@serial" the current instance's,
// "@serial0" the first's), then the module family's own steps.
std::string World::Do(const std::string& op) {
    auto arg = [&](const char* prefix) {
        return op.rfind(prefix, 0) == 0 ? op.substr(strlen(prefix)) : std::string("\1");
    };
    if (op == "hw+")
        sim.Start();
    else if (op == "hw!")
        sim.Kill();
    else if (op == "hw-")
        sim.Remove();
    else if (op == "mortal")
        orvex::hidl::RegisterService<dch::IDCHWManager>(new MortalManager);
    else if (op == "beep+")
        orvex::hidl::RegisterService<FakeHardwareBeep::IHardwareBeepConfigs>(Keep(beeps));
    else if (op == "beep!")
        FakeHardwareBeep::Kill();
    else if (op == "beep-")
        FakeHardwareBeep::Remove();
    else if (op == "light+")
        lights.push_back(FakeHidlLight::Register());
    else if (op == "light!")
        orvex::hidl::KillService(android::hardware::light::V2_0::ILight::descriptor, "default");
    else if (op == "aidl+") {
        aidl = new Stoppable<FakeAidlLights>(FakeAidlLights::DefaultLights());
        orvex::binder::Declare(FakeAidlLights::InstanceName());
        android::defaultServiceManager()->addService(
            android::String16(FakeAidlLights::InstanceName().c_str()),
            orvex::binder::AsRemote(aidl));
    } else if (op == "aidl!")
        aidl->dead = true;
    else if (op == "aidl#")
        return S(aidl->SetCalls().size());
    else if (op == "audio+") {
        audio = new Stoppable<FakeAudioService>;
        android::defaultServiceManager()->addService(
            android::String16(FakeAudioService::kServiceName), orvex::binder::AsRemote(audio));
    } else if (op == "audio!")
        audio->dead = true;
    else if (op == "audio#")
        return S(audio->Transactions().size());
    else if (op == "log")
        log.emplace();
    else if (op == "logged") {
        std::vector<Entry> expected;
        for (const char* line : row.lines) expected.push_back(Line(line));
        checks.Logged(log->WithTag("ScannerFramework"), expected);
        log.reset();
    } else if (arg("count:") != kUnknown) {  // lines of this text, at any priority
        size_t n = 0;
        for (const Entry& e : log->Entries()) n += e.message == arg("count:");
        return S(n);
    } else if (arg("wait:") != kUnknown) {  // bounded
        const Entry line = Line(arg("wait:"));
        const auto end = std::chrono::steady_clock::now() + kWait;
        while (!log->Contains(line.priority, line.tag, line.message)) {
            if (std::chrono::steady_clock::now() > end) return "0";
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return "1";
    } else if (arg("die:") != kUnknown) {
        gDieAt = arg("die:").substr(0, arg("die:").find(" then "));
        if (arg("die:") != gDieAt) gThen = arg("die:").substr(gDieAt.size() + 6);
    } else if (op == "sleep") {
        // Not a timed assertion: the time only lets a late handling do harm before the end.
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    } else if (op == "del")
        Drop();
    else if (op == "novib")
        vibrator = false;
    else if (op == "timer+")
        TimerProvider::Initialize();
    else if (op == "timer-")
        TimerProvider::DeInitialize();
    else if (op == "facts")
        return Facts();
    else if (op[0] == '@')
        return CallsOf(op.substr(1));
    else if (module == "HWTrigger")
        return Trigger(op);
    else if (module == "HWBeep" || module == "LEDNotification" ||
             module == "IExternalHapticFeedack" || module == "DeviceInfo")
        return Feedback(op);
    else if (module.find("Imager") != std::string::npos || module == "FrameCallback")
        return Imaging(op);
    else
        return Transport(op);
    return "";
}

std::string World::CallsOf(std::string who) {
    const bool first = who.back() == '0';
    if (first) who.pop_back();
    auto of = [&](const auto& list) {
        return Join((first ? list.front() : list.back())->calls().Calls());
    };
    if (who == "hw") return Join(sim.manager()->calls().Calls());
    if (who == "beep") return Join(beeps.back()->Calls());
    if (who == "light") return Join(lights.back()->Calls());
    if (who == "fw") return Join(serials.back()->Firmware()->calls().Calls());
    if (who == "serial") return of(serials);
    if (who == "plug") return of(notifiers);
    if (who == "swap") return of(handlers);
    if (who == "tags") return of(tags);
    if (who == "imager") return of(imagers);
    if (who == "control") return of(controls);
    return kUnknown;
}

std::string World::Feedback(const std::string& op) {
    if (op == "new" && module == "LEDNotification")
        feedback = std::make_unique<LEDNotification<ANDROID_VERSION_10>>();
    else if (op == "new" && module[0] == 'I')
        feedback = std::make_unique<IExternalHapticFeedack<ANDROID_VERSION_10>>();
    else if (op == "new")
        feedback = std::make_unique<HWBeep<ANDROID_VERSION_10>>();
    else if (op == "Initialize")
        return S(feedback->InitializeFeedback());
    else if (op == "IsSupported")
        return S(feedback->IsSupported());
    else if (op == "Prepare")
        return S(feedback->PrepareFeedbackForTrigger());
    else if (op == "Trigger")
        return S(feedback->TriggerFeedback());
    else if (op == "Reset")
        return S(feedback->ResetFeedback());
    else if (op == "ovc")
        feedback->SetParameter("ignore_ovc_volume", "true");
    else if (op == "decoding")
        feedback->SetParameter("decoding_led_feedback", "true");
    else if (op == "timer20")
        feedback->SetParameter("good_decode_led_timer", "20");
    else if (op == "refuses")
        beeps.back()->ScriptStartBeep({0});
    else
        return kUnknown;
    return "";
}

std::string World::Trigger(const std::string& op) {
    if (op == "new")
        trigger = std::make_unique<HWTrigger<ANDROID_VERSION_10>>();
    else if (op == "Initialize")
        return S(trigger->Initialize(&keys));
    else if (op == "Acquire")
        return S(trigger->AcquireHWTrigger());
    else if (op == "Release")
        return S(trigger->ReleaseHWTrigger());
    else if (op == "Start")
        return S(trigger->StartTrigger());
    else if (op == "Stop")
        return S(trigger->StopTrigger());
    else if (op == "Simulate")
        return S(trigger->SimulateTrigger(1, 2));
    else if (op == "Pressed")
        return S(trigger->GetPressedTrigger());
    else if (op == "ResetPressed")
        return S(trigger->ResetPressedTrigger());
    else if (op == "requeued")
        return S(triggers.back()->calls().WaitFor("setKeyEventQueue", 1, kWait));
    else if (op == "started")
        return S(triggers.back()->calls().Count("startTrigger"));
    else if (op.rfind("keys", 0) == 0) {  // keys pressed on the current trigger reach the caller
        const unsigned mark = std::stoul(op.substr(4));
        return S(triggers.back()->Press(1, mark, mark) &&
                 keys.WaitFor(std::to_string(mark) + "." + std::to_string(mark), 1, kWait));
    } else
        return kUnknown;
    return "";
}

std::string World::Transport(const std::string& op) {
    char byte = 1;
    unsigned char ubyte = 1;
    if (module == "SerialPort") {
        if (op == "new")
            serial = std::make_unique<SerialPort<ANDROID_VERSION_10>>();
        else if (op == "Initialize")
            return S(serial->Initialize(&data));
        else if (op == "Acquire")
            return S(serial->AcquireSerialInterface());
        else if (op == "Release")
            return S(serial->ReleaseSerialInterface());
        else if (op == "Start")
            return S(serial->StartTransport("/dev/ttyHS1", 9600, false));
        else if (op == "Stop")
            return S(serial->StopTransport());
        else if (op == "IoCtl")
            return S(serial->IoControl(static_cast<TransportIOControlCodes>(1), 1));
        else if (op == "Write")
            return S(serial->ProcessRequest(&byte, 1));
        else if (op == "AcquireFW")
            return S(serial->AcquireFWSerialInterface());
        else if (op == "FWOpen")
            return S(serial->FWOpenSerialPort("/dev/ttyHS0"));
        else if (op == "FWClose")
            return S(serial->FWCloseSerialPort());
        else if (op == "FWIoCtl")
            return S(serial->FWIoCtl(1, 2, 3));
        else if (op == "FWWrite")
            return S(serial->FWWritePort(1, &ubyte));
        else if (op == "FWRead")
            return S(serial->FWReadPort());
        else if (op == "FWPoll")
            return S(serial->FWPoll());
        else if (op == "rx")
            return S(serials.back()->Receive({0x12, 0xAB}));  // the port sends
        else if (op == "rx0")
            return S(serials.front()->Receive({0x12, 0xAB}));
        else if (op == "got")
            return Join(data.Calls());
        else
            return kUnknown;
    } else if (module == "PlugableDeviceNotifier") {
        if (op == "new")
            plug = std::make_unique<PlugableDeviceNotifier<ANDROID_VERSION_10>>();
        else if (op == "Acquire")
            return S(plug->AcquirePlugableDeviceNotifier());
        else if (op == "InitSSI")
            return S(plug->InitializeSSI(&changes, static_cast<ScannerType>(2)));
        else if (op == "Port")
            return S(plug->GetPortName());
        else if (op == "plugin")
            return S(notifiers.back()->RaiseConnectionChanged(true, "/dev/ttyUSB0", 2));
        else if (op == "plugin0")
            return S(notifiers.front()->RaiseConnectionChanged(true, "/dev/ttyUSB0", 2));
        else if (op == "plugout")
            return S(notifiers.back()->RaiseConnectionChanged(false, "/dev/ttyUSB1", -1));
        else if (op == "changes")
            return Join(changes.Calls());
        else
            return kUnknown;
    } else if (module == "BatterySwapModule") {
        if (op == "new")
            swap = std::make_unique<BatterySwapModule<ANDROID_VERSION_10>>();
        else if (op == "Init")
            return S(swap->Init());
        else if (op == "Enter")
            return S(swap->EnterBatterySwap());
        else if (op == "Exit")
            return S(swap->ExitBatterySwap());
        else if (op == "in")
            return S(handlers.back()->InBatterySwap());
        else
            return kUnknown;
    } else {
        if (op == "new")
            camera = std::make_unique<CameraModule<ANDROID_VERSION_10>>();
        else if (op == "Init")
            return S(camera->Init());
        else if (op == "DeInit")
            return S(camera->DeInit());
        else if (op == "Tag")
            return S(camera->GetCameraVendorTagID("com.tevrin.imager.gain"));
        else
            return kUnknown;
    }
    return "";
}

std::string World::Imaging(const std::string& op) {
    auto ctl = [&] { return control ? control : (control = imager->getImagerControlHIDLProxy()); };
    auto adp = [&] { return adapter ? adapter : (adapter = imager->getImagerAdapterHIDLProxy()); };
    if (op == "new")
        imager = std::make_unique<ImagerHIDLProxy<ANDROID_VERSION_10>>();
    else if (op == "alone")
        adapter = (alone = std::make_unique<V4L2ImagerAdapterHIDLProxy>()).get();
    else if (op == "Open")
        return S(imager->openImager());
    else if (op == "Close")
        return S(imager->closeImager());
    else if (op == "Type")
        return S(imager->getImagerInterfaceType());
    else if (op == "Engine")
        return S(imager->getEngineID());
    else if (op == "deInit")
        imager->deInit(), control = nullptr, adapter = nullptr;
    else if (op == "ctl")
        return S(ctl() != nullptr);
    else if (op == "Cmd") {  // the reply lands in `reply`, which starts filled with 0xEE
        std::vector<uint8_t> command = kCommand;
        reply.assign(4, 0xEE);
        return S(ctl()->sendCommand(command.data(), 2, reply.data(), 4, 0, 0));
    } else if (op == "reply")
        return Join(std::vector<int>(reply.begin(), reply.end()));
    else if (op == "Settle")
        return S(ctl()->configureSettleCount(2));
    else if (op == "open#")
        return S(imagers.back()->OpenCount());
    else if (op == "adp")
        return S(adp() != nullptr);
    else if (op == "InitA")
        return S(adp()->InitAdapter("V4L2Adapter", kSize));
    else if (op == "killer")
        frames.kill = true;
    else if (op == "Enable")
        return S(adp()->Enable(&frames));
    else if (op == "StartS")
        return S(adp()->StartStreaming());
    else if (op == "StopS")
        return S(adp()->StopStreaming(false, 0));
    else if (op == "Disable")
        return S(adp()->Disable());
    else if (op == "Param")
        return S(adp()->GetParameter("exposure"));
    else if (op == "Streaming")
        return S(adp()->IsStreaming());
    else if (op == "stream") {  // initialise, enable, start; a first new frame reaches the caller
        framesBefore = frames.count;
        return S(adp()->InitAdapter("V4L2Adapter", kSize) == 0 && adp()->Enable(&frames) == 0 &&
                 adp()->StartStreaming() == 0 && adapters.back()->WaitForFrames(1) &&
                 frames.count > framesBefore);
    } else if (op == "frame1")
        return S(adapters.back()->WaitForFrames(1));
    else if (op == "whole")
        return S(frames.whole.load());
    else if (op == "frames")
        return S(frames.count.load());
    else if (op == "delivered")
        return S(adapters.back()->FramesDelivered());
    else if (op == "delivered0")
        return S(adapters.front()->FramesDelivered());
    else if (op == "allsent")
        return S(frames.count == adapters.front()->FramesDelivered());
    else
        return kUnknown;
    return "";
}

// The device facts, read on a thread of their own: a read that waits for a dead service fails
// the row instead of hanging it.
std::string World::Facts() {
    auto facts = std::async(std::launch::async, [] {
        DeviceInfo* info = odk::DeviceInfoBuilder::GetDeviceInfoInstance();
        SupportedScannerInfo* scanners = odk::DeviceInfoBuilder::GetSupportedScannerInfoInstance();
        std::vector<std::string> out = {info->GetPlatformName(),
                                        info->GetProductName(),
                                        info->GetProductModel(),
                                        info->GetProductSKU(),
                                        info->GetManufacturerName(),
                                        info->GetAndroidVersion(),
                                        info->GetABI(),
                                        info->GetDeviceDecryptionStatus(),
                                        S(info->GetScannerBeepVolume()),
                                        S(info->GetScannerAudioAPI()),
                                        S(info->GetScanner()),
                                        S(info->GetImagerInterfaceType())};
        for (int i = 0; i < scanners->GetNumberOfSupportedScanners(); ++i) {
            out.push_back(scanners->GetScannerNameAt(i));
        }
        return Join(out);
    });
    if (facts.wait_for(kWait) == std::future_status::ready) return facts.get();
    fputs("device facts waited for a dead service\n", stderr);
    _exit(1);
}

// Runs the row's steps; a step with an expected result records a mismatch in the checks.
void RunSteps(const Row& row, ChildChecks& checks) {
    World world(row, checks);
    gWorld = &world;
    std::string steps = row.steps;
    for (size_t at = 0; at < steps.size();) {
        size_t end = steps.find("; ", at);
        if (end == std::string::npos) end = steps.size();
        const std::string step = steps.substr(at, end - at);
        at = end + 2;
        const size_t eq = step.find('=');
        const std::string got = world.Do(step.substr(0, eq));
        if (got == kUnknown) {
            fprintf(stderr, "unknown step %s\n", step.c_str());
            _exit(2);
        }
        if (eq != std::string::npos) checks.Eq(step.c_str(), got, step.substr(eq + 1));
    }
    if (row.outcome == Outcome::kProcessEnds) {
        std::this_thread::sleep_for(kWait);  // the end may come from another thread
        fputs("the process went on\n", stderr);
        _exit(1);
    }
}

// Lines more than one row expects.
const char* const kSerialNoManager =
    "E[SerialPort<T>::associateSerial] Unable to get IDCHWManager interface.";
const char* const kFWReadNull =
    "E[SerialPort<T>::FWReadPort] Error at HIDL Service (sp_SerialHal instance is NULL)";
const char* const kPlugNoManager =
    "E[PlugableDeviceNotifier<T>::associatePlugableDeviceNotifier] Unable to get IDCHWManager "
    "interface.";
const char* const kPlugNotAvailable =
    "E[PlugableDeviceNotifier<T>::AcquirePlugableDeviceNotifierInterface] is not available";
const char* const kNoPort = "E[PlugableDeviceNotifier<T>::GetPortName] Error in port Name";
const char* const kWrongPort = "E[PlugableDeviceNotifier<T>::GetPortName] port name WrongPort";
const char* const kSwapNoManager =
    "E[BatterySwapModule::associateBatterySwapHIDL] Unable to get DCHWManager HIDL interface.";
const char* const kCameraNoManager =
    "E[CameraModule::associateCameraVendorTagHIDL] Unable to get DCHWManager HIDL interface.";
const char* const kCameraLookupNull =
    "E[CameraModule<T>::GetCameraVendorTagID] sp_CameraTagProvider is null";
const char* const kEngine[] = {"I[ImagerHIDLProxy::getEngineID] getEngineID",
                               "E[ImagerHIDLProxy::getEngineID] Error at HIDL Service",
                               "D[ImagerHIDLProxy::getEngineID] ScannerID="};
const char* const kCommandFailed =
    "E[ImagerControlHIDLProxy::sendCommand] Error at HIDL Service (sp_ImagerControlHIDL "
    "instance is NULL, Error - Unable to send command)";
const char* const kCommandNull =
    "E[ImagerControlHIDLProxy::sendCommand] sp_ImagerControlHIDL is Null";
const char* const kCallingClose =
    "I[ImagerControlHIDLProxy::disAssociateImagerControlHIDL] Calling close imager";
const char* const kControlDisconnected =
    "I[ImagerControlHIDLProxy::disAssociateImagerControlHIDL] disconnected Control HIDL";
const char* const kControlNoManager =
    "E[ImagerControlHIDLProxy::associateImagerControlHIDL] Unable to get DCHWManager HIDL "
    "interface.";
const char* const kControlFailed =
    "E[ImagerControlHIDLProxy::ImagerControlHIDLProxy] failed to associate ImagerControl HIDL";
const char* const kAdapterNoManager =
    "E[V4L2ImagerAdapterHIDLProxy::associateImagerAdapterHIDL] Unable to get DCHWManager HIDL "
    "interface.";
const char* const kAdapterFailed =
    "E[V4L2ImagerAdapterHIDLProxy::V4L2ImagerAdapterHIDLProxy] failed to associate ImagerAdapter "
    "HIDL";
const char* const kAdapterDisconnected =
    "I[V4L2ImagerAdapterHIDLProxy::disAssociateImagerAdapterHIDL] disconnected Adapter HIDL";

constexpr Outcome kFalse = Outcome::kFalse, kFixed = Outcome::kFixedResult,
                  kBack = Outcome::kReconnects, kEnds = Outcome::kProcessEnds;

const Row kRows[] = {
    {"HWBeep_InitializeAfterTheServiceCameBack", kBack,
     "beep+; beep!; beep+; new; Initialize=1; @beep=isHWBeepSupported()"},
    {"HWBeep_InitializeAfterTheServiceDiedForGood",
     kFalse,
     "beep+; beep-; new; log; Initialize=0; logged",
     {"E[HWBeep::HWBeep()] Unable to get IHardwareBeepConfigs interface.",
      "E[HWBeep::InitializeFeedback] initialization failed"}},
    {"HWBeep_IsSupportedAfterTheHeldServiceCameBack", kBack,
     "beep+; new; Initialize=1; beep!; beep+; IsSupported=1; @beep=isHWBeepSupported()"},
    {"HWBeep_IsSupportedAfterTheHeldServiceDiedForGood", kFalse,
     "beep+; new; Initialize=1; beep-; IsSupported=0"},
    // The configuration goes to the dead instance; nothing reconnects in Prepare.
    {"HWBeep_PrepareAfterDeath", kFixed,
     "beep+; new; Initialize=1; beep!; beep+; Prepare=1; @beep="},
    {"HWBeep_TriggerAfterDeath", kEnds, "beep+; new; Initialize; Prepare; beep!; Trigger"},
    // The retry (configure, start) meets a dead service; both results are ignored.
    {"HWBeep_TriggerServiceRefusesAndDiesWithTheAnswer", kFixed,
     "die:after startBeep; beep+; refuses; new; Initialize=1; Prepare=1; Trigger=1; "
     "@beep=isHWBeepSupported()|setBeepConfig(12, 30, 5, 15000, 15000)|startBeep()"},
    {"HWBeep_InitializeAgainAfterDeath", kBack,
     "beep+; new; Initialize=1; beep!; beep+; Initialize=1; Prepare=1; Trigger=1; "
     "@beep=isHWBeepSupported()|setBeepConfig(12, 30, 5, 15000, 15000)|startBeep()"},
    {"HWBeep_InitializeAgainAfterDeathForGood", kFalse,
     "beep+; new; Initialize=1; beep-; Initialize=0"},
    // Both volume queries fail with an empty reply: current 0 of maximum 0 gives volume 2.
    {"HWBeep_PrepareWithTheAudioServiceDead", kFixed,
     "audio+; beep+; new; ovc; Initialize=1; audio!; Prepare=1; "
     "@beep=isHWBeepSupported()|setBeepConfig(12, 30, 2, 15000, 15000)"},
    // Never reached: both queries answer -1, which gives volume 10.
    {"HWBeep_PrepareWithoutAnAudioService", kFixed,
     "beep+; new; ovc; Initialize=1; Prepare=1; "
     "@beep=isHWBeepSupported()|setBeepConfig(12, 30, 10, 15000, 15000)"},
    {"LEDNotification_InitializeWithoutAnyLightsService",
     kFalse,
     "new; log; Initialize=0; logged",
     {"E[LEDNotification::LEDNotification()] Unable to get ILight interface.",
      "E[LEDNotification::LEDNotification()] Unable to get ILight interface.",
      "E[LEDNotification::InitializeFeedback] initialization failed"}},
    // The light object is kept without a liveness check: every state goes to the dead one.
    {"LEDNotification_ScanAfterTheHidlLightDied", kFixed,
     "light+; new; Initialize=1; decoding; light!; light+; Prepare=1; Trigger=1; Reset=1; @light="},
    {"LEDNotification_InitializeAgainAfterTheHidlLightDied", kFixed,
     "light+; new; Initialize=1; decoding; light!; light+; Initialize=1; Prepare=1; @light="},
    // IsSupported drops the process's light object; the next connection is a new one.
    {"LEDNotification_IsSupportedAfterTheHidlLightDied", kBack,
     "light+; new; Initialize=1; decoding; light!; light+; IsSupported=1; Initialize=1; "
     "Prepare=1; @light=setLight(8, color 0xffff0000, flash 0 0/0, brightness 0)"},
    // The light list cannot be fetched any more, so there is no scan LED to address.
    {"LEDNotification_ScanAfterTheAidlLightsDied", kFixed,
     "aidl+; new; Initialize=1; decoding; Prepare=1; aidl#=1; aidl!; Trigger=1; Reset=1; aidl#=1"},
    // The timer resets the LED on the callback thread, against the dead service.
    {"LEDNotification_TimerFiresAfterTheHidlLightDied", kFixed,
     "timer+; light+; log; new; Initialize=1; decoding; timer20; Prepare=1; light!; Trigger=1; "
     "wait:D[LEDNotification<T>::ResetFeedback()] setting LED to OFF=1; timer-"},
    {"IExternalHapticFeedack_InitializeAfterTheManagerCameBack", kBack,
     "hw+; hw+; new; Initialize=1; Prepare=1"},
    {"IExternalHapticFeedack_InitializeAfterTheManagerDiedForGood",
     kFalse,
     "hw+; hw-; new; log; Initialize=0; logged",
     {"E[IDCHWManager] Unable to get IDCHWManager interface.",
      "E[IExternalHapticFeedack<T>::InitializeFeedback] intialisation failed"}},
    {"IExternalHapticFeedack_ManagerDiesHandingOutThePluggableInterface", kEnds,
     "die:getPlugableDeviceNotifier; mortal; new; Initialize"},
    {"IExternalHapticFeedack_PrepareAfterDeath", kEnds, "hw+; new; Initialize; hw+; Prepare"},
    {"IExternalHapticFeedack_TriggerAfterDeathWithAVibrator", kEnds,
     "hw+; new; Initialize; Prepare; hw+; Trigger"},
    {"IExternalHapticFeedack_TriggerAfterDeathWithoutAVibrator", kFixed,
     "novib; hw+; new; Initialize=1; Prepare=0; hw+; Trigger=1"},
    {"IExternalHapticFeedack_InitializeAgainAfterDeath", kBack,
     "hw+; new; Initialize=1; hw+; Initialize=1; Prepare=1; Trigger=1; "
     "@plug=isExternalVibratorPresent()|vibrateExternal(300)"},
    // The new fetch fails, and the old pluggable reference is what association gives back.
    {"IExternalHapticFeedack_InitializeAgainAfterDeathForGood", kEnds,
     "hw+; new; Initialize; hw-; Initialize; Prepare"},
    // The stale reference counts.
    {"IExternalHapticFeedack_IsSupportedAfterDeathForGood", kFixed,
     "hw+; new; Initialize=1; hw-; IsSupported=1"},
    {"HWTrigger_AcquireAfterTheManagerCameBack", kBack,
     "hw+; hw+; new; Initialize=1; Acquire=1; keys1=1; Release=1"},
    {"HWTrigger_AcquireAfterTheManagerDiedForGood", kFalse,
     "hw+; hw-; new; Initialize; Acquire=0; Start=1; Stop=1; Simulate=1; Pressed=-1; "
     "ResetPressed=0"},
    {"HWTrigger_ManagerDiesHandingOutTheTrigger", kEnds,
     "die:getTriggerInterface; mortal; new; Initialize; Acquire"},
    {"HWTrigger_DiesInAcquireTrigger", kEnds, "die:acquireTrigger; hw+; new; Initialize; Acquire"},
    {"HWTrigger_DiesInSetKeyEventQueue", kEnds,
     "die:setKeyEventQueue; hw+; new; Initialize; Acquire"},
    // No notice comes for a death before the link: the acquisition handles it itself.
    {"HWTrigger_DiesBeforeTheDeathLinkAndComesBack", kBack,
     "die:after setKeyEventQueue then back; hw+; new; log; Initialize=1; Acquire=1; "
     "count:ISS [HW Trigger] DCHWManager Died=1; keys2=1; Release=1"},
    {"HWTrigger_DiesBeforeTheDeathLinkForGood", kEnds,
     "die:after setKeyEventQueue then gone; hw+; new; Initialize; Acquire"},
    {"HWTrigger_DiesWhileConnectedAndComesBack", kBack,
     "hw+; new; Initialize=1; Acquire=1; hw!; hw+; requeued=1; keys3=1; Start=1; started=1; "
     "Release=1"},
    // The death handling finds no new manager and acquires on the cached, dead trigger.
    {"HWTrigger_DiesWhileConnectedForGood", kEnds, "hw+; new; Initialize; Acquire; hw-"},
    {"HWTrigger_DiesAfterRelease", kBack,
     "hw+; new; log; Initialize=1; Acquire=1; Release=1; hw+; Initialize=1; Acquire=1; "
     "count:ISS [HW Trigger] DCHWManager Died=0; keys4=1; Release=1"},
    // The service dies inside releaseTrigger and keeps the release waiting until its death
    // notice is being delivered (a notice that starts after the release dropped the recipient
    // is not delivered at all). The notice's handling then finds the connection released and
    // leaves it so.
    {"HWTrigger_DiesDuringRelease", kFixed,
     "log; die:after releaseTrigger then notice; hw+; new; Initialize=1; Acquire=1; Release=1; "
     "count:ISS [HW Trigger] DCHWManager Died=1; sleep; count:ISS [HW Trigger] Wake Up=0"},
    // As above, and the module is deleted as soon as the release returns, while the notice's
    // handling still waits for the lock the release held: the handling must not touch the
    // deleted module (the address sanitizer build catches a touch).
    {"HWTrigger_DeletedRightAfterReleaseWhileTheNoticeRuns", kFixed,
     "log; die:after releaseTrigger then notice; hw+; new; Initialize=1; Acquire=1; Release=1; "
     "del; sleep; count:ISS [HW Trigger] DCHWManager Died=1; count:ISS [HW Trigger] Wake Up=0"},
    // Dead but still declared: anything that looked them up would wait forever.
    {"DeviceInfo_FactsWithEveryServiceDead", kFixed,
     "hw+; beep+; light+; hw!; beep!; light!; facts=lahaina|tr52_gms|TR52|TR52HC|Tevrin|13|"
     "arm64-v8a|trigger_restart_framework|5|1|31|1|2D Barcode Imager|Camera Scanner|"
     "Bluetooth Ring Scanner|Serial Scanner"},
    // The device's own beep volume (5) stands; the audio service is not asked.
    {"DeviceInfo_BeepVolumeWithTheAudioServiceDead", kFixed,
     "audio+; beep+; new; Initialize=1; audio!; Prepare=1; "
     "@beep=isHWBeepSupported()|setBeepConfig(12, 30, 5, 15000, 15000); audio#=0"},

    // Each transport module holds its own connection to the hardware manager and notices a dead
    // one only at its next association, through a failed ping; a call on an interface it still
    // holds after the death reads a value from a failed call and ends the process, except where
    // the answer comes through a result callback, which then never runs.
    {"SerialPort_AcquireAfterTheManagerCameBack", kBack,
     "hw+; hw+; new; Initialize=1; Acquire=1; Start=0; rx=1; got=12ab; "
     "@serial=registerCallback(cb)|registerCallback(cb)|openPort(/dev/ttyHS1, 9600, false); "
     "@serial0="},
    {"SerialPort_AcquireAfterTheManagerDiedForGood",
     kFalse,
     "hw+; hw-; new; log; Initialize=1; Acquire=0; Start=9; Stop=0; IoCtl=1; Write=8; AcquireFW=0; "
     "FWOpen=9; FWClose=4; FWIoCtl=4; FWWrite=8; FWRead=Error - Unable to Read Data; logged",
     {kSerialNoManager, "E[SerialPort<T>::AcquireSerialInterface] is not available",
      "E[SerialPort<T>::StartTransport] StartTransport failed",
      "E[SerialPort<T>::StopTransport] already stoped",
      "EPlatform HAL [SerialPort<T>::IoControl] failed\n", kSerialNoManager,
      "E[SerialPort<T>::associateSerialFWUpdate] unable to get Serial Interface",
      "E[SerialPort<T>::AcquireFWSerialInterface] failed",
      "E[SerialPort<T>::FWOpenSerialPort] FWOpenSerialPort failed",
      "E[SerialPort<T>::FWCloseSerialPort] FWCloseSerialPort failed",
      "E[SerialPort<T>::FWIoCtl] FWIoCtl failed", "E[SerialPort<T>::FWWritePort] err:8 ",
      "E[SerialPort<T>::FWReadPort] sp_SerialHal NULL)"}},
    // Without a release: the held manager fails its ping, so this is a fresh connection.
    {"SerialPort_AcquireAgainAfterTheHeldManagerCameBack",
     kBack,
     "hw+; new; Initialize=1; Acquire=1; Start=0; hw+; log; Acquire=1; logged; Start=0; rx=1; "
     "rx0=0; got=12ab; Stop=0; @serial=registerCallback(cb)|registerCallback(cb)|"
     "openPort(/dev/ttyHS1, 9600, false)|closePort(); "
     "@serial0=registerCallback(cb)|registerCallback(cb)|openPort(/dev/ttyHS1, 9600, false)",
     {"D[SerialPort<T>::associateSerial] Acquired ISerial interface.",
      "D[SerialCallback::SerialCallback()] ctor", "D[SerialCallback::~SerialCallback()] dtor",
      "D[SerialPort<T>::AcquireSerialInterface] success"}},
    // The failed lookup dropped the manager but the instance still counts as holding the port,
    // even once a service is back, until it is released.
    {"SerialPort_AcquireAgainAfterTheHeldManagerDiedForGood",
     kFalse,
     "hw+; new; Initialize=1; Acquire=1; hw-; log; Acquire=0; hw+; Acquire=0; logged; Release=1; "
     "Initialize=1; Acquire=1; @hw=getSerialInterface()",
     {kSerialNoManager, "E[SerialPort<T>::AcquireSerialInterface] is not available",
      "E[SerialPort<T>::associateSerial] failed",
      "E[SerialPort<T>::AcquireSerialInterface] is not available"}},
    // The two exclude each other only while the manager that serves the firmware port lives;
    // the firmware port is still counted as held, and still the dead one.
    {"SerialPort_AcquireTransportAfterTheFirmwareManagerCameBack",
     kBack,
     "hw+; new; AcquireFW=1; hw+; log; Initialize=1; Acquire=1; Start=0; AcquireFW=0; "
     "FWRead=Error - Unable to Read Data; logged; "
     "@serial=registerCallback(cb)|registerCallback(cb)|"
     "openPort(/dev/ttyHS1, 9600, false); @serial0=getSerialFWInterface()",
     {"D[SerialPort<T>::associateSerial] Acquired ISerial interface.",
      "D[SerialCallback::SerialCallback()] ctor",
      "D[SerialPort<T>::AcquireSerialInterface] success",
      "D[SerialPort<T>::StartTransport] StartTransport return 0",
      "E[SerialPort<T>::associateSerialFWUpdate] failed",
      "E[SerialPort<T>::AcquireFWSerialInterface] failed", kFWReadNull}},
    // Nothing reconnects outside an acquisition: the write goes to the dead port.
    {"SerialPort_WriteAfterTheHeldManagerCameBack", kEnds,
     "hw+; new; Initialize; Acquire; Start; hw+; Write"},
    {"SerialPort_FWPollAfterTheHeldManagerDiedForGood", kEnds, "hw+; new; AcquireFW; hw-; FWPoll"},
    // The transport was never started: the stop answers by itself.
    {"SerialPort_FWReadAfterTheHeldManagerDiedForGood",
     kFixed,
     "hw+; new; AcquireFW=1; hw-; log; FWRead=Error - Unable to Read Data; Stop=0; Release=1; "
     "AcquireFW=0; logged; @fw=",
     {kFWReadNull, "E[SerialPort<T>::StopTransport] already stoped",
      "D[SerialPort<T>::disassociate]", kSerialNoManager,
      "E[SerialPort<T>::associateSerialFWUpdate] unable to get Serial Interface",
      "E[SerialPort<T>::AcquireFWSerialInterface] failed"}},
    {"SerialPort_ManagerDiesHandingOutTheSerialPort", kEnds,
     "die:getSerialInterface; mortal; new; Initialize; Acquire"},
    {"SerialPort_DiesInRegisterCallback", kEnds,
     "die:registerCallback; hw+; new; Initialize; Acquire"},
    {"SerialPort_DiesInOpenPort", kEnds, "die:openPort; hw+; new; Initialize; Acquire; Start"},
    {"SerialPort_DiesHandingOutTheFirmwarePort", kEnds,
     "die:getSerialFWInterface; hw+; new; AcquireFW"},
    // Once the service is back, a released instance reads from the new one.
    {"SerialPort_DiesInFWReadBeforeReplying",
     kFixed,
     "die:fwRead; hw+; new; AcquireFW=1; log; FWRead=Error - Unable to Read Data; logged; hw+; "
     "Release=1; AcquireFW=1; FWRead=0x120xAB0x00; @fw=fwRead()",
     {kFWReadNull}},
    // A reply that arrived counts, although the service died right after sending it.
    {"SerialPort_DiesInFWReadAfterReplying", kFixed,
     "die:after fwRead; hw+; new; AcquireFW=1; FWRead=0x120xAB0x00"},
    {"PlugableDeviceNotifier_AcquireAfterTheManagerCameBack", kBack,
     "hw+; hw+; new; Acquire=1; InitSSI=1; plugin=1; changes=1 /dev/ttyUSB0 2; Port=/dev/ttyUSB0; "
     "@plug=registerNotifierCallback(cb, 2)|getPortName()"},
    {"PlugableDeviceNotifier_AcquireAfterTheManagerDiedForGood",
     kFalse,
     "hw+; hw-; new; log; Acquire=0; InitSSI=0; Port=WrongPort; logged",
     {kPlugNoManager, kPlugNotAvailable, "D[PlugableDeviceNotifier<T>::InitializeSSI] scanner:2 ++",
      "E[PlugableDeviceNotifier<T>::InitializeSSI] failed",
      "E[PlugableDeviceNotifier<T>::GetPortName] sp_PlugableHal is null", kWrongPort}},
    {"PlugableDeviceNotifier_AcquireAgainAfterTheHeldManagerCameBack", kBack,
     "hw+; new; Acquire=1; InitSSI=1; hw+; plugin0=0; Acquire=1; InitSSI=1; plugout=1; "
     "changes=0 /dev/ttyUSB1 -1; @plug0=registerNotifierCallback(cb, 2); "
     "@plug=registerNotifierCallback(cb, 2)"},
    // The failed reconnection keeps the dead notifier: the name is still asked of it.
    {"PlugableDeviceNotifier_GetPortNameAfterTheHeldManagerDiedForGood",
     kFixed,
     "hw+; new; Acquire=1; InitSSI=1; hw-; log; Port=WrongPort; Acquire=0; Port=WrongPort; "
     "logged; @plug=registerNotifierCallback(cb, 2)",
     {kNoPort, kWrongPort, kPlugNoManager, kPlugNotAvailable, kNoPort, kWrongPort}},
    {"PlugableDeviceNotifier_InitializeSSIAfterTheHeldManagerDiedForGood", kEnds,
     "hw+; new; Acquire; hw-; InitSSI"},
    {"PlugableDeviceNotifier_ManagerDiesHandingOutTheNotifier", kEnds,
     "die:getPlugableDeviceNotifier; mortal; new; Acquire"},
    {"PlugableDeviceNotifier_DiesInRegisterNotifierCallback", kEnds,
     "die:registerNotifierCallback; hw+; new; Acquire; InitSSI"},
    {"PlugableDeviceNotifier_DiesInGetPortNameBeforeReplying",
     kFixed,
     "die:getPortName; hw+; new; Acquire=1; InitSSI=1; log; Port=WrongPort; logged",
     {kNoPort, kWrongPort}},
    {"BatterySwapModule_InitAfterTheManagerCameBack", kBack,
     "hw+; hw+; new; Init=1; Enter=1; in=1; Exit=1; @swap=enterBatterySwap()|exitBatterySwap()"},
    {"BatterySwapModule_InitAfterTheManagerDiedForGood",
     kFalse,
     "hw+; hw-; new; log; Init=0; Enter=0; Exit=0; logged",
     {kSwapNoManager, "E[BatterySwapModule<T>::EnterBatterySwap] sp_BatterySwapHandler is null",
      "E[BatterySwapModule<T>::ExitBatterySwap] sp_BatterySwapHandler is null"}},
    {"BatterySwapModule_InitAgainAfterTheHeldManagerCameBack",
     kBack,
     "hw+; new; Init=1; hw+; log; Init=1; Exit=1; logged; @swap=exitBatterySwap(); @swap0=",
     {"I[BatterySwapModule::associateBatterySwapHIDL] Acquired IBatterySwapHandlerHIDL "
      "interface."}},
    // Only Init reconnects: the swap goes to the dead handler.
    {"BatterySwapModule_EnterAfterTheHeldManagerCameBack", kEnds, "hw+; new; Init; hw+; Enter"},
    // The flag stays set without a manager: Init no longer looks, even for a service that is back.
    {"BatterySwapModule_InitAgainAfterTheHeldManagerDiedForGood",
     kFalse,
     "hw+; new; Init=1; hw-; log; Init=0; hw+; Init=0; logged; @hw=",
     {kSwapNoManager}},
    {"BatterySwapModule_ExitAfterTheHeldManagerDiedForGood", kEnds,
     "hw+; new; Init; hw-; Init; Exit"},
    {"BatterySwapModule_ManagerDiesHandingOutTheHandler", kEnds,
     "die:getBatterySwapHandler; mortal; new; Init"},
    {"BatterySwapModule_DiesInEnterBatterySwap", kEnds,
     "die:enterBatterySwap; hw+; new; Init; Enter"},
    {"CameraModule_InitAfterTheManagerCameBack", kBack,
     "hw+; hw+; new; Init=1; Tag=-2147483646; @tags=getVendorTagId(com.tevrin.imager.gain)"},
    {"CameraModule_InitAfterTheManagerDiedForGood",
     kFalse,
     "hw+; hw-; new; log; Init=0; Tag=-1; logged",
     {"ICameraModule::Init", kCameraNoManager, kCameraLookupNull}},
    {"CameraModule_InitAgainAfterTheHeldManagerCameBack",
     kBack,
     "hw+; new; Init=1; hw+; log; Init=1; Tag=-2147483646; logged; "
     "@tags=getVendorTagId(com.tevrin.imager.gain); @tags0=",
     {"ICameraModule::Init",
      "I[CameraModule::associateCameraVendorTagHIDL] Acquired ICameraVendorTagProvider "
      "interface."}},
    // Only Init reconnects: the lookup goes to the dead provider.
    {"CameraModule_LookupAfterTheHeldManagerCameBack", kEnds, "hw+; new; Init; hw+; Tag"},
    // DeInit lets go of the dead provider: lookups answer by themselves instead of ending the
    // process, and the next Init looks for the service again.
    {"CameraModule_DeInitAfterTheHeldManagerDiedForGood",
     kFixed,
     "hw+; new; Init=1; hw-; log; Init=0; DeInit=1; Tag=-1; Init=0; logged; hw+; Init=1",
     {"ICameraModule::Init", kCameraNoManager, "ICameraModule::DeInit", kCameraLookupNull,
      "ICameraModule::Init", kCameraNoManager}},
    {"CameraModule_ManagerDiesHandingOutTheProvider", kEnds,
     "die:getCameraVendorTagProvider; mortal; new; Init"},
    {"CameraModule_DiesInGetVendorTagId", kEnds, "die:getVendorTagId; hw+; new; Init; Tag"},

    // The imager module, its control object and the adapter each associate once, when made,
    // and never check their connection again: the way back to a live service is a new companion
    // object (after deInit). Answers that come through a result callback (engine identifier,
    // command reply, parameter) never arrive from a dead service; values read directly end the
    // process.
    {"ImagerHIDLProxy_CreatedAfterTheManagerCameBack", kBack,
     "hw+; hw+; new; Open=0; Engine=31; Cmd=0; reply=9|8|238|238; "
     "@imager=openImager()|getEngineID()|openImager()|getImagerControl(); @imager0=; deInit"},
    {"ImagerHIDLProxy_CreatedAfterTheManagerDiedForGood",
     kFixed,
     "hw+; hw-; log; new; Open=-1; Close=-1; Type=-1; Engine=; Cmd=1; Settle=0; deInit; del; "
     "logged",
     {"E[ImagerHIDLProxy::associateImagerHIDL] Unable to get DCHWManager HIDL interface.",
      "E[ImagerHIDLProxy<T>::ImagerHIDLProxy] failed to associate Imager HIDL",
      "E[ImagerHIDLProxy::openImager] sp_Imager is Null",
      "E[ImagerHIDLProxy::closeImager] sp_Imager is Null",
      "E[ImagerHIDLProxy::getImagerInterfaceType] sp_Imager is Null",
      "E[ImagerHIDLProxy::getEngineID] sp_Imager is Null", kEngine[2], kControlNoManager,
      kControlFailed, kCommandNull, "I[ImagerControlHIDLProxy::configureSettleCount]",
      "E[ImagerControlHIDLProxy::configureSettleCount] sp_ImagerControlHIDL is Null",
      kControlDisconnected, "I[ImagerHIDLProxy::disAssociateImagerHIDL] disconnected Imager HIDL"}},
    {"ImagerHIDLProxy_OpenAfterTheHeldManagerCameBack", kEnds, "hw+; new; hw+; Open"},
    {"ImagerHIDLProxy_CloseAfterTheHeldManagerDiedForGood", kEnds, "hw+; new; hw-; Close"},
    {"ImagerHIDLProxy_EngineIDAfterTheHeldManagerDiedForGood",
     kFixed,
     "hw+; new; hw-; log; Engine=; logged; @imager=",
     {kEngine[0], kEngine[1], kEngine[2]}},
    // The control object associates by itself, with the new instance.
    {"ImagerHIDLProxy_ControlRequestedAfterTheManagerCameBack", kBack,
     "hw+; new; hw+; Cmd=0; reply=9|8|238|238; open#=1; deInit; open#=0"},
    {"ImagerHIDLProxy_ManagerDiesHandingOutTheImager", kEnds, "die:getImager; mortal; new"},
    {"ImagerHIDLProxy_DiesInGetEngineIDBeforeReplying",
     kFixed,
     "die:getEngineID; hw+; new; log; Engine=; logged",
     {kEngine[0], kEngine[1], kEngine[2]}},
    // No reply comes from the dead control: the status stays at its starting -1.
    {"ImagerControlHIDLProxy_RecreatedAfterTheManagerCameBack",
     kBack,
     "hw+; new; ctl=1; hw+; log; Cmd=4294967295; reply=238|238|238|238; deInit; Cmd=0; "
     "reply=9|8|238|238; logged; @control=sendCommand([1b 02], 2, 4, 0, 0); deInit",
     {kCommandFailed, kCallingClose, kControlDisconnected,
      "I[ImagerControlHIDLProxy::associateImagerControlHIDL] Acquired IImagerControl HIDL "
      "interface.",
      "I[ImagerControlHIDLProxy::associateImagerControlHIDL] Acquired IImagerControlHIDL "
      "interface."}},
    {"ImagerControlHIDLProxy_SettleCountAfterTheHeldManagerCameBack", kEnds,
     "hw+; new; ctl; hw+; Settle"},
    {"ImagerControlHIDLProxy_RequestedAfterTheManagerDiedForGood",
     kFixed,
     "hw+; new; hw-; log; Cmd=1; logged; @imager=",
     {kControlNoManager, kControlFailed, kCommandNull}},
    {"ImagerControlHIDLProxy_DiesInOpenImager", kEnds, "die:openImager; hw+; new; ctl"},
    {"ImagerControlHIDLProxy_DiesHandingOutTheControl", kEnds,
     "die:getImagerControl; hw+; new; ctl"},
    {"ImagerControlHIDLProxy_DiesInSendCommandBeforeReplying",
     kFixed,
     "die:sendCommand; hw+; new; ctl=1; log; Cmd=4294967295; reply=238|238|238|238; logged",
     {kCommandFailed}},
    // The close's status is not read: the deletion completes; a new control reaches the
    // service once it is back.
    {"ImagerControlHIDLProxy_DiesInCloseImager",
     kFixed,
     "die:closeImager; hw+; new; ctl=1; log; deInit; logged; "
     "@imager=openImager()|getImagerControl()|closeImager(); hw+; Cmd=0; open#=1",
     {kCallingClose, kControlDisconnected}},
    {"V4L2ImagerAdapterHIDLProxy_StreamAfterTheManagerCameBack", kBack,
     "hw+; hw+; new; stream=1; Disable=0; whole=1; delivered0=0; deInit"},
    {"V4L2ImagerAdapterHIDLProxy_CreatedAfterTheManagerDiedForGood",
     kFixed,
     "hw+; hw-; log; alone; InitA=1; Enable=1; Param=Error - Imager Adapter HIDL is Null.; "
     "Streaming=0; del; logged",
     {kAdapterNoManager, kAdapterFailed,
      "E[V4L2ImagerAdapterHIDLProxy::Init] sp_ImagerAdapterHIDL is Null",
      "E[V4L2ImagerAdapterHIDLProxy::SetPreviewSize] sp_ImagerAdapterHIDL is Null",
      "E[V4L2ImagerAdapterHIDLProxy::GetParameter] sp_ImagerAdapterHIDL is Null",
      "E[V4L2ImagerAdapterHIDLProxy::IsStreaming] sp_ImagerAdapterHIDL is Null",
      kAdapterDisconnected}},
    // Frames stop with the death, every frame sent having reached the caller; no answer comes
    // from the dead adapter; the old adapter's close, on deletion, never reaches the dead imager.
    {"V4L2ImagerAdapterHIDLProxy_RecreatedAfterTheManagerCameBack", kBack,
     "hw+; new; stream=1; hw+; allsent=1; Param=Unsupported Parameter; deInit; stream=1; "
     "Disable=0; whole=1; @imager0=openImager()|getImagerAdapter(); "
     "@imager=openImager()|getImagerAdapter(); deInit"},
    // The mapping stays the caller's until it returns, whatever became of the sender; the dead
    // service sends nothing more.
    {"FrameCallback_ServiceDiesWhileTheCallerHoldsAFrame", kFixed,
     "hw+; new; log; InitA=0; killer; Enable=0; StartS=0; frame1=1; whole=1; delivered=1; "
     "frames=1; count:[FrameCallback::onFrameAvailable] OnReceiveFrame failed=0; "
     "count:[FrameCallback::onFrame] mmap failed\n=0"},
    // Whether it streams is read from the dead adapter.
    {"V4L2ImagerAdapterHIDLProxy_StartStreamingAfterTheHeldManagerCameBack", kEnds,
     "hw+; new; InitA; Enable; hw+; StartS"},
    {"V4L2ImagerAdapterHIDLProxy_DisableAfterTheHeldManagerDiedForGood", kEnds,
     "hw+; new; adp; hw-; Disable"},
    {"V4L2ImagerAdapterHIDLProxy_RecreatedAfterTheManagerDiedForGood",
     kFixed,
     "hw+; new; adp=1; hw-; log; deInit; StartS=1; logged; deInit",
     {kAdapterDisconnected, kAdapterNoManager, kAdapterFailed,
      "E[V4L2ImagerAdapterHIDLProxy::StartStreaming] sp_ImagerAdapterHIDL is Null"}},
    {"V4L2ImagerAdapterHIDLProxy_DiesHandingOutTheAdapter", kEnds,
     "die:getImagerAdapter; hw+; new; adp"},
    {"V4L2ImagerAdapterHIDLProxy_DiesInInit", kEnds, "die:Init; hw+; new; InitA"},
    {"V4L2ImagerAdapterHIDLProxy_DiesInRegisterFrameCallback", kEnds,
     "die:RegisterFrameCallback; hw+; new; InitA; Enable"},
    {"V4L2ImagerAdapterHIDLProxy_DiesInGetParameterBeforeReplying", kFixed,
     "die:GetParameter; hw+; new; adp; log; Param=Unsupported Parameter; logged"},
    {"V4L2ImagerAdapterHIDLProxy_DiesInHaltAcquisition", kEnds,
     "die:HaltAcquisition; hw+; new; InitA; StopS"},
};

class ServiceDeath : public ::testing::TestWithParam<Row> {};

TEST_P(ServiceDeath, GivesTheModulesResult) {
    const Row& row = GetParam();
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    ChildChecks checks;
    if (row.outcome == Outcome::kProcessEnds) {
        EXPECT_EXIT(RunSteps(row, checks), ::testing::KilledBySignal(SIGABRT),
                    "Attempted to retrieve value from failed HIDL call: "
                    "Status\\(EX_TRANSACTION_FAILED\\): 'DEAD_OBJECT");
    } else {
        EXPECT_EXIT((RunSteps(row, checks), checks.Exit()), ::testing::ExitedWithCode(0), "");
    }
}

const char* const kOutcomeNames[] = {"False", "FixedResult", "Reconnects", "ProcessEnds"};

INSTANTIATE_TEST_SUITE_P(Table, ServiceDeath, ::testing::ValuesIn(kRows),
                         [](const ::testing::TestParamInfo<Row>& info) {
                             return std::string(info.param.name) + "_" +
                                    kOutcomeNames[static_cast<int>(info.param.outcome)];
                         });

}  // namespace
}  // namespace service_death
