// Every service dying at every point of each module's sequence: one table of module x point,
// each row run in a fresh process (the connection holders are process statics) and ending in the
// result the module gives there: a false result, a fixed result, a reconnection, or the end of
// the process through the HIDL runtime's checked retrieval of a value from a dead service.
//
// A row is "Module_Point_Outcome: " and a script of steps, "op" or "op=expected result", run by
// one interpreter (World::Do) against one simulated device. "Dies" means the service's process
// dies; "came back" means a new instance is registered under the same name (as the service
// manager restarts it); "for good" means the name is no longer declared, so lookups answer null
// at once. Deaths inside a call ("die:call", "die:after call") are made by fakes that kill their
// own registration and fail that call with DEAD_OBJECT, as a binder call to a process that dies
// while serving it fails.

#include <binder/IServiceManager.h>
#include <gtest/gtest.h>
#include <orvex/binder_services.h>
#include <orvex/hidl_registry.h>

#include "BatterySwapModule.h"
#include "CameraModule.h"
#include "DeviceInfoBuilder.h"
#include "FakeAidlLights.h"
#include "FakeAudioService.h"
#include "FakeBatterySwapHandler.h"
#include "FakeCameraVendorTagProvider.h"
#include "FakeHardwareBeep.h"
#include "FakeHidlLight.h"
#include "FakePlugableDeviceNotifier.h"
#include "FakeSerial.h"
#include "FeedbackTestEnv.h"
#include "HWBeep.h"
#include "HWTrigger.h"
#include "IExternalHapticFeedack.h"
#include "ImagerControlHIDLProxy.h"
#include "ImagerHIDLProxy.h"
#include "ImagingFixture.h"  // the imager fakes and the simulated manager
#include "LEDNotification.h"
#include "PlugableDeviceNotifier.h"
#include "SerialPort.h"
#include "V4L2ImagerAdapterHIDLProxy.h"

