// The feedback modules against the simulator's fakes: the beep and its audio client (beep
// service, audio service and policy), the scan LED (HIDL and AIDL lights, timer service) and the
// external haptic module (hardware manager and its pluggable-device interface).

#include <binder/IServiceManager.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <pthread.h>

#include <chrono>
#include <map>
#include <memory>
#include <sstream>

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
struct HWBeepProbe : HWBeep<ANDROID_VERSION_10> {
    using HWBeep::m_Parameters;
};
struct LEDProbe : LEDNotification<ANDROID_VERSION_10> {
    using LEDNotification::i_goodDecodeLedTimer, LEDNotification::p_goodDecodeTimer,
        LEDNotification::p_light;
};

Beep::Call Config(int frequency, int duration, int volume) {
    return Beep::SetBeepConfig(frequency, duration, volume, 15000, 15000);
}
// The audio client's volume queries for a stream: current (code 8), then maximum (code 10).
Asked Queries(int stream) { return {{8, 0, true, {stream}, ""}, {10, 0, true, {stream}, ""}}; }

// The modules' own lines: the device-information lines the beep causes are that component's.
Lines OwnLines(const ScopedCapture& log) {
    Lines out;
    for (const Entry& e : log.Entries()) {
        if (e.tag == "ScannerFramework" && e.message.rfind("[DeviceInfo::", 0) == 0) continue;
        if (e.tag == "ScannerFramework" || e.tag == "SFSoftwareCFA") out.push_back(e);
    }
    return out;
}

// The audio client looks the service up once per process, sends each call with its code and
// arguments, and answers -1 without the service, which the beep takes as -1 of -1: volume 10.
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
            check.True("same instance", audio == AudioManager::GetInstance());
            // A service that appears later is never looked up.
            orvex::binder::SetServiceManagerAvailable(true);
            if (fake == nullptr) fake = FakeAudioService::Register();
            fake->SetStreamVolume(5, 2, 7);
            check.Eq("volume", audio->GetStreamVolume(5), c.service ? 2 : -1);
            check.Eq("max", audio->GetStreamMaxVolume(5), c.service ? 7 : -1);
            android::String8 package("pkg");
            audio->setStreamVolume(5, 4, 0, package);
            check.Eq("volume after set", audio->GetStreamVolume(5), c.service ? 4 : -1);
            Asked asked = Queries(5);
            asked.insert(asked.end(), {{3, 0, true, {5, 4, 0}, "pkg"}, {8, 0, true, {5}, ""}});
            check.True("transactions", fake->Transactions() == (c.service ? asked : Asked{}));
            SetScannerBeepVolume(-1);
            sp<Beep> beep = Beep::Register();
            HWBeepProbe module;  // 4 of 7 on the notification stream, or -1 of -1
            module.SetParameter("volume_slider_type", "3");
            check.True("initialize", module.InitializeFeedback());
            beep->ClearCalls();
            module.PrepareFeedbackForTrigger();
            check.True("config", beep->Calls() == Calls{Config(12, 30, c.service ? 6 : 10)});
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
        module_ = std::make_unique<HWBeepProbe>();
    }
    void TearDown() override {
        module_.reset();
        Beep::Remove();
    }

    static inline FakeAudioService* audio_ = nullptr;
    sp<Beep> beep_;
    std::unique_ptr<HWBeepProbe> module_;
};

