// The external haptic module against the simulated hardware manager and its pluggable-device
// interface.

#include "IExternalHapticFeedack.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "ComponentIndex.h"
#include "ExternalHapticFeedackHal.h"
#include "FakePlugableDeviceNotifier.h"
#include "FeedbackTestEnv.h"
#include "HardwareManagerSim.h"
#include "orvex/log_capture.h"

namespace {

using android::sp;
using feedback_test::Debug;
using feedback_test::Entry;
using feedback_test::Error;
using feedback_test::Info;
using orvex::sim::FakeDCHWManager;
using orvex::sim::FakePlugableDeviceNotifier;
using orvex::sim::HardwareManagerSim;
using Calls = std::vector<std::string>;

class HapticProbe : public IExternalHapticFeedack<ANDROID_VERSION_10> {
  public:
    using IExternalHapticFeedack::b_externalVibratorPresent;
    using IExternalHapticFeedack::i_vibrationDuration;
};

const char* const kPrepare = "[IExternalHapticFeedack<T>::PrepareFeedbackForTrigger ] +";
const char* const kTrigger = "[IExternalHapticFeedack::TriggerFeedback] +";
const char* const kAcquired = "[IDCHWManager] Acquired Plugable interface.";
const char* const kAssociated =
    "[IExternalHapticFeedack<T>::InitializeFeedback] External Haptic feedback HAL has been "
    "associated";

class HapticTest : public ::testing::Test {
  protected:
    void SetUp() override {
        // Every manager instance hands out a new pluggable interface, as a restarted service
        // would.
        sim_.AddBuilder([this](FakeDCHWManager& manager) {
            notifier_ = new FakePlugableDeviceNotifier();
            manager.SetPlugableDeviceNotifier(notifier_);
        });
    }

    void TearDown() override {
        module_.reset();
        sim_.Remove();
    }

    std::unique_ptr<HapticProbe> NewModule() {
        orvex::hostlog::ScopedCapture quiet;  // the constructor's line is tested on its own
        return std::make_unique<HapticProbe>();
    }

