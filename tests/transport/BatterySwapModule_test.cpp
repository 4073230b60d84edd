// The battery swap module against the simulated hardware manager: connection, the handler's
// answers passed through, a repeated Init, and what the service's death does at each step.

#include "BatterySwapModule.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "ComponentIndex.h"
#include "FakeBatterySwapHandler.h"
#include "HardwareManagerSim.h"
#include "TransportTest.h"

namespace {

using namespace transport_test;
using android::sp;
using orvex::hostlog::Entry;
using orvex::sim::FakeBatterySwapHandler;
using orvex::sim::FakeDCHWManager;
using orvex::sim::HardwareManagerSim;
using Calls = std::vector<std::string>;
using Module = BatterySwapModule<(AndroidVersion)10>;

const Entry kAcquired = Log(
    I, "[BatterySwapModule::associateBatterySwapHIDL] Acquired IBatterySwapHandlerHIDL interface.");
const Entry kNoManager = Log(
    E, "[BatterySwapModule::associateBatterySwapHIDL] Unable to get DCHWManager HIDL interface.");
const Entry kNoHandler = Log(E,
                             "[BatterySwapModule::associateBatterySwapHIDL] Unable to get "
                             "IBatterySwapHandler HIDL interface.");
const Entry kEnterNull =
    Log(E, "[BatterySwapModule<T>::EnterBatterySwap] sp_BatterySwapHandler is null");
const Entry kExitNull =
    Log(E, "[BatterySwapModule<T>::ExitBatterySwap] sp_BatterySwapHandler is null");

class BatterySwapModuleTest : public ::testing::Test {
  protected:
    void SetUp() override {
        mSim.AddBuilder([this](FakeDCHWManager& manager) {
            if (!mWithHandler) return;
            mHandler = new FakeBatterySwapHandler;
            manager.SetBatterySwapHandler(mHandler);
        });
        IPlatformModule* module = ComponentIndex::Instance()->CreateModule(
            PLATFORM_MODULE_BATTERY_SWAP, "BatterySwapModule");
        mModule.reset(dynamic_cast<Module*>(module));
        ASSERT_NE(mModule, nullptr);
    }

    std::vector<Entry> Logged() { return mLog.WithTag("ScannerFramework"); }