// Each case sets its parameters ("key=value", in order) on a new module and prepares it with the
// device's scanner beep volume and the stream's answers: `stream` is the stream asked (0: none),
// the tone goes to the service (frequency -1: silenced, nothing does).
TEST_F(HWBeepTest, PreparationFollowsTheParametersAndTheVolumes) {
    struct Case {
        const char* params;
        int scannerVolume, stream, current, max, frequency, duration, volume;
    } cases[] = {
        // clang-format off
        {"", 5, 0, 7, 15, 12, 30, 5}, {"", 0, 0, 7, 15, 12, 30, 0},
        // 4.67; 7.5, halves away from zero; no maximum; not clamped; saturates.
        {"", -1, 4, 7, 15, 12, 30, 5}, {"", -1, 4, 3, 4, 12, 30, 8}, {"", -1, 4, -3, 4, 12, 30, -8},
        {"", -1, 4, 5, 0, 12, 30, 2}, {"", -1, 4, 20, 10, 12, 30, 20},
        {"", -1, 4, INT_MAX, 1, 12, 30, INT_MAX}, {"", -1, 4, INT_MIN, 1, 12, 30, INT_MIN},
        {"ignore_ovc_volume=true", 9, 4, 3, 15, 12, 30, 2},
        {"ignore_ovc_volume=TRUE", 9, 0, 3, 15, 12, 30, 9},
        {"ignore_ovc_volume=1", 9, 0, 3, 15, 12, 30, 9},
        {"ignore_ovc_volume=true ", 9, 0, 3, 15, 12, 30, 9},
        {"ignore_ovc_volume=true,ignore_ovc_volume=false", 9, 0, 3, 15, 12, 30, 9},
        {"volume_slider_type=0", -1, 2, 7, 7, 12, 30, 10},
        {"volume_slider_type=1", -1, 3, 3, 15, 12, 30, 2},
        {"volume_slider_type=3", -1, 5, 1, 7, 12, 30, 1},
        {"volume_slider_type=7", -1, 5, 1, 7, 12, 30, 1},
        {"volume_slider_type=-1", -1, 5, 1, 7, 12, 30, 1},
        {"remote_scanner_audio_feedback_mode=0", 5, 0, 7, 15, 12, 30, 5},
        {"remote_scanner_audio_feedback_mode=1", -1, 0, 7, 15, -1, 0, 0},
        {"remote_scanner_audio_feedback_mode=2", 5, 0, 7, 15, 12, 30, 5},
        {"remote_scanner_audio_feedback_mode=3", -1, 0, 7, 15, -1, 0, 0},
        {"remote_scanner_audio_feedback_mode=4", 5, 0, 7, 15, 12, 30, 5},
        {"remote_scanner_audio_feedback_mode=x", 5, 0, 7, 15, 12, 30, 5},
        {"frequency=abc", 5, 0, 7, 15, 0, 30, 5}, {"duration=45ms", 5, 0, 7, 15, 12, 45, 5},
        {"frequency=2500,duration=90,volume=3", 7, 0, 7, 15, 2500, 90, 7},
        {"timeout=5,Frequency=5", 5, 0, 7, 15, 12, 30, 5},
        // clang-format on
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.params);
        SetScannerBeepVolume(c.scannerVolume);
        audio_->SetStreamVolume(c.stream == 0 ? 4 : c.stream, c.current, c.max);
        HWBeepProbe module;
        ASSERT_TRUE(module.InitializeFeedback());
        beep_->ClearCalls();
        audio_->ClearTransactions();
        Lines lines;
        std::string slider = "2";
        ScopedCapture log;
        std::istringstream params(c.params);
        for (std::string key, value;
             std::getline(params, key, '=') && std::getline(params, value, ',');) {
            module.SetParameter(key.c_str(), value.c_str());
            if (key == "volume_slider_type") slider = value;
            if (key + value == "ignore_ovc_volumetrue") {
                lines.push_back(Debug("[HWBeep::SetParameter] b_ignore_ovc_volume to true\n"));
            }
        }
        EXPECT_TRUE(module.PrepareFeedbackForTrigger());
        lines.push_back(Debug("[HWBeep<T>::PrepareFeedbackForTrigger ] +"));
        const std::string prepare = "[HWBEEP<T>::PrepareFeedbackForTrigger] ";
        // The slider setting, not the stream it selects, is what the line reports.
        if (c.stream != 0) {
            lines.push_back(Debug(prepare + "Stream " + slider + ", Current volume " +
                                  std::to_string(c.current) + ", Max volume " +
                                  std::to_string(c.max)));
        }
        if (c.frequency != -1) {
            lines.push_back(Debug(prepare + "i_Volume= " + std::to_string(c.volume)));
            EXPECT_EQ("frequency=" + std::to_string(c.frequency) + ";duration=" +
                          std::to_string(c.duration) + ";volume=" + std::to_string(c.volume) +
                          ";timeout=15000;timeout_after=15000",
                      module.m_Parameters);
        }
        EXPECT_EQ(c.frequency == -1 ? Calls{} : Calls{Config(c.frequency, c.duration, c.volume)},
                  beep_->Calls());
        EXPECT_EQ(c.stream == 0 ? Asked{} : Queries(c.stream), audio_->Transactions());
        EXPECT_EQ(lines, OwnLines(log));
    }
}

