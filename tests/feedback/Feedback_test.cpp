// The feedback modules against the simulator's fakes: the beep and its audio client (beep
// service, audio service and policy), the scan LED (HIDL and AIDL lights, timer service) and the
// external haptic module (hardware manager and its pluggable-device interface).

#include <gtest/gtest.h>

#include "DeviceInfoBuilder.h"
#include "FakeAidlLights.h"
#include "FakeAudioService.h"
#include "FakeHardwareBeep.h"
#include "FakeHidlLight.h"
#include "FakePlugableDeviceNotifier.h"
#include "FeedbackTestEnv.h"
#include "HWBeep.h"
#include "HardwareManagerSim.h"
#include "IExternalHapticFeedack.h"
#include "LEDNotification.h"
#include "orvex/audio_devices.h"
#include "orvex/binder_services.h"

namespace {

using namespace feedback_test;
using namespace orvex::sim;
using android::sp;
using orvex::hostlog::ScopedCapture;
using Beep = FakeHardwareBeep;
using Calls = std::vector<Beep::Call>;
using Asked = std::vector<FakeAudioService::Transaction>;
using Lines = std::vector<Entry>;

// Open the modules' state to the tests.
struct LEDProbe : LEDNotification<ANDROID_VERSION_10> {
    using LEDNotification::p_goodDecodeTimer, LEDNotification::p_light;
};

Beep::Call Config(int frequency, int duration, int volume) {
    return Beep::SetBeepConfig(frequency, duration, volume, 15000, 15000);
}
// The audio client's volume queries for a stream: current (code 8), then maximum (code 10).
Asked Queries(int stream) { return {{8, 0, true, {stream}, ""}, {10, 0, true, {stream}, ""}}; }

// The modules' own lines: the device-information lines the beep causes are that component's;
// the beep's line of its stream's volumes is left out.
Lines OwnLines(const ScopedCapture& log) {
    Lines out;
    for (const Entry& e : log.WithTag("ScannerFramework")) {
        const std::string& m = e.message;
        if (m.rfind("[DeviceInfo::", 0) != 0 && m.find("] Stream ") == m.npos) out.push_back(e);
    }
    return out;
}

// Runs comma-separated steps on a module: "key=value" sets a parameter (keys as shortened in
// `keys`); I, S, P, T and R initialize, probe, prepare, trigger and reset it, and a 0 or 1 after
// one is its expected answer. Any other step goes to `other`.
void Steps(IFeedbackModule& module, const std::string& steps,
           const std::function<void(const std::string&)>& other = nullptr) {
    const std::map<std::string, std::string> keys = {
        {"d", "decoding_led_feedback"},   {"r", "isRedLedActive"},
        {"t", "good_decode_led_timer"},   {"ovc", "ignore_ovc_volume"},
        {"slider", "volume_slider_type"}, {"mode", "remote_scanner_audio_feedback_mode"}};
    // clang-format off
    static const std::map<char, bool (IFeedbackModule::*)()> ops = {
        {'I', &IFeedbackModule::InitializeFeedback}, {'S', &IFeedbackModule::IsSupported},
        {'P', &IFeedbackModule::PrepareFeedbackForTrigger},
        {'T', &IFeedbackModule::TriggerFeedback}, {'R', &IFeedbackModule::ResetFeedback}};
    // clang-format on
    std::istringstream in(steps);
    for (std::string s; std::getline(in, s, ',');) {
        const size_t eq = s.find('=');
        if (eq != std::string::npos) {
            const std::string key = s.substr(0, eq);
            module.SetParameter(keys.count(key) ? keys.at(key).c_str() : key.c_str(),
                                s.c_str() + eq + 1);
        } else if (!s.empty() && s.size() <= 2 && ops.count(s[0]) != 0) {
            const bool answer = (module.*ops.at(s[0]))();
            EXPECT_EQ(s.size() == 2 ? s[1] == '1' : answer, answer) << s << " in " << steps;
        } else if (!s.empty()) {
            other(s);
        }
    }
}

// The audio client looks the service up once per process, sends each call with its code and
// arguments, and answers -1 without the service.
TEST(AudioManager, LooksTheServiceUpOnceAndAnswersMinusOneWithoutIt) {
    const std::string load = "[AudioManager::LoadService] ";
    const Entry received = Debug(load + "Received an instance of service manager");
    const Entry unable = Error("[AudioManager::AudioManager] Unable to load AudioManager\n");
    struct Case {
        bool manager, service;
        Lines lines;
    } cases[] = {
        // clang-format off
        {true, true, {received}},
        {true, false, {received, Error(load + "Audio service client object not received"), unable}},
        {false, false, {Error(load + "Unable to get an instance of the service manager"), unable}},
        // clang-format on
    };
    for (const Case& c : cases) {
        EXPECT_IN_FRESH_PROCESS({
            ChildChecks check;
            orvex::binder::SetServiceManagerAvailable(c.manager);
            sp<FakeAudioService> fake = c.service ? FakeAudioService::Register() : nullptr;
            ScopedCapture log;
            AudioManager* audio = AudioManager::GetInstance();
            check.Logged(log.Entries(), c.lines);
            // A service that appears later is never looked up.
            orvex::binder::SetServiceManagerAvailable(true);
            if (fake == nullptr) fake = FakeAudioService::Register();
            fake->SetStreamVolume(5, 2, 7);
            check.Eq("volume", audio->GetStreamVolume(5), c.service ? 2 : -1);
            check.Eq("max", audio->GetStreamMaxVolume(5), c.service ? 7 : -1);
            android::String8 package("pkg");
            audio->setStreamVolume(5, 4, 0, package);
            check.Eq("volume after set", audio->GetStreamVolume(5), c.service ? 4 : -1);
            const Asked asked(
                {Queries(5)[0], Queries(5)[1], {3, 0, true, {5, 4, 0}, "pkg"}, Queries(5)[0]});
            check.True("transactions", fake->Transactions() == (c.service ? asked : Asked{}));
            check.Exit();
        });
    }
}

class HWBeepTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        // Registered before the first module exists: the audio client looks it up only once.
        static sp<FakeAudioService>* audio = new sp<FakeAudioService>(FakeAudioService::Register());
        audio_ = audio->get();
        // Every reply carries an exception word: the value after it is taken regardless.
        audio_->SetException(FakeAudioService::kExSecurity);
        odk::DeviceInfoBuilder::GetDeviceInfoInstance();
    }
    void SetUp() override {
        SetScannerBeepVolume(5);
        orvex::audio::ResetDevices();
        beep_ = Beep::Register();
        module_ = std::make_unique<HWBeep<ANDROID_VERSION_10>>();
    }
    void TearDown() override { Beep::Remove(); }

    static inline FakeAudioService* audio_ = nullptr;
    sp<Beep> beep_;
    std::unique_ptr<HWBeep<ANDROID_VERSION_10>> module_;
};