    orvex::hostlog::ScopedCapture mLog;
    bool mWithHandler = true;
    sp<FakeBatterySwapHandler> mHandler;
    HardwareManagerSim mSim{false};
    std::unique_ptr<Module> mModule;
};

TEST_F(BatterySwapModuleTest, IsRegisteredUnderTagElevenAndSupportedWithoutAService) {
    EXPECT_TRUE(mModule->IsSupported());
    EXPECT_STREQ(mModule->GetModuleName(), "BatterySwapModule");
    EXPECT_EQ(ComponentIndex::Instance()->GetNumberOfFeedbackModules(PLATFORM_MODULE_BATTERY_SWAP),
              1u);
    EXPECT_TRUE(Logged().empty());
}

TEST_F(BatterySwapModuleTest, HandlerAnswersArePassedThroughInAnyOrder) {
    mSim.Start();
    ASSERT_TRUE(mModule->Init());
    struct Case {
        bool enterAnswer, exitAnswer;
    } cases[] = {{true, true}, {false, true}, {true, false}, {false, false}};
    for (const Case& c : cases) {
        mHandler->SetAnswers({c.enterAnswer, c.exitAnswer});
        EXPECT_EQ(mModule->EnterBatterySwap(), c.enterAnswer);
        EXPECT_EQ(mModule->EnterBatterySwap(), c.enterAnswer);
        EXPECT_EQ(mModule->ExitBatterySwap(), c.exitAnswer);
    }
    EXPECT_EQ(mModule->ExitBatterySwap(), false);
    EXPECT_EQ(mSim.manager()->calls().Calls(), Calls{"getBatterySwapHandler()"});
    EXPECT_EQ(mHandler->calls().Count("enterBatterySwap"), 8u);
    EXPECT_EQ(mHandler->calls().Count("exitBatterySwap"), 5u);
    EXPECT_EQ(Logged(), std::vector<Entry>{kAcquired});
}

TEST_F(BatterySwapModuleTest, RepeatedInitOnALiveServiceAnswersFalseAndKeepsTheConnection) {
    mSim.Start();
    EXPECT_TRUE(mModule->Init());
    EXPECT_FALSE(mModule->Init());
    EXPECT_FALSE(mModule->Init());
    EXPECT_TRUE(mModule->EnterBatterySwap());
    EXPECT_TRUE(mHandler->InBatterySwap());
    EXPECT_EQ(mSim.manager()->calls().Calls(), Calls{"getBatterySwapHandler()"});
    EXPECT_EQ(Logged(), std::vector<Entry>{kAcquired});
}

TEST_F(BatterySwapModuleTest, WithoutAHandlerEnterAndExitFailWithoutCallingTheService) {
    mSim.Start();
    EXPECT_FALSE(mModule->EnterBatterySwap());
    EXPECT_FALSE(mModule->ExitBatterySwap());
    EXPECT_TRUE(mSim.manager()->calls().Calls().empty());
    EXPECT_TRUE(mHandler->calls().Calls().empty());
    EXPECT_EQ(Logged(), (std::vector<Entry>{kEnterNull, kExitNull}));

    // Disassociated after a connection: the same.
    ASSERT_TRUE(mModule->Init());
    mModule->disassociateBatterySwapHIDL();
    mLog.Clear();
    EXPECT_FALSE(mModule->EnterBatterySwap());
    EXPECT_TRUE(mHandler->calls().Calls().empty());
    EXPECT_EQ(Logged(), std::vector<Entry>{kEnterNull});
    // And Init connects again.
    EXPECT_TRUE(mModule->Init());
    EXPECT_EQ(mSim.manager()->calls().Count("getBatterySwapHandler"), 2u);
}

TEST_F(BatterySwapModuleTest, MissingServiceOrHandlerFailsInitEachTime) {
    EXPECT_FALSE(mModule->Init());
    mWithHandler = false;
    mSim.Start();
    EXPECT_FALSE(mModule->Init());
    EXPECT_FALSE(mModule->Init());
    EXPECT_FALSE(mModule->EnterBatterySwap());
    EXPECT_EQ(mSim.manager()->calls().Calls(),
              (Calls{"getBatterySwapHandler()", "getBatterySwapHandler()"}));
    EXPECT_EQ(Logged(), (std::vector<Entry>{kNoManager, kNoHandler, kNoHandler, kEnterNull}));
}

TEST_F(BatterySwapModuleTest, ServiceDeathEndsTheProcessAtTheNextSwapCall) {
    mSim.Start();
    ASSERT_TRUE(mModule->Init());
    mSim.Kill();
    EXPECT_DEATH(mModule->EnterBatterySwap(), DeadServiceRegex());
    EXPECT_DEATH(mModule->ExitBatterySwap(), DeadServiceRegex());
}

TEST_F(BatterySwapModuleTest, AfterServiceDeathInitConnectsAfresh) {
    mSim.Start();
    ASSERT_TRUE(mModule->Init());
    sp<FakeBatterySwapHandler> old = mHandler;
    mSim.Restart();
    // The dead manager fails its ping: Init connects to the new instance.
    EXPECT_TRUE(mModule->Init());
    EXPECT_TRUE(mModule->EnterBatterySwap());
    EXPECT_TRUE(mHandler->InBatterySwap());
    EXPECT_TRUE(old->calls().Calls().empty());
    EXPECT_EQ(Logged(), (std::vector<Entry>{kAcquired, kAcquired}));
}

TEST_F(BatterySwapModuleTest, AReconnectionThatFindsNoServiceLeavesTheModuleStuck) {
    mSim.Start();
    ASSERT_TRUE(mModule->Init());
    mSim.Remove();
    mLog.Clear();
    EXPECT_FALSE(mModule->Init());
    EXPECT_EQ(Logged(), std::vector<Entry>{kNoManager});

    // The flag stays set without a manager: Init no longer looks for the service, and the
    // handler it kept is the dead one.
    mSim.Start();
    mLog.Clear();
    EXPECT_FALSE(mModule->Init());
    EXPECT_TRUE(Logged().empty());
    EXPECT_TRUE(mSim.manager()->calls().Calls().empty());
    EXPECT_DEATH(mModule->EnterBatterySwap(), DeadServiceRegex());
}

}  // namespace
