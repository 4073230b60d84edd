// The audio client: the transactions its proxy writes, and the process-wide lookup that is
// made once.

#include "AudioManager.h"

#include <binder/Binder.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <gtest/gtest.h>

#include "BpAudioManager.h"
#include "FakeAudioService.h"
#include "FeedbackTestEnv.h"
#include "orvex/binder_services.h"
#include "orvex/log_capture.h"

namespace {

using android::sp;
using feedback_test::ChildChecks;
using feedback_test::Debug;
using feedback_test::Error;
using orvex::sim::FakeAudioService;
using Transaction = FakeAudioService::Transaction;

class AudioProxy : public ::testing::Test {
  protected:
    void SetUp() override {
        fake_ = new FakeAudioService();
        proxy_ = IAudioManager::asInterface(fake_);
    }

    sp<FakeAudioService> fake_;
    sp<IAudioManager> proxy_;
};

TEST_F(AudioProxy, VolumeQueriesSendTheirCodesWithIdenticalBodies) {
    ASSERT_NE(nullptr, proxy_);
    fake_->SetStreamVolume(4, 6, 7);
    EXPECT_EQ(6, proxy_->getStreamVolume(4));
    const std::vector<uint8_t> volumeRequest = fake_->LastRequest();
    EXPECT_EQ(7, proxy_->getStreamMaxVolume(4));
    EXPECT_EQ(volumeRequest, fake_->LastRequest());

    const std::vector<Transaction> expected = {
        {8, 0, true, {4}, ""},
        {10, 0, true, {4}, ""},
    };
    EXPECT_EQ(expected, fake_->Transactions());
}

TEST_F(AudioProxy, SetStreamVolumeSendsItsArgumentsAndPackage) {
    android::String8 package("com.example.scanner");
    proxy_->setStreamVolume(3, 9, 0x11, package);
    const std::vector<Transaction> expected = {{3, 0, true, {3, 9, 0x11}, "com.example.scanner"}};
    EXPECT_EQ(expected, fake_->Transactions());
    EXPECT_EQ(9, proxy_->getStreamVolume(3));
}

TEST_F(AudioProxy, TheWordAfterAnExceptionIsTakenAsTheValue) {
    fake_->SetStreamVolume(2, 3, 7);
    fake_->SetException(-1);
    EXPECT_EQ(3, proxy_->getStreamVolume(2));
    EXPECT_EQ(7, proxy_->getStreamMaxVolume(2));
}

TEST(AudioProxyFailure, AFailedTransactionReadsAsZero) {
    // A binder that knows none of the codes: the transaction fails and the reply is empty.
    sp<android::IBinder> remote = orvex::binder::AsRemote(new android::BBinder());
    sp<IAudioManager> proxy = IAudioManager::asInterface(remote);
    EXPECT_EQ(0, proxy->getStreamVolume(4));
    EXPECT_EQ(0, proxy->getStreamMaxVolume(4));
}

TEST(AudioManager, ConnectsOnceAndAnswersFromTheService) {
    EXPECT_IN_FRESH_PROCESS({
        ChildChecks check;
        sp<FakeAudioService> fake = FakeAudioService::Register();
        fake->SetStreamVolume(5, 2, 7);
        orvex::hostlog::ScopedCapture log;
        AudioManager* audio = AudioManager::GetInstance();
        check.Logged(
            log.Entries(),
            {Debug("[AudioManager::LoadService] Received an instance of service manager")});
        check.True("same instance", audio == AudioManager::GetInstance());
        check.Eq("volume", audio->GetStreamVolume(5), 2);
        check.Eq("max", audio->GetStreamMaxVolume(5), 7);
        android::String8 package("pkg");
        audio->setStreamVolume(5, 4, 0, package);
        check.Eq("volume after set", audio->GetStreamVolume(5), 4);
        check.Eq("transactions", fake->Transactions().size(), 4u);
        check.Exit();
    });
}

TEST(AudioManager, WithoutTheServiceEveryQueryAnswersMinusOneForever) {
    EXPECT_IN_FRESH_PROCESS({
        ChildChecks check;
        orvex::hostlog::ScopedCapture log;
        AudioManager* audio = AudioManager::GetInstance();
        check.True("instance", audio != nullptr);
        check.Logged(log.Entries(),
                     {Debug("[AudioManager::LoadService] Received an instance of service manager"),
                      Error("[AudioManager::LoadService] Audio service client object not received"),
                      Error("[AudioManager::AudioManager] Unable to load AudioManager\n")});
        // A service that appears later is never looked up.
        sp<FakeAudioService> fake = FakeAudioService::Register();
        check.Eq("volume", audio->GetStreamVolume(4), -1);
        check.Eq("max", audio->GetStreamMaxVolume(4), -1);
        android::String8 package("pkg");
        audio->setStreamVolume(4, 1, 0, package);
        check.Eq("transactions", fake->Transactions().size(), 0u);
        check.Exit();
    });
}

TEST(AudioManager, WithoutAServiceManagerTheLookupFailsAtOnce) {
    EXPECT_IN_FRESH_PROCESS({
        ChildChecks check;
        orvex::binder::SetServiceManagerAvailable(false);
        orvex::hostlog::ScopedCapture log;
        AudioManager* audio = AudioManager::GetInstance();
        check.Logged(
            log.Entries(),
            {Error("[AudioManager::LoadService] Unable to get an instance of the service manager"),
             Error("[AudioManager::AudioManager] Unable to load AudioManager\n")});
        check.Eq("volume", audio->GetStreamVolume(2), -1);
        check.Exit();
    });
}

}  // namespace
