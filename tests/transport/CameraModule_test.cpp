// The camera vendor tag module against the simulated hardware manager: connection, lookups by
// name passed through unchanged and never cached, a repeated Init, DeInit, and what the
// service's death does.

#include "CameraModule.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "ComponentIndex.h"
#include "FakeCameraVendorTagProvider.h"
#include "HardwareManagerSim.h"
#include "TransportTest.h"

namespace {

using namespace transport_test;
using android::sp;
using orvex::hostlog::Entry;
using orvex::sim::FakeCameraVendorTagProvider;
using orvex::sim::FakeDCHWManager;
using orvex::sim::HardwareManagerSim;
using Calls = std::vector<std::string>;
using Module = CameraModule<(AndroidVersion)10>;

const Entry kInit = Log(I, "CameraModule::Init");
const Entry kDeInit = Log(I, "CameraModule::DeInit");
const Entry kAcquired = Log(
    I, "[CameraModule::associateCameraVendorTagHIDL] Acquired ICameraVendorTagProvider interface.");
const Entry kNoManager = Log(
    E, "[CameraModule::associateCameraVendorTagHIDL] Unable to get DCHWManager HIDL interface.");
const Entry kNoProvider = Log(E,
                              "[CameraModule::associateCameraVendorTagHIDL] Unable to get "
                              "ICameraVendorTagProvider HIDL interface.");
const Entry kLookupNull =
    Log(E, "[CameraModule<T>::GetCameraVendorTagID] sp_CameraTagProvider is null");

class CameraModuleTest : public ::testing::Test {
  protected:
    void SetUp() override {
        mSim.AddBuilder([this](FakeDCHWManager& manager) {
            if (!mWithProvider) return;
            mProvider = new FakeCameraVendorTagProvider;
            manager.SetCameraVendorTagProvider(mProvider);
        });
        IPlatformModule* module =
            ComponentIndex::Instance()->CreateModule(PLATFORM_MODULE_CAMERA, "CameraModule");
        mModule.reset(dynamic_cast<Module*>(module));
        ASSERT_NE(mModule, nullptr);
    }

    std::vector<Entry> Logged() { return mLog.WithTag("ScannerFramework"); }

