// The host's binder service manager, local and "remote" binders, and the audio policy's device
// list.

#include <binder/Binder.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <binder/ProcessState.h>
#include <gtest/gtest.h>
#include <media/AudioSystem.h>

#include <chrono>
#include <future>
#include <thread>

#include "orvex/audio_devices.h"
#include "orvex/binder_services.h"

namespace {

using android::IBinder;
using android::Parcel;
using android::sp;
using android::String16;

// Answers code 1 with the request's int32 plus one; fails code 2.
class AddOne : public android::BBinder {
  protected:
    android::status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                 uint32_t flags) override {
        if (code == 1) {
            reply->writeInt32(data.readInt32() + 1);
            return android::NO_ERROR;
        }
        if (code == 2) {
            reply->writeInt32(99);  // written, but a failed transaction returns no reply
            return android::FAILED_TRANSACTION;
        }
        return BBinder::onTransact(code, data, reply, flags);
    }
};

class ServiceManager : public ::testing::Test {
  protected:
    void SetUp() override { orvex::binder::Reset(); }
    void TearDown() override { orvex::binder::Reset(); }
};

TEST_F(ServiceManager, LooksServicesUpByExactName) {
    sp<android::IServiceManager> sm = android::defaultServiceManager();
    ASSERT_NE(nullptr, sm);
    sp<IBinder> service = new AddOne();
    EXPECT_EQ(android::NO_ERROR, sm->addService(String16("audio"), service));
    EXPECT_EQ(service, sm->getService(String16("audio")));
    EXPECT_EQ(service, sm->checkService(String16("audio")));
    EXPECT_EQ(nullptr, sm->getService(String16("audio2")));
    EXPECT_EQ(nullptr, sm->getService(String16("Audio")));
    EXPECT_EQ(android::BAD_VALUE, sm->addService(String16("x"), nullptr));

    orvex::binder::RemoveService("audio");
    EXPECT_EQ(nullptr, sm->getService(String16("audio")));
}

TEST_F(ServiceManager, DeclaredNamesAreIndependentOfRegistration) {
    sp<android::IServiceManager> sm = android::defaultServiceManager();
    const String16 name("android.hardware.light.ILights/default");
    EXPECT_FALSE(sm->isDeclared(name));
    orvex::binder::Declare("android.hardware.light.ILights/default");
    EXPECT_TRUE(sm->isDeclared(name));
    EXPECT_FALSE(sm->isDeclared(String16("android.hardware.light.ILights/other")));
    orvex::binder::Undeclare("android.hardware.light.ILights/default");
    EXPECT_FALSE(sm->isDeclared(name));
}

TEST_F(ServiceManager, WaitForServiceReturnsOnceTheServiceIsAdded) {
    sp<android::IServiceManager> sm = android::defaultServiceManager();
    auto waited =
        std::async(std::launch::async, [sm] { return sm->waitForService(String16("late")); });
    sp<IBinder> service = new AddOne();
    sm->addService(String16("late"), service);
    ASSERT_EQ(std::future_status::ready, waited.wait_for(std::chrono::seconds(30)));
    EXPECT_EQ(service, waited.get());
}

TEST_F(ServiceManager, UnavailableManagerGivesNull) {
    orvex::binder::SetServiceManagerAvailable(false);
    EXPECT_EQ(nullptr, android::defaultServiceManager());
    orvex::binder::SetServiceManagerAvailable(true);
    EXPECT_NE(nullptr, android::defaultServiceManager());
    EXPECT_EQ(android::ProcessState::self(), android::ProcessState::self());
}

TEST(Binder, LocalTransactionsRewindBothParcels) {
    sp<IBinder> binder = new AddOne();
    Parcel data;
    data.writeInt32(41);
    Parcel reply;
    EXPECT_EQ(android::NO_ERROR, binder->transact(1, data, &reply));
    EXPECT_EQ(0u, reply.dataPosition());
    EXPECT_EQ(42, reply.readInt32());

    EXPECT_EQ(android::NO_ERROR, binder->pingBinder());
    Parcel none;
    EXPECT_EQ(android::NO_ERROR, binder->transact(IBinder::PING_TRANSACTION, none, &reply));
    EXPECT_EQ(android::UNKNOWN_TRANSACTION, binder->transact(77, none, &reply));
    EXPECT_EQ(binder->localBinder(), binder.get());
}

