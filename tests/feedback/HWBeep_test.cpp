// The beep module and its audio client, against the fake beep service, audio service and audio
// policy.

#include "HWBeep.h"

#include <gtest/gtest.h>
#include <limits.h>

#include <memory>
#include <sstream>

#include "DeviceInfoBuilder.h"
#include "FakeAudioService.h"
#include "FakeHardwareBeep.h"
#include "FeedbackTestEnv.h"
#include "orvex/audio_devices.h"
#include "orvex/binder_services.h"

namespace {

using namespace feedback_test;
using android::sp;
using orvex::hostlog::ScopedCapture;
using orvex::sim::FakeAudioService;
using Beep = orvex::sim::FakeHardwareBeep;
using Calls = std::vector<Beep::Call>;
using Lines = std::vector<Entry>;

// Opens the module's state to the tests.
class HWBeepProbe : public HWBeep<ANDROID_VERSION_10> {
  public:
    using HWBeep::m_Parameters;
};

Calls Config(int frequency, int duration, int volume) {
    return {Beep::SetBeepConfig(frequency, duration, volume, 15000, 15000)};
}

// The module's own lines: the device-information lines it causes are that component's.
Lines BeepLines(const ScopedCapture& log) {
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
    const Entry received =
        Debug("[AudioManager::LoadService] Received an instance of service manager");
    const Entry unable = Error("[AudioManager::AudioManager] Unable to load AudioManager\n");
    const std::string load = "[AudioManager::LoadService] ";
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
            using Transactions = std::vector<FakeAudioService::Transaction>;
            check.True("transactions", fake->Transactions() ==
                                           (c.service ? Transactions{{8, 0, true, {5}, ""},
                                                                     {10, 0, true, {5}, ""},
                                                                     {3, 0, true, {5, 4, 0}, "pkg"},
                                                                     {8, 0, true, {5}, ""}}
                                                      : Transactions{}));
            SetScannerBeepVolume(-1);
            sp<Beep> beep = Beep::Register();
            HWBeepProbe module;  // 4 of 7 on the notification stream, or -1 of -1
            module.SetParameter("volume_slider_type", "3");
            check.True("initialize", module.InitializeFeedback());
            beep->ClearCalls();
            module.PrepareFeedbackForTrigger();
            check.True("config", beep->Calls() == Config(12, 30, c.service ? 6 : 10));
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
    void Initialize() {
        ASSERT_TRUE(module_->InitializeFeedback());
        beep_->ClearCalls();
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
        {"", 5, 0, 7, 15, 12, 30, 5},
        {"", 0, 0, 7, 15, 12, 30, 0},
        {"", -1, 4, 7, 15, 12, 30, 5},  // 4.67
        {"", -1, 4, 3, 4, 12, 30, 8},   // 7.5: halves away from zero
        {"", -1, 4, -3, 4, 12, 30, -8},
        {"", -1, 4, 5, 0, 12, 30, 2},   // no maximum
        {"", -1, 4, 20, 10, 12, 30, 20},  // not clamped
        {"", -1, 4, INT_MAX, 1, 12, 30, INT_MAX},  // saturates
        {"", -1, 4, INT_MIN, 1, 12, 30, INT_MIN},
        {"ignore_ovc_volume=true", 9, 4, 3, 15, 12, 30, 2},
        {"ignore_ovc_volume=TRUE", 9, 0, 3, 15, 12, 30, 9},
        {"ignore_ovc_volume=true ", 9, 0, 3, 15, 12, 30, 9},
        {"ignore_ovc_volume=1", 9, 0, 3, 15, 12, 30, 9},
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
        {"frequency=abc", 5, 0, 7, 15, 0, 30, 5},
        {"frequency=2500,duration=90,volume=3", 7, 0, 7, 15, 2500, 90, 7},
        {"duration=45ms", 5, 0, 7, 15, 12, 45, 5},
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
        std::vector<FakeAudioService::Transaction> asked;
        if (c.stream != 0) {
            asked = {{8, 0, true, {c.stream}, ""}, {10, 0, true, {c.stream}, ""}};
            // The slider setting, not the stream it selects, is what the line reports.
            lines.push_back(Debug(prepare + "Stream " + slider + ", Current volume " +
                                  std::to_string(c.current) + ", Max volume " +
                                  std::to_string(c.max)));
        }
        const std::string config =
            "frequency=" + std::to_string(c.frequency) + ";duration=" + std::to_string(c.duration) +
            ";volume=" + std::to_string(c.volume) + ";timeout=15000;timeout_after=15000";
        if (c.frequency != -1) {
            lines.push_back(Debug(prepare + "i_Volume= " + std::to_string(c.volume)));
            EXPECT_EQ(config, module.m_Parameters);
        }
        EXPECT_EQ(c.frequency == -1 ? Calls{} : Config(c.frequency, c.duration, c.volume),
                  beep_->Calls());
        EXPECT_EQ(asked, audio_->Transactions());
        EXPECT_EQ(lines, BeepLines(log));
    }
}

TEST_F(HWBeepTest, TriggerRestartsOnceWhenTheServiceRefuses) {
    const Calls start = {Beep::StartBeep()};
    const Calls again = {Beep::StartBeep(), Config(12, 30, 7)[0], Beep::StartBeep()};
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
    Initialize();
    for (const Case& c : cases) {
        module_->SetParameter("remote_scanner_audio_feedback_mode", c.mode);
        beep_->ScriptStartBeep(c.answers);
        beep_->ClearCalls();
        ScopedCapture log;
        EXPECT_TRUE(module_->TriggerFeedback());
        EXPECT_EQ(c.calls, beep_->Calls()) << c.mode << c.calls.size();
        Lines lines = {Debug("[HWBeep::TriggerFeedback] +")};
        if (!c.calls.empty()) {
            lines.push_back(Debug("[HWBeep::TriggerFeedback] - start_beep +"));
            for (const char* cfa :
                 {"in SF Trigger \n", "beep start Trigger", "beep stop Trigger"}) {
                lines.push_back(
                    {4, "SFSoftwareCFA", "[HWBeep::TriggerFeedback] --Audio " + std::string(cfa)});
            }
        }
        EXPECT_EQ(lines, BeepLines(log));
    }
}

// The connection is shared by every beep module and dropped by a probe, a failure or a
// module's destruction; a dead or missing service is fetched again.
TEST_F(HWBeepTest, SharedConnectionIsProbedDroppedAndFetchedAgain) {
    beep_->SetSupported(false);
    ScopedCapture log;
    EXPECT_FALSE(module_->IsSupported());
    EXPECT_FALSE(module_->InitializeFeedback());
    EXPECT_EQ((Calls{Beep::IsHWBeepSupported(), Beep::IsHWBeepSupported()}), beep_->Calls());
    beep_->SetSupported(true);
    EXPECT_TRUE(module_->IsSupported());
    EXPECT_EQ(nullptr, HWBeepHal::sp_IHardwareBeepConfigs);
    EXPECT_FALSE(HWBeepHal::b_HWbeepInit);
    EXPECT_TRUE(module_->InitializeFeedback());
    EXPECT_NE(nullptr, HWBeepHal::sp_IHardwareBeepConfigs);
    EXPECT_TRUE(HWBeepHal::b_HWbeepInit);

    // The service restarts: the held reference fails its ping, the new instance is fetched.
    sp<Beep> old = beep_;
    old->ClearCalls();
    beep_ = Beep::Register();
    HWBeepProbe second;
    EXPECT_TRUE(second.InitializeFeedback());
    second.PrepareFeedbackForTrigger();
    EXPECT_EQ((Calls{Beep::IsHWBeepSupported(), Config(12, 30, 5)[0]}), beep_->Calls());
    EXPECT_TRUE(old->Calls().empty());
    module_.reset();
    EXPECT_EQ(nullptr, HWBeepHal::sp_IHardwareBeepConfigs);
    EXPECT_FALSE(HWBeepHal::b_HWbeepInit);

    Beep::Remove();
    EXPECT_FALSE(second.IsSupported());
    EXPECT_FALSE(second.InitializeFeedback());
    const Entry unable = Error("[HWBeep::HWBeep()] Unable to get IHardwareBeepConfigs interface.");
    EXPECT_EQ((Lines{Error("[HWBEEP::InitializeFeedback] HWBEEP IS NOT SUPPORTED.."),
                     Debug("[HWBeep<T>::PrepareFeedbackForTrigger ] +"),
                     Debug("[HWBEEP<T>::PrepareFeedbackForTrigger] i_Volume= 5"), unable, unable,
                     Error("[HWBeep::InitializeFeedback] initialization failed")}),
              BeepLines(log));
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
                  BeepLines(log));
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

}  // namespace