TEST_F(HWBeepTest, TriggerRestartsOnceWhenTheServiceRefuses) {
    const Calls start = {Beep::StartBeep()};
    const Calls again = {Beep::StartBeep(), Config(12, 30, 7), Beep::StartBeep()};
    const std::string trigger = "[HWBeep::TriggerFeedback] ";
    Lines beeped = {Debug(trigger + "+"), Debug(trigger + "- start_beep +")};
    for (const char* cfa : {"in SF Trigger \n", "beep start Trigger", "beep stop Trigger"}) {
        beeped.push_back({4, "SFSoftwareCFA", trigger + "--Audio " + cfa});
    }
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
    ASSERT_TRUE(module_->InitializeFeedback());
    for (const Case& c : cases) {
        module_->SetParameter("remote_scanner_audio_feedback_mode", c.mode);
        beep_->ScriptStartBeep(c.answers);
        beep_->ClearCalls();
        ScopedCapture log;
        EXPECT_TRUE(module_->TriggerFeedback());
        EXPECT_EQ(c.calls, beep_->Calls()) << c.mode << c.calls.size();
        EXPECT_EQ(c.calls.empty() ? Lines{beeped[0]} : beeped, OwnLines(log));
    }
}

// The connection is shared by every beep module and dropped by a probe, a failure or a
// module's destruction; a dead or missing service is fetched again.
TEST_F(HWBeepTest, SharedConnectionIsProbedDroppedAndFetchedAgain) {
    auto held = [] { return HWBeepHal::sp_IHardwareBeepConfigs != nullptr; };
    beep_->SetSupported(false);
    ScopedCapture log;
    EXPECT_FALSE(module_->IsSupported());
    EXPECT_FALSE(module_->InitializeFeedback());
    EXPECT_EQ((Calls{Beep::IsHWBeepSupported(), Beep::IsHWBeepSupported()}), beep_->Calls());
    beep_->SetSupported(true);
    EXPECT_TRUE(module_->IsSupported());
    EXPECT_FALSE(held() || HWBeepHal::b_HWbeepInit);
    EXPECT_TRUE(module_->InitializeFeedback());
    EXPECT_TRUE(held() && HWBeepHal::b_HWbeepInit);

    // The service restarts: the held reference fails its ping, the new instance is fetched.
    sp<Beep> old = beep_;
    old->ClearCalls();
    beep_ = Beep::Register();
    HWBeepProbe second;
    EXPECT_TRUE(second.InitializeFeedback());
    second.PrepareFeedbackForTrigger();
    EXPECT_EQ((Calls{Beep::IsHWBeepSupported(), Config(12, 30, 5)}), beep_->Calls());
    EXPECT_TRUE(old->Calls().empty());
    module_.reset();
    EXPECT_FALSE(held() || HWBeepHal::b_HWbeepInit);

    Beep::Remove();
    EXPECT_FALSE(second.IsSupported());
    EXPECT_FALSE(second.InitializeFeedback());
    const Entry unable = Error("[HWBeep::HWBeep()] Unable to get IHardwareBeepConfigs interface.");
    EXPECT_EQ((Lines{Error("[HWBEEP::InitializeFeedback] HWBEEP IS NOT SUPPORTED.."),
                     Debug("[HWBeep<T>::PrepareFeedbackForTrigger ] +"),
                     Debug("[HWBEEP<T>::PrepareFeedbackForTrigger] i_Volume= 5"), unable, unable,
                     Error("[HWBeep::InitializeFeedback] initialization failed")}),
              OwnLines(log));
    beep_ = Beep::Register();
    EXPECT_TRUE(second.InitializeFeedback());
    // An empty fetch is not repeated until the state is cleared.
    HWBeepHal::b_HWbeepInit = true;
    HWBeepHal::sp_IHardwareBeepConfigs.clear();
    EXPECT_EQ(nullptr, HWBeepHal::associate());
    HWBeepHal::b_HWbeepInit = false;
    EXPECT_NE(nullptr, HWBeepHal::associate());
    EXPECT_DEATH(
        {
            Beep::Kill();
            second.TriggerFeedback();
        },
        "Attempted to retrieve value from failed HIDL call");
}