// Each case sets its parameters (Steps' steps) on a new module and prepares it with the device's
// scanner beep volume and the stream's answers: `stream` is the stream asked (0: none), the tone
// goes to the service (frequency -1: silenced, nothing does).
TEST_F(HWBeepTest, PreparationFollowsTheParametersAndTheVolumes) {
    struct Case {
        std::string params;
        int scannerVolume, stream, current, max, frequency, duration, volume;
    } cases[] = {
        // clang-format off
        {"", -1, 4, 7, 15, 12, 30, 5}, {"", -1, 4, 5, 0, 12, 30, 2},  // 4.67, rounded; no maximum
        {"ovc=true", 9, 4, 3, 15, 12, 30, 2}, {"ovc=TRUE", 9, 0, 3, 15, 12, 30, 9},
        {"ovc=true,ovc=false", 9, 0, 3, 15, 12, 30, 9}, {"slider=0", -1, 2, 7, 7, 12, 30, 10},
        {"slider=1", -1, 3, 3, 15, 12, 30, 2}, {"slider=3", -1, 5, 1, 7, 12, 30, 1},
        {"mode=0", 5, 0, 7, 15, 12, 30, 5}, {"mode=1", -1, 0, 7, 15, -1, 0, 0},
        {"frequency=2500,duration=90,volume=3", 7, 0, 7, 15, 2500, 90, 7},
        // clang-format on
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.params);
        SetScannerBeepVolume(c.scannerVolume);
        audio_->SetStreamVolume(c.stream == 0 ? 4 : c.stream, c.current, c.max);
        HWBeep<ANDROID_VERSION_10> module;
        Steps(module, "I1");
        beep_->ClearCalls();
        audio_->ClearTransactions();
        ScopedCapture log;
        Steps(module, c.params + ",P1");
        Lines lines;
        if (c.params.rfind("ovc=true", 0) == 0) {
            lines.push_back(Debug("[HWBeep::SetParameter] b_ignore_ovc_volume to true\n"));
        }
        lines.push_back(Debug("[HWBeep<T>::PrepareFeedbackForTrigger ] +"));
        if (c.frequency != -1)
            lines.push_back(Debug("[HWBEEP<T>::PrepareFeedbackForTrigger] i_Volume= " +
                                  std::to_string(c.volume)));
        EXPECT_EQ(c.frequency == -1 ? Calls{} : Calls{Config(c.frequency, c.duration, c.volume)},
                  beep_->Calls());
        EXPECT_EQ(c.stream == 0 ? Asked{} : Queries(c.stream), audio_->Transactions());
        EXPECT_EQ(lines, OwnLines(log));
    }
}

