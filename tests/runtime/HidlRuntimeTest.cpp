// The host HIDL runtime as the platform library meets it: services behind proxies, death, the
// fatal reads of failed results, callbacks on runtime threads and the registry's lookups.

#include <gtest/gtest.h>
#include <hidl/HidlTransportSupport.h>
#include <orvex/hidl_registry.h>
#include <orvex/log_capture.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IDCHWManager.h>

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace {

using ::android::sp;
using ::android::wp;
using ::android::hardware::hidl_death_recipient;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::MQDescriptorSync;
using ::android::hardware::Return;
using ::android::hardware::Status;
using ::android::hardware::Void;
using ::android::hidl::base::V1_0::IBase;
using namespace ::vendor::tevrin::hardware::dchwmanager::V1_0;

constexpr auto kWait = std::chrono::seconds(10);

// Counts down once per event; waits with a time-out so a broken test fails instead of hanging.
class Events {
  public:
    void Add() {
        std::lock_guard<std::mutex> lock(mLock);
        ++mCount;
        mChanged.notify_all();
    }
    bool WaitFor(int count) {
        std::unique_lock<std::mutex> lock(mLock);
        return mChanged.wait_for(lock, kWait, [&] { return mCount >= count; });
    }
    int Count() {
        std::lock_guard<std::mutex> lock(mLock);
        return mCount;
    }

  private:
    std::mutex mLock;
    std::condition_variable mChanged;
    int mCount = 0;
};

class TestTrigger : public ITrigger {
  public:
    Return<bool> acquireTrigger() override { return true; }
    Return<bool> releaseTrigger() override { return true; }
    Return<bool> startTrigger() override { return true; }
    Return<bool> stopTrigger() override { return false; }
    Return<bool> simulateTrigger(uint32_t first, uint32_t second) override {
        return first == 3 && second == 4;
    }
    Return<bool> setKeyEventQueue(const MQDescriptorSync<uint32_t>&) override { return true; }
    Return<void> reserved7() override { return Void(); }
    Return<int32_t> getPressedTrigger() override { return 7; }
    Return<bool> resetPressedTrigger() override { return true; }
};

// Keeps the callback it is given and calls it from whatever thread the test chooses.
class TestSerial : public ISerial {
  public:
    Return<uint8_t> openPort(const hidl_string&, int32_t, bool) override { return 0; }
    Return<uint8_t> closePort() override { return 0; }
    Return<uint8_t> registerCallback(const sp<ISerialCallback>& callback) override {
        std::lock_guard<std::mutex> lock(mLock);
        mCallback = callback;
        return callback == nullptr ? 1 : 0;
    }
    Return<uint8_t> ioControl(int32_t, int32_t) override { return 0; }
    Return<uint8_t> writeData(const hidl_vec<uint8_t>& data) override {
        // Echoes the bytes back, from inside the client's call.
        sp<ISerialCallback> cb = callback();
        if (cb != nullptr) {
            Return<void> r = cb->onSerialData(data);
            if (!r.isOk()) return 2;
        }
        return 0;
    }
    Return<sp<ISerialFWUpdate>> getSerialFWInterface() override { return nullptr; }

    sp<ISerialCallback> callback() {
        std::lock_guard<std::mutex> lock(mLock);
        return mCallback;
    }

  private:
    std::mutex mLock;
    sp<ISerialCallback> mCallback;
};

class TestManager : public IDCHWManager {
  public:
    TestManager() : mTrigger(new TestTrigger), mSerial(new TestSerial) {}
    Return<sp<ITrigger>> getTriggerInterface() override { return mTrigger; }
    Return<sp<IImager>> getImager() override { return nullptr; }
    Return<sp<ISerial>> getSerialInterface() override { return mSerial; }
    Return<sp<IPlugableDeviceNotifier>> getPlugableDeviceNotifier() override { return nullptr; }
    Return<sp<IBatterySwapHandler>> getBatterySwapHandler() override { return nullptr; }
    Return<sp<ICameraVendorTagProvider>> getCameraVendorTagProvider() override { return nullptr; }

    const sp<TestTrigger> mTrigger;
    const sp<TestSerial> mSerial;
};

class RecordingCallback : public ISerialCallback {
  public:
    Return<void> onSerialData(const hidl_vec<uint8_t>& data) override {
        {
            std::lock_guard<std::mutex> lock(mLock);
            mData.insert(mData.end(), data.begin(), data.end());
            mThreads.push_back(std::this_thread::get_id());
            mOnRpcThread.push_back(orvex::hidl::OnRpcThread());
        }
        mEvents.Add();
        return Void();
    }
    std::vector<uint8_t> Data() {
        std::lock_guard<std::mutex> lock(mLock);
        return mData;
    }
    std::vector<std::thread::id> Threads() {
        std::lock_guard<std::mutex> lock(mLock);
        return mThreads;
    }
    std::vector<bool> OnRpcThreadFlags() {
        std::lock_guard<std::mutex> lock(mLock);
        return mOnRpcThread;
    }
    Events mEvents;

  private:
    std::mutex mLock;
    std::vector<uint8_t> mData;
    std::vector<std::thread::id> mThreads;
    std::vector<bool> mOnRpcThread;
};

struct Death {
    uint64_t cookie;
    IBase* who;
    bool onRpcThread;
};

class RecordingRecipient : public hidl_death_recipient {
  public:
    void serviceDied(uint64_t cookie, const wp<IBase>& who) override {
        {
            std::lock_guard<std::mutex> lock(mLock);
            mDeaths.push_back(Death{cookie, who.unsafe_get(), orvex::hidl::OnRpcThread()});
        }
        mEvents.Add();
    }
    std::vector<Death> Deaths() {
        std::lock_guard<std::mutex> lock(mLock);
        return mDeaths;
    }
    Events mEvents;

  private:
    std::mutex mLock;
    std::vector<Death> mDeaths;
};

class HidlRuntime : public ::testing::Test {
  protected:
    void SetUp() override {
        mManager = new TestManager;
        orvex::hidl::RegisterService<IDCHWManager>(mManager);
    }
    void TearDown() override { orvex::hidl::RemoveService(IDCHWManager::descriptor, "default"); }

    void Kill() { ASSERT_TRUE(orvex::hidl::KillService(IDCHWManager::descriptor, "default")); }

    sp<TestManager> mManager;
};

TEST(HidlStatus, DescriptionsNameTheExceptionAndTheTransportError) {
    struct Case {
        Status status;
        const char* text;
    } cases[] = {
        {Status::ok(), "No error"},
        {Status::fromStatusT(android::DEAD_OBJECT),
         "Status(EX_TRANSACTION_FAILED): 'DEAD_OBJECT: '"},
        {Status::fromExceptionCode(Status::EX_TRANSACTION_FAILED),
         "Status(EX_TRANSACTION_FAILED): 'FAILED_TRANSACTION: '"},
        {Status::fromExceptionCode(Status::EX_ILLEGAL_ARGUMENT, "bad port"),
         "Status(EX_ILLEGAL_ARGUMENT): 'bad port'"},
        {Status::fromStatusT(android::OK), "No error"},
    };
    for (const Case& c : cases) EXPECT_EQ(c.status.description(), c.text);
}

TEST_F(HidlRuntime, UnknownServiceIsNullAtOnce) {
    EXPECT_EQ(IDCHWManager::getService("other"), nullptr);
    EXPECT_EQ(IDCHWManager::tryGetService("other"), nullptr);
    EXPECT_EQ(ITrigger::getService("default"), nullptr);
}

TEST_F(HidlRuntime, ClientHoldsProxiesThatForwardCalls) {
    sp<IDCHWManager> manager = IDCHWManager::getService("default", false);
    ASSERT_NE(manager, nullptr);
    EXPECT_TRUE(manager->isRemote());
    EXPECT_NE(manager.get(), static_cast<IDCHWManager*>(mManager.get()));
    EXPECT_TRUE(manager->ping().isOk());

    sp<ITrigger> trigger = manager->getTriggerInterface();
    ASSERT_NE(trigger, nullptr);
    EXPECT_TRUE(trigger->isRemote());
    EXPECT_TRUE(static_cast<bool>(trigger->acquireTrigger()));
    EXPECT_FALSE(static_cast<bool>(trigger->stopTrigger()));
    EXPECT_TRUE(static_cast<bool>(trigger->simulateTrigger(3, 4)));
    EXPECT_FALSE(static_cast<bool>(trigger->simulateTrigger(4, 3)));
    EXPECT_EQ(static_cast<int32_t>(trigger->getPressedTrigger()), 7);

    std::string descriptor;
    EXPECT_TRUE(trigger->interfaceDescriptor([&](const hidl_string& d) { descriptor = d; }).isOk());
    EXPECT_EQ(descriptor, "vendor.tevrin.hardware.dchwmanager@1.0::ITrigger");

    // A passthrough lookup gets the implementation itself.
    EXPECT_EQ(IDCHWManager::getService("default", true).get(),
              static_cast<IDCHWManager*>(mManager.get()));
}

TEST_F(HidlRuntime, KilledServiceFailsPingAndCallsOfEveryInterfaceItHandedOut) {
    sp<IDCHWManager> manager = IDCHWManager::getService();
    sp<ITrigger> trigger = manager->getTriggerInterface();
    Kill();

    Return<void> ping = manager->ping();
    EXPECT_FALSE(ping.isOk());
    EXPECT_TRUE(ping.isDeadObject());
    Return<bool> acquired = trigger->acquireTrigger();
    EXPECT_FALSE(acquired.isOk());
    EXPECT_EQ(acquired.description(), "Status(EX_TRANSACTION_FAILED): 'DEAD_OBJECT: '");
    EXPECT_FALSE(trigger->ping().isOk());
    EXPECT_FALSE(static_cast<bool>(trigger->linkToDeath(new RecordingRecipient, 0)));
    EXPECT_FALSE(orvex::hidl::IsServiceRegistered(IDCHWManager::descriptor, "default"));
    EXPECT_EQ(IDCHWManager::tryGetService(), nullptr);
}

TEST_F(HidlRuntime, ReadingTheValueOfAFailedCallEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    sp<ITrigger> trigger = IDCHWManager::getService()->getTriggerInterface();
    Kill();
    EXPECT_DEATH((void)static_cast<bool>(trigger->acquireTrigger()),
                 " F HidlStatus: Attempted to retrieve value from failed HIDL call: "
                 "Status\\(EX_TRANSACTION_FAILED\\): 'DEAD_OBJECT: '");
    EXPECT_DEATH((void)trigger->releaseTrigger(),
                 " F HidlStatus: Failed HIDL return status not checked: "
                 "Status\\(EX_TRANSACTION_FAILED\\): 'DEAD_OBJECT: '");
    // Looking at the status first makes ignoring the failure safe.
    EXPECT_FALSE(trigger->releaseTrigger().isOk());
    EXPECT_FALSE(trigger->getPressedTrigger().withDefault(-5) != -5);
}

TEST_F(HidlRuntime, DeathLinksFireOnceOnARuntimeThreadWithTheirCookieAndProxy) {
    sp<IDCHWManager> manager = IDCHWManager::getService();
    sp<ITrigger> trigger = manager->getTriggerInterface();
    sp<RecordingRecipient> onTrigger = new RecordingRecipient;
    sp<RecordingRecipient> onManager = new RecordingRecipient;
    sp<RecordingRecipient> unlinked = new RecordingRecipient;
    ASSERT_TRUE(static_cast<bool>(trigger->linkToDeath(onTrigger, 0)));
    ASSERT_TRUE(static_cast<bool>(manager->linkToDeath(onManager, 42)));
    ASSERT_TRUE(static_cast<bool>(trigger->linkToDeath(unlinked, 1)));
    EXPECT_TRUE(static_cast<bool>(trigger->unlinkToDeath(unlinked)));
    EXPECT_FALSE(static_cast<bool>(trigger->unlinkToDeath(unlinked)));

    Kill();
    ASSERT_TRUE(onTrigger->mEvents.WaitFor(1));
    ASSERT_TRUE(onManager->mEvents.WaitFor(1));
    // A second kill of the same service finds nothing to kill and tells nobody again.
    EXPECT_FALSE(orvex::hidl::KillService(IDCHWManager::descriptor, "default"));

    std::vector<Death> t = onTrigger->Deaths();
    ASSERT_EQ(t.size(), 1u);
    EXPECT_EQ(t[0].cookie, 0u);
    EXPECT_EQ(t[0].who, static_cast<IBase*>(trigger.get()));
    EXPECT_TRUE(t[0].onRpcThread);
    std::vector<Death> m = onManager->Deaths();
    ASSERT_EQ(m.size(), 1u);
    EXPECT_EQ(m[0].cookie, 42u);
    EXPECT_EQ(m[0].who, static_cast<IBase*>(manager.get()));
    EXPECT_TRUE(unlinked->Deaths().empty());
}

TEST_F(HidlRuntime, ServiceCanBeRegisteredAgainAfterDeath) {
    sp<IDCHWManager> old = IDCHWManager::getService();
    Kill();
    sp<TestManager> second = new TestManager;
    orvex::hidl::RegisterService<IDCHWManager>(second);
    sp<IDCHWManager> fresh = IDCHWManager::getService();
    ASSERT_NE(fresh, nullptr);
    EXPECT_TRUE(fresh->ping().isOk());
    EXPECT_FALSE(old->ping().isOk());
    EXPECT_EQ(IDCHWManager::getService("default", true).get(),
              static_cast<IDCHWManager*>(second.get()));
}

TEST_F(HidlRuntime, RegisteringOverALiveServiceKillsTheOldOne) {
    sp<IDCHWManager> old = IDCHWManager::getService();
    sp<RecordingRecipient> recipient = new RecordingRecipient;
    ASSERT_TRUE(static_cast<bool>(old->linkToDeath(recipient, 9)));
    orvex::hidl::RegisterService<IDCHWManager>(sp<IDCHWManager>(new TestManager));
    ASSERT_TRUE(recipient->mEvents.WaitFor(1));
    EXPECT_FALSE(old->ping().isOk());
    EXPECT_TRUE(IDCHWManager::getService()->ping().isOk());
}

TEST_F(HidlRuntime, LookupOfADeadDeclaredServiceWaitsForItsReturn) {
    Kill();
    Events found;
    sp<IDCHWManager> result;
    std::thread waiter([&] {
        result = IDCHWManager::getService();
        found.Add();
    });
    // Still waiting while nothing is registered; tryGetService does not wait.
    EXPECT_EQ(IDCHWManager::tryGetService(), nullptr);
    EXPECT_EQ(found.Count(), 0);
    orvex::hidl::RegisterService<IDCHWManager>(sp<IDCHWManager>(new TestManager));
    EXPECT_TRUE(found.WaitFor(1));
    waiter.join();
    ASSERT_NE(result, nullptr);
    EXPECT_TRUE(result->ping().isOk());
}

TEST_F(HidlRuntime, RemovingAServiceEndsWaitingLookupsWithNull) {
    Kill();
    Events found;
    sp<IDCHWManager> result = new TestManager;
    std::thread waiter([&] {
        result = IDCHWManager::getService();
        found.Add();
    });
    orvex::hidl::RemoveService(IDCHWManager::descriptor, "default");
    EXPECT_TRUE(found.WaitFor(1));
    waiter.join();
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(IDCHWManager::getService(), nullptr);
}

TEST_F(HidlRuntime, ServiceCallsIntoClientCallbacksRunOnRuntimeThreads) {
    sp<ISerial> serial = IDCHWManager::getService()->getSerialInterface();
    sp<RecordingCallback> callback = new RecordingCallback;
    ASSERT_EQ(static_cast<uint8_t>(serial->registerCallback(callback)), 0);

    // The service holds a proxy, not the client's object.
    sp<ISerialCallback> held = mManager->mSerial->callback();
    ASSERT_NE(held, nullptr);
    EXPECT_TRUE(held->isRemote());

    // A call the service makes while serving the client, and one from a thread of its own.
    EXPECT_EQ(static_cast<uint8_t>(serial->writeData(hidl_vec<uint8_t>{1, 2})), 0);
    std::thread device([&] { EXPECT_TRUE(held->onSerialData(hidl_vec<uint8_t>{3}).isOk()); });
    device.join();
    ASSERT_TRUE(callback->mEvents.WaitFor(2));
    EXPECT_EQ(callback->Data(), (std::vector<uint8_t>{1, 2, 3}));
    for (std::thread::id id : callback->Threads()) EXPECT_NE(id, std::this_thread::get_id());
    EXPECT_EQ(callback->OnRpcThreadFlags(), (std::vector<bool>{true, true}));
}

TEST_F(HidlRuntime, AnObjectHandedBackToItsOwnProcessIsTheObjectItself) {
    sp<ISerial> serial = IDCHWManager::getService()->getSerialInterface();
    sp<RecordingCallback> callback = new RecordingCallback;
    ASSERT_EQ(static_cast<uint8_t>(serial->registerCallback(callback)), 0);
    // The service passes the client's callback to itself through its own proxy: it still
    // reaches the client, which would see its own object if it were handed back.
    sp<ISerialCallback> held = mManager->mSerial->callback();
    auto base = ISerialCallback::castFrom(sp<IBase>(held));
    ASSERT_TRUE(base.isOk());
    sp<ISerialCallback> cast = base;
    ASSERT_NE(cast, nullptr);
    EXPECT_TRUE(cast->isRemote());
    EXPECT_EQ(static_cast<sp<ITrigger>>(ITrigger::castFrom(sp<IBase>(held))), nullptr);
}

TEST_F(HidlRuntime, CallbacksOfADeadServiceFail) {
    sp<ISerial> serial = IDCHWManager::getService()->getSerialInterface();
    sp<RecordingCallback> callback = new RecordingCallback;
    ASSERT_EQ(static_cast<uint8_t>(serial->registerCallback(callback)), 0);
    sp<ISerialCallback> held = mManager->mSerial->callback();
    Kill();
    Return<void> r = held->onSerialData(hidl_vec<uint8_t>{9});
    EXPECT_FALSE(r.isOk());
    EXPECT_TRUE(r.isDeadObject());
    EXPECT_EQ(callback->mEvents.Count(), 0);
}

// Blocks in the callback until released, so that the test can see how many run at once.
class BlockingCallback : public ISerialCallback {
  public:
    Return<void> onSerialData(const hidl_vec<uint8_t>&) override {
        std::unique_lock<std::mutex> lock(mLock);
        ++mInside;
        mChanged.notify_all();
        mChanged.wait_for(lock, kWait, [&] { return mReleased; });
        return Void();
    }
    bool WaitInside(int n) {
        std::unique_lock<std::mutex> lock(mLock);
        return mChanged.wait_for(lock, kWait, [&] { return mInside >= n; });
    }
    void Release() {
        std::lock_guard<std::mutex> lock(mLock);
        mReleased = true;
        mChanged.notify_all();
    }

  private:
    std::mutex mLock;
    std::condition_variable mChanged;
    int mInside = 0;
    bool mReleased = false;
};

TEST_F(HidlRuntime, ConfiguredPoolRunsThatManyCallbacksAtOnce) {
    ASSERT_EQ(android::hardware::configureRpcThreadpool(2, false), android::OK);
    sp<ISerial> serial = IDCHWManager::getService()->getSerialInterface();
    sp<BlockingCallback> callback = new BlockingCallback;
    ASSERT_EQ(static_cast<uint8_t>(serial->registerCallback(callback)), 0);
    sp<ISerialCallback> held = mManager->mSerial->callback();
    std::thread a([&] { EXPECT_TRUE(held->onSerialData({}).isOk()); });
    std::thread b([&] { EXPECT_TRUE(held->onSerialData({}).isOk()); });
    EXPECT_TRUE(callback->WaitInside(2));
    callback->Release();
    a.join();
    b.join();
    EXPECT_LE(orvex::hidl::RpcThreadCount(), 2u);
}

TEST(HidlVec, ExternalBufferIsNotCopiedAndCopiesAre) {
    uint8_t buffer[3] = {1, 2, 3};
    hidl_vec<uint8_t> external;
    external.setToExternal(buffer, sizeof buffer);
    EXPECT_EQ(external.data(), buffer);
    hidl_vec<uint8_t> copy = external;
    EXPECT_NE(copy.data(), buffer);
    buffer[0] = 9;
    EXPECT_EQ(external[0], 9);
    EXPECT_EQ(copy[0], 1);
    EXPECT_EQ(std::vector<uint8_t>(copy), (std::vector<uint8_t>{1, 2, 3}));
}

TEST(HidlVec, ExternalBufferOfMoreThan32BitsEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    uint8_t byte = 0;
    hidl_vec<uint8_t> v;
    EXPECT_DEATH(v.setToExternal(&byte, size_t{1} << 32),
                 " F HidlSupport: external vector size exceeds 2\\^32 elements.");
}

}  // namespace
