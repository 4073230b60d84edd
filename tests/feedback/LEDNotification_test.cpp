// The LED module against the fake lights services (HIDL and AIDL) and the timer service.

#include "LEDNotification.h"

#include <binder/IServiceManager.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <chrono>
#include <map>
#include <memory>
#include <sstream>

#include "FakeAidlLights.h"
#include "FakeHidlLight.h"
#include "FeedbackTestEnv.h"
#include "orvex/binder_services.h"

namespace {

using android::sp;
using namespace feedback_test;
using orvex::hostlog::ScopedCapture;
using orvex::sim::FakeAidlLights;
using orvex::sim::FakeHidlLight;
using orvex::sim::MakeLight;
using AidlCall = FakeAidlLights::Call;
using Lines = std::vector<Entry>;

constexpr uint32_t kRed = 0xFFFF0000u;
constexpr uint32_t kGreen = 0xFF00FF00u;
constexpr uint32_t kOff = 0u;
const Entry kUnable = Error("[LEDNotification::LEDNotification()] Unable to get ILight interface.");
const Entry kSet8 = Debug("[HIDLinterface::setlight] set light 8\n");

// Opens the module's state to the tests.
class LEDProbe : public LEDNotification<ANDROID_VERSION_10> {
  public:
    using LEDNotification::i_goodDecodeLedTimer;
    using LEDNotification::p_goodDecodeTimer;
    using LEDNotification::p_light;
};

struct LedAccess : ICallback {
    bool IsLEDAccessible() override { return allowed; }
    bool allowed = true;
};

FakeHidlLight::Call Hidl(uint32_t color) { return {8, orvex::sim::MakeHidlLightState(color), 0}; }
AidlCall GetLights() { return {AidlCall::kGetLights, 0, {}, 0}; }
AidlCall SetLight(int32_t id, uint32_t color) {
    return {AidlCall::kSetLightState, id, orvex::sim::MakeLightState(color), 0};
}

Lines SfLines(const ScopedCapture& log) { return log.WithTag("ScannerFramework"); }

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
        const char* steps;
        const char* colors;
        const char* lines;
    } cases[] = {
        // clang-format off
        {"d=true r=true t=20 A P T W", "RGR", "c88ar8"},
        {"d=true t=20 A P T W", "RGO", "c88ao8"},
        {"d=true r=true P T", "RR", "8ear8"},  // no timer: green is never shown
        {"d=true t=-1 P T", "RO", "8eao8"},
        {"d=true r=true t=0 P T", "RR", "8ear8"},
        {"r=true t=0 P T", "", ""},
        // A reset during the green phase changes nothing; a new scan ends the phase.
        {"d=true r=true t=600000 P T R P R", "RGRR", "888ear8"},
        // Switched off, the LED is reset while the old setting still holds.
        {"d=true r=true d=off R", "RO", "ear8eao8"},
        {"d=true D R A R N R", "OO", "cncao8ceao8"},
        {"r=TRUE d=true R", "O", "eao8"},
        // clang-format on
    };
    const std::map<char, std::string> keys = {
        {'d', "decoding_led_feedback"}, {'r', "isRedLedActive"}, {'t', "good_decode_led_timer"}};
    const std::map<char, Entry> lines = {
        {'8', kSet8},
        {'c', Info("[LEDNotification<T>::SetCallback]")},
        {'e', Error("[LEDNotification<T>::isScanLEDAccessible] callback is null")},
        {'a', Debug("[LEDNotification<T>::ResetFeedback()] Scan LED is available.")},
        {'n', Info("[LEDNotification<T>::ResetFeedback()] Scan LED is not available.")},
        {'r', Debug("[LEDNotification<T>::ResetFeedback()] setting RED LED")},
        {'o', Debug("[LEDNotification<T>::ResetFeedback()] setting LED to OFF")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.steps);
        NewModule();
        sp<FakeHidlLight> light = FakeHidlLight::Register();
        ASSERT_TRUE(module_->InitializeFeedback());
        std::vector<FakeHidlLight::Call> colors;
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
                const std::vector<FakeHidlLight::Call> calls = light->Calls();
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
        EXPECT_EQ(expected, SfLines(log));
    }
}

// HIDL first, then the first AIDL light of the device's own type 100, asked for at every change.
TEST_F(LEDTest, LightIsTheHidlOneOrTheAidlScanLed) {
    const Entry aidl = Error("creating AIDL interface\n");
    const Entry set100 = Debug("[AIDLinterface::setlight] set light 100\n");
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
         {GetLights(), SetLight(7, kRed)}, {kUnable, aidl, set100}},
        {false, false, {MakeLight(0, 0, 4), MakeLight(1, 0, 5)}, {GetLights()}, {kUnable, aidl}},
        {false, true, usual, {GetLights(), SetLight(1, kRed)}, {kUnable, aidl, set100}},
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
        EXPECT_EQ(c.lines, SfLines(log));
        EXPECT_TRUE(LightHal::b_LightInit);
        EXPECT_TRUE(!c.hidl || hidl->Calls() == std::vector<FakeHidlLight::Call>{Hidl(kRed)});
    }
}

TEST_F(LEDTest, WithoutLightsServicesBothAreTriedAgainEachTime) {
    ScopedCapture log;
    EXPECT_FALSE(module_->IsSupported());
    EXPECT_FALSE(module_->InitializeFeedback());
    EXPECT_EQ((Lines{kUnable, kUnable, kUnable, kUnable,
                     Error("[LEDNotification::InitializeFeedback] initialization failed")}),
              SfLines(log));
    EXPECT_FALSE(LightHal::b_LightInit);

    // Registered but not declared: the AIDL lookup does not wait for it.
    sp<FakeAidlLights> aidl = new FakeAidlLights();
    android::defaultServiceManager()->addService(
        android::String16(FakeAidlLights::InstanceName().c_str()), aidl);
    EXPECT_FALSE(module_->InitializeFeedback());
    orvex::binder::Declare(FakeAidlLights::InstanceName());
    // A probe leaves no light object; "datacapture_led_id" connects again, whatever its value.
    EXPECT_TRUE(module_->IsSupported());
    EXPECT_EQ(nullptr, LightHal::lighthal);
    EXPECT_FALSE(LightHal::b_LightInit);
    module_->SetParameter("datacapture_led_id", "17");
    EXPECT_NE(nullptr, LightHal::lighthal);
    EXPECT_EQ(LightHal::lighthal, module_->p_light);
    EXPECT_TRUE(LightHal::b_LightInit);
    EXPECT_TRUE(aidl->Calls().empty());
}

TEST_F(LEDTest, TimerIsRecreatedOnlyOnChangeAndAnUnknownOneStillResets) {
    EXPECT_EQ(-1, module_->i_goodDecodeLedTimer);
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
    module_->SetParameter("good_decode_led_timer", "0");
    EXPECT_EQ(nullptr, module_->p_goodDecodeTimer);
    EXPECT_EQ(0, module_->i_goodDecodeLedTimer);

    sp<FakeHidlLight> light = FakeHidlLight::Register();
    ASSERT_TRUE(module_->InitializeFeedback());
    timer = TimerProvider::CreateNewTimer(1000, &LEDProbe::OnTimer, module_.get());
    ScopedCapture log;
    LEDProbe::OnTimer(timer);
    EXPECT_EQ(std::vector<FakeHidlLight::Call>{Hidl(kOff)}, light->Calls());
    ASSERT_FALSE(SfLines(log).empty());
    EXPECT_EQ(
        Error("[LEDNotification<T>::OnTimer] Unknown timer triggered on LEDNotification Module"),
        SfLines(log)[0]);
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

}  // namespace