// A refused start (an answer of 0 or less) is followed by the configuration and one more start.
TEST_F(HWBeepTest, TriggerRestartsOnceWhenTheServiceRefuses) {
    const Calls start = {Beep::StartBeep()};
    const Calls again = {Beep::StartBeep(), Config(12, 30, 7), Beep::StartBeep()};
    const Lines beeped = {Debug("[HWBeep::TriggerFeedback] +"),
                          Debug("[HWBeep::TriggerFeedback] - start_beep +")};
    struct Case {
        const char* mode;
        std::vector<int32_t> answers;
        Calls calls;
    } cases[] = {
        // clang-format off
        {"0", {1}, start}, {"0", {7}, start}, {"0", {0, 0}, again}, {"0", {-4, 1}, again},
        {"3", {}, {}},
        // clang-format on
    };
    Steps(*module_, "I1");
    for (const Case& c : cases) {
        Steps(*module_, std::string("mode=") + c.mode);
        beep_->ScriptStartBeep(c.answers);
        beep_->ClearCalls();
        ScopedCapture log;
        Steps(*module_, "T1");
        EXPECT_EQ(c.calls, beep_->Calls()) << c.mode << c.calls.size();
        EXPECT_EQ(c.calls.empty() ? Lines{beeped[0]} : beeped, OwnLines(log));
    }
}

// The connection is shared by every beep module and dropped by a probe, a failure or a
// module's destruction; a missing service is fetched again (its deaths are the service-death
// table's).
TEST_F(HWBeepTest, SharedConnectionIsProbedDroppedAndFetchedAgain) {
    auto held = [](bool held) {
        return HWBeepHal::b_HWbeepInit == held &&
               (HWBeepHal::sp_IHardwareBeepConfigs != nullptr) == held;
    };
    beep_->SetSupported(false);
    ScopedCapture log;
    Steps(*module_, "S0,I0");
    EXPECT_EQ((Calls{Beep::IsHWBeepSupported(), Beep::IsHWBeepSupported()}), beep_->Calls());
    beep_->SetSupported(true);
    Steps(*module_, "S1");
    EXPECT_TRUE(held(false));
    Steps(*module_, "I1");
    EXPECT_TRUE(held(true));
    HWBeep<ANDROID_VERSION_10> second;  // sharing the connection
    module_.reset();
    EXPECT_TRUE(held(false));
    Beep::Remove();
    Steps(second, "I0");
    EXPECT_EQ((Lines{Error("[HWBEEP::InitializeFeedback] HWBEEP IS NOT SUPPORTED.."),
                     Error("[HWBeep::HWBeep()] Unable to get IHardwareBeepConfigs interface."),
                     Error("[HWBeep::InitializeFeedback] initialization failed")}),
              OwnLines(log));
    beep_ = Beep::Register();
    Steps(second, "I1");
    // An empty fetch is not repeated until the state is cleared.
    HWBeepHal::b_HWbeepInit = true;
    HWBeepHal::sp_IHardwareBeepConfigs.clear();
    EXPECT_EQ(nullptr, HWBeepHal::associate());
    HWBeepHal::b_HWbeepInit = false;
    EXPECT_NE(nullptr, HWBeepHal::associate());
    EXPECT_DEATH((Beep::Kill(), second.TriggerFeedback()),
                 "Attempted to retrieve value from failed HIDL call");
}

