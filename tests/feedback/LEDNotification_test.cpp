// The LED module against the fake lights services (HIDL and AIDL) and the timer service.

#include "LEDNotification.h"

#include <binder/IServiceManager.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <chrono>
#include <memory>

#include "ComponentIndex.h"
#include "FakeAidlLights.h"
#include "FakeHidlLight.h"
#include "FeedbackTestEnv.h"
#include "LightHal.h"
#include "TimerProvider.h"
#include "orvex/binder_services.h"
#include "orvex/log_capture.h"

namespace {

using android::sp;
using feedback_test::Debug;
using feedback_test::Entry;
using feedback_test::Error;
using feedback_test::Info;
using orvex::sim::FakeAidlLights;
using orvex::sim::FakeHidlLight;
using orvex::sim::MakeHidlLightState;
using orvex::sim::MakeLight;
using orvex::sim::MakeLightState;
using AidlCall = FakeAidlLights::Call;
using HidlCall = FakeHidlLight::Call;

constexpr uint32_t kRed = 0xFFFF0000u;
constexpr uint32_t kGreen = 0xFF00FF00u;
constexpr uint32_t kOff = 0u;
constexpr auto kWait = std::chrono::seconds(10);

// Opens the module's state to the tests.
class LEDProbe : public LEDNotification<ANDROID_VERSION_10> {
  public:
    using LEDNotification::b_decodingLedFeedback;
    using LEDNotification::b_isRedLedActive;
    using LEDNotification::i_goodDecodeLedTimer;
    using LEDNotification::p_goodDecodeTimer;
    using LEDNotification::p_light;
};

class LedAccess : public ICallback {
  public:
    explicit LedAccess(bool allowed) : allowed_(allowed) {}
    bool IsLEDAccessible() override { return allowed_; }

  private:
    const bool allowed_;
};

HidlCall Hidl(uint32_t color) { return {8, MakeHidlLightState(color), 0}; }
AidlCall GetLights() { return {AidlCall::kGetLights, 0, {}, 0}; }
AidlCall SetLight(int32_t id, uint32_t color) {
    return {AidlCall::kSetLightState, id, MakeLightState(color), 0};
}

std::vector<Entry> SfLines(const orvex::hostlog::ScopedCapture& log) {
    return log.WithTag("ScannerFramework");
}

class LEDTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { TimerProvider::Initialize(); }
    static void TearDownTestSuite() { TimerProvider::DeInitialize(); }

    void SetUp() override {
        orvex::binder::Reset();
        module_ = std::make_unique<LEDProbe>();
    }

    void TearDown() override {
        if (module_ != nullptr) TimerProvider::DestroyTimer(module_->p_goodDecodeTimer);
        module_.reset();
        FakeHidlLight::Remove();
        orvex::binder::Reset();
    }

    // Connects to a HIDL lights service and turns decode feedback on.
    sp<FakeHidlLight> InitializeOnHidl() {
        sp<FakeHidlLight> light = FakeHidlLight::Register();
        EXPECT_TRUE(module_->InitializeFeedback());
        module_->SetParameter("decoding_led_feedback", "true");
        return light;
    }

    std::unique_ptr<LEDProbe> module_;
};

TEST_F(LEDTest, HidlIsPreferredAndAddressesTypeEight) {
    sp<FakeHidlLight> hidl = FakeHidlLight::Register();
    sp<FakeAidlLights> aidl = FakeAidlLights::Register();
    orvex::hostlog::ScopedCapture log;
    EXPECT_TRUE(module_->InitializeFeedback());
    module_->SetParameter("decoding_led_feedback", "true");
    EXPECT_TRUE(module_->PrepareFeedbackForTrigger());
    EXPECT_EQ(std::vector<HidlCall>{Hidl(kRed)}, hidl->Calls());
    EXPECT_TRUE(aidl->Calls().empty());
    EXPECT_EQ((std::vector<Entry>{Error("creating HIDL interface\n"),
                                  Debug("[HIDLinterface::setlight] set light 8\n")}),
              SfLines(log));
}