    orvex::hostlog::ScopedCapture mLog;
    bool mWithProvider = true;
    sp<FakeCameraVendorTagProvider> mProvider;
    HardwareManagerSim mSim{false};
    std::unique_ptr<Module> mModule;
};

TEST_F(CameraModuleTest, IsRegisteredUnderTagThirteenAndSupportedWithoutAService) {
    EXPECT_TRUE(mModule->IsSupported());
    EXPECT_STREQ(mModule->GetModuleName(), "CameraModule");
    EXPECT_EQ(ComponentIndex::Instance()->GetNumberOfFeedbackModules(PLATFORM_MODULE_CAMERA), 1u);
    EXPECT_TRUE(Logged().empty());
}

TEST_F(CameraModuleTest, LookupsAreTheProvidersAnswersUnchangedAndNeverCached) {
    mSim.Start();
    mProvider->SetTable({
        {"com.tevrin.imager.exposure", static_cast<int32_t>(0x80000001u)},
        {"com.tevrin.imager.gain", 0x7FFFFFFF},
        {"", 0},
        {"zero", 0},
    });
    mProvider->SetUnknownTagId(-77);
    ASSERT_TRUE(mModule->Init());
    struct Case {
        std::string name;
        int32_t expected;
    } cases[] = {
        {"com.tevrin.imager.exposure", static_cast<int32_t>(0x80000001u)},
        {"com.tevrin.imager.gain", 0x7FFFFFFF},
        {"com.tevrin.imager.gain", 0x7FFFFFFF},
        {"", 0},
        {"zero", 0},
        {"not.a.tag", -77},
    };
    Calls expectedCalls;
    for (const Case& c : cases) {
        EXPECT_EQ(mModule->GetCameraVendorTagID(c.name), c.expected) << c.name;
        expectedCalls.push_back("getVendorTagId(" + c.name + ")");
    }
    EXPECT_EQ(mProvider->calls().Calls(), expectedCalls);
    EXPECT_EQ(mSim.manager()->calls().Calls(), Calls{"getCameraVendorTagProvider()"});
    EXPECT_EQ(Logged(), (std::vector<Entry>{kInit, kAcquired}));
}

TEST_F(CameraModuleTest, TheSimulatedDeviceNumbersItsTagsInTheVendorSections) {
    mSim.Start();
    ASSERT_TRUE(mModule->Init());
    EXPECT_EQ(mModule->GetCameraVendorTagID("com.tevrin.imager.engine_id"),
              static_cast<int32_t>(0x80000000u));
    EXPECT_EQ(mModule->GetCameraVendorTagID("com.tevrin.illumination.aimer"),
              static_cast<int32_t>(0x80010000u));
    EXPECT_EQ(mModule->GetCameraVendorTagID("com.tevrin.unknown"), -1);
}

TEST_F(CameraModuleTest, LookupsWithoutAConnectionAnswerMinusOneWithoutCallingTheService) {
    mSim.Start();
    EXPECT_EQ(mModule->GetCameraVendorTagID("com.tevrin.imager.gain"), -1);
    ASSERT_TRUE(mModule->Init());
    EXPECT_TRUE(mModule->DeInit());
    EXPECT_EQ(mModule->GetCameraVendorTagID("com.tevrin.imager.gain"), -1);
    mModule->disassociateCameraVendorTagHIDL();
    EXPECT_EQ(mModule->GetCameraVendorTagID(""), -1);
    EXPECT_TRUE(mProvider->calls().Calls().empty());
    EXPECT_EQ(Logged(), (std::vector<Entry>{kLookupNull, kInit, kAcquired, kDeInit, kLookupNull,
                                            kLookupNull}));
}

TEST_F(CameraModuleTest, RepeatedInitAnswersFalseAndDeInitLetsInitConnectAgain) {
    mSim.Start();
    EXPECT_TRUE(mModule->Init());
    EXPECT_FALSE(mModule->Init());
    EXPECT_EQ(mModule->GetCameraVendorTagID("com.tevrin.imager.gain"),
              static_cast<int32_t>(0x80000002u));
    EXPECT_TRUE(mModule->DeInit());
    EXPECT_TRUE(mModule->DeInit());
    EXPECT_TRUE(mModule->Init());
    EXPECT_EQ(mModule->GetCameraVendorTagID("com.tevrin.imager.gain"),
              static_cast<int32_t>(0x80000002u));
    EXPECT_EQ(mSim.manager()->calls().Count("getCameraVendorTagProvider"), 2u);
    EXPECT_EQ(Logged(),
              (std::vector<Entry>{kInit, kAcquired, kInit, kDeInit, kDeInit, kInit, kAcquired}));
}

TEST_F(CameraModuleTest, MissingServiceOrProviderFailsInitEachTime) {
    EXPECT_FALSE(mModule->Init());
    mWithProvider = false;
    mSim.Start();
    EXPECT_FALSE(mModule->Init());
    EXPECT_FALSE(mModule->Init());
    EXPECT_EQ(mModule->GetCameraVendorTagID("com.tevrin.imager.gain"), -1);
    EXPECT_EQ(mSim.manager()->calls().Count("getCameraVendorTagProvider"), 2u);
    EXPECT_EQ(Logged(), (std::vector<Entry>{kInit, kNoManager, kInit, kNoProvider, kInit,
                                            kNoProvider, kLookupNull}));
}

TEST_F(CameraModuleTest, ServiceDeathEndsTheProcessAtTheNextLookup) {
    mSim.Start();
    ASSERT_TRUE(mModule->Init());
    mSim.Kill();
    EXPECT_DEATH(mModule->GetCameraVendorTagID("com.tevrin.imager.gain"), DeadServiceRegex());
}

TEST_F(CameraModuleTest, AfterServiceDeathInitConnectsAfreshOrFindsNothing) {
    mSim.Start();
    ASSERT_TRUE(mModule->Init());
    mSim.Restart();
    EXPECT_TRUE(mModule->Init());
    EXPECT_EQ(mModule->GetCameraVendorTagID("com.tevrin.imager.gain"),
              static_cast<int32_t>(0x80000002u));
    EXPECT_EQ(mProvider->calls().Calls(), Calls{"getVendorTagId(com.tevrin.imager.gain)"});

    // Gone for good: the reconnection finds no manager, and the flag keeps Init from looking
    // again even once a service is back, until DeInit.
    mSim.Remove();
    mLog.Clear();
    EXPECT_FALSE(mModule->Init());
    mSim.Start();
    EXPECT_FALSE(mModule->Init());
    EXPECT_EQ(Logged(), (std::vector<Entry>{kInit, kNoManager, kInit}));
    EXPECT_TRUE(mModule->DeInit());
    EXPECT_TRUE(mModule->Init());
}

}  // namespace