// Also the beep's fixed answers (its registration is the dlopen caller's to check).
TEST_F(HWBeepTest, AnyHeadsetOutputCounts) {
    Steps(*module_, "R1");  // asks nothing of the service
    EXPECT_TRUE(beep_->Calls().empty());
    EXPECT_TRUE(module_->ReinitializeFeedback() && module_->ReadSubmit());
    EXPECT_STREQ("", module_->GetParameter("volume"));
    const std::string check = "[HWBeep::CheckExternalHeadset] ";
    for (audio_devices_t device :
         {AUDIO_DEVICE_NONE, AUDIO_DEVICE_OUT_WIRED_HEADSET, AUDIO_DEVICE_OUT_BLUETOOTH_SCO_CARKIT,
          AUDIO_DEVICE_OUT_USB_HEADSET, AUDIO_DEVICE_OUT_SPEAKER}) {
        const bool headset = device != AUDIO_DEVICE_NONE && device != AUDIO_DEVICE_OUT_SPEAKER;
        orvex::audio::ResetDevices();
        orvex::audio::SetDeviceConnectionState(device, "00:11:22:33:44:55",
                                               AUDIO_POLICY_DEVICE_STATE_AVAILABLE);
        ScopedCapture log;
        EXPECT_EQ(headset, module_->CheckExternalHeadset()) << device;
        EXPECT_EQ(Lines{headset ? Info(check + "BT or Wired Headset detected\n")
                                : Debug(check + "No External Headset is connected\n")},
                  OwnLines(log));
    }
}

constexpr uint32_t kRed = 0xFFFF0000u;
const Entry kUnable = Error("[LEDNotification::LEDNotification()] Unable to get ILight interface.");
const Entry kSet8 = Debug("[HIDLinterface::setlight] set light 8\n");
using AidlCall = FakeAidlLights::Call;
using HidlCalls = std::vector<FakeHidlLight::Call>;

struct LedAccess : ICallback {
    bool IsLEDAccessible() override { return allowed; }
    bool allowed = true;
};

// The HIDL light's call for a colour: R(ed), G(reen) or O(ff).
FakeHidlLight::Call Hidl(char c) {
    return {8, MakeHidlLightState(c == 'R' ? kRed : c == 'G' ? 0xFF00FF00u : 0u), 0};
}

class LEDTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { TimerProvider::Initialize(); }
    static void TearDownTestSuite() { TimerProvider::DeInitialize(); }
    void SetUp() override { NewModule(); }
    void TearDown() override {
        NewModule();
        FakeHidlLight::Remove();
    }
    // Each module's timer goes back to the timer service before the module goes.
    void NewModule() {
        if (module_ != nullptr) TimerProvider::DestroyTimer(module_->p_goodDecodeTimer);
        module_ = std::make_unique<LEDProbe>();
        orvex::binder::Reset();
    }

    std::unique_ptr<LEDProbe> module_;
};

// One scan after another on the HIDL light (Steps' steps). A and D make the caller allow or deny
// the LED, N drops the callback; W waits for the timer's call. Colours: R(ed), G(reen), O(ff).
// Lines: 8 set light, c SetCallback, e no callback, a/n LED (not) available, r/o set red/off.
TEST_F(LEDTest, ScansDriveTheLightThroughItsColours) {
    struct Case {
        const char *steps, *colors, *lines;
    } cases[] = {
        // clang-format off
        {"d=true,r=true,t=20,A,P1,T1,W", "RGR", "c88ar8"},
        {"d=true,t=20,A,P1,T1,W", "RGO", "c88ao8"},
        {"d=true,r=true,P1,T1", "RR", "8ear8"},  // no timer: green is never shown
        {"d=true,t=-1,P1,T1", "RO", "8eao8"}, {"d=true,r=true,t=0,P1,T1", "RR", "8ear8"},
        {"r=true,t=0,P1,T1", "", ""},
        // A reset during the green phase changes nothing; a new scan ends the phase.
        {"d=true,r=true,t=600000,P1,T1,R1,P1,R1", "RGRR", "888ear8"},
        // Switched off, the LED is reset while the old setting still holds.
        {"d=true,r=true,d=off,R1", "RO", "ear8eao8"},
        {"d=true,D,R1,A,R1,N,R1", "OO", "cncao8ceao8"}, {"r=TRUE,d=true,R1", "O", "eao8"},
        // clang-format on
    };
    const std::string reset = "[LEDNotification<T>::ResetFeedback()] ";
    // clang-format off
    const std::map<char, Entry> lines = {
        {'8', kSet8}, {'c', Info("[LEDNotification<T>::SetCallback]")},
        {'e', Error("[LEDNotification<T>::isScanLEDAccessible] callback is null")},
        {'a', Debug(reset + "Scan LED is available.")}, {'r', Debug(reset + "setting RED LED")},
        {'n', Info(reset + "Scan LED is not available.")},
        {'o', Debug(reset + "setting LED to OFF")}};
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.steps);
        NewModule();
        sp<FakeHidlLight> light = FakeHidlLight::Register();
        Steps(*module_, "I1");
        HidlCalls colors;
        for (char color : std::string(c.colors)) colors.push_back(Hidl(color));
        Lines expected;
        for (const char* p = c.lines; *p != '\0'; ++p) expected.push_back(lines.at(*p));
        LedAccess access;
        ScopedCapture log;
        Steps(*module_, c.steps, [&](const std::string& s) {
            if (s == "W") return (void)light->WaitForCalls(colors.size(), std::chrono::seconds(10));
            access.allowed = s == "A";
            module_->SetCallback(s == "N" ? nullptr : &access);
        });
        EXPECT_EQ(colors, light->Calls());
        EXPECT_EQ(expected, OwnLines(log));
    }
}