TEST(Binder, RemoteTransactionsCopyAndDropTheReplyOfAFailure) {
    sp<IBinder> local = new AddOne();
    sp<IBinder> remote = orvex::binder::AsRemote(local);
    EXPECT_EQ(nullptr, remote->localBinder());
    EXPECT_EQ(nullptr, remote->queryLocalInterface(String16("")));

    Parcel data;
    data.writeInt32(1);
    Parcel reply;
    EXPECT_EQ(android::NO_ERROR, remote->transact(1, data, &reply));
    EXPECT_EQ(2, reply.readInt32());

    Parcel failed;
    failed.writeInt32(7);
    EXPECT_EQ(android::FAILED_TRANSACTION, remote->transact(2, data, &failed));
    EXPECT_EQ(0u, failed.dataSize());
    EXPECT_EQ(0, failed.readInt32());
}

class AudioPolicy : public ::testing::Test {
  protected:
    void SetUp() override { orvex::audio::ResetDevices(); }
    void TearDown() override { orvex::audio::ResetDevices(); }
};

TEST_F(AudioPolicy, ConnectionStatesFollowTheDeviceList) {
    orvex::audio::SetDeviceConnectionState(AUDIO_DEVICE_OUT_WIRED_HEADSET, "",
                                           AUDIO_POLICY_DEVICE_STATE_AVAILABLE);
    orvex::audio::SetDeviceConnectionState(AUDIO_DEVICE_OUT_BLUETOOTH_A2DP, "00:11:22:33:44:55",
                                           AUDIO_POLICY_DEVICE_STATE_AVAILABLE);
    struct Case {
        audio_devices_t device;
        const char* address;
        audio_policy_dev_state_t state;
    } cases[] = {
        {AUDIO_DEVICE_OUT_WIRED_HEADSET, "", AUDIO_POLICY_DEVICE_STATE_AVAILABLE},
        {AUDIO_DEVICE_OUT_WIRED_HEADPHONE, "", AUDIO_POLICY_DEVICE_STATE_UNAVAILABLE},
        // An empty address matches the device at any address.
        {AUDIO_DEVICE_OUT_BLUETOOTH_A2DP, "", AUDIO_POLICY_DEVICE_STATE_AVAILABLE},
        {AUDIO_DEVICE_OUT_BLUETOOTH_A2DP, "00:11:22:33:44:55", AUDIO_POLICY_DEVICE_STATE_AVAILABLE},
        {AUDIO_DEVICE_OUT_BLUETOOTH_A2DP, "66:77:88:99:AA:BB",
         AUDIO_POLICY_DEVICE_STATE_UNAVAILABLE},
        {AUDIO_DEVICE_OUT_WIRED_HEADSET, nullptr, AUDIO_POLICY_DEVICE_STATE_AVAILABLE},
    };
    std::vector<orvex::audio::DeviceQuery> expectedQueries;
    for (const Case& c : cases) {
        EXPECT_EQ(c.state, android::AudioSystem::getDeviceConnectionState(c.device, c.address))
            << std::hex << c.device << " " << (c.address ? c.address : "(null)");
        expectedQueries.push_back({c.device, c.address ? c.address : ""});
    }
    EXPECT_EQ(expectedQueries, orvex::audio::DeviceQueries());

    orvex::audio::SetDeviceConnectionState(AUDIO_DEVICE_OUT_WIRED_HEADSET, "",
                                           AUDIO_POLICY_DEVICE_STATE_UNAVAILABLE);
    EXPECT_EQ(AUDIO_POLICY_DEVICE_STATE_UNAVAILABLE,
              android::AudioSystem::getDeviceConnectionState(AUDIO_DEVICE_OUT_WIRED_HEADSET, ""));
}

}  // namespace
