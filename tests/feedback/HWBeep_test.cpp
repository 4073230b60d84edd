// The beep module and its audio client, against the fake beep service, audio service and audio
// policy.

#include "HWBeep.h"

#include <binder/Binder.h>
#include <gtest/gtest.h>
#include <limits.h>

#include <memory>

#include "DeviceInfoBuilder.h"
#include "FakeAudioService.h"
#include "FakeHardwareBeep.h"
#include "FeedbackTestEnv.h"
#include "orvex/audio_devices.h"
#include "orvex/binder_services.h"

namespace {

using android::sp;
using feedback_test::Debug;
using feedback_test::Entry;
using feedback_test::Error;
using feedback_test::Info;
using orvex::hostlog::ScopedCapture;
using orvex::sim::FakeAudioService;
using Beep = orvex::sim::FakeHardwareBeep;
using Calls = std::vector<Beep::Call>;
using Lines = std::vector<Entry>;
using Transactions = std::vector<FakeAudioService::Transaction>;

// Opens the module's state to the tests.
class HWBeepProbe : public HWBeep<ANDROID_VERSION_10> {
  public:
    using HWBeep::b_beepEnabled;
    using HWBeep::b_ignore_ovc_volume;
    using HWBeep::i_Duration;
    using HWBeep::i_Frequency;
    using HWBeep::i_Volume;
    using HWBeep::i_VolumeSliderType;
    using HWBeep::m_Parameters;
};

// The module's own lines: the device-information lines it causes are that component's.
Lines BeepLines(const ScopedCapture& log) {
    Lines out;
    for (const Entry& e : log.Entries()) {
        if (e.tag == "ScannerFramework" && e.message.rfind("[DeviceInfo::", 0) == 0) continue;
        if (e.tag == "ScannerFramework" || e.tag == "SFSoftwareCFA") out.push_back(e);
    }
    return out;
}

TEST(AudioProxy, SendsEachCallWithItsCodeAndReadsTheWordAfterTheException) {
    sp<FakeAudioService> fake = new FakeAudioService();
    sp<IAudioManager> proxy = IAudioManager::asInterface(fake);
    fake->SetStreamVolume(4, 6, 7);
    EXPECT_EQ(6, proxy->getStreamVolume(4));
    const std::vector<uint8_t> volumeRequest = fake->LastRequest();
    EXPECT_EQ(7, proxy->getStreamMaxVolume(4));
    EXPECT_EQ(volumeRequest, fake->LastRequest());
    android::String8 package("com.example.scanner");
    proxy->setStreamVolume(3, 9, 0x11, package);
    EXPECT_EQ((Transactions{{8, 0, true, {4}, ""},
                            {10, 0, true, {4}, ""},
                            {3, 0, true, {3, 9, 0x11}, "com.example.scanner"}}),
              fake->Transactions());
    fake->SetException(FakeAudioService::kExSecurity);
    EXPECT_EQ(9, proxy->getStreamVolume(3));
    EXPECT_EQ(15, proxy->getStreamMaxVolume(3));

    // A binder that knows none of the codes: the transaction fails and the reply is empty.
    proxy = IAudioManager::asInterface(orvex::binder::AsRemote(new android::BBinder()));
    EXPECT_EQ(0, proxy->getStreamVolume(4));
    EXPECT_EQ(0, proxy->getStreamMaxVolume(4));
}

// The audio client looks the service up once per process; the beep falls back to volume 10
// (-1 of -1) when it failed.
TEST(AudioManager, LooksTheServiceUpOnceAndAnswersMinusOneWithoutIt) {
    struct Case {
        bool serviceManager;
        bool service;
        Lines lines;
        int volume, max, afterSet, beepVolume;
        size_t transactions;
    } cases[] = {
        {true,
         true,
         {Debug("[AudioManager::LoadService] Received an instance of service manager")},
         2,
         7,
         4,
         6,
         4},
        {true,
         false,
         {Debug("[AudioManager::LoadService] Received an instance of service manager"),
          Error("[AudioManager::LoadService] Audio service client object not received"),
          Error("[AudioManager::AudioManager] Unable to load AudioManager\n")},
         -1,
         -1,
         -1,
         10,
         0},
        {false,
         false,
         {Error("[AudioManager::LoadService] Unable to get an instance of the service manager"),
          Error("[AudioManager::AudioManager] Unable to load AudioManager\n")},
         -1,
         -1,
         -1,
         10,
         0},
    };
    for (const Case& c : cases) {
        EXPECT_IN_FRESH_PROCESS({
            feedback_test::ChildChecks check;
            orvex::binder::SetServiceManagerAvailable(c.serviceManager);
            sp<FakeAudioService> fake = c.service ? FakeAudioService::Register() : nullptr;
            ScopedCapture log;
            AudioManager* audio = AudioManager::GetInstance();
            check.Logged(log.Entries(), c.lines);
            check.True("same instance", audio == AudioManager::GetInstance());
            // A service that appears later is never looked up.
            orvex::binder::SetServiceManagerAvailable(true);
            if (fake == nullptr) fake = FakeAudioService::Register();
            fake->SetStreamVolume(5, 2, 7);
            check.Eq("volume", audio->GetStreamVolume(5), c.volume);
            check.Eq("max", audio->GetStreamMaxVolume(5), c.max);
            android::String8 package("pkg");
            audio->setStreamVolume(5, 4, 0, package);
            check.Eq("volume after set", audio->GetStreamVolume(5), c.afterSet);
            check.Eq("transactions", fake->Transactions().size(), c.transactions);
            // The beep follows the notification stream (slider 3) when the device has no volume.
            feedback_test::SetScannerBeepVolume(-1);
            sp<Beep> beep = Beep::Register();
            {
                HWBeepProbe module;
                module.SetParameter("volume_slider_type", "3");
                check.True("initialize", module.InitializeFeedback());
                beep->ClearCalls();
                module.PrepareFeedbackForTrigger();
                check.True("config", beep->Calls() == Calls{Beep::SetBeepConfig(
                                                          12, 30, c.beepVolume, 15000, 15000)});
            }
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
        odk::DeviceInfoBuilder::GetDeviceInfoInstance();
    }

    void SetUp() override {
        feedback_test::SetScannerBeepVolume(5);
        orvex::audio::ResetDevices();
        audio_->ClearTransactions();
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

    static FakeAudioService* audio_;
    sp<Beep> beep_;
    std::unique_ptr<HWBeepProbe> module_;
};

FakeAudioService* HWBeepTest::audio_ = nullptr;

TEST_F(HWBeepTest, VolumeComesFromTheDeviceOrTheRescaledStream) {
    struct Case {
        int scannerVolume;
        const char* ignoreOvc;
        const char* slider;
        int stream;  // the stream asked, when asked
        int current, max;
        bool streamAsked;
        int volume;
    } cases[] = {
        {5, "false", "2", 4, 7, 15, false, 5},
        {0, "false", "2", 4, 7, 15, false, 0},
        {-1, "false", "2", 4, 7, 15, true, 5},  // 4.67
        {-1, "false", "2", 4, 3, 4, true, 8},   // 7.5: halves away from zero
        {-1, "false", "2", 4, -3, 4, true, -8},
        {-1, "false", "2", 4, 5, 0, true, 2},  // no maximum
        {-1, "false", "2", 4, 0, 0, true, 2},
        {-1, "false", "2", 4, 20, 10, true, 20},           // not clamped
        {-1, "false", "2", 4, INT_MAX, 1, true, INT_MAX},  // saturates
        {-1, "false", "2", 4, INT_MIN, 1, true, INT_MIN},
        {5, "true", "2", 4, 7, 15, true, 5},
        {9, "true", "2", 4, 3, 15, true, 2},
        {-1, "false", "0", 2, 7, 7, true, 10},
        {-1, "false", "1", 3, 3, 15, true, 2},
        {-1, "false", "3", 5, 1, 7, true, 1},
        {-1, "false", "7", 5, 1, 7, true, 1},
        {-1, "false", "-1", 5, 1, 7, true, 1},
    };
    Initialize();
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.scannerVolume) + " " + c.ignoreOvc + " slider " + c.slider +
                     " " + std::to_string(c.current) + "/" + std::to_string(c.max));
        feedback_test::SetScannerBeepVolume(c.scannerVolume);
        module_->SetParameter("ignore_ovc_volume", c.ignoreOvc);
        module_->SetParameter("volume_slider_type", c.slider);
        module_->SetParameter("volume", "3");  // replaced by the computed volume
        audio_->SetStreamVolume(c.stream, c.current, c.max);
        audio_->ClearTransactions();
        beep_->ClearCalls();
        ScopedCapture log;

        EXPECT_TRUE(module_->PrepareFeedbackForTrigger());
        EXPECT_EQ(Calls{Beep::SetBeepConfig(12, 30, c.volume, 15000, 15000)}, beep_->Calls());
        Transactions asked;
        if (c.streamAsked) asked = {{8, 0, true, {c.stream}, ""}, {10, 0, true, {c.stream}, ""}};
        EXPECT_EQ(asked, audio_->Transactions());
        EXPECT_EQ(c.volume, module_->i_Volume);
        // The line reports the slider setting, not the stream it selects.
        Lines lines = {Debug("[HWBeep<T>::PrepareFeedbackForTrigger ] +")};
        if (c.streamAsked) {
            lines.push_back(Debug("[HWBEEP<T>::PrepareFeedbackForTrigger] Stream " +
                                  std::string(c.slider) + ", Current volume " +
                                  std::to_string(c.current) + ", Max volume " +
                                  std::to_string(c.max)));
        }
        lines.push_back(
            Debug("[HWBEEP<T>::PrepareFeedbackForTrigger] i_Volume= " + std::to_string(c.volume)));
        EXPECT_EQ(lines, BeepLines(log));
        EXPECT_EQ("frequency=12;duration=30;volume=" + std::to_string(c.volume) +
                      ";timeout=15000;timeout_after=15000",
                  std::string(module_->m_Parameters));
    }

    // The tone settings reach the service and the text.
    feedback_test::SetScannerBeepVolume(7);
    module_->SetParameter("frequency", "2500");
    module_->SetParameter("duration", "90");
    beep_->ClearCalls();
    module_->PrepareFeedbackForTrigger();
    EXPECT_STREQ("frequency=2500;duration=90;volume=7;timeout=15000;timeout_after=15000",
                 module_->m_Parameters);
    EXPECT_EQ(Calls{Beep::SetBeepConfig(2500, 90, 7, 15000, 15000)}, beep_->Calls());
}

TEST_F(HWBeepTest, TriggerRestartsOnceWhenTheServiceRefusesAndNotWhenSilenced) {
    const Calls restarted = {Beep::StartBeep(), Beep::SetBeepConfig(12, 30, 7, 15000, 15000),
                             Beep::StartBeep()};
    struct Case {
        const char* mode;
        std::vector<int32_t> answers;
        Calls calls;
    } cases[] = {
        {"0", {1}, {Beep::StartBeep()}},
        {"0", {7}, {Beep::StartBeep()}},
        {"0", {0, 0}, restarted},
        {"0", {-4, 1}, restarted},
        {"3", {0}, {}},
    };
    Initialize();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.answers[0]);
        module_->SetParameter("remote_scanner_audio_feedback_mode", c.mode);
        beep_->ScriptStartBeep(c.answers);
        beep_->ClearCalls();
        ScopedCapture log;
        EXPECT_TRUE(module_->TriggerFeedback());
        EXPECT_EQ(c.calls, beep_->Calls());
        Lines lines = {Debug("[HWBeep::TriggerFeedback] +")};
        if (!c.calls.empty()) {
            lines.insert(
                lines.end(),
                {Debug("[HWBeep::TriggerFeedback] - start_beep +"),
                 {4, "SFSoftwareCFA", "[HWBeep::TriggerFeedback] --Audio in SF Trigger \n"},
                 {4, "SFSoftwareCFA", "[HWBeep::TriggerFeedback] --Audio beep start Trigger"},
                 {4, "SFSoftwareCFA", "[HWBeep::TriggerFeedback] --Audio beep stop Trigger"}});
        }
        EXPECT_EQ(lines, BeepLines(log));
    }
    // Silenced, the preparation asks neither service either.
    audio_->ClearTransactions();
    ScopedCapture log;
    EXPECT_TRUE(module_->PrepareFeedbackForTrigger());
    EXPECT_TRUE(beep_->Calls().empty());
    EXPECT_TRUE(audio_->Transactions().empty());
    EXPECT_EQ(Lines{Debug("[HWBeep<T>::PrepareFeedbackForTrigger ] +")}, BeepLines(log));
}