// HIDL first, then the first AIDL light of the device's own type 100, asked for at every change.
TEST_F(LEDTest, LightIsTheHidlOneOrTheAidlScanLedOrNone) {
    const Entry aidl = Error("creating AIDL interface\n");
    const Entry set100 = Debug("[AIDLinterface::setlight] set light 100\n");
    const AidlCall get = {AidlCall::kGetLights, 0, {}, 0};
    auto set = [](int32_t id) {
        return AidlCall{AidlCall::kSetLightState, id, MakeLightState(kRed), 0};
    };
    struct Case {
        bool hidl;
        std::vector<android::hardware::light::HwLight> lights;
        std::vector<AidlCall> calls;
        Lines lines;
    } cases[] = {
        // clang-format off
        {true, FakeAidlLights::DefaultLights(), {}, {Error("creating HIDL interface\n"), kSet8}},
        {false, {MakeLight(4, 0, 4), MakeLight(7, 1, 100), MakeLight(9, 2, 100)},
         {get, set(7)}, {kUnable, aidl, set100}},
        {false, {MakeLight(0, 0, 4), MakeLight(1, 0, 5)}, {get}, {kUnable, aidl}},
        // clang-format on
    };
    for (const Case& c : cases) {
        NewModule();
        sp<FakeHidlLight> hidl = c.hidl ? FakeHidlLight::Register() : nullptr;
        if (!c.hidl) FakeHidlLight::Remove();
        sp<FakeAidlLights> lights = FakeAidlLights::Register(c.lights);
        ScopedCapture log;
        Steps(*module_, "I1,d=true,P1");
        EXPECT_EQ(c.calls, lights->Calls());
        EXPECT_EQ(c.lines, OwnLines(log));
        EXPECT_TRUE(LightHal::b_LightInit && (!c.hidl || hidl->Calls() == HidlCalls{Hidl('R')}));
    }

    // Without either service both are tried again each time.
    NewModule();
    FakeHidlLight::Remove();
    ScopedCapture log;
    Steps(*module_, "S0,I0");
    EXPECT_EQ((Lines{kUnable, kUnable, kUnable, kUnable,
                     Error("[LEDNotification::InitializeFeedback] initialization failed")}),
              OwnLines(log));
    EXPECT_FALSE(LightHal::b_LightInit);
    sp<FakeAidlLights> lights = FakeAidlLights::Register(FakeAidlLights::DefaultLights());
    // A probe leaves no light object; "datacapture_led_id" connects again, whatever its value.
    Steps(*module_, "S1");
    EXPECT_FALSE(LightHal::lighthal != nullptr || LightHal::b_LightInit);
    Steps(*module_, "datacapture_led_id=17");
    EXPECT_NE(nullptr, LightHal::lighthal);
    EXPECT_TRUE(LightHal::lighthal == module_->p_light && LightHal::b_LightInit);
    EXPECT_TRUE(lights->Calls().empty());
}