namespace service_death {
namespace {

using android::sp;
using android::hardware::Return;
using android::hardware::light::V2_0::ILight;
using orvex::hostlog::Entry;
using namespace orvex::sim;  // the fakes
namespace dch = vendor::tevrin::hardware::dchwmanager::V1_0;
namespace hidl = orvex::hidl;
using IBeep = FakeHardwareBeep::IHardwareBeepConfigs;
constexpr auto kV = ANDROID_VERSION_10;

// The longest a row waits for something another thread does before it fails.
constexpr auto kWait = std::chrono::seconds(30);
const std::vector<uint8_t> kCommand = {0x1b, 0x02};
const __preview_size__ kSize = {64, 8, 8, false, false};
const std::string kUnknown = "\1";

// The row's death point inside a call, "[after ]call", and what follows the death there:
// "back" (a new instance), "gone" (removed for good) or "notice" (the death notice is logged).
std::string gDieAt, gThen;
std::atomic<bool> gDied{false};
std::atomic<pid_t> gLastCallThread{0};  // of the last call on a mortal fake
void AfterDeath();

void KillManager() { orvex::hidl::KillService(dch::IDCHWManager::descriptor, "default"); }

const auto kDeadObject = android::hardware::Status::fromStatusT(android::DEAD_OBJECT);

// A fake that dies once, at the row's death point: its process (the hardware manager's, with
// every interface it handed out, or the beep service's) dies in that call or right after it.
template <typename B>
struct Mortal : B {
    using Base = B;
    bool Dies(const std::string& call, bool after = false) {
        if (!after) gLastCallThread = gettid();
        if ((after ? "after " + call : call) != gDieAt || gDied.exchange(true)) return false;
        if constexpr (std::is_base_of_v<Fake, B>) {
            if (!after) this->calls().Add(call + "()");
        }
        if constexpr (std::is_same_v<B, FakeTrigger>) this->OnDeath();
        if constexpr (std::is_same_v<B, FakeHardwareBeep>) FakeHardwareBeep::Kill();
        if constexpr (!std::is_same_v<B, FakeHardwareBeep>) KillManager();
        AfterDeath();
        return true;
    }
};
#define DIES(R, call, params, args)                \
    Return<R> call params override {               \
        if (this->Dies(#call)) return kDeadObject; \
        Return<R> answer = Base::call args;        \
        this->Dies(#call, true);                   \
        return answer;                             \
    }
using U = uint32_t;
using Str = const android::hardware::hidl_string&;
using Vec = const android::hardware::hidl_vec<uint8_t>&;
using Listener = const sp<dch::IPlugableNotifierCallback>&;
// clang-format off
struct MortalManager : Mortal<FakeDCHWManager> {
    DIES(sp<dch::ITrigger>, getTriggerInterface, (), ()) DIES(sp<dch::IImager>, getImager, (), ())
    DIES(sp<dch::ISerial>, getSerialInterface, (), ())
    DIES(sp<dch::IPlugableDeviceNotifier>, getPlugableDeviceNotifier, (), ())
    DIES(sp<dch::IBatterySwapHandler>, getBatterySwapHandler, (), ())
    DIES(sp<dch::ICameraVendorTagProvider>, getCameraVendorTagProvider, (), ())
};
struct MortalTrigger : Mortal<FakeTrigger> {
    DIES(bool, acquireTrigger, (), ()) DIES(bool, releaseTrigger, (), ())
    DIES(bool, setKeyEventQueue, (const android::hardware::MQDescriptorSync<uint32_t>& q), (q))
};
struct MortalBeep : Mortal<FakeHardwareBeep> { DIES(int32_t, startBeep, (), ()) };
struct MortalSerial : Mortal<FakeSerial> {
    DIES(uint8_t, registerCallback, (const sp<ISerialCallback>& cb), (cb))
    DIES(uint8_t, openPort, (Str port, int32_t baud, bool flow), (port, baud, flow))
    DIES(sp<ISerialFWUpdate>, getSerialFWInterface, (), ())
};
struct MortalFirmware : Mortal<FakeSerialFWUpdate> { DIES(void, fwRead, (fwRead_cb cb), (cb)) };
struct MortalNotifier : Mortal<FakePlugableDeviceNotifier> {
    DIES(uint8_t, registerNotifierCallback, (Listener cb, int32_t t), (cb, t))
    DIES(void, getPortName, (getPortName_cb cb), (cb))
};
struct MortalHandler : Mortal<FakeBatterySwapHandler> { DIES(bool, enterBatterySwap, (), ()) };
struct MortalTags : Mortal<FakeCameraVendorTagProvider> {
    DIES(int32_t, getVendorTagId, (Str name), (name)) };
struct MortalImager : Mortal<FakeImager> {
    DIES(int8_t, openImager, (), ()) DIES(int8_t, closeImager, (), ())
    DIES(void, getEngineID, (getEngineID_cb cb), (cb))
    DIES(sp<dch::IImagerControl>, getImagerControl, (), ())
    DIES(sp<dch::IImagerAdapter>, getImagerAdapter, (), ())
};
struct MortalControl : Mortal<FakeImagerControl> {
    DIES(void, sendCommand, (Vec c, U a, U b, U d, U e, sendCommand_cb cb), (c, a, b, d, e, cb))
};
struct MortalAdapter : Mortal<FakeImagerAdapter> {
    DIES(int8_t, Init, (Str name, const PreviewSize& size), (name, size))
    DIES(int8_t, RegisterFrameCallback, (const sp<IFrameCallback>& cb), (cb))
    DIES(void, GetParameter, (Str name, GetParameter_cb cb), (name, cb))
    DIES(int8_t, HaltAcquisition, (bool halt, int32_t flag), (halt, flag))
};
// clang-format on

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

// A step's result as text.
std::string S(bool v) { return v ? "1" : "0"; }
std::string S(const std::string& v) { return v; }
std::string S(const char* v) { return v; }
template <typename T>
std::string S(T v) {
    return std::to_string(v);
}
template <typename C>
std::string Join(const C& items) {
    std::ostringstream out;
    for (const auto& item : items) out << (&item == &*items.begin() ? "" : "|") << item;
    return out.str();
}
// A log line as rows write it: priority letter (D, I, E), then the text.
std::string Letter(const Entry& e) {
    return (e.priority == 3 ? "D" : e.priority == 4 ? "I" : "E") + e.message;
}

// The caller's callbacks (keys, serial data, device changes), recording what reached them.
struct Heard : ITriggerKeyEventWrapperCallBack, ISerialDataCallBack, IPlugableHALCallBack, CallLog {
    void OnKeyEvent(unsigned a, unsigned b) override { Add(S(a) + "." + S(b)); }
    void OnPreKeyEvent(unsigned a, unsigned b) override { OnKeyEvent(a, b); }
    void OnSerialDataReceived(const uint8_t* data, size_t size) override {
        Add(Join(std::vector<int>(data, data + size)));
    }
    void OnPlugableDeviceChanged(bool connected, const std::string& port, int type) override {
        Add(S(connected) + " " + port + " " + S(type));
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
        for (size_t i = 0; i < 64 * 8; ++i)
            if (bytes[i] != FakeImagerAdapter::PatternByte(bytes[0], i)) whole = false;
        return true;
    }
};

// A new part, kept in `list`. Out of line: inlined into the builder, GCC's array-bounds check
// misreads the reference counting of the freshly made parts.
template <typename T>
__attribute__((noinline)) sp<T> Keep(std::vector<sp<T>>& list) {
    list.push_back(new T);
    return list.back();
}

// The simulated device and the module under test. The hardware manager's every instance
// hands out a fresh part of each kind; the lists keep them all, the first and the current.
struct World {
    std::string module;
    HardwareManagerSim sim{false};
    bool vibrator = true;
    // clang-format off
    std::vector<sp<MortalTrigger>> triggers; std::vector<sp<MortalSerial>> serials;
    std::vector<sp<MortalNotifier>> notifiers; std::vector<sp<MortalHandler>> handlers;
    std::vector<sp<MortalTags>> tags; std::vector<sp<MortalImager>> imagers;
    std::vector<sp<MortalControl>> controls; std::vector<sp<MortalAdapter>> adapters;
    std::vector<sp<MortalBeep>> beeps; std::vector<sp<FakeHidlLight>> lights;
    // clang-format on
    sp<Stoppable<FakeAidlLights>> aidl;
    sp<Stoppable<FakeAudioService>> audio;
    std::optional<orvex::hostlog::ScopedCapture> log;
    Heard keys, data, changes;
    Frames frames;
    std::vector<uint8_t> reply;
    // The modules, dropped before the device.
    std::unique_ptr<IFeedbackModule> feedback;
    std::unique_ptr<HWTrigger<kV>> trigger;
    std::unique_ptr<SerialPort<kV>> serial;
    std::unique_ptr<PlugableDeviceNotifier<kV>> plug;
    std::unique_ptr<BatterySwapModule<kV>> swap;
    std::unique_ptr<CameraModule<kV>> camera;
    std::unique_ptr<ImagerHIDLProxy<kV>> imager;
    std::unique_ptr<V4L2ImagerAdapterHIDLProxy> alone;
    ImagerControlHIDLProxy* control = nullptr;
    V4L2ImagerAdapterHIDLProxy* adapter = nullptr;

    explicit World(std::string name) : module(name.substr(0, name.find('_'))) {
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
    std::vector<std::string> Lines() {  // the modules' lines, as rows write them
        std::vector<std::string> lines;
        for (const Entry& e : log->WithTag("ScannerFramework")) lines.push_back(Letter(e));
        return lines;
    }
    bool Logged(const std::string& line) {
        return ("|" + Join(Lines()) + "|").find("|" + line + "|") != std::string::npos;
    }

    std::string Do(const std::string& op);
    void New();
};

World* gWorld = nullptr;

void AfterDeath() {
    if (gThen == "back") gWorld->sim.Start();
    if (gThen == "gone") gWorld->sim.Remove();
    while (gThen == "notice" && !gWorld->Logged("IISS [HW Trigger] DCHWManager Died")) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

// The device facts (a read that waits for a dead service ends in the row's alarm).
std::string Facts() {
    DeviceInfo* d = odk::DeviceInfoBuilder::GetDeviceInfoInstance();
    SupportedScannerInfo* scanners = odk::DeviceInfoBuilder::GetSupportedScannerInfoInstance();
    // clang-format off
    std::vector<std::string> facts = {
        d->GetPlatformName(), d->GetProductName(), d->GetProductModel(), d->GetProductSKU(),
        d->GetManufacturerName(), d->GetAndroidVersion(), d->GetABI(),
        d->GetDeviceDecryptionStatus(), S(d->GetScannerBeepVolume()), S(d->GetScannerAudioAPI()),
        S(d->GetScanner()), S(d->GetImagerInterfaceType())};
    // clang-format on
    for (int i = 0; i < scanners->GetNumberOfSupportedScanners(); ++i) {
        facts.push_back(scanners->GetScannerNameAt(i));
    }
    return Join(facts);
}

// Steps every row may use: the services' lives ("hw+" starts the hardware manager, or brings
// a new instance when one lives; "hw!" kills it; "hw-" removes it for good; "mortal" is one
// that dies handing out a part; likewise beep, light, aidl and audio), the log ("log" starts a
// capture, "logged" gives its lines), the fakes' calls ("@serial" the current instance's,
// "@serial0" the first's); then the module's own steps.
std::string World::Do(const std::string& op) {
    std::string arg = op.substr(op.find(':') + 1);
    if (op.rfind("count:", 0) == 0) {  // lines of this text, at any priority
        size_t n = 0;
        for (const Entry& e : log->Entries()) n += e.message == arg;
        return S(n);
    }
    while (op.rfind("wait:", 0) == 0 && !Logged(arg)) {  // bounded by the row's alarm
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    if (op.rfind("wait:", 0) == 0) return "1";
    if (op.rfind("die:", 0) == 0) {
        gDieAt = arg.substr(0, arg.find(" then "));
        return gThen = arg.substr(std::min(arg.size(), gDieAt.size() + 6)), "";
    }
    if (op.rfind("keys", 0) == 0) {  // keysN: keys pressed on the trigger reach the caller
        const std::string n = op.substr(4);
        return S(triggers.back()->Press(1, std::stoul(n), std::stoul(n)) &&
                 keys.WaitFor(n + "." + n, 1, kWait));
    }
    char byte = 1;
    unsigned char ubyte = 1;
    std::vector<uint8_t> command = kCommand;
    const uint64_t before = frames.count;
    auto ctl = [&] { return control ? control : (control = imager->getImagerControlHIDLProxy()); };
    auto adp = [&] { return adapter ? adapter : (adapter = imager->getImagerAdapterHIDLProxy()); };
    // The fakes' calls: "@serial" the current instance's, "@serial0" the first's.
    auto of = [](const auto& parts, bool first) {
        return Join((first ? parts.front() : parts.back())->calls().Calls());
    };
    // An entry under IF serves its step only in a row whose module it names.
    // clang-format off
#define OP(name, ...) {name, [&]() -> std::string { return S(__VA_ARGS__); }}
#define IF(module, name, ...) {name, [&]() { return module ? S(__VA_ARGS__) : kUnknown; }}
    const std::pair<const char*, std::function<std::string()>> steps[] = {
        OP("hw+", (sim.Start(), "")), OP("hw!", (sim.Kill(), "")), OP("hw-", (sim.Remove(), "")),
        OP("mortal", (hidl::RegisterService<dch::IDCHWManager>(new MortalManager), "")),
        OP("beep+", (hidl::RegisterService<IBeep>(Keep(beeps)), "")),
        OP("beep!", (FakeHardwareBeep::Kill(), "")), OP("beep-", (FakeHardwareBeep::Remove(), "")),
        OP("light+", (lights.push_back(FakeHidlLight::Register()), "")),
        OP("light!", (hidl::KillService(ILight::descriptor, "default"), "")),
        OP("aidl+", (aidl = new Stoppable<FakeAidlLights>(FakeAidlLights::DefaultLights()),
                     orvex::binder::Declare(FakeAidlLights::InstanceName()),
                     android::defaultServiceManager()->addService(
                         android::String16(FakeAidlLights::InstanceName().c_str()),
                         orvex::binder::AsRemote(aidl)))),
        OP("aidl!", (aidl->dead = true, "")), OP("aidl#", aidl->SetCalls().size()),
        OP("audio+", android::defaultServiceManager()->addService(
                         android::String16(FakeAudioService::kServiceName),
                         orvex::binder::AsRemote(audio = new Stoppable<FakeAudioService>))),
        OP("audio!", (audio->dead = true, "")), OP("audio#", audio->Transactions().size()),
        OP("log", (log.emplace(), "")), OP("logged", (arg = Join(Lines()), log.reset(), arg)), OP("del", (Drop(), "")),
        OP("novib", (vibrator = false, "")),
        // Not a timed assertion: the time only lets a late handling do harm before the end.
        OP("sleep", (std::this_thread::sleep_for(std::chrono::milliseconds(200)), "")),
        OP("timer+", (TimerProvider::Initialize(), "")),
        OP("timer-", (TimerProvider::DeInitialize(), "")),
        OP("facts", Facts()), OP("new", (New(), "")),
        OP("@hw", Join(sim.manager()->calls().Calls())), OP("@beep", Join(beeps.back()->Calls())),
        OP("@light", Join(lights.back()->Calls())),
        OP("@fw", Join(serials.back()->Firmware()->calls().Calls())),
        OP("@serial", of(serials, false)), OP("@serial0", of(serials, true)),
        OP("@plug", of(notifiers, false)), OP("@plug0", of(notifiers, true)),
        OP("@swap", of(handlers, false)), OP("@swap0", of(handlers, true)),
        OP("@tags", of(tags, false)), OP("@tags0", of(tags, true)),
        OP("@imager", of(imagers, false)), OP("@imager0", of(imagers, true)),
        OP("@control", of(controls, false)),
        // The module's steps; a step several modules have goes to the one this row made.
        IF(trigger, "Initialize", trigger->Initialize(&keys)),
        IF(serial, "Initialize", serial->Initialize(&data)),
        OP("Initialize", feedback->InitializeFeedback()),
        OP("IsSupported", feedback->IsSupported()), OP("Reset", feedback->ResetFeedback()),
        OP("Prepare", feedback->PrepareFeedbackForTrigger()),
        OP("Trigger", feedback->TriggerFeedback()),
        OP("ovc", (feedback->SetParameter("ignore_ovc_volume", "true"), "")),
        OP("decoding", (feedback->SetParameter("decoding_led_feedback", "true"), "")),
        OP("timer20", (feedback->SetParameter("good_decode_led_timer", "20"), "")),
        OP("refuses", (beeps.back()->ScriptStartBeep({0}), "")),
        IF(trigger, "Acquire", trigger->AcquireHWTrigger()),
        IF(trigger, "Release", trigger->ReleaseHWTrigger()),
        IF(trigger, "Start", trigger->StartTrigger()), IF(trigger, "Stop", trigger->StopTrigger()),
        OP("Simulate", trigger->SimulateTrigger(1, 2)), OP("Pressed", trigger->GetPressedTrigger()),
        OP("ResetPressed", trigger->ResetPressedTrigger()),
        OP("requeued", triggers.back()->calls().WaitFor("setKeyEventQueue", 1, kWait)),
        OP("started", triggers.back()->calls().Count("startTrigger")),
        OP("bycaller", gLastCallThread == gettid()),
        IF(serial, "Acquire", serial->AcquireSerialInterface()),
        OP("Release", serial->ReleaseSerialInterface()),
        OP("Start", serial->StartTransport("/dev/ttyHS1", 9600, false)),
        OP("Stop", serial->StopTransport()),
        OP("IoCtl", serial->IoControl(static_cast<TransportIOControlCodes>(1), 1)),
        OP("Write", serial->ProcessRequest(&byte, 1)),
        OP("AcquireFW", serial->AcquireFWSerialInterface()),
        OP("FWOpen", serial->FWOpenSerialPort("/dev/ttyHS0")),
        OP("FWClose", serial->FWCloseSerialPort()),
        OP("FWIoCtl", serial->FWIoCtl(1, 2, 3)), OP("FWWrite", serial->FWWritePort(1, &ubyte)),
        OP("FWRead", serial->FWReadPort()), OP("FWPoll", serial->FWPoll()),
        OP("rx", serials.back()->Receive({0x12, 0xAB})),  // the port sends
        OP("rx0", serials.front()->Receive({0x12, 0xAB})), OP("got", Join(data.Calls())),
        OP("Acquire", plug->AcquirePlugableDeviceNotifier()),
        OP("InitSSI", plug->InitializeSSI(&changes, static_cast<ScannerType>(2))),
        OP("Port", plug->GetPortName()),
        OP("plugin", notifiers.back()->RaiseConnectionChanged(true, "/dev/ttyUSB0", 2)),
        OP("plugin0", notifiers[0]->RaiseConnectionChanged(true, "/dev/ttyUSB0", 2)),
        OP("plugout", notifiers.back()->RaiseConnectionChanged(false, "/dev/ttyUSB1", -1)),
        OP("changes", Join(changes.Calls())),
        IF(swap, "Init", swap->Init()), OP("Enter", swap->EnterBatterySwap()),
        OP("Exit", swap->ExitBatterySwap()), OP("in", handlers.back()->InBatterySwap()),
        OP("Init", camera->Init()), OP("DeInit", camera->DeInit()),
        OP("Tag", camera->GetCameraVendorTagID("com.tevrin.imager.gain")),
        OP("alone", (adapter = (alone = std::make_unique<V4L2ImagerAdapterHIDLProxy>()).get(), "")),
        OP("Open", imager->openImager()), OP("Close", imager->closeImager()),
        OP("Type", imager->getImagerInterfaceType()), OP("Engine", imager->getEngineID()),
        OP("deInit", (imager->deInit(), control = nullptr, adapter = nullptr, "")),
        OP("ctl", ctl() != nullptr), OP("Settle", ctl()->configureSettleCount(2)),
        OP("Cmd", (reply.assign(4, 0xEE),
                   ctl()->sendCommand(command.data(), 2, reply.data(), 4, 0, 0))),
        OP("reply", Join(std::vector<int>(reply.begin(), reply.end()))),
        OP("open#", imagers.back()->OpenCount()), OP("adp", adp() != nullptr),
        OP("InitA", adp()->InitAdapter("V4L2Adapter", kSize)),
        OP("killer", (frames.kill = true, "")),
        OP("Enable", adp()->Enable(&frames)), OP("StartS", adp()->StartStreaming()),
        OP("StopS", adp()->StopStreaming(false, 0)), OP("Disable", adp()->Disable()),
        OP("Param", adp()->GetParameter("exposure")), OP("Streaming", adp()->IsStreaming()),
        // Initialise, enable, start: a first new frame reaches the caller.
        OP("stream", adp()->InitAdapter("V4L2Adapter", kSize) == 0 &&
                     adp()->Enable(&frames) == 0 && adp()->StartStreaming() == 0 &&
                     adapters.back()->WaitForFrames(1) && frames.count > before),
        OP("frame1", adapters.back()->WaitForFrames(1)), OP("whole", frames.whole.load()),
        OP("frames", frames.count.load()), OP("delivered", adapters.back()->FramesDelivered()),
        OP("delivered0", adapters[0]->FramesDelivered()),
        OP("allsent", frames.count == adapters[0]->FramesDelivered())};
#undef OP
#undef IF
    // clang-format on
    for (const auto& [name, run] : steps) {
        const std::string got = op == name ? run() : kUnknown;
        if (got != kUnknown) return got;
    }
    return kUnknown;
}

void World::New() {
    if (module == "HWBeep" || module == "DeviceInfo") feedback = std::make_unique<HWBeep<kV>>();
    if (module == "LEDNotification") feedback = std::make_unique<LEDNotification<kV>>();
    if (module == "IExternalHapticFeedack") feedback.reset(new IExternalHapticFeedack<kV>);
    if (module == "HWTrigger") trigger = std::make_unique<HWTrigger<kV>>();
    if (module == "SerialPort") serial = std::make_unique<SerialPort<kV>>();
    if (module == "PlugableDeviceNotifier") plug = std::make_unique<PlugableDeviceNotifier<kV>>();
    if (module == "BatterySwapModule") swap = std::make_unique<BatterySwapModule<kV>>();
    if (module == "CameraModule") camera = std::make_unique<CameraModule<kV>>();
    if (module.find("Imager") != module.npos || module == "FrameCallback")
        imager = std::make_unique<ImagerHIDLProxy<kV>>();
}

// Runs the row's steps in this process; a step with an expected result that differs fails
// the row, which ends with the checks' verdict (or, for a row that must end the process, fails
// once it goes on).
[[noreturn]] void RunRow(const std::string& row) {
    feedback_test::ChildChecks checks;
    alarm(60);  // the longest a row runs
    const std::string name = row.substr(0, row.find(": ")), module = name.substr(0, name.find('_'));
    std::string steps = row.substr(name.size() + 2);
    for (size_t at; (at = steps.find_first_of("$%")) != std::string::npos;) {
        steps.replace(at, 1, "[" + module + (steps[at] == '$' ? "<T>::" : "::"));
    }
    {
        World world(name);
        gWorld = &world;
        for (size_t at = 0, end = 0; at < steps.size(); at = end + 2) {
            end = std::min(steps.find("; ", at), steps.size());
            const std::string step = steps.substr(at, end - at);
            const size_t eq = step.find('=');
            const std::string got = world.Do(step.substr(0, eq));
            if (got == kUnknown) fprintf(stderr, "unknown step %s\n", step.c_str()), _exit(2);
            if (eq != std::string::npos) checks.Eq(step.c_str(), got, step.substr(eq + 1));
        }
        if (name.rfind("_ProcessEnds") != std::string::npos) {
            std::this_thread::sleep_for(kWait);  // the end may come from another thread
            fputs("the process went on\n", stderr), _exit(1);
        }
    }
    checks.Exit();
}

// The rows, per module: "Module_Point_Outcome: steps". Lines are written as the "logged"
// step gives them: priority letter (D, I, E), then the text, joined by "|"; in a row's steps,
// "$" stands for "[Module<T>::" and "%" for "[Module::", the row's module's own prefixes.
const char* const kRows[] = {
    "HWBeep_InitializeAfterTheServiceCameBack_Reconnects: beep+; beep!; beep+; new; Initialize=1; "
    "@beep=isHWBeepSupported()",
    "HWBeep_InitializeAfterTheServiceDiedForGood_False: beep+; beep-; new; Initialize=0",
    "HWBeep_IsSupportedAfterTheHeldServiceCameBack_Reconnects: beep+; new; Initialize=1; beep!; "
    "beep+; IsSupported=1; @beep=isHWBeepSupported()",
    "HWBeep_IsSupportedAfterTheHeldServiceDiedForGood_False: beep+; new; Initialize=1; beep-; "
    "IsSupported=0",
    // The configuration goes to the dead instance; nothing reconnects in Prepare.
    "HWBeep_PrepareAfterDeath_FixedResult: beep+; new; Initialize=1; beep!; beep+; Prepare=1; "
    "@beep=",
    "HWBeep_TriggerAfterDeath_ProcessEnds: beep+; new; Initialize; Prepare; beep!; Trigger",
    // The retry (configure, start) meets a dead service; both results are ignored.
    "HWBeep_TriggerServiceRefusesAndDiesWithTheAnswer_FixedResult: die:after startBeep; beep+; "
    "refuses; new; Initialize=1; Prepare=1; Trigger=1; "
    "@beep=isHWBeepSupported()|setBeepConfig(12, 30, 5, 15000, 15000)|startBeep()",
    "HWBeep_InitializeAgainAfterDeath_Reconnects: beep+; new; Initialize=1; beep!; beep+; "
    "Initialize=1; Prepare=1; Trigger=1; @beep=isHWBeepSupported()|setBeepConfig(12, 30, 5, "
    "15000, 15000)|startBeep()",
    "HWBeep_InitializeAgainAfterDeathForGood_False: beep+; new; Initialize=1; beep-; Initialize=0",
    // Both volume queries fail with an empty reply: current 0 of maximum 0 gives volume 2.
    "HWBeep_PrepareWithTheAudioServiceDead_FixedResult: audio+; beep+; new; ovc; Initialize=1; "
    "audio!; Prepare=1; @beep=isHWBeepSupported()|setBeepConfig(12, 30, 2, 15000, 15000)",
    // Never reached: both queries answer -1, which gives volume 10.
    "HWBeep_PrepareWithoutAnAudioService_FixedResult: beep+; new; ovc; Initialize=1; Prepare=1; "
    "@beep=isHWBeepSupported()|setBeepConfig(12, 30, 10, 15000, 15000)",
    "LEDNotification_InitializeWithoutAnyLightsService_False: new; Initialize=0",
    // The light object is kept without a liveness check: every state goes to the dead one.
    "LEDNotification_ScanAfterTheHidlLightDied_FixedResult: light+; new; Initialize=1; decoding; "
    "light!; light+; Prepare=1; Trigger=1; Reset=1; @light=",
    "LEDNotification_InitializeAgainAfterTheHidlLightDied_FixedResult: light+; new; Initialize=1; "
    "decoding; light!; light+; Initialize=1; Prepare=1; @light=",
    // IsSupported drops the process's light object; the next connection is a new one.
    "LEDNotification_IsSupportedAfterTheHidlLightDied_Reconnects: light+; new; Initialize=1; "
    "decoding; light!; light+; IsSupported=1; Initialize=1; Prepare=1; @light=setLight(8, color "
    "0xffff0000, flash 0 0/0, brightness 0)",
    // The light list cannot be fetched any more, so there is no scan LED to address.
    "LEDNotification_ScanAfterTheAidlLightsDied_FixedResult: aidl+; new; Initialize=1; decoding; "
    "Prepare=1; aidl#=1; aidl!; Trigger=1; Reset=1; aidl#=1",
    // The timer resets the LED on the callback thread, against the dead service.
    "LEDNotification_TimerFiresAfterTheHidlLightDied_FixedResult: timer+; light+; log; new; "
    "Initialize=1; decoding; timer20; Prepare=1; light!; Trigger=1; wait:D$ResetFeedback()] "
    "setting LED to OFF=1; timer-",
    "IExternalHapticFeedack_InitializeAfterTheManagerCameBack_Reconnects: hw+; hw+; new; "
    "Initialize=1; Prepare=1",
    "IExternalHapticFeedack_InitializeAfterTheManagerDiedForGood_False: hw+; hw-; new; "
    "Initialize=0",
    "IExternalHapticFeedack_ManagerDiesHandingOutThePluggableInterface_ProcessEnds: "
    "die:getPlugableDeviceNotifier; mortal; new; Initialize",
    "IExternalHapticFeedack_PrepareAfterDeath_ProcessEnds: hw+; new; Initialize; hw+; Prepare",
    "IExternalHapticFeedack_TriggerAfterDeathWithAVibrator_ProcessEnds: hw+; new; Initialize; "
    "Prepare; hw+; Trigger",
    "IExternalHapticFeedack_TriggerAfterDeathWithoutAVibrator_FixedResult: novib; hw+; new; "
    "Initialize=1; Prepare=0; hw+; Trigger=1",
    "IExternalHapticFeedack_InitializeAgainAfterDeath_Reconnects: hw+; new; Initialize=1; hw+; "
    "Initialize=1; Prepare=1; Trigger=1; @plug=isExternalVibratorPresent()|vibrateExternal(300)",
    // The new fetch fails, and the old pluggable reference is what association gives back.
    "IExternalHapticFeedack_InitializeAgainAfterDeathForGood_ProcessEnds: hw+; new; Initialize; "
    "hw-; Initialize; Prepare",
    // The stale reference counts.
    "IExternalHapticFeedack_IsSupportedAfterDeathForGood_FixedResult: hw+; new; Initialize=1; "
    "hw-; IsSupported=1",
    "HWTrigger_AcquireAfterTheManagerCameBack_Reconnects: hw+; hw+; new; Initialize=1; Acquire=1; "
    "keys1=1; Release=1",
    "HWTrigger_AcquireAfterTheManagerDiedForGood_False: hw+; hw-; new; Initialize; Acquire=0; "
    "Start=1; Stop=1; Simulate=1; Pressed=-1; ResetPressed=0",
    "HWTrigger_ManagerDiesHandingOutTheTrigger_ProcessEnds: die:getTriggerInterface; mortal; new; "
    "Initialize; Acquire",
    "HWTrigger_DiesInAcquireTrigger_ProcessEnds: die:acquireTrigger; hw+; new; Initialize; Acquire",
    "HWTrigger_DiesInSetKeyEventQueue_ProcessEnds: die:setKeyEventQueue; hw+; new; Initialize; "
    "Acquire",
    // No notice comes for a death before the link: the acquisition hands it to a thread of its
    // own, as a notice would arrive, and returns at once.
    "HWTrigger_DiesBeforeTheDeathLinkAndComesBack_Reconnects: die:after setKeyEventQueue then "
    "back; hw+; new; log; Initialize=1; Acquire=1; requeued=1; bycaller=0; "
    "count:ISS [HW Trigger] DCHWManager Died=1; keys2=1; Release=1",
    "HWTrigger_DiesBeforeTheDeathLinkForGood_ProcessEnds: die:after setKeyEventQueue then gone; "
    "hw+; new; Initialize; Acquire",
    "HWTrigger_DiesWhileConnectedAndComesBack_Reconnects: hw+; new; Initialize=1; Acquire=1; hw!; "
    "hw+; requeued=1; keys3=1; Start=1; started=1; Release=1",
    // The death handling finds no new manager and acquires on the cached, dead trigger.
    "HWTrigger_DiesWhileConnectedForGood_ProcessEnds: hw+; new; Initialize; Acquire; hw-",
    "HWTrigger_DiesAfterRelease_Reconnects: hw+; new; log; Initialize=1; Acquire=1; Release=1; "
    "hw+; Initialize=1; Acquire=1; count:ISS [HW Trigger] DCHWManager Died=0; keys4=1; Release=1",
    // The service dies inside releaseTrigger and keeps the release waiting until its death
    // notice is being delivered (a notice that starts after the release dropped the recipient
    // is not delivered at all). The notice's handling then finds the connection released and
    // leaves it so.
    "HWTrigger_DiesDuringRelease_FixedResult: log; die:after releaseTrigger then notice; hw+; "
    "new; Initialize=1; Acquire=1; Release=1; count:ISS [HW Trigger] DCHWManager Died=1; sleep; "
    "count:ISS [HW Trigger] Wake Up=0",
    // As above, and the module is deleted as soon as the release returns, while the notice's
    // handling still waits for the lock the release held: the handling must not touch the
    // deleted module (the address sanitizer build catches a touch).
    "HWTrigger_DeletedRightAfterReleaseWhileTheNoticeRuns_FixedResult: log; die:after "
    "releaseTrigger then notice; hw+; new; Initialize=1; Acquire=1; Release=1; del; sleep; "
    "count:ISS [HW Trigger] DCHWManager Died=1; count:ISS [HW Trigger] Wake Up=0",
    // Dead but still declared: anything that looked them up would wait forever.
    "DeviceInfo_FactsWithEveryServiceDead_FixedResult: hw+; beep+; light+; hw!; beep!; light!; "
    "facts=lahaina|tr52_gms|TR52|TR52HC|Tevrin|13|arm64-v8a|trigger_restart_framework|5|1|31|1|2D "
    "Barcode Imager|Camera Scanner|Bluetooth Ring Scanner|Serial Scanner",
    // The device's own beep volume (5) stands; the audio service is not asked.
    "DeviceInfo_BeepVolumeWithTheAudioServiceDead_FixedResult: audio+; beep+; new; Initialize=1; "
    "audio!; Prepare=1; @beep=isHWBeepSupported()|setBeepConfig(12, 30, 5, 15000, 15000); audio#=0",
    // Each transport module holds its own connection to the hardware manager and notices a dead
    // one only at its next association, through a failed ping; a call on an interface it still
    // holds after the death reads a value from a failed call and ends the process, except where
    // the answer comes through a result callback, which then never runs.
    "SerialPort_AcquireAfterTheManagerCameBack_Reconnects: hw+; hw+; new; Initialize=1; "
    "Acquire=1; Start=0; rx=1; got=18|171; "
    "@serial=registerCallback(cb)|registerCallback(cb)|openPort(/dev/ttyHS1, 9600, false); "
    "@serial0=",
    "SerialPort_AcquireAfterTheManagerDiedForGood_False: hw+; hw-; new; Initialize=1; Acquire=0; "
    "Start=9; Stop=0; IoCtl=1; Write=8; AcquireFW=0; FWOpen=9; FWRead=Error - Unable to Read Data",
    // Without a release: the held manager fails its ping, so this is a fresh connection.
    "SerialPort_AcquireAgainAfterTheHeldManagerCameBack_Reconnects: hw+; new; Initialize=1; "
    "Acquire=1; Start=0; hw+; log; Acquire=1; logged=D$associateSerial] Acquired ISerial "
    "interface.|D[SerialCallback::SerialCallback()] ctor|D[SerialCallback::~SerialCallback()] "
    "dtor|D$AcquireSerialInterface] success; Start=0; rx=1; rx0=0; got=18|171; Stop=0; "
    "@serial=registerCallback(cb)|registerCallback(cb)|openPort(/dev/ttyHS1, 9600, "
    "false)|closePort(); @serial0=registerCallback(cb)|registerCallback(cb)|openPort(/dev/ttyHS1, "
    "9600, false)",
    // The failed lookup dropped the manager but the instance still counts as holding the port,
    // even once a service is back, until it is released.
    "SerialPort_AcquireAgainAfterTheHeldManagerDiedForGood_False: hw+; new; Initialize=1; "
    "Acquire=1; hw-; log; Acquire=0; hw+; Acquire=0; logged=E$associateSerial] Unable to get "
    "IDCHWManager interface.|E$AcquireSerialInterface] is not available|E$associateSerial] "
    "failed|E$AcquireSerialInterface] is not available; Release=1; Initialize=1; Acquire=1; "
    "@hw=getSerialInterface()",
    // The two exclude each other only while the manager that serves the firmware port lives;
    // the firmware port is still counted as held, and still the dead one.
    "SerialPort_AcquireTransportAfterTheFirmwareManagerCameBack_Reconnects: hw+; new; "
    "AcquireFW=1; hw+; log; Initialize=1; Acquire=1; Start=0; AcquireFW=0; FWRead=Error - Unable "
    "to Read Data; logged=D$associateSerial] Acquired ISerial "
    "interface.|D[SerialCallback::SerialCallback()] ctor|D$AcquireSerialInterface] "
    "success|D$StartTransport] StartTransport return 0|E$associateSerialFWUpdate] "
    "failed|E$AcquireFWSerialInterface] failed|E$FWReadPort] Error at HIDL Service (sp_SerialHal "
    "instance is NULL); @serial=registerCallback(cb)|registerCallback(cb)|openPort(/dev/ttyHS1, "
    "9600, false); @serial0=getSerialFWInterface()",
    // Nothing reconnects outside an acquisition: the write goes to the dead port.
    "SerialPort_WriteAfterTheHeldManagerCameBack_ProcessEnds: hw+; new; Initialize; Acquire; "
    "Start; hw+; Write",
    "SerialPort_FWPollAfterTheHeldManagerDiedForGood_ProcessEnds: hw+; new; AcquireFW; hw-; FWPoll",
    // The transport was never started: the stop answers by itself.
    "SerialPort_FWReadAfterTheHeldManagerDiedForGood_FixedResult: hw+; new; AcquireFW=1; hw-; "
    "log; FWRead=Error - Unable to Read Data; Stop=0; Release=1; AcquireFW=0; "
    "logged=E$FWReadPort] Error at HIDL Service (sp_SerialHal instance is NULL)|E$StopTransport] "
    "already stoped|D$disassociate]|E$associateSerial] Unable to get IDCHWManager "
    "interface.|E$associateSerialFWUpdate] unable to get Serial "
    "Interface|E$AcquireFWSerialInterface] failed; @fw=",
    "SerialPort_ManagerDiesHandingOutTheSerialPort_ProcessEnds: die:getSerialInterface; mortal; "
    "new; Initialize; Acquire",
    "SerialPort_DiesInRegisterCallback_ProcessEnds: die:registerCallback; hw+; new; Initialize; "
    "Acquire",
    "SerialPort_DiesInOpenPort_ProcessEnds: die:openPort; hw+; new; Initialize; Acquire; Start",
    "SerialPort_DiesHandingOutTheFirmwarePort_ProcessEnds: die:getSerialFWInterface; hw+; new; "
    "AcquireFW",
    // Once the service is back, a released instance reads from the new one.
    "SerialPort_DiesInFWReadBeforeReplying_FixedResult: die:fwRead; hw+; new; AcquireFW=1; log; "
    "FWRead=Error - Unable to Read Data; logged=E$FWReadPort] Error at HIDL Service (sp_SerialHal "
    "instance is NULL); hw+; Release=1; AcquireFW=1; FWRead=0x120xAB0x00; @fw=fwRead()",
    // A reply that arrived counts, although the service died right after sending it.
    "SerialPort_DiesInFWReadAfterReplying_FixedResult: die:after fwRead; hw+; new; AcquireFW=1; "
    "FWRead=0x120xAB0x00",
    "PlugableDeviceNotifier_AcquireAfterTheManagerCameBack_Reconnects: hw+; hw+; new; Acquire=1; "
    "InitSSI=1; plugin=1; changes=1 /dev/ttyUSB0 2; Port=/dev/ttyUSB0; "
    "@plug=registerNotifierCallback(cb, 2)|getPortName()",
    "PlugableDeviceNotifier_AcquireAfterTheManagerDiedForGood_False: hw+; hw-; new; Acquire=0; "
    "InitSSI=0; Port=WrongPort",
    "PlugableDeviceNotifier_AcquireAgainAfterTheHeldManagerCameBack_Reconnects: hw+; new; "
    "Acquire=1; InitSSI=1; hw+; plugin0=0; Acquire=1; InitSSI=1; plugout=1; changes=0 "
    "/dev/ttyUSB1 -1; @plug0=registerNotifierCallback(cb, 2); @plug=registerNotifierCallback(cb, "
    "2)",
    // The failed reconnection keeps the dead notifier: the name is still asked of it.
    "PlugableDeviceNotifier_GetPortNameAfterTheHeldManagerDiedForGood_FixedResult: hw+; new; "
    "Acquire=1; InitSSI=1; hw-; log; Port=WrongPort; Acquire=0; Port=WrongPort; "
    "logged=E$GetPortName] Error in port Name|E$GetPortName] port name "
    "WrongPort|E$associatePlugableDeviceNotifier] Unable to get IDCHWManager "
    "interface.|E$AcquirePlugableDeviceNotifierInterface] is not available|E$GetPortName] Error "
    "in port Name|E$GetPortName] port name WrongPort; @plug=registerNotifierCallback(cb, 2)",
    "PlugableDeviceNotifier_InitializeSSIAfterTheHeldManagerDiedForGood_ProcessEnds: hw+; new; "
    "Acquire; hw-; InitSSI",
    "PlugableDeviceNotifier_ManagerDiesHandingOutTheNotifier_ProcessEnds: "
    "die:getPlugableDeviceNotifier; mortal; new; Acquire",
    "PlugableDeviceNotifier_DiesInRegisterNotifierCallback_ProcessEnds: "
    "die:registerNotifierCallback; hw+; new; Acquire; InitSSI",
    "PlugableDeviceNotifier_DiesInGetPortNameBeforeReplying_FixedResult: die:getPortName; hw+; "
    "new; Acquire=1; InitSSI=1; log; Port=WrongPort; logged=E$GetPortName] Error in port "
    "Name|E$GetPortName] port name WrongPort",
    "BatterySwapModule_InitAfterTheManagerCameBack_Reconnects: hw+; hw+; new; Init=1; Enter=1; "
    "in=1; Exit=1; @swap=enterBatterySwap()|exitBatterySwap()",
    "BatterySwapModule_InitAfterTheManagerDiedForGood_False: hw+; hw-; new; Init=0; Enter=0; "
    "Exit=0",
    "BatterySwapModule_InitAgainAfterTheHeldManagerCameBack_Reconnects: hw+; new; Init=1; hw+; "
    "log; Init=1; Exit=1; logged=I%associateBatterySwapHIDL] Acquired IBatterySwapHandlerHIDL "
    "interface.; @swap=exitBatterySwap(); @swap0=",
    // Only Init reconnects: the swap goes to the dead handler.
    "BatterySwapModule_EnterAfterTheHeldManagerCameBack_ProcessEnds: hw+; new; Init; hw+; Enter",
    // The flag stays set without a manager: Init no longer looks, even for a service that is back.
    "BatterySwapModule_InitAgainAfterTheHeldManagerDiedForGood_False: hw+; new; Init=1; hw-; log; "
    "Init=0; hw+; Init=0; logged=E%associateBatterySwapHIDL] Unable to get DCHWManager HIDL "
    "interface.; @hw=",
    "BatterySwapModule_ExitAfterTheHeldManagerDiedForGood_ProcessEnds: hw+; new; Init; hw-; Init; "
    "Exit",
    "BatterySwapModule_ManagerDiesHandingOutTheHandler_ProcessEnds: die:getBatterySwapHandler; "
    "mortal; new; Init",
    "BatterySwapModule_DiesInEnterBatterySwap_ProcessEnds: die:enterBatterySwap; hw+; new; Init; "
    "Enter",
    "CameraModule_InitAfterTheManagerCameBack_Reconnects: hw+; hw+; new; Init=1; Tag=-2147483646; "
    "@tags=getVendorTagId(com.tevrin.imager.gain)",
    "CameraModule_InitAfterTheManagerDiedForGood_False: hw+; hw-; new; Init=0; Tag=-1",
    "CameraModule_InitAgainAfterTheHeldManagerCameBack_Reconnects: hw+; new; Init=1; hw+; log; "
    "Init=1; Tag=-2147483646; logged=ICameraModule::Init|I%associateCameraVendorTagHIDL] Acquired "
    "ICameraVendorTagProvider interface.; @tags=getVendorTagId(com.tevrin.imager.gain); @tags0=",
    // Only Init reconnects: the lookup goes to the dead provider.
    "CameraModule_LookupAfterTheHeldManagerCameBack_ProcessEnds: hw+; new; Init; hw+; Tag",
    // DeInit lets go of the dead provider: lookups answer by themselves instead of ending the
    // process, and the next Init looks for the service again.
    "CameraModule_DeInitAfterTheHeldManagerDiedForGood_FixedResult: hw+; new; Init=1; hw-; log; "
    "Init=0; DeInit=1; Tag=-1; Init=0; logged=ICameraModule::Init|E%associateCameraVendorTagHIDL] "
    "Unable to get DCHWManager HIDL interface.|ICameraModule::DeInit|E$GetCameraVendorTagID] "
    "sp_CameraTagProvider is null|ICameraModule::Init|E%associateCameraVendorTagHIDL] Unable to "
    "get DCHWManager HIDL interface.; hw+; Init=1",
    "CameraModule_ManagerDiesHandingOutTheProvider_ProcessEnds: die:getCameraVendorTagProvider; "
    "mortal; new; Init",
    "CameraModule_DiesInGetVendorTagId_ProcessEnds: die:getVendorTagId; hw+; new; Init; Tag",
    // The imager module, its control object and the adapter each associate once, when made,
    // and never check their connection again: the way back to a live service is a new companion
    // object (after deInit). Answers that come through a result callback (engine identifier,
    // command reply, parameter) never arrive from a dead service; values read directly end the
    // process.
    "ImagerHIDLProxy_CreatedAfterTheManagerCameBack_Reconnects: hw+; hw+; new; Open=0; Engine=31; "
    "Cmd=0; reply=9|8|238|238; "
    "@imager=openImager()|getEngineID()|openImager()|getImagerControl(); @imager0=; deInit",
    "ImagerHIDLProxy_CreatedAfterTheManagerDiedForGood_FixedResult: hw+; hw-; new; Open=-1; "
    "Close=-1; Type=-1; Engine=; Cmd=1; Settle=0; deInit; del",
    "ImagerHIDLProxy_OpenAfterTheHeldManagerCameBack_ProcessEnds: hw+; new; hw+; Open",
    "ImagerHIDLProxy_CloseAfterTheHeldManagerDiedForGood_ProcessEnds: hw+; new; hw-; Close",
    "ImagerHIDLProxy_EngineIDAfterTheHeldManagerDiedForGood_FixedResult: hw+; new; hw-; log; "
    "Engine=; logged=I%getEngineID] getEngineID|E%getEngineID] Error at HIDL "
    "Service|D%getEngineID] ScannerID=; @imager=",
    // The control object associates by itself, with the new instance.
    "ImagerHIDLProxy_ControlRequestedAfterTheManagerCameBack_Reconnects: hw+; new; hw+; Cmd=0; "
    "reply=9|8|238|238; open#=1; deInit; open#=0",
    "ImagerHIDLProxy_ManagerDiesHandingOutTheImager_ProcessEnds: die:getImager; mortal; new",
    "ImagerHIDLProxy_DiesInGetEngineIDBeforeReplying_FixedResult: die:getEngineID; hw+; new; log; "
    "Engine=; logged=I%getEngineID] getEngineID|E%getEngineID] Error at HIDL "
    "Service|D%getEngineID] ScannerID=",
    // No reply comes from the dead control: the status stays at its starting -1.
    "ImagerControlHIDLProxy_RecreatedAfterTheManagerCameBack_Reconnects: hw+; new; ctl=1; hw+; "
    "log; Cmd=4294967295; reply=238|238|238|238; deInit; Cmd=0; reply=9|8|238|238; "
    "logged=E%sendCommand] Error at HIDL Service (sp_ImagerControlHIDL instance is NULL, Error - "
    "Unable to send command)|I%disAssociateImagerControlHIDL] Calling close "
    "imager|I%disAssociateImagerControlHIDL] disconnected Control "
    "HIDL|I%associateImagerControlHIDL] Acquired IImagerControl HIDL "
    "interface.|I%associateImagerControlHIDL] Acquired IImagerControlHIDL interface.; "
    "@control=sendCommand([1b 02], 2, 4, 0, 0); deInit",
    "ImagerControlHIDLProxy_SettleCountAfterTheHeldManagerCameBack_ProcessEnds: hw+; new; ctl; "
    "hw+; Settle",
    "ImagerControlHIDLProxy_RequestedAfterTheManagerDiedForGood_FixedResult: hw+; new; hw-; log; "
    "Cmd=1; logged=E%associateImagerControlHIDL] Unable to get DCHWManager HIDL "
    "interface.|E%ImagerControlHIDLProxy] failed to associate ImagerControl HIDL|E%sendCommand] "
    "sp_ImagerControlHIDL is Null; @imager=",
    "ImagerControlHIDLProxy_DiesInOpenImager_ProcessEnds: die:openImager; hw+; new; ctl",
    "ImagerControlHIDLProxy_DiesHandingOutTheControl_ProcessEnds: die:getImagerControl; hw+; new; "
    "ctl",
    "ImagerControlHIDLProxy_DiesInSendCommandBeforeReplying_FixedResult: die:sendCommand; hw+; "
    "new; ctl=1; log; Cmd=4294967295; reply=238|238|238|238; logged=E%sendCommand] Error at HIDL "
    "Service (sp_ImagerControlHIDL instance is NULL, Error - Unable to send command)",
    // The close's status is not read: the deletion completes; a new control reaches the
    // service once it is back.
    "ImagerControlHIDLProxy_DiesInCloseImager_FixedResult: die:closeImager; hw+; new; ctl=1; log; "
    "deInit; logged=I%disAssociateImagerControlHIDL] Calling close "
    "imager|I%disAssociateImagerControlHIDL] disconnected Control HIDL; "
    "@imager=openImager()|getImagerControl()|closeImager(); hw+; Cmd=0; open#=1",
    "V4L2ImagerAdapterHIDLProxy_StreamAfterTheManagerCameBack_Reconnects: hw+; hw+; new; "
    "stream=1; Disable=0; whole=1; delivered0=0; deInit",
    "V4L2ImagerAdapterHIDLProxy_CreatedAfterTheManagerDiedForGood_FixedResult: hw+; hw-; alone; "
    "InitA=1; Enable=1; Param=Error - Imager Adapter HIDL is Null.; Streaming=0; del",
    // Frames stop with the death, every frame sent having reached the caller; no answer comes
    // from the dead adapter; the old adapter's close, on deletion, never reaches the dead imager.
    "V4L2ImagerAdapterHIDLProxy_RecreatedAfterTheManagerCameBack_Reconnects: hw+; new; stream=1; "
    "hw+; allsent=1; Param=Unsupported Parameter; deInit; stream=1; Disable=0; whole=1; "
    "@imager0=openImager()|getImagerAdapter(); @imager=openImager()|getImagerAdapter(); deInit",
    // The mapping stays the caller's until it returns, whatever became of the sender; the dead
    // service sends nothing more.
    "FrameCallback_ServiceDiesWhileTheCallerHoldsAFrame_FixedResult: hw+; new; log; InitA=0; "
    "killer; Enable=0; StartS=0; frame1=1; whole=1; delivered=1; frames=1; "
    "count:%onFrameAvailable] OnReceiveFrame failed=0; count:%onFrame] mmap failed\n=0",
    // Whether it streams is read from the dead adapter.
    "V4L2ImagerAdapterHIDLProxy_StartStreamingAfterTheHeldManagerCameBack_ProcessEnds: hw+; new; "
    "InitA; Enable; hw+; StartS",
    "V4L2ImagerAdapterHIDLProxy_DisableAfterTheHeldManagerDiedForGood_ProcessEnds: hw+; new; adp; "
    "hw-; Disable",
    "V4L2ImagerAdapterHIDLProxy_RecreatedAfterTheManagerDiedForGood_FixedResult: hw+; new; adp=1; "
    "hw-; log; deInit; StartS=1; logged=I%disAssociateImagerAdapterHIDL] disconnected Adapter "
    "HIDL|E%associateImagerAdapterHIDL] Unable to get DCHWManager HIDL "
    "interface.|E%V4L2ImagerAdapterHIDLProxy] failed to associate ImagerAdapter "
    "HIDL|E%StartStreaming] sp_ImagerAdapterHIDL is Null; deInit",
    "V4L2ImagerAdapterHIDLProxy_DiesHandingOutTheAdapter_ProcessEnds: die:getImagerAdapter; hw+; "
    "new; adp",
    "V4L2ImagerAdapterHIDLProxy_DiesInInit_ProcessEnds: die:Init; hw+; new; InitA",
    "V4L2ImagerAdapterHIDLProxy_DiesInRegisterFrameCallback_ProcessEnds: "
    "die:RegisterFrameCallback; hw+; new; InitA; Enable",
    "V4L2ImagerAdapterHIDLProxy_DiesInGetParameterBeforeReplying_FixedResult: die:GetParameter; "
    "hw+; new; adp; log; Param=Unsupported Parameter; logged=",
    "V4L2ImagerAdapterHIDLProxy_DiesInHaltAcquisition_ProcessEnds: die:HaltAcquisition; hw+; new; "
    "InitA; StopS",

};

class ServiceDeath : public ::testing::TestWithParam<const char*> {};

// A row that must end the process ends with the HIDL runtime's checked retrieval of a value from
// a dead service; every other row exits with its checks' verdict.
TEST_P(ServiceDeath, GivesTheModulesResult) {
    const std::string row = GetParam();
    const bool ends = row.find("_ProcessEnds: ") != std::string::npos;
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        RunRow(row),
        [&](int status) {
            return ends ? WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT
                        : WIFEXITED(status) && WEXITSTATUS(status) == 0;
        },
        ends ? "Attempted to retrieve value from failed HIDL call: "
               "Status\\(EX_TRANSACTION_FAILED\\): 'DEAD_OBJECT"
             : "");
}

INSTANTIATE_TEST_SUITE_P(Table, ServiceDeath, ::testing::ValuesIn(kRows), [](const auto& row) {
    return std::string(row.param, strchr(row.param, ':'));
});

}  // namespace
}  // namespace service_death