TEST_F(HWBeepTest, HeadsetCheckAsksAllNineOutputsInOrder) {
    const std::vector<orvex::audio::DeviceQuery> nine = {
        {0x4, ""},   {0x8, ""},  {0x4000000, ""}, {0x80, ""}, {0x100, ""},
        {0x200, ""}, {0x10, ""}, {0x20, ""},      {0x40, ""},
    };
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
        EXPECT_EQ(nine, orvex::audio::DeviceQueries());
        EXPECT_EQ(Lines{headset ? Info(check + "BT or Wired Headset detected\n")
                                : Debug(check + "No External Headset is connected\n")},
                  OwnLines(log));
    }
}

TEST_F(HWBeepTest, RegisteredFeedbackModulesAnswerTheirFixedValues) {
    struct Case {
        PlatformModuleTag tag;
        const char *name, *parameter;
        bool reinitialized;
    } cases[] = {
        {PLATFORM_MODULE_BEEP, "HWBeep", "", true},
        {PLATFORM_MODULE_LED, "LEDNotification", nullptr, true},
        {PLATFORM_MODULE_EXTERNAL_HAPTIC, "IExternalHapticFeedack", nullptr, false},
    };
    for (const Case& c : cases) {
        std::unique_ptr<IFeedbackModule> module(
            static_cast<IFeedbackModule*>(ComponentIndex::Instance()->CreateModule(c.tag, c.name)));
        ASSERT_NE(nullptr, module) << c.name;
        EXPECT_STREQ(c.name, module->GetModuleName());
        EXPECT_STREQ(c.parameter, module->GetParameter("volume"));
        EXPECT_EQ(c.reinitialized, module->ReinitializeFeedback());
        EXPECT_TRUE(module->ReadSubmit());
        EXPECT_FALSE(module->CheckExternalHeadset());
        module->ReleaseResources();
        module->SetCallback(nullptr);
    }
    EXPECT_TRUE(module_->ResetFeedback());
    EXPECT_TRUE(beep_->Calls().empty());
}

constexpr uint32_t kRed = 0xFFFF0000u, kGreen = 0xFF00FF00u, kOff = 0u;
const Entry kUnable = Error("[LEDNotification::LEDNotification()] Unable to get ILight interface.");
const Entry kSet8 = Debug("[HIDLinterface::setlight] set light 8\n");
using AidlCall = FakeAidlLights::Call;
using HidlCalls = std::vector<FakeHidlLight::Call>;

struct LedAccess : ICallback {
    bool IsLEDAccessible() override { return allowed; }
    bool allowed = true;
};

FakeHidlLight::Call Hidl(uint32_t color) { return {8, MakeHidlLightState(color), 0}; }

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