TEST_F(LEDTest, AidlServesWhenThereIsNoHidlAndOnlyTheScanLedChanges) {
    sp<FakeAidlLights> aidl =
        FakeAidlLights::Register({MakeLight(4, 0, 4), MakeLight(7, 1, 100), MakeLight(9, 2, 100)});
    orvex::hostlog::ScopedCapture log;
    EXPECT_TRUE(module_->InitializeFeedback());
    module_->SetParameter("decoding_led_feedback", "true");
    module_->PrepareFeedbackForTrigger();
    module_->TriggerFeedback();
    // The list is asked at every setlight; the first light of type 100 is the scan LED.
    EXPECT_EQ(
        (std::vector<AidlCall>{GetLights(), SetLight(7, kRed), GetLights(), SetLight(7, kOff)}),
        aidl->Calls());
    EXPECT_EQ((std::vector<Entry>{
                  Error("[LEDNotification::LEDNotification()] Unable to get ILight interface."),
                  Error("creating AIDL interface\n"),
                  Debug("[AIDLinterface::setlight] set light 100\n"),
                  Error("[LEDNotification<T>::isScanLEDAccessible] callback is null"),
                  Debug("[LEDNotification<T>::ResetFeedback()] Scan LED is available."),
                  Debug("[LEDNotification<T>::ResetFeedback()] setting LED to OFF"),
                  Debug("[AIDLinterface::setlight] set light 100\n"),
              }),
              SfLines(log));
}

TEST_F(LEDTest, AidlServiceWithoutAScanLedIsLeftAlone) {
    sp<FakeAidlLights> aidl = FakeAidlLights::Register({MakeLight(0, 0, 4), MakeLight(1, 0, 5)});
    ASSERT_TRUE(module_->InitializeFeedback());
    module_->SetParameter("decoding_led_feedback", "true");
    orvex::hostlog::ScopedCapture log;
    module_->PrepareFeedbackForTrigger();
    EXPECT_EQ(std::vector<AidlCall>{GetLights()}, aidl->Calls());
    EXPECT_TRUE(SfLines(log).empty());
}

TEST_F(LEDTest, AidlRemoteServiceIsReachedThroughItsProxy) {
    sp<FakeAidlLights> aidl = FakeAidlLights::Register(FakeAidlLights::DefaultLights(), true);
    ASSERT_TRUE(module_->InitializeFeedback());
    module_->SetParameter("decoding_led_feedback", "true");
    module_->PrepareFeedbackForTrigger();
    EXPECT_EQ((std::vector<AidlCall>{GetLights(), SetLight(1, kRed)}), aidl->Calls());
}

TEST_F(LEDTest, WithoutLightsServicesBothAreTriedAgainEachTime) {
    orvex::hostlog::ScopedCapture log;
    EXPECT_FALSE(module_->IsSupported());
    EXPECT_FALSE(module_->InitializeFeedback());
    const Entry unable =
        Error("[LEDNotification::LEDNotification()] Unable to get ILight interface.");
    EXPECT_EQ(
        (std::vector<Entry>{unable, unable, unable, unable,
                            Error("[LEDNotification::InitializeFeedback] initialization failed")}),
        SfLines(log));
    EXPECT_FALSE(LightHal::b_LightInit);

    // Registered but not declared: the AIDL lookup does not wait for it.
    sp<FakeAidlLights> aidl = new FakeAidlLights();
    android::defaultServiceManager()->addService(
        android::String16(FakeAidlLights::InstanceName().c_str()), aidl);
    EXPECT_FALSE(module_->InitializeFeedback());
    orvex::binder::Declare(FakeAidlLights::InstanceName());
    EXPECT_TRUE(module_->InitializeFeedback());
}

TEST_F(LEDTest, IsSupportedLeavesNoLightObject) {
    sp<FakeHidlLight> hidl = FakeHidlLight::Register();
    EXPECT_TRUE(module_->IsSupported());
    EXPECT_EQ(nullptr, LightHal::lighthal);
    EXPECT_FALSE(LightHal::b_LightInit);
    EXPECT_TRUE(hidl->Calls().empty());

    // "datacapture_led_id" connects again, whatever its value.
    module_->SetParameter("datacapture_led_id", "17");
    EXPECT_NE(nullptr, LightHal::lighthal);
    EXPECT_EQ(LightHal::lighthal, module_->p_light);
    EXPECT_TRUE(LightHal::b_LightInit);
}

