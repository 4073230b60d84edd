// The AIDL lights interface over the host binder: the same calls reach the fake service
// directly when it is local and through parcels when it is remote.

#include <android/hardware/light/BpLights.h>
#include <android/hardware/light/ILights.h>
#include <binder/IServiceManager.h>
#include <gtest/gtest.h>

#include "FakeAidlLights.h"
#include "orvex/binder_services.h"

namespace {

using android::sp;
using android::String16;
using android::hardware::light::BrightnessMode;
using android::hardware::light::FlashMode;
using android::hardware::light::HwLight;
using android::hardware::light::HwLightState;
using android::hardware::light::ILights;
using orvex::sim::FakeAidlLights;
using orvex::sim::MakeLight;

class AidlLights : public ::testing::TestWithParam<bool> {
  protected:
    void SetUp() override { orvex::binder::Reset(); }
    void TearDown() override { orvex::binder::Reset(); }
};

TEST_P(AidlLights, CallsCarryTheirArgumentsAndResults) {
    const bool remote = GetParam();
    const std::vector<HwLight> lights = {MakeLight(3, 0, 4), MakeLight(9, 2, 100)};
    sp<FakeAidlLights> fake = FakeAidlLights::Register(lights, remote);

    sp<ILights> service = android::waitForDeclaredService<ILights>(
        String16("android.hardware.light.ILights/default"));
    ASSERT_NE(nullptr, service);
    EXPECT_EQ(remote, service.get() != fake.get()) << "a remote service is reached by proxy";

    std::vector<HwLight> got;
    ASSERT_TRUE(service->getLights(&got).isOk());
    EXPECT_EQ(lights, got);
    EXPECT_EQ(100, static_cast<int>(got[1].type));

    HwLightState state;
    state.color = static_cast<int32_t>(0xFF00FF00);
    state.flashMode = FlashMode::TIMED;
    state.flashOnMs = 250;
    state.flashOffMs = 750;
    state.brightnessMode = BrightnessMode::LOW_PERSISTENCE;
    EXPECT_TRUE(service->setLightState(9, state).isOk());
    android::binder::Status refused = service->setLightState(5, state);
    EXPECT_EQ(android::binder::Status::EX_UNSUPPORTED_OPERATION, refused.exceptionCode());

    using Call = FakeAidlLights::Call;
    const std::vector<Call> expected = {
        {Call::kGetLights, 0, HwLightState()},
        {Call::kSetLightState, 9, state},
        {Call::kSetLightState, 5, state},
    };
    EXPECT_EQ(expected, fake->Calls());
}

INSTANTIATE_TEST_SUITE_P(LocalAndRemote, AidlLights, ::testing::Bool());

TEST(AidlLightsLookup, UndeclaredInstanceGivesNullWithoutWaiting) {
    orvex::binder::Reset();
    sp<FakeAidlLights> fake = new FakeAidlLights();
    // Registered but not declared: the declared-service lookup does not wait for it.
    android::defaultServiceManager()->addService(String16(FakeAidlLights::InstanceName().c_str()),
                                                 fake);
    EXPECT_EQ(nullptr, android::waitForDeclaredService<ILights>(
                           String16(FakeAidlLights::InstanceName().c_str())));
    EXPECT_EQ("android.hardware.light.ILights/default", FakeAidlLights::InstanceName());
    EXPECT_EQ(nullptr, ILights::asInterface(nullptr));
    orvex::binder::Reset();
}

}  // namespace
