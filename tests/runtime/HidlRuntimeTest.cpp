// The host HIDL runtime and fast message queue as the library meets them: a ring shared by two
// mappings, event-flag waits across mappings, services behind proxies, death notices and the
// fatal read of a failed result, callbacks on runtime threads.

#include <errno.h>
#include <fmq/EventFlag.h>
#include <fmq/MessageQueue.h>
#include <gtest/gtest.h>
#include <orvex/hidl_registry.h>

#include <condition_variable>
#include <future>
#include <mutex>
#include <numeric>
#include <thread>
#include <vector>

#include "FakeSerial.h"
#include "HardwareManagerSim.h"

namespace {

using ::android::OK;
using ::android::sp;
using ::android::hardware::EventFlag;
using ::android::hidl::base::V1_0::IBase;
using namespace ::vendor::tevrin::hardware::dchwmanager::V1_0;
using Queue =
    ::android::hardware::MessageQueue<uint32_t, ::android::hardware::kSynchronizedReadWrite>;

constexpr auto kWait = std::chrono::seconds(10);

TEST(MessageQueue, TwoMappingsShareARingThatNeitherOverflowsNorUnderflows) {
    Queue queue(16, true);
    Queue peer(*queue.getDesc(), false);  // as the service maps it
    ASSERT_TRUE(queue.isValid() && peer.isValid());
    EXPECT_EQ(Queue(4, false).getEventFlagWord(), nullptr);
    EXPECT_FALSE(Queue(0).isValid());
    // Each step: the peer writes n words, the queue reads m; whether each was done, and what is
    // left to read after it.
    struct Step {
        size_t write;
        bool written;
        size_t read;
        bool readDone;
        size_t left;
    } steps[] = {{10, true, 10, true, 0},   {12, true, 5, true, 7},  {9, true, 16, true, 0},
                 {16, true, 15, true, 1},   {15, true, 16, true, 0}, {17, false, 1, false, 0},
                 {16, true, 17, false, 16}, {1, false, 16, true, 0}, {0, true, 0, true, 0}};
    uint32_t next = 1, expected = 1;
    for (const Step& s : steps) {
        std::vector<uint32_t> in(s.write), out(s.read, 0);
        std::iota(in.begin(), in.end(), next);
        ASSERT_EQ(peer.write(in.data(), in.size()), s.written);
        next += s.written ? s.write : 0;
        ASSERT_EQ(queue.read(out.data(), out.size()), s.readDone);
        // A refused read leaves the buffer alone.
        std::vector<uint32_t> want(s.read, 0);
        if (s.readDone) std::iota(want.begin(), want.end(), expected);
        EXPECT_EQ(out, want);
        expected += s.readDone ? s.read : 0;
        EXPECT_EQ(queue.availableToRead(), s.left);
        EXPECT_EQ(peer.availableToWrite(), 16 - s.left);
    }
    peer.getEventFlagWord()->store(5);
    EXPECT_EQ(queue.getEventFlagWord()->load(), 5u);
}

TEST(EventFlag, WaitTakesItsMaskBitsTimesOutAndIsWokenThroughAnotherMapping) {
    Queue queue(16, true);
    EventFlag* flag = nullptr;
    ASSERT_EQ(EventFlag::createEventFlag(queue.getEventFlagWord(), &flag), OK);
    uint32_t state = 9;
    EXPECT_EQ(flag->wait(1, &state, 1000000, true), -ETIMEDOUT);
    EXPECT_EQ(state, 0u);
    ASSERT_EQ(flag->wake(1 | 2), OK);
    ASSERT_EQ(flag->wait(1 | 4, &state), OK);
    EXPECT_EQ(state, 1u);
    EXPECT_EQ(queue.getEventFlagWord()->load(), 2u);
    EXPECT_EQ(flag->wake(0), ::android::BAD_VALUE);
    EXPECT_EQ(flag->wait(1, nullptr), ::android::BAD_VALUE);
    // The waker maps the word itself, from the queue's memory descriptor, as a service would.
    const auto* desc = queue.getDesc();
    EventFlag* waker = nullptr;
    ASSERT_EQ(EventFlag::createEventFlag(desc->handle()->data[0],
                                         desc->grantors()[desc->EVFLAGWORDPOS].offset, &waker),
              OK);
    auto waiter = std::async(std::launch::async, [&] {
        uint32_t woken = 0;
        return std::make_pair(flag->wait(4, &woken, 0, true), woken);
    });
    ASSERT_EQ(waker->wake(4), OK);
    ASSERT_EQ(waiter.wait_for(kWait), std::future_status::ready);
    EXPECT_EQ(waiter.get(), std::make_pair(::android::status_t{OK}, 4u));
    EXPECT_EQ(EventFlag::deleteEventFlag(&waker), OK);
    EXPECT_EQ(EventFlag::deleteEventFlag(&flag), OK);
}

// Records death notices, or serial data, and the thread each came on.
class Recorder : public ::android::hardware::hidl_death_recipient, public ISerialCallback {
  public:
    void serviceDied(uint64_t cookie, const ::android::wp<IBase>& who) override {
        Add(std::to_string(cookie) + (who.unsafe_get() == mWho ? " proxy" : " other"));
    }
    ::android::hardware::Return<void> onSerialData(
        const ::android::hardware::hidl_vec<uint8_t>& data) override {
        Add("data " + std::to_string(data.size()));
        return ::android::hardware::Void();
    }
    // What came, once `count` notices have (or after a time-out, what came by then).
    std::vector<std::string> WaitFor(size_t count) {
        std::unique_lock<std::mutex> lock(mLock);
        mChanged.wait_for(lock, kWait, [&] { return mSeen.size() >= count; });
        return mSeen;
    }
    IBase* mWho = nullptr;