TEST_F(LEDTest, ScanSequenceEndsOnTheCallbackThreadWhenTheTimerFires) {
    struct Case {
        const char* redActive;
        uint32_t after;
        const char* line;
    } cases[] = {
        {"true", kRed, "[LEDNotification<T>::ResetFeedback()] setting RED LED"},
        {"false", kOff, "[LEDNotification<T>::ResetFeedback()] setting LED to OFF"},
    };
    sp<FakeHidlLight> light = InitializeOnHidl();
    LedAccess access(true);
    module_->SetCallback(&access);
    module_->SetParameter("good_decode_led_timer", "20");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.redActive);
        module_->SetParameter("isRedLedActive", c.redActive);
        light->ClearCalls();
        orvex::hostlog::ScopedCapture log;

        EXPECT_TRUE(module_->PrepareFeedbackForTrigger());
        EXPECT_EQ(std::vector<HidlCall>{Hidl(kRed)}, light->Calls());
        EXPECT_TRUE(module_->TriggerFeedback());
        ASSERT_TRUE(light->WaitForCalls(3, kWait));

        const std::vector<HidlCall> calls = light->Calls();
        EXPECT_EQ((std::vector<HidlCall>{Hidl(kRed), Hidl(kGreen), Hidl(c.after)}), calls);
        EXPECT_TRUE(pthread_equal(calls[2].thread, TimerProvider::ms_CallbackThread));
        EXPECT_FALSE(pthread_equal(calls[1].thread, TimerProvider::ms_CallbackThread));
        EXPECT_EQ((std::vector<Entry>{
                      Debug("[HIDLinterface::setlight] set light 8\n"),
                      Debug("[HIDLinterface::setlight] set light 8\n"),
                      Debug("[LEDNotification<T>::ResetFeedback()] Scan LED is available."),
                      Debug(c.line),
                      Debug("[HIDLinterface::setlight] set light 8\n"),
                  }),
                  SfLines(log));
    }
}

TEST_F(LEDTest, WithoutATimerTheLedGoesStraightToItsResetColour) {
    struct Case {
        const char* decoding;
        const char* redActive;
        const char* timer;
        std::vector<HidlCall> calls;
    } cases[] = {
        {"true", "true", "-1", {Hidl(kRed), Hidl(kRed)}},
        {"true", "false", "-1", {Hidl(kRed), Hidl(kOff)}},
        {"true", "true", "0", {Hidl(kRed), Hidl(kRed)}},
        {"false", "true", "0", {}},
    };
    sp<FakeHidlLight> light = FakeHidlLight::Register();
    ASSERT_TRUE(module_->InitializeFeedback());
    LedAccess access(true);
    module_->SetCallback(&access);
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.decoding) + " " + c.redActive + " " + c.timer);
        module_->SetParameter("decoding_led_feedback", c.decoding);
        module_->SetParameter("isRedLedActive", c.redActive);
        module_->SetParameter("good_decode_led_timer", c.timer);
        EXPECT_EQ(nullptr, module_->p_goodDecodeTimer);
        light->ClearCalls();
        module_->PrepareFeedbackForTrigger();
        module_->TriggerFeedback();
        EXPECT_EQ(c.calls, light->Calls());
    }
}

TEST_F(LEDTest, ResetDuringTheGreenPhaseChangesNothing) {
    sp<FakeHidlLight> light = InitializeOnHidl();
    module_->SetParameter("isRedLedActive", "true");
    module_->SetParameter("good_decode_led_timer", "600000");
    module_->PrepareFeedbackForTrigger();
    module_->TriggerFeedback();
    EXPECT_TRUE(module_->p_goodDecodeTimer->IsStarted());
    EXPECT_TRUE(module_->ResetFeedback());
    EXPECT_EQ((std::vector<HidlCall>{Hidl(kRed), Hidl(kGreen)}), light->Calls());

    // A new scan stops the green phase.
    module_->PrepareFeedbackForTrigger();
    EXPECT_FALSE(module_->p_goodDecodeTimer->IsStarted());
    module_->ResetFeedback();
    EXPECT_EQ((std::vector<HidlCall>{Hidl(kRed), Hidl(kGreen), Hidl(kRed), Hidl(kRed)}),
              light->Calls());
}

TEST_F(LEDTest, ResetAsksTheCallerWhetherTheLedMayBeUsed) {
    sp<FakeHidlLight> light = InitializeOnHidl();
    {
        orvex::hostlog::ScopedCapture log;
        LedAccess denied(false);
        module_->SetCallback(&denied);
        EXPECT_TRUE(module_->ResetFeedback());
        EXPECT_TRUE(light->Calls().empty());
        EXPECT_EQ((std::vector<Entry>{
                      Info("[LEDNotification<T>::SetCallback]"),
                      Info("[LEDNotification<T>::ResetFeedback()] Scan LED is not available."),
                  }),
                  SfLines(log));
    }
    LedAccess allowed(true);
    module_->SetCallback(&allowed);
    EXPECT_TRUE(module_->ResetFeedback());
    EXPECT_EQ(std::vector<HidlCall>{Hidl(kOff)}, light->Calls());
    module_->SetCallback(nullptr);
    EXPECT_TRUE(module_->isScanLEDAccessible());
}