// One scan after another on the HIDL light. Steps: "d=", "r=" and "t=" set decoding_led_feedback,
// isRedLedActive and good_decode_led_timer; P, T and R prepare, trigger and reset (each answers
// true); A and D make the caller allow or deny the LED, N drops the callback; W waits for the
// timer's call, made on the timer service's callback thread. Colours: R(ed), G(reen), O(ff).
// Lines: 8 set light, c SetCallback, e no callback, a/n LED (not) available, r/o set red/off.
TEST_F(LEDTest, ScansDriveTheLightThroughItsColours) {
    struct Case {
        const char *steps, *colors, *lines;
    } cases[] = {
        // clang-format off
        {"d=true r=true t=20 A P T W", "RGR", "c88ar8"}, {"d=true t=20 A P T W", "RGO", "c88ao8"},
        {"d=true r=true P T", "RR", "8ear8"},  // no timer: green is never shown
        {"d=true t=-1 P T", "RO", "8eao8"}, {"d=true r=true t=0 P T", "RR", "8ear8"},
        {"r=true t=0 P T", "", ""},
        // A reset during the green phase changes nothing; a new scan ends the phase.
        {"d=true r=true t=600000 P T R P R", "RGRR", "888ear8"},
        // Switched off, the LED is reset while the old setting still holds.
        {"d=true r=true d=off R", "RO", "ear8eao8"},
        {"d=true D R A R N R", "OO", "cncao8ceao8"}, {"r=TRUE d=true R", "O", "eao8"},
        // clang-format on
    };
    const std::map<char, std::string> keys = {
        {'d', "decoding_led_feedback"}, {'r', "isRedLedActive"}, {'t', "good_decode_led_timer"}};
    const std::string reset = "[LEDNotification<T>::ResetFeedback()] ";
    const std::map<char, Entry> lines = {
        {'8', kSet8},
        {'c', Info("[LEDNotification<T>::SetCallback]")},
        {'e', Error("[LEDNotification<T>::isScanLEDAccessible] callback is null")},
        {'a', Debug(reset + "Scan LED is available.")},
        {'n', Info(reset + "Scan LED is not available.")},
        {'r', Debug(reset + "setting RED LED")},
        {'o', Debug(reset + "setting LED to OFF")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.steps);
        NewModule();
        sp<FakeHidlLight> light = FakeHidlLight::Register();
        ASSERT_TRUE(module_->InitializeFeedback());
        HidlCalls colors;
        for (const char* p = c.colors; *p != '\0'; ++p) {
            colors.push_back(Hidl(*p == 'R' ? kRed : *p == 'G' ? kGreen : kOff));
        }
        Lines expected;
        for (const char* p = c.lines; *p != '\0'; ++p) expected.push_back(lines.at(*p));
        LedAccess access;
        ScopedCapture log;
        std::istringstream steps(c.steps);
        for (std::string s; steps >> s;) {
            if (s.size() > 2 && s[1] == '=') {
                module_->SetParameter(keys.at(s[0]).c_str(), s.c_str() + 2);
            } else if (s == "W") {
                ASSERT_TRUE(light->WaitForCalls(colors.size(), std::chrono::seconds(10)));
                const HidlCalls calls = light->Calls();
                EXPECT_TRUE(pthread_equal(calls.back().thread, TimerProvider::ms_CallbackThread));
                EXPECT_TRUE(pthread_equal(calls[calls.size() - 2].thread, pthread_self()));
            } else if (s == "A" || s == "D" || s == "N") {
                access.allowed = s == "A";
                module_->SetCallback(s == "N" ? nullptr : &access);
            } else {
                EXPECT_TRUE(s == "P"   ? module_->PrepareFeedbackForTrigger()
                            : s == "T" ? module_->TriggerFeedback()
                                       : module_->ResetFeedback());
            }
        }
        EXPECT_EQ(colors, light->Calls());
        EXPECT_EQ(expected, OwnLines(log));
    }
}