    HardwareManagerSim sim_{false};
    sp<FakePlugableDeviceNotifier> notifier_;
    std::unique_ptr<HapticProbe> module_;
};

TEST_F(HapticTest, ScanVibratesWithDurationThreeHundredWhenAVibratorIsPresent) {
    sim_.Start();
    orvex::hostlog::ScopedCapture log;
    module_ = std::make_unique<HapticProbe>();
    EXPECT_EQ(300, module_->i_vibrationDuration);
    ASSERT_TRUE(module_->InitializeFeedback());
    notifier_->SetExternalVibratorPresent(true);
    notifier_->SetVibrateResult(-5);
    EXPECT_TRUE(module_->PrepareFeedbackForTrigger());
    EXPECT_TRUE(module_->TriggerFeedback());

    EXPECT_EQ((Calls{"isExternalVibratorPresent()", "vibrateExternal(300)"}),
              notifier_->calls().Calls());
    EXPECT_EQ(Calls{"getPlugableDeviceNotifier()"}, sim_.manager()->calls().Calls());
    EXPECT_EQ((std::vector<Entry>{
                  Debug("[IExternalHapticFeedack<T>::IExternalHapticFeedack] ctor"),
                  Debug(kAcquired),
                  Info(kAssociated),
                  Debug(kPrepare),
                  Debug("[IExternalHapticFeedack<T>::PrepareFeedbackForTrigger ] External vibrator "
                        "present"),
                  Debug(kTrigger),
                  Debug("[IExternalHapticFeedack::TriggerFeedback] vibrateExternal ret:-5"),
              }),
              log.WithTag("ScannerFramework"));
}

TEST_F(HapticTest, AbsentVibratorFailsPreparationAndTriggerCallsNothing) {
    sim_.Start();
    module_ = NewModule();
    ASSERT_TRUE(module_->InitializeFeedback());
    orvex::hostlog::ScopedCapture log;
    EXPECT_FALSE(module_->PrepareFeedbackForTrigger());
    EXPECT_TRUE(module_->TriggerFeedback());
    EXPECT_EQ(Calls{"isExternalVibratorPresent()"}, notifier_->calls().Calls());
    EXPECT_EQ((std::vector<Entry>{
                  Debug(kPrepare),
                  Info("[IExternalHapticFeedack<T>::PrepareFeedbackForTrigger ] External "
                       "vibrator not present"),
                  Debug(kTrigger),
              }),
              log.WithTag("ScannerFramework"));

    // Asked again at every scan: a vibrator plugged in since is found.
    notifier_->SetExternalVibratorPresent(true);
    EXPECT_TRUE(module_->PrepareFeedbackForTrigger());
    module_->TriggerFeedback();
    EXPECT_EQ((Calls{"isExternalVibratorPresent()", "isExternalVibratorPresent()",
                     "vibrateExternal(300)"}),
              notifier_->calls().Calls());
}

TEST_F(HapticTest, PrepareWithoutInitializationFailsAndKeepsThePresenceFlag) {
    module_ = NewModule();
    module_->b_externalVibratorPresent = true;
    orvex::hostlog::ScopedCapture log;
    EXPECT_FALSE(module_->PrepareFeedbackForTrigger());
    EXPECT_TRUE(module_->b_externalVibratorPresent);
    EXPECT_EQ((std::vector<Entry>{
                  Debug(kPrepare),
                  Error("[IExternalHapticFeedack<T>::PrepareFeedbackForTrigger ] Something is "
                        "wrong. IQBIoConnectorDevice is null"),
              }),
              log.WithTag("ScannerFramework"));
}

TEST_F(HapticTest, MissingManagerOrInterfaceFailsAndIsTriedAgain) {
    module_ = NewModule();
    {
        orvex::hostlog::ScopedCapture log;
        EXPECT_FALSE(module_->IsSupported());
        EXPECT_FALSE(module_->InitializeFeedback());
        EXPECT_EQ((std::vector<Entry>{
                      Error("[IDCHWManager] Unable to get IDCHWManager interface."),
                      Debug("[IExternalHapticFeedack<T>::IsSupported] "
                            "bExternalHapticFeedackAvailable=0 "),
                      Error("[IDCHWManager] Unable to get IDCHWManager interface."),
                      Error("[IExternalHapticFeedack<T>::InitializeFeedback] intialisation failed"),
                  }),
                  log.WithTag("ScannerFramework"));
    }

    // A manager without a pluggable interface.
    HardwareManagerSim bare;
    {
        orvex::hostlog::ScopedCapture log;
        EXPECT_FALSE(module_->InitializeFeedback());
        EXPECT_EQ((std::vector<Entry>{
                      Error("[IDCHWManager] Unable to get Plugable interface."),
                      Error("[IExternalHapticFeedack<T>::InitializeFeedback] intialisation failed"),
                  }),
                  log.WithTag("ScannerFramework"));
        EXPECT_EQ(nullptr, ExternalHapticFeedackHal::sp_IDCHWManager);
    }
    bare.Remove();

    sim_.Start();
    EXPECT_TRUE(module_->InitializeFeedback());
}

TEST_F(HapticTest, IsSupportedLeavesNoConnection) {
    sim_.Start();
    module_ = NewModule();
    orvex::hostlog::ScopedCapture log;
    EXPECT_TRUE(module_->IsSupported());
    EXPECT_EQ(nullptr, ExternalHapticFeedackHal::sp_IDCHWManager);
    EXPECT_EQ(nullptr, ExternalHapticFeedackHal::sp_PlugableHal);
    EXPECT_FALSE(ExternalHapticFeedackHal::b_ExternalHapticFeedackInit);
    EXPECT_EQ((std::vector<Entry>{
                  Debug(kAcquired),
                  Debug("[IExternalHapticFeedack<T>::IsSupported] "
                        "bExternalHapticFeedackAvailable=1 "),
              }),
              log.WithTag("ScannerFramework"));
}

TEST_F(HapticTest, HeldConnectionIsReusedWhileTheManagerAnswers) {
    sim_.Start();
    module_ = NewModule();
    ASSERT_TRUE(module_->InitializeFeedback());
    HapticProbe second;
    EXPECT_TRUE(second.InitializeFeedback());
    EXPECT_EQ(Calls{"getPlugableDeviceNotifier()"}, sim_.manager()->calls().Calls());

    // A restarted manager fails the ping and is fetched with its new interface.
    sp<FakePlugableDeviceNotifier> old = notifier_;
    sim_.Restart();
    HapticProbe third;
    EXPECT_TRUE(third.InitializeFeedback());
    notifier_->SetExternalVibratorPresent(true);
    EXPECT_TRUE(third.PrepareFeedbackForTrigger());
    EXPECT_EQ(Calls{"isExternalVibratorPresent()"}, notifier_->calls().Calls());
    EXPECT_TRUE(old->calls().Calls().empty());
}

TEST_F(HapticTest, DestroyingAModuleDropsTheSharedConnection) {
    sim_.Start();
    module_ = NewModule();
    ASSERT_TRUE(module_->InitializeFeedback());
    EXPECT_TRUE(ExternalHapticFeedackHal::b_ExternalHapticFeedackInit);
    orvex::hostlog::ScopedCapture log;
    module_.reset();
    EXPECT_EQ(nullptr, ExternalHapticFeedackHal::sp_IDCHWManager);
    EXPECT_EQ(nullptr, ExternalHapticFeedackHal::sp_PlugableHal);
    EXPECT_FALSE(ExternalHapticFeedackHal::b_ExternalHapticFeedackInit);
    EXPECT_EQ(
        (std::vector<Entry>{Debug("[IExternalHapticFeedack<T>::~IExternalHapticFeedack]  dtor ")}),
        log.WithTag("ScannerFramework"));
}

TEST_F(HapticTest, TrivialOperationsTouchNoService) {
    sim_.Start();
    module_ = NewModule();
    ASSERT_TRUE(module_->InitializeFeedback());
    notifier_->calls().Clear();
    EXPECT_FALSE(module_->ReinitializeFeedback());
    EXPECT_EQ(nullptr, module_->GetParameter("duration"));
    module_->SetParameter("duration", "10");
    EXPECT_EQ(300, module_->i_vibrationDuration);
    EXPECT_FALSE(module_->CheckExternalHeadset());
    EXPECT_TRUE(module_->ReadSubmit());
    EXPECT_TRUE(module_->ResetFeedback());
    module_->ReleaseResources();
    module_->SetCallback(nullptr);
    EXPECT_TRUE(notifier_->calls().Calls().empty());
    EXPECT_STREQ("IExternalHapticFeedack", module_->GetModuleName());

    IPlatformModule* registered = ComponentIndex::Instance()->CreateModule(
        PLATFORM_MODULE_EXTERNAL_HAPTIC, "IExternalHapticFeedack");
    ASSERT_NE(nullptr, registered);
    delete registered;
}

}  // namespace