TEST_F(HWBeepTest, ParameterKeysFollowTheirTwoChains) {
    struct Case {
        const char* name;
        const char* value;
        bool enabled, ignoreOvc;
        int slider, frequency, duration;
    } cases[] = {
        {"remote_scanner_audio_feedback_mode", "0", true, false, 2, 12, 30},
        {"remote_scanner_audio_feedback_mode", "1", false, false, 2, 12, 30},
        {"remote_scanner_audio_feedback_mode", "2", true, false, 2, 12, 30},
        {"remote_scanner_audio_feedback_mode", "3", false, false, 2, 12, 30},
        {"remote_scanner_audio_feedback_mode", "4", true, false, 2, 12, 30},
        {"remote_scanner_audio_feedback_mode", "x", true, false, 2, 12, 30},
        {"ignore_ovc_volume", "true", true, true, 2, 12, 30},
        {"ignore_ovc_volume", "TRUE", true, false, 2, 12, 30},
        {"ignore_ovc_volume", "true ", true, false, 2, 12, 30},
        {"ignore_ovc_volume", "1", true, false, 2, 12, 30},
        {"volume_slider_type", "7", true, false, 7, 12, 30},
        {"volume_slider_type", "-1", true, false, -1, 12, 30},
        {"frequency", "abc", true, false, 2, 0, 30},
        {"frequency", "3000", true, false, 2, 3000, 30},
        {"duration", "45ms", true, false, 2, 12, 45},
        {"timeout", "5", true, false, 2, 12, 30},
        {"Frequency", "5", true, false, 2, 12, 30},
    };
    for (const Case& c : cases) {
        HWBeepProbe module;
        ScopedCapture log;
        module.SetParameter(c.name, c.value);
        SCOPED_TRACE(std::string(c.name) + "=" + c.value);
        EXPECT_EQ(c.enabled, module.b_beepEnabled);
        EXPECT_EQ(c.ignoreOvc, module.b_ignore_ovc_volume);
        EXPECT_EQ(c.slider, module.i_VolumeSliderType);
        EXPECT_EQ(c.frequency, module.i_Frequency);
        EXPECT_EQ(c.duration, module.i_Duration);
        Lines lines;
        if (c.ignoreOvc) lines = {Debug("[HWBeep::SetParameter] b_ignore_ovc_volume to true\n")};
        EXPECT_EQ(lines, BeepLines(log));
        // A later value other than "true" clears the flag again.
        module.SetParameter("ignore_ovc_volume", "false");
        EXPECT_FALSE(module.b_ignore_ovc_volume);
    }
}