// HIDL first, then the first AIDL light of the device's own type 100, asked for at every change.
TEST_F(LEDTest, LightIsTheHidlOneOrTheAidlScanLed) {
    const Entry aidl = Error("creating AIDL interface\n");
    const Entry set100 = Debug("[AIDLinterface::setlight] set light 100\n");
    const AidlCall get = {AidlCall::kGetLights, 0, {}, 0};
    auto set = [](int32_t id) {
        return AidlCall{AidlCall::kSetLightState, id, MakeLightState(kRed), 0};
    };
    const std::vector<android::hardware::light::HwLight> usual = FakeAidlLights::DefaultLights();
    struct Case {
        bool hidl, remote;
        std::vector<android::hardware::light::HwLight> lights;
        std::vector<AidlCall> calls;
        Lines lines;
    } cases[] = {
        // clang-format off
        {true, false, usual, {}, {Error("creating HIDL interface\n"), kSet8}},
        {false, false, {MakeLight(4, 0, 4), MakeLight(7, 1, 100), MakeLight(9, 2, 100)},
         {get, set(7)}, {kUnable, aidl, set100}},
        {false, false, {MakeLight(0, 0, 4), MakeLight(1, 0, 5)}, {get}, {kUnable, aidl}},
        {false, true, usual, {get, set(1)}, {kUnable, aidl, set100}},
        // clang-format on
    };
    for (const Case& c : cases) {
        NewModule();
        sp<FakeHidlLight> hidl = c.hidl ? FakeHidlLight::Register() : nullptr;
        if (!c.hidl) FakeHidlLight::Remove();
        sp<FakeAidlLights> lights = FakeAidlLights::Register(c.lights, c.remote);
        ScopedCapture log;
        EXPECT_TRUE(module_->InitializeFeedback());
        module_->SetParameter("decoding_led_feedback", "true");
        EXPECT_TRUE(module_->PrepareFeedbackForTrigger());
        EXPECT_EQ(c.calls, lights->Calls());
        EXPECT_EQ(c.lines, OwnLines(log));
        EXPECT_TRUE(LightHal::b_LightInit);
        EXPECT_TRUE(!c.hidl || hidl->Calls() == HidlCalls{Hidl(kRed)});
    }
}

TEST_F(LEDTest, WithoutLightsServicesBothAreTriedAgainEachTime) {
    ScopedCapture log;
    EXPECT_FALSE(module_->IsSupported());
    EXPECT_FALSE(module_->InitializeFeedback());
    EXPECT_EQ((Lines{kUnable, kUnable, kUnable, kUnable,
                     Error("[LEDNotification::InitializeFeedback] initialization failed")}),
              OwnLines(log));
    EXPECT_FALSE(LightHal::b_LightInit);

    // Registered but not declared: the AIDL lookup does not wait for it.
    sp<FakeAidlLights> aidl = new FakeAidlLights();
    android::defaultServiceManager()->addService(
        android::String16(FakeAidlLights::InstanceName().c_str()), aidl);
    EXPECT_FALSE(module_->InitializeFeedback());
    orvex::binder::Declare(FakeAidlLights::InstanceName());
    // A probe leaves no light object; "datacapture_led_id" connects again, whatever its value.
    EXPECT_TRUE(module_->IsSupported());
    EXPECT_FALSE(LightHal::lighthal != nullptr || LightHal::b_LightInit);
    module_->SetParameter("datacapture_led_id", "17");
    EXPECT_NE(nullptr, LightHal::lighthal);
    EXPECT_TRUE(LightHal::lighthal == module_->p_light && LightHal::b_LightInit);
    EXPECT_TRUE(aidl->Calls().empty());
}

