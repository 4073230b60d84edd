// The host HIDL runtime and fast message queue as the library meets them: a ring shared by two
// mappings, event-flag waits across mappings, services behind proxies, death notices on runtime
// threads and the fatal read of a failed result. That lookups of a dead service wait for its
// return is the hardware trigger suite's to pin: its reconnection depends on it.

#include <fmq/EventFlag.h>
#include <fmq/MessageQueue.h>
#include <gtest/gtest.h>
#include <orvex/hidl_registry.h>

#include <condition_variable>
#include <future>
#include <mutex>
#include <numeric>
#include <vector>

#include "HardwareManagerSim.h"

namespace {

using ::android::OK;
using ::android::sp;
using ::android::hardware::EventFlag;
using ::android::hidl::base::V1_0::IBase;
using namespace ::vendor::tevrin::hardware::dchwmanager::V1_0;
using Queue =
    ::android::hardware::MessageQueue<uint32_t, ::android::hardware::kSynchronizedReadWrite>;
using Strings = std::vector<std::string>;

constexpr auto kWait = std::chrono::seconds(10);

TEST(MessageQueue, TwoMappingsShareTheRingAndItsEventFlagWord) {
    Queue queue(16, true);
    Queue peer(*queue.getDesc(), false);  // as the service maps it
    ASSERT_TRUE(queue.isValid() && peer.isValid());
    std::vector<uint32_t> in(12), out(16, 0);
    std::iota(in.begin(), in.end(), 1);
    ASSERT_TRUE(peer.write(in.data(), 10));
    ASSERT_TRUE(queue.read(out.data(), 10));
    ASSERT_TRUE(peer.write(in.data(), 12));  // wraps around the end
    EXPECT_FALSE(peer.write(in.data(), 5));  // neither overflows nor underflows, not even in part
    EXPECT_FALSE(queue.read(out.data(), 13));
    EXPECT_EQ(queue.availableToRead(), 12u);
    EXPECT_EQ(peer.availableToWrite(), 4u);
    ASSERT_TRUE(queue.read(out.data(), 12));
    EXPECT_EQ(std::vector<uint32_t>(out.begin(), out.begin() + 12), in);

    EventFlag* flag = nullptr;
    ASSERT_EQ(EventFlag::createEventFlag(queue.getEventFlagWord(), &flag), OK);
    uint32_t state = 0;
    ASSERT_EQ(flag->wake(1 | 2), OK);
    ASSERT_EQ(flag->wait(1 | 4, &state), OK);  // takes only the bits of its mask
    EXPECT_EQ(state, 1u);
    EXPECT_EQ(peer.getEventFlagWord()->load(), 2u);
    // A blocking wait is woken through the other mapping of the word.
    EventFlag* waker = nullptr;
    ASSERT_EQ(EventFlag::createEventFlag(peer.getEventFlagWord(), &waker), OK);
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

// Records the cookies of death notices, each marked when it did not come on a runtime thread.
class Recorder : public ::android::hardware::hidl_death_recipient {
  public:
    void serviceDied(uint64_t cookie, const ::android::wp<IBase>&) override {
        std::lock_guard<std::mutex> lock(mLock);
        mSeen.push_back(std::to_string(cookie) + (orvex::hidl::OnRpcThread() ? "" : " elsewhere"));
        mChanged.notify_all();
    }
    // What came, once `count` have (or after a time-out, what came by then).
    Strings WaitFor(size_t count) {
        std::unique_lock<std::mutex> lock(mLock);
        mChanged.wait_for(lock, kWait, [&] { return mSeen.size() >= count; });
        return mSeen;
    }

  private:
    std::mutex mLock;
    std::condition_variable mChanged;
    Strings mSeen;
};

TEST(HidlRuntime, DeathIsToldOnceToEachLinkAndFailsEveryProxy) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    orvex::sim::HardwareManagerSim sim;
    sp<IDCHWManager> manager = IDCHWManager::getService("default", false);
    sp<ITrigger> trigger = manager->getTriggerInterface();
    ASSERT_TRUE(trigger != nullptr && trigger->isRemote());
    sp<Recorder> onTrigger = new Recorder, onManager = new Recorder, unlinked = new Recorder;
    ASSERT_TRUE(static_cast<bool>(trigger->linkToDeath(onTrigger, 0)));
    ASSERT_TRUE(static_cast<bool>(manager->linkToDeath(onManager, 42)));
    ASSERT_TRUE(static_cast<bool>(trigger->linkToDeath(unlinked, 1)));
    EXPECT_TRUE(static_cast<bool>(trigger->unlinkToDeath(unlinked)));
    sim.Kill();
    EXPECT_EQ(onTrigger->WaitFor(1), Strings{"0"});
    EXPECT_EQ(onManager->WaitFor(1), Strings{"42"});
    EXPECT_TRUE(unlinked->WaitFor(0).empty());

    ::android::hardware::Return<bool> acquired = trigger->acquireTrigger();
    EXPECT_FALSE(acquired.isOk());
    EXPECT_TRUE(acquired.isDeadObject());
    EXPECT_FALSE(static_cast<bool>(trigger->linkToDeath(new Recorder, 0)));
    EXPECT_DEATH((void)static_cast<bool>(trigger->acquireTrigger()),
                 " F HidlStatus: Attempted to retrieve value from failed HIDL call: "
                 "Status\\(EX_TRANSACTION_FAILED\\): 'DEAD_OBJECT: '");
    EXPECT_DEATH((void)trigger->releaseTrigger(),
                 " F HidlStatus: Failed HIDL return status not checked: "
                 "Status\\(EX_TRANSACTION_FAILED\\): 'DEAD_OBJECT: '");
}

}  // namespace