// The timer's own changes are the scans' (a new value, 0 and -1 each show in the colours).
TEST_F(LEDTest, ConvertToargbAndTheOtherAnswersAreFixed) {
    EXPECT_TRUE(module_->ReinitializeFeedback() && module_->ReadSubmit());
    EXPECT_FALSE(module_->CheckExternalHeadset() || module_->GetParameter("volume") != nullptr);
    EXPECT_EQ(0x01020304u, module_->ConvertToargb(1, 2, 3, 4));
}

// The connection is fetched until the manager and its interface answer, shared while the
// manager answers its ping, and dropped by a probe, a failure or a module's destruction (the
// manager's deaths are the service-death table's). Each scan asks for the vibrator and vibrates
// for 300 whatever the settings.
TEST(IExternalHapticFeedack, ConnectsScansAndDropsItsConnection) {
    using Hal = ExternalHapticFeedackHal;
    using HapticCalls = std::vector<std::string>;
    auto dropped = [] {
        return Hal::sp_IDCHWManager == nullptr && Hal::sp_PlugableHal == nullptr &&
               !Hal::b_ExternalHapticFeedackInit;
    };
    HardwareManagerSim sim{false};
    sp<FakePlugableDeviceNotifier> notifier = new FakePlugableDeviceNotifier();
    sim.AddBuilder([&](FakeDCHWManager& manager) { manager.SetPlugableDeviceNotifier(notifier); });
    auto module = std::make_unique<IExternalHapticFeedack<ANDROID_VERSION_10>>();
    ScopedCapture log;
    Steps(*module, "P0");  // not initialized
    Steps(*module, "S0,I0");
    HardwareManagerSim bare;  // a manager without a pluggable interface
    Steps(*module, "I0");
    EXPECT_EQ(nullptr, Hal::sp_IDCHWManager);
    bare.Remove();
    sim.Start();
    Steps(*module, "S1");
    EXPECT_TRUE(dropped());
    sim.manager()->calls().Clear();
    Steps(*module, "I1");
    IExternalHapticFeedack<ANDROID_VERSION_10> second;
    Steps(second, "I1,duration=10,P0,T1");
    EXPECT_EQ(HapticCalls{"getPlugableDeviceNotifier()"}, sim.manager()->calls().Calls());
    notifier->SetExternalVibratorPresent(true);  // plugged in between scans
    notifier->SetVibrateResult(-5);
    Steps(second, "P1,T1,R1");
    EXPECT_EQ((HapticCalls{"isExternalVibratorPresent()", "isExternalVibratorPresent()",
                           "vibrateExternal(300)"}),
              notifier->calls().Calls());
    module.reset();
    EXPECT_TRUE(dropped());
    const std::string prep = "[IExternalHapticFeedack<T>::PrepareFeedbackForTrigger ] ";
    const std::string available = "[IExternalHapticFeedack<T>::IsSupported] bExternalHapticFeedack";
    const Entry noManager = Error("[IDCHWManager] Unable to get IDCHWManager interface."),
                failed =
                    Error("[IExternalHapticFeedack<T>::InitializeFeedback] intialisation failed"),
                acquired = Debug("[IDCHWManager] Acquired Plugable interface."),
                associated = Info(
                    "[IExternalHapticFeedack<T>::InitializeFeedback] External Haptic "
                    "feedback HAL has been associated"),
                trigger = Debug("[IExternalHapticFeedack::TriggerFeedback] +");
    // clang-format off
    EXPECT_EQ((Lines{Debug(prep + "+"),
                     Error(prep + "Something is wrong. IQBIoConnectorDevice is null"), noManager,
                     Debug(available + "Available=0 "), noManager, failed,
                     Error("[IDCHWManager] Unable to get Plugable interface."), failed, acquired,
                     Debug(available + "Available=1 "), acquired, associated,
                     Debug("[IExternalHapticFeedack<T>::IExternalHapticFeedack] ctor"), associated,
                     Debug(prep + "+"), Info(prep + "External vibrator not present"), trigger,
                     Debug(prep + "+"), Debug(prep + "External vibrator present"), trigger,
                     Debug("[IExternalHapticFeedack::TriggerFeedback] vibrateExternal ret:-5"),
                     Debug("[IExternalHapticFeedack<T>::~IExternalHapticFeedack]  dtor ")}),
              OwnLines(log));
    // clang-format on
}

}  // namespace