TEST_F(LEDTest, TimerIsRecreatedOnlyOnChangeAndAnUnknownOneStillResets) {
    EXPECT_EQ(-1, module_->i_goodDecodeLedTimer);
    module_->SetParameter("good_decode_led_timer", "50");
    TimerProvider* timer = module_->p_goodDecodeTimer;
    ASSERT_NE(nullptr, timer);
    EXPECT_TRUE(timer->n_IntervalMs == 50 && timer->p_Context == module_.get());
    module_->SetParameter("good_decode_led_timer", "50");
    EXPECT_EQ(timer, module_->p_goodDecodeTimer);
    module_->SetParameter("good_decode_led_timer", "-1");
    ASSERT_NE(nullptr, module_->p_goodDecodeTimer);
    EXPECT_EQ(-1, module_->p_goodDecodeTimer->n_IntervalMs);
    module_->SetParameter("good_decode_led_timer", "0");
    EXPECT_TRUE(module_->p_goodDecodeTimer == nullptr && module_->i_goodDecodeLedTimer == 0);

    sp<FakeHidlLight> light = FakeHidlLight::Register();
    ASSERT_TRUE(module_->InitializeFeedback());
    timer = TimerProvider::CreateNewTimer(1000, &LEDProbe::OnTimer, module_.get());
    ScopedCapture log;
    LEDProbe::OnTimer(timer);
    EXPECT_EQ(HidlCalls{Hidl(kOff)}, light->Calls());
    ASSERT_FALSE(OwnLines(log).empty());
    EXPECT_EQ(
        Error("[LEDNotification<T>::OnTimer] Unknown timer triggered on LEDNotification Module"),
        OwnLines(log)[0]);
    TimerProvider::DestroyTimer(timer);
}

TEST_F(LEDTest, ConvertToargbDoesNotMask) {
    const uint32_t cases[][5] = {
        {255, 255, 0, 0, 0xFFFF0000u}, {255, 0, 255, 0, 0xFF00FF00u}, {0, 0, 0, 0, 0u},
        {0, 256, 0, 0, 0x01000000u},   {1, 2, 3, 4, 0x01020304u},     {0, 0, 0, 0x1FF, 0x1FFu}};
    for (const auto& c : cases) {
        EXPECT_EQ(c[4], module_->ConvertToargb(c[0], c[1], c[2], c[3])) << c[0] << c[1] << c[2];
    }
}

const std::string kPrep = "[IExternalHapticFeedack<T>::PrepareFeedbackForTrigger ] ";
const Entry kPrepare = Debug(kPrep + "+");
const Entry kAcquired = Debug("[IDCHWManager] Acquired Plugable interface.");
const Entry kCtor = Debug("[IExternalHapticFeedack<T>::IExternalHapticFeedack] ctor");
const Entry kAssociated = Info(
    "[IExternalHapticFeedack<T>::InitializeFeedback] External Haptic feedback HAL has been "
    "associated");
using HapticCalls = std::vector<std::string>;
using Hal = ExternalHapticFeedackHal;

struct HapticProbe : IExternalHapticFeedack<ANDROID_VERSION_10> {
    using IExternalHapticFeedack::b_externalVibratorPresent;
};

class HapticTest : public ::testing::Test {
  protected:
    // Every manager instance hands out a new pluggable interface, as a restarted service would.
    void SetUp() override {
        sim_.AddBuilder([this](FakeDCHWManager& manager) {
            notifier_ = new FakePlugableDeviceNotifier();
            manager.SetPlugableDeviceNotifier(notifier_);
        });
    }
    void TearDown() override { sim_.Remove(); }

    HardwareManagerSim sim_{false};
    sp<FakePlugableDeviceNotifier> notifier_;
};

TEST_F(HapticTest, EachScanAsksForTheVibratorAndVibratesForThreeHundred) {
    sim_.Start();
    ScopedCapture log;
    HapticProbe module;
    ASSERT_TRUE(module.InitializeFeedback());
    module.SetParameter("duration", "10");  // no setting changes the duration
    EXPECT_FALSE(module.PrepareFeedbackForTrigger());
    EXPECT_TRUE(module.TriggerFeedback());
    notifier_->SetExternalVibratorPresent(true);  // plugged in between scans
    notifier_->SetVibrateResult(-5);
    EXPECT_TRUE(module.PrepareFeedbackForTrigger());
    EXPECT_TRUE(module.TriggerFeedback());
    EXPECT_TRUE(module.ResetFeedback());
    EXPECT_EQ((HapticCalls{"isExternalVibratorPresent()", "isExternalVibratorPresent()",
                           "vibrateExternal(300)"}),
              notifier_->calls().Calls());
    EXPECT_EQ(HapticCalls{"getPlugableDeviceNotifier()"}, sim_.manager()->calls().Calls());
    const Entry trigger = Debug("[IExternalHapticFeedack::TriggerFeedback] +");
    EXPECT_EQ((Lines{kCtor, kAcquired, kAssociated, kPrepare,
                     Info(kPrep + "External vibrator not present"), trigger, kPrepare,
                     Debug(kPrep + "External vibrator present"), trigger,
                     Debug("[IExternalHapticFeedack::TriggerFeedback] vibrateExternal ret:-5")}),
              OwnLines(log));
}