TEST_F(LEDTest, TurningDecodeFeedbackOffResetsWithTheOldSettingFirst) {
    sp<FakeHidlLight> light = InitializeOnHidl();
    module_->SetParameter("isRedLedActive", "true");
    module_->SetParameter("decoding_led_feedback", "off");
    EXPECT_EQ(std::vector<HidlCall>{Hidl(kRed)}, light->Calls());
    EXPECT_FALSE(module_->b_decodingLedFeedback);
    module_->ResetFeedback();
    EXPECT_EQ((std::vector<HidlCall>{Hidl(kRed), Hidl(kOff)}), light->Calls());
}

TEST_F(LEDTest, TimerParameterRecreatesTheTimerOnlyOnChange) {
    EXPECT_EQ(-1, module_->i_goodDecodeLedTimer);
    module_->SetParameter("good_decode_led_timer", "-1");
    EXPECT_EQ(nullptr, module_->p_goodDecodeTimer);

    module_->SetParameter("good_decode_led_timer", "50");
    TimerProvider* timer = module_->p_goodDecodeTimer;
    ASSERT_NE(nullptr, timer);
    EXPECT_EQ(50, timer->n_IntervalMs);
    EXPECT_EQ(module_.get(), timer->p_Context);
    module_->SetParameter("good_decode_led_timer", "50");
    EXPECT_EQ(timer, module_->p_goodDecodeTimer);

    module_->SetParameter("good_decode_led_timer", "-1");
    ASSERT_NE(nullptr, module_->p_goodDecodeTimer);
    EXPECT_EQ(-1, module_->p_goodDecodeTimer->n_IntervalMs);
    EXPECT_EQ(module_.get(), module_->p_goodDecodeTimer->p_Context);

    module_->SetParameter("good_decode_led_timer", "0");
    EXPECT_EQ(nullptr, module_->p_goodDecodeTimer);
    EXPECT_EQ(0, module_->i_goodDecodeLedTimer);

    module_->SetParameter("unknown_key", "1");
    module_->SetParameter("isRedLedActive", "TRUE");
    EXPECT_FALSE(module_->b_isRedLedActive);
}

TEST_F(LEDTest, AnUnknownTimerIsReportedAndStillResets) {
    sp<FakeHidlLight> light = InitializeOnHidl();
    TimerProvider* foreign = TimerProvider::CreateNewTimer(1000, &LEDProbe::OnTimer, module_.get());
    orvex::hostlog::ScopedCapture log;
    LEDProbe::OnTimer(foreign);
    EXPECT_EQ(std::vector<HidlCall>{Hidl(kOff)}, light->Calls());
    ASSERT_FALSE(SfLines(log).empty());
    EXPECT_EQ(
        Error("[LEDNotification<T>::OnTimer] Unknown timer triggered on LEDNotification Module"),
        SfLines(log)[0]);
    TimerProvider::DestroyTimer(foreign);
}

TEST_F(LEDTest, ConvertToargbDoesNotMask) {
    struct Case {
        uint32_t a, r, g, b, argb;
    } cases[] = {
        {255, 255, 0, 0, 0xFFFF0000u}, {255, 0, 255, 0, 0xFF00FF00u}, {0, 0, 0, 0, 0u},
        {0, 256, 0, 0, 0x01000000u},   {1, 2, 3, 4, 0x01020304u},     {0, 0, 0, 0x1FF, 0x1FFu},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.argb, module_->ConvertToargb(c.a, c.r, c.g, c.b))
            << c.a << " " << c.r << " " << c.g << " " << c.b;
    }
}

TEST_F(LEDTest, TrivialOperationsAnswerFixedValues) {
    EXPECT_STREQ("LEDNotification", module_->GetModuleName());
    EXPECT_EQ(nullptr, module_->GetParameter("decoding_led_feedback"));
    EXPECT_FALSE(module_->CheckExternalHeadset());
    EXPECT_TRUE(module_->ReadSubmit());
    EXPECT_TRUE(module_->ReinitializeFeedback());
    module_->ReleaseResources();

    IPlatformModule* registered =
        ComponentIndex::Instance()->CreateModule(PLATFORM_MODULE_LED, "LEDNotification");
    ASSERT_NE(nullptr, registered);
    EXPECT_STREQ("LEDNotification", static_cast<IFeedbackModule*>(registered)->GetModuleName());
    delete registered;
}

}  // namespace
