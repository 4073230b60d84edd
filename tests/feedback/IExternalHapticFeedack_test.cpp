// The external haptic module against the simulated hardware manager and its pluggable-device
// interface.

#include "IExternalHapticFeedack.h"

#include <gtest/gtest.h>

#include <memory>

#include "FakePlugableDeviceNotifier.h"
#include "FeedbackTestEnv.h"
#include "HardwareManagerSim.h"

namespace {

using namespace feedback_test;
using orvex::hostlog::ScopedCapture;
using orvex::sim::FakePlugableDeviceNotifier;
using Calls = std::vector<std::string>;
using Hal = ExternalHapticFeedackHal;
using Lines = std::vector<Entry>;

const std::string kPrep = "[IExternalHapticFeedack<T>::PrepareFeedbackForTrigger ] ";
const Entry kPrepare = Debug(kPrep + "+");
const Entry kTrigger = Debug("[IExternalHapticFeedack::TriggerFeedback] +");
const Entry kAcquired = Debug("[IDCHWManager] Acquired Plugable interface.");
const Entry kNoManager = Error("[IDCHWManager] Unable to get IDCHWManager interface.");
const Entry kCtor = Debug("[IExternalHapticFeedack<T>::IExternalHapticFeedack] ctor");
const Entry kAssociated = Info(
    "[IExternalHapticFeedack<T>::InitializeFeedback] External Haptic feedback HAL has been "
    "associated");
const Entry kFailed = Error("[IExternalHapticFeedack<T>::InitializeFeedback] intialisation failed");
const std::string kAvailable = "[IExternalHapticFeedack<T>::IsSupported] bExternalHapticFeedack";

class HapticProbe : public IExternalHapticFeedack<ANDROID_VERSION_10> {
  public:
    using IExternalHapticFeedack::b_externalVibratorPresent;
};

class HapticTest : public ::testing::Test {
  protected:
    void SetUp() override {
        // Every manager instance hands out a new pluggable interface, as a restarted service
        // would.
        sim_.AddBuilder([this](orvex::sim::FakeDCHWManager& manager) {
            notifier_ = new FakePlugableDeviceNotifier();
            manager.SetPlugableDeviceNotifier(notifier_);
        });
    }
    void TearDown() override { sim_.Remove(); }

    orvex::sim::HardwareManagerSim sim_{false};
    android::sp<FakePlugableDeviceNotifier> notifier_;
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
    EXPECT_EQ((Calls{"isExternalVibratorPresent()", "isExternalVibratorPresent()",
                     "vibrateExternal(300)"}),
              notifier_->calls().Calls());
    EXPECT_EQ(Calls{"getPlugableDeviceNotifier()"}, sim_.manager()->calls().Calls());
    EXPECT_EQ((Lines{kCtor, kAcquired, kAssociated, kPrepare,
                     Info(kPrep + "External vibrator not present"), kTrigger, kPrepare,
                     Debug(kPrep + "External vibrator present"), kTrigger,
                     Debug("[IExternalHapticFeedack::TriggerFeedback] vibrateExternal ret:-5")}),
              log.WithTag("ScannerFramework"));
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
    orvex::sim::HardwareManagerSim bare;  // a manager without a pluggable interface
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
    EXPECT_EQ(Calls{"getPlugableDeviceNotifier()"}, sim_.manager()->calls().Calls());

    // A restarted manager fails the ping and is fetched with its new interface.
    android::sp<FakePlugableDeviceNotifier> old = notifier_;
    sim_.Restart();
    HapticProbe third;
    EXPECT_TRUE(third.InitializeFeedback());
    EXPECT_TRUE(Hal::b_ExternalHapticFeedackInit);
    notifier_->SetExternalVibratorPresent(true);
    EXPECT_TRUE(third.PrepareFeedbackForTrigger());
    EXPECT_EQ(Calls{"isExternalVibratorPresent()"}, notifier_->calls().Calls());
    EXPECT_TRUE(old->calls().Calls().empty());
    module.reset();
    EXPECT_TRUE(dropped());
    EXPECT_EQ((Lines{kPrepare,
                     Error(kPrep + "Something is wrong. IQBIoConnectorDevice is null"),
                     kNoManager,
                     Debug(kAvailable + "Available=0 "),
                     kNoManager,
                     kFailed,
                     Error("[IDCHWManager] Unable to get Plugable interface."),
                     kFailed,
                     kAcquired,
                     Debug(kAvailable + "Available=1 "),
                     kAcquired,
                     kAssociated,
                     kCtor,
                     kAssociated,
                     kCtor,
                     kAcquired,
                     kAssociated,
                     kPrepare,
                     Debug(kPrep + "External vibrator present"),
                     Debug("[IExternalHapticFeedack<T>::~IExternalHapticFeedack]  dtor ")}),
              log.WithTag("ScannerFramework"));
}

}  // namespace