// The connection is fetched until the manager and its interface answer, shared while the
// manager answers its ping, and dropped by a probe, a failure or a module's destruction.
TEST_F(HapticTest, ConnectionIsFetchedUntilItAnswersSharedAndDropped) {
    auto dropped = [] {
        return Hal::sp_IDCHWManager == nullptr && Hal::sp_PlugableHal == nullptr &&
               !Hal::b_ExternalHapticFeedackInit;
    };
    auto module = std::make_unique<HapticProbe>();
    module->b_externalVibratorPresent = true;
    ScopedCapture log;
    EXPECT_FALSE(module->PrepareFeedbackForTrigger());  // not initialized
    EXPECT_TRUE(module->b_externalVibratorPresent);
    EXPECT_FALSE(module->IsSupported());
    EXPECT_FALSE(module->InitializeFeedback());
    HardwareManagerSim bare;  // a manager without a pluggable interface
    EXPECT_FALSE(module->InitializeFeedback());
    EXPECT_EQ(nullptr, Hal::sp_IDCHWManager);
    bare.Remove();
    sim_.Start();
    EXPECT_TRUE(module->IsSupported());
    EXPECT_TRUE(dropped());
    sim_.manager()->calls().Clear();
    EXPECT_TRUE(module->InitializeFeedback());
    HapticProbe second;
    EXPECT_TRUE(second.InitializeFeedback());
    EXPECT_EQ(HapticCalls{"getPlugableDeviceNotifier()"}, sim_.manager()->calls().Calls());

    // A restarted manager fails the ping and is fetched with its new interface.
    sp<FakePlugableDeviceNotifier> old = notifier_;
    sim_.Restart();
    HapticProbe third;
    EXPECT_TRUE(third.InitializeFeedback() && Hal::b_ExternalHapticFeedackInit);
    notifier_->SetExternalVibratorPresent(true);
    EXPECT_TRUE(third.PrepareFeedbackForTrigger());
    EXPECT_EQ(HapticCalls{"isExternalVibratorPresent()"}, notifier_->calls().Calls());
    EXPECT_TRUE(old->calls().Calls().empty());
    module.reset();
    EXPECT_TRUE(dropped());
    const Entry noManager = Error("[IDCHWManager] Unable to get IDCHWManager interface.");
    const Entry failed =
        Error("[IExternalHapticFeedack<T>::InitializeFeedback] intialisation failed");
    const std::string available = "[IExternalHapticFeedack<T>::IsSupported] bExternalHapticFeedack";
    // clang-format off
    EXPECT_EQ((Lines{kPrepare, Error(kPrep + "Something is wrong. IQBIoConnectorDevice is null"),
                     noManager, Debug(available + "Available=0 "), noManager, failed,
                     Error("[IDCHWManager] Unable to get Plugable interface."), failed, kAcquired,
                     Debug(available + "Available=1 "), kAcquired, kAssociated, kCtor, kAssociated,
                     kCtor, kAcquired, kAssociated, kPrepare,
                     Debug(kPrep + "External vibrator present"),
                     Debug("[IExternalHapticFeedack<T>::~IExternalHapticFeedack]  dtor ")}),
              OwnLines(log));
    // clang-format on
}

}  // namespace