  private:
    void Add(const std::string& what) {
        std::lock_guard<std::mutex> lock(mLock);
        // Never on the thread that caused it: on a runtime thread.
        mSeen.push_back(what + (orvex::hidl::OnRpcThread() ? "" : " off the runtime"));
        mChanged.notify_all();
    }
    std::mutex mLock;
    std::condition_variable mChanged;
    std::vector<std::string> mSeen;
};

TEST(HidlRuntime, DeathIsToldOnceToEachLinkAndFailsEveryProxy) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    orvex::sim::HardwareManagerSim sim;
    EXPECT_EQ(IDCHWManager::getService("other"), nullptr);
    sp<IDCHWManager> manager = IDCHWManager::getService("default", false);
    sp<ITrigger> trigger = manager->getTriggerInterface();
    ASSERT_TRUE(trigger != nullptr && trigger->isRemote());
    EXPECT_TRUE(static_cast<bool>(trigger->acquireTrigger()));
    sp<Recorder> onTrigger = new Recorder, onManager = new Recorder, unlinked = new Recorder;
    onTrigger->mWho = trigger.get();
    onManager->mWho = manager.get();
    ASSERT_TRUE(static_cast<bool>(trigger->linkToDeath(onTrigger, 0)));
    ASSERT_TRUE(static_cast<bool>(manager->linkToDeath(onManager, 42)));
    ASSERT_TRUE(static_cast<bool>(trigger->linkToDeath(unlinked, 1)));
    EXPECT_TRUE(static_cast<bool>(trigger->unlinkToDeath(unlinked)));
    EXPECT_FALSE(static_cast<bool>(trigger->unlinkToDeath(unlinked)));
    sim.Kill();
    EXPECT_EQ(onTrigger->WaitFor(1), std::vector<std::string>{"0 proxy"});
    EXPECT_EQ(onManager->WaitFor(1), std::vector<std::string>{"42 proxy"});
    EXPECT_TRUE(unlinked->WaitFor(0).empty());

    ::android::hardware::Return<void> ping = manager->ping();
    EXPECT_FALSE(ping.isOk());
    EXPECT_TRUE(ping.isDeadObject());
    ::android::hardware::Return<bool> acquired = trigger->acquireTrigger();
    EXPECT_FALSE(acquired.isOk());
    EXPECT_EQ(acquired.description(), "Status(EX_TRANSACTION_FAILED): 'DEAD_OBJECT: '");
    EXPECT_FALSE(static_cast<bool>(trigger->linkToDeath(new Recorder, 0)));
    EXPECT_DEATH((void)static_cast<bool>(trigger->acquireTrigger()),
                 " F HidlStatus: Attempted to retrieve value from failed HIDL call: "
                 "Status\\(EX_TRANSACTION_FAILED\\): 'DEAD_OBJECT: '");
    EXPECT_DEATH((void)trigger->releaseTrigger(),
                 " F HidlStatus: Failed HIDL return status not checked: "
                 "Status\\(EX_TRANSACTION_FAILED\\): 'DEAD_OBJECT: '");

    // A lookup of the dead service waits for its return (tryGetService does not).
    auto found = std::async(std::launch::async, [] { return IDCHWManager::getService(); });
    EXPECT_EQ(IDCHWManager::tryGetService(), nullptr);
    sim.Restart();
    ASSERT_EQ(found.wait_for(kWait), std::future_status::ready);
    EXPECT_TRUE(found.get()->ping().isOk());
    EXPECT_FALSE(manager->ping().isOk());
    sim.Kill();
    found = std::async(std::launch::async, [] { return IDCHWManager::getService(); });
    sim.Remove();  // no longer declared: waiting lookups end with null
    ASSERT_EQ(found.wait_for(kWait), std::future_status::ready);
    EXPECT_EQ(found.get(), nullptr);
}

TEST(HidlRuntime, ServiceCallsIntoClientCallbacksRunOnRuntimeThreads) {
    sp<orvex::sim::FakeSerial> port = new orvex::sim::FakeSerial;
    orvex::sim::HardwareManagerSim sim(false);
    sim.AddBuilder([&](orvex::sim::FakeDCHWManager& manager) { manager.SetSerial(port); });
    sim.Start();
    sp<Recorder> callback = new Recorder;
    sp<ISerial> serial = IDCHWManager::getService()->getSerialInterface();
    ASSERT_EQ(static_cast<uint8_t>(serial->registerCallback(callback)), 0);
    std::thread device([&] { EXPECT_TRUE(port->Receive({3})); });
    EXPECT_TRUE(port->Receive({1, 2}));
    device.join();
    std::vector<std::string> seen = callback->WaitFor(2);
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(seen, (std::vector<std::string>{"data 1", "data 2"}));
}

}  // namespace
