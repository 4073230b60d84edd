// The beep module against the fake beep service, audio service and audio policy.

#include "HWBeep.h"

#include <gtest/gtest.h>
#include <limits.h>

#include <memory>

#include "ComponentIndex.h"
#include "DeviceInfoBuilder.h"
#include "FakeAudioService.h"
#include "FakeHardwareBeep.h"
#include "FeedbackTestEnv.h"
#include "HWBeepHal.h"
#include "orvex/audio_devices.h"
#include "orvex/log_capture.h"

namespace {

using android::sp;
using feedback_test::ChildChecks;
using feedback_test::Debug;
using feedback_test::Entry;
using feedback_test::Error;
using feedback_test::Info;
using orvex::sim::FakeAudioService;
using orvex::sim::FakeHardwareBeep;
using Beep = FakeHardwareBeep;

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

Entry Cfa(const std::string& text) { return {4, "SFSoftwareCFA", text}; }

// The module's own lines: the device-information lines it causes are that component's.
std::vector<Entry> BeepLines(const orvex::hostlog::ScopedCapture& log) {
    std::vector<Entry> out;
    for (const Entry& e : log.Entries()) {
        if (e.tag == "ScannerFramework" && e.message.rfind("[DeviceInfo::", 0) == 0) continue;
        if (e.tag == "ScannerFramework" || e.tag == "SFSoftwareCFA") out.push_back(e);
    }
    return out;
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
        audio_->SetException(0);
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
    sp<FakeHardwareBeep> beep_;
    std::unique_ptr<HWBeepProbe> module_;
};

FakeAudioService* HWBeepTest::audio_ = nullptr;

TEST_F(HWBeepTest, VolumeComesFromTheDeviceOrTheRescaledStream) {
    struct Case {
        int scannerVolume;
        const char* ignoreOvc;
        const char* slider;
        int stream;  // the stream asked, when asked
        int current;
        int max;
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
        audio_->SetStreamVolume(c.stream, c.current, c.max);
        audio_->ClearTransactions();
        beep_->ClearCalls();

        EXPECT_TRUE(module_->PrepareFeedbackForTrigger());

        EXPECT_EQ(std::vector<Beep::Call>{Beep::SetBeepConfig(12, 30, c.volume, 15000, 15000)},
                  beep_->Calls());
        std::vector<FakeAudioService::Transaction> asked;
        if (c.streamAsked) asked = {{8, 0, true, {c.stream}, ""}, {10, 0, true, {c.stream}, ""}};
        EXPECT_EQ(asked, audio_->Transactions());
        EXPECT_EQ(c.volume, module_->i_Volume);
    }
}

TEST_F(HWBeepTest, PrepareLogsAndKeepsTheConfigurationText) {
    feedback_test::SetScannerBeepVolume(-1);
    audio_->SetStreamVolume(4, 7, 15);
    module_->SetParameter("volume_slider_type", "2");
    Initialize();
    {
        orvex::hostlog::ScopedCapture log;
        module_->PrepareFeedbackForTrigger();
        EXPECT_EQ(
            (std::vector<Entry>{
                Debug("[HWBeep<T>::PrepareFeedbackForTrigger ] +"),
                Debug("[HWBEEP<T>::PrepareFeedbackForTrigger] Stream 2, Current volume 7, Max "
                      "volume 15"),
                Debug("[HWBEEP<T>::PrepareFeedbackForTrigger] i_Volume= 5"),
            }),
            BeepLines(log));
    }
    EXPECT_STREQ("frequency=12;duration=30;volume=5;timeout=15000;timeout_after=15000",
                 module_->m_Parameters);

    // A volume set by parameter is replaced by the computed one; the tone settings stay.
    feedback_test::SetScannerBeepVolume(7);
    module_->SetParameter("volume", "3");
    module_->SetParameter("frequency", "2500");
    module_->SetParameter("duration", "90");
    beep_->ClearCalls();
    module_->PrepareFeedbackForTrigger();
    EXPECT_STREQ("frequency=2500;duration=90;volume=7;timeout=15000;timeout_after=15000",
                 module_->m_Parameters);
    EXPECT_EQ(std::vector<Beep::Call>{Beep::SetBeepConfig(2500, 90, 7, 15000, 15000)},
              beep_->Calls());
}

TEST_F(HWBeepTest, TriggerRestartsOnceWhenTheServiceRefuses) {
    struct Case {
        std::vector<int32_t> answers;
        std::vector<Beep::Call> calls;
    } cases[] = {
        {{1}, {Beep::StartBeep()}},
        {{7}, {Beep::StartBeep()}},
        {{0, 0},
         {Beep::StartBeep(), Beep::SetBeepConfig(12, 30, 7, 15000, 15000), Beep::StartBeep()}},
        {{-4, 1},
         {Beep::StartBeep(), Beep::SetBeepConfig(12, 30, 7, 15000, 15000), Beep::StartBeep()}},
    };
    Initialize();
    for (const Case& c : cases) {
        beep_->ScriptStartBeep(c.answers);
        beep_->ClearCalls();
        orvex::hostlog::ScopedCapture log;
        EXPECT_TRUE(module_->TriggerFeedback());
        EXPECT_EQ(c.calls, beep_->Calls()) << c.answers[0];
        EXPECT_EQ((std::vector<Entry>{
                      Debug("[HWBeep::TriggerFeedback] +"),
                      Debug("[HWBeep::TriggerFeedback] - start_beep +"),
                      Cfa("[HWBeep::TriggerFeedback] --Audio in SF Trigger \n"),
                      Cfa("[HWBeep::TriggerFeedback] --Audio beep start Trigger"),
                      Cfa("[HWBeep::TriggerFeedback] --Audio beep stop Trigger"),
                  }),
                  BeepLines(log));
    }
}

TEST_F(HWBeepTest, ParameterKeysFollowTheirTwoChains) {
    struct Case {
        const char* name;
        const char* value;
        bool enabled;
        bool ignoreOvc;
        int slider;
        int frequency;
        int duration;
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
        orvex::hostlog::ScopedCapture log;
        module.SetParameter(c.name, c.value);
        SCOPED_TRACE(std::string(c.name) + "=" + c.value);
        EXPECT_EQ(c.enabled, module.b_beepEnabled);
        EXPECT_EQ(c.ignoreOvc, module.b_ignore_ovc_volume);
        EXPECT_EQ(c.slider, module.i_VolumeSliderType);
        EXPECT_EQ(c.frequency, module.i_Frequency);
        EXPECT_EQ(c.duration, module.i_Duration);
        std::vector<Entry> expected;
        if (c.ignoreOvc) expected = {Debug("[HWBeep::SetParameter] b_ignore_ovc_volume to true\n")};
        EXPECT_EQ(expected, BeepLines(log));
    }

    // A later value other than "true" clears the flag again.
    HWBeepProbe module;
    module.SetParameter("ignore_ovc_volume", "true");
    module.SetParameter("ignore_ovc_volume", "false");
    EXPECT_FALSE(module.b_ignore_ovc_volume);
    EXPECT_STREQ("", module.GetParameter("volume"));
}

TEST_F(HWBeepTest, SilencedBeepCallsNoService) {
    Initialize();
    module_->SetParameter("remote_scanner_audio_feedback_mode", "3");
    orvex::hostlog::ScopedCapture log;
    EXPECT_TRUE(module_->PrepareFeedbackForTrigger());
    EXPECT_TRUE(module_->TriggerFeedback());
    EXPECT_TRUE(beep_->Calls().empty());
    EXPECT_TRUE(audio_->Transactions().empty());
    EXPECT_EQ((std::vector<Entry>{Debug("[HWBeep<T>::PrepareFeedbackForTrigger ] +"),
                                  Debug("[HWBeep::TriggerFeedback] +")}),
              BeepLines(log));
}

TEST_F(HWBeepTest, InitializeAndIsSupportedAskTheService) {
    beep_->SetSupported(false);
    orvex::hostlog::ScopedCapture log;
    EXPECT_FALSE(module_->IsSupported());
    EXPECT_FALSE(module_->InitializeFeedback());
    EXPECT_EQ((std::vector<Entry>{Error("[HWBEEP::InitializeFeedback] HWBEEP IS NOT SUPPORTED..")}),
              BeepLines(log));
    EXPECT_EQ((std::vector<Beep::Call>{Beep::IsHWBeepSupported(), Beep::IsHWBeepSupported()}),
              beep_->Calls());

    beep_->SetSupported(true);
    EXPECT_TRUE(module_->IsSupported());
    // Probing leaves no connection behind.
    EXPECT_EQ(nullptr, HWBeepHal::sp_IHardwareBeepConfigs);
    EXPECT_FALSE(HWBeepHal::b_HWbeepInit);
    EXPECT_TRUE(module_->InitializeFeedback());
    EXPECT_NE(nullptr, HWBeepHal::sp_IHardwareBeepConfigs);
    EXPECT_TRUE(HWBeepHal::b_HWbeepInit);
    EXPECT_STREQ("HWBeep", module_->GetModuleName());
}

TEST_F(HWBeepTest, MissingServiceFailsAndIsFetchedAgainAfterTheFailure) {
    Beep::Remove();
    orvex::hostlog::ScopedCapture log;
    EXPECT_FALSE(module_->IsSupported());
    EXPECT_FALSE(module_->InitializeFeedback());
    EXPECT_EQ((std::vector<Entry>{
                  Error("[HWBeep::HWBeep()] Unable to get IHardwareBeepConfigs interface."),
                  Error("[HWBeep::HWBeep()] Unable to get IHardwareBeepConfigs interface."),
                  Error("[HWBeep::InitializeFeedback] initialization failed"),
              }),
              BeepLines(log));

    beep_ = Beep::Register();
    EXPECT_TRUE(module_->InitializeFeedback());
}

TEST_F(HWBeepTest, AnEmptyFetchIsNotRepeatedUntilTheStateIsCleared) {
    HWBeepHal::b_HWbeepInit = true;
    HWBeepHal::sp_IHardwareBeepConfigs.clear();
    EXPECT_EQ(nullptr, HWBeepHal::associate());
    HWBeepHal::b_HWbeepInit = false;
    EXPECT_NE(nullptr, HWBeepHal::associate());
}

TEST_F(HWBeepTest, DeadServiceIsFetchedAgainBySharingModules) {
    Initialize();
    sp<Beep> old = beep_;
    // The service restarts: the held reference fails its ping, the new instance is fetched.
    beep_ = Beep::Register();
    HWBeepProbe second;
    EXPECT_TRUE(second.InitializeFeedback());
    EXPECT_EQ(std::vector<Beep::Call>{Beep::IsHWBeepSupported()}, beep_->Calls());
    EXPECT_TRUE(old->Calls().empty());
    second.PrepareFeedbackForTrigger();
    EXPECT_EQ(2u, beep_->Calls().size());
}

TEST_F(HWBeepTest, DestroyingAModuleDropsTheSharedConnection) {
    Initialize();
    EXPECT_NE(nullptr, HWBeepHal::sp_IHardwareBeepConfigs);
    module_.reset();
    EXPECT_EQ(nullptr, HWBeepHal::sp_IHardwareBeepConfigs);
    EXPECT_FALSE(HWBeepHal::b_HWbeepInit);
}

TEST_F(HWBeepTest, StartingOnADeadServiceEndsTheProcess) {
    Initialize();
    EXPECT_DEATH(
        {
            Beep::Kill();
            module_->TriggerFeedback();
        },
        "Attempted to retrieve value from failed HIDL call");
}

TEST_F(HWBeepTest, HeadsetCheckAsksAllNineOutputsInOrder) {
    const std::vector<orvex::audio::DeviceQuery> nine = {
        {0x4, ""},   {0x8, ""},  {0x4000000, ""}, {0x80, ""}, {0x100, ""},
        {0x200, ""}, {0x10, ""}, {0x20, ""},      {0x40, ""},
    };
    {
        orvex::hostlog::ScopedCapture log;
        EXPECT_FALSE(module_->CheckExternalHeadset());
        EXPECT_EQ(nine, orvex::audio::DeviceQueries());
        EXPECT_EQ(std::vector<Entry>{Debug(
                      "[HWBeep::CheckExternalHeadset] No External Headset is connected\n")},
                  BeepLines(log));
    }
    for (audio_devices_t device : {0x4u, 0x40u, 0x4000000u}) {
        orvex::audio::ResetDevices();
        orvex::audio::SetDeviceConnectionState(device, "00:11:22:33:44:55",
                                               AUDIO_POLICY_DEVICE_STATE_AVAILABLE);
        orvex::hostlog::ScopedCapture log;
        EXPECT_TRUE(module_->CheckExternalHeadset()) << device;
        EXPECT_EQ(nine, orvex::audio::DeviceQueries());
        EXPECT_EQ(std::vector<Entry>{Info(
                      "[HWBeep::CheckExternalHeadset] BT or Wired Headset detected\n")},
                  BeepLines(log));
    }
    orvex::audio::ResetDevices();
    orvex::audio::SetDeviceConnectionState(AUDIO_DEVICE_OUT_SPEAKER, "",
                                           AUDIO_POLICY_DEVICE_STATE_AVAILABLE);
    EXPECT_FALSE(module_->CheckExternalHeadset());
}

TEST_F(HWBeepTest, TrivialOperationsAnswerFixedValues) {
    EXPECT_TRUE(module_->ResetFeedback());
    EXPECT_TRUE(module_->ReinitializeFeedback());
    EXPECT_TRUE(module_->ReadSubmit());
    module_->ReleaseResources();
    module_->SetCallback(nullptr);
    EXPECT_TRUE(beep_->Calls().empty());
    EXPECT_EQ(4, module_->GetStreamType());
}

TEST(HWBeepRegistration, RegisteredUnderTagZero) {
    IPlatformModule* module =
        ComponentIndex::Instance()->CreateModule(PLATFORM_MODULE_BEEP, "HWBeep");
    ASSERT_NE(nullptr, module);
    EXPECT_STREQ("HWBeep", static_cast<IFeedbackModule*>(module)->GetModuleName());
    delete module;
}

TEST(HWBeepWithoutAudio, UnreachableAudioServiceGivesVolumeTen) {
    EXPECT_IN_FRESH_PROCESS({
        ChildChecks check;
        feedback_test::SetScannerBeepVolume(-1);
        sp<Beep> beep = Beep::Register();
        {
            HWBeepProbe module;
            check.True("initialize", module.InitializeFeedback());
            beep->ClearCalls();
            module.PrepareFeedbackForTrigger();
            check.Eq("volume", module.i_Volume, 10);
            check.True("config", beep->Calls() == std::vector<Beep::Call>{Beep::SetBeepConfig(
                                                      12, 30, 10, 15000, 15000)});
        }
        check.Exit();
    });
}

}  // namespace