// The connection is shared by every beep module and dropped by a probe, a failure or a
// module's destruction; a dead or missing service is fetched again.
TEST_F(HWBeepTest, SharedConnectionIsProbedDroppedAndFetchedAgain) {
    beep_->SetSupported(false);
    {
        ScopedCapture log;
        EXPECT_FALSE(module_->IsSupported());
        EXPECT_FALSE(module_->InitializeFeedback());
        EXPECT_EQ(Lines{Error("[HWBEEP::InitializeFeedback] HWBEEP IS NOT SUPPORTED..")},
                  BeepLines(log));
    }
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
    EXPECT_EQ(Calls{Beep::IsHWBeepSupported()}, beep_->Calls());
    second.PrepareFeedbackForTrigger();
    EXPECT_EQ(2u, beep_->Calls().size());
    EXPECT_TRUE(old->Calls().empty());
    module_.reset();
    EXPECT_EQ(nullptr, HWBeepHal::sp_IHardwareBeepConfigs);
    EXPECT_FALSE(HWBeepHal::b_HWbeepInit);

    Beep::Remove();
    {
        ScopedCapture log;
        EXPECT_FALSE(second.IsSupported());
        EXPECT_FALSE(second.InitializeFeedback());
        const Entry unable =
            Error("[HWBeep::HWBeep()] Unable to get IHardwareBeepConfigs interface.");
        EXPECT_EQ(
            (Lines{unable, unable, Error("[HWBeep::InitializeFeedback] initialization failed")}),
            BeepLines(log));
    }
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
    struct Case {
        audio_devices_t device;
        bool headset;
    } cases[] = {{AUDIO_DEVICE_NONE, false},
                 {0x4, true},
                 {0x40, true},
                 {0x4000000, true},
                 {AUDIO_DEVICE_OUT_SPEAKER, false}};
    for (const Case& c : cases) {
        orvex::audio::ResetDevices();
        if (c.device != AUDIO_DEVICE_NONE) {
            orvex::audio::SetDeviceConnectionState(c.device, "00:11:22:33:44:55",
                                                   AUDIO_POLICY_DEVICE_STATE_AVAILABLE);
        }
        ScopedCapture log;
        EXPECT_EQ(c.headset, module_->CheckExternalHeadset()) << c.device;
        EXPECT_EQ(nine, orvex::audio::DeviceQueries());
        EXPECT_EQ(Lines{c.headset ? Info("[HWBeep::CheckExternalHeadset] BT or Wired Headset "
                                         "detected\n")
                                  : Debug("[HWBeep::CheckExternalHeadset] No External Headset "
                                          "is connected\n")},
                  BeepLines(log));
    }
}

TEST_F(HWBeepTest, RegisteredFeedbackModulesAnswerTheirFixedValues) {
    struct Case {
        PlatformModuleTag tag;
        const char* name;
        const char* parameter;
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
