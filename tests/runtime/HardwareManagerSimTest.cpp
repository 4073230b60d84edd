// The simulated hardware manager seen from a client: sub-interfaces behind proxies, the
// trigger's key-event protocol on a client's queue, death and return.

#include <dirent.h>
#include <fmq/EventFlag.h>
#include <fmq/MessageQueue.h>
#include <gtest/gtest.h>
#include <orvex/hidl_registry.h>

#include "HardwareManagerSim.h"

namespace {

using ::android::sp;
using ::android::hardware::EventFlag;
using namespace ::vendor::tevrin::hardware::dchwmanager::V1_0;
using orvex::sim::FakeTrigger;
using orvex::sim::HardwareManagerSim;

size_t OpenDescriptors() {
    size_t n = 0;
    DIR* dir = opendir("/proc/self/fd");
    while (dirent* e = readdir(dir)) n += e->d_name[0] != '.';
    closedir(dir);
    return n;
}

// The client side of the key-event protocol, as a reader thread would run it.
class KeyClient {
  public:
    KeyClient() : mQueue(16, true) {
        EXPECT_EQ(EventFlag::createEventFlag(mQueue.getEventFlagWord(), &mFlag), ::android::OK);
    }
    ~KeyClient() { EventFlag::deleteEventFlag(&mFlag); }

    // Waits for bit 1 and returns everything in the queue, without taking it (no bit 2).
    std::vector<uint32_t> Next() {
        uint32_t state = 0;
        EXPECT_EQ(mFlag->wait(FakeTrigger::kDataAvailable, &state, 10000000000LL, true),
                  ::android::OK);
        std::vector<uint32_t> words(mQueue.availableToRead());
        EXPECT_TRUE(mQueue.read(words.data(), words.size()));
        return words;
    }
    void Take() { EXPECT_EQ(mFlag->wake(FakeTrigger::kRecordTaken), ::android::OK); }

    FakeTrigger::KeyQueue mQueue;
    EventFlag* mFlag = nullptr;
};

TEST(HardwareManagerSim, HandsOutItsTriggerBehindAProxyAndRecordsCalls) {
    HardwareManagerSim sim;
    sp<IDCHWManager> manager = IDCHWManager::getService("default", false);
    ASSERT_NE(manager, nullptr);
    sp<ITrigger> trigger = manager->getTriggerInterface();
    ASSERT_NE(trigger, nullptr);
    EXPECT_TRUE(trigger->isRemote());
    EXPECT_EQ(static_cast<sp<ISerial>>(manager->getSerialInterface()), nullptr);

    FakeTrigger::Answers answers;
    answers.stopTrigger = false;
    answers.getPressedTrigger = 5;
    sim.trigger()->SetAnswers(answers);
    EXPECT_TRUE(static_cast<bool>(trigger->acquireTrigger()));
    EXPECT_FALSE(static_cast<bool>(trigger->stopTrigger()));
    EXPECT_TRUE(static_cast<bool>(trigger->simulateTrigger(3, 4)));
    EXPECT_EQ(static_cast<int32_t>(trigger->getPressedTrigger()), 5);
    EXPECT_EQ(sim.manager()->calls().Calls(),
              (std::vector<std::string>{"getTriggerInterface()", "getSerialInterface()"}));
    EXPECT_EQ(sim.trigger()->calls().Calls(),
              (std::vector<std::string>{"acquireTrigger()", "stopTrigger()",
                                        "simulateTrigger(3, 4)", "getPressedTrigger()"}));
}

TEST(HardwareManagerSim, TriggerWritesOneRecordPerWakeAndWaitsUntilItIsTaken) {
    HardwareManagerSim sim;
    sp<ITrigger> trigger = IDCHWManager::getService()->getTriggerInterface();
    KeyClient client;
    EXPECT_TRUE(static_cast<bool>(trigger->setKeyEventQueue(*client.mQueue.getDesc())));
    EXPECT_EQ(sim.trigger()->calls().Calls(), (std::vector<std::string>{"setKeyEventQueue(16)"}));
    EXPECT_FALSE(FakeTrigger().Press(1, 2, 3));  // no queue: nothing to write to

    ASSERT_TRUE(sim.trigger()->Press(1, 10, 11));
    ASSERT_TRUE(sim.trigger()->Press(2, 20, 21));
    EXPECT_EQ(client.Next(), (std::vector<uint32_t>{1, 10, 11}));
    // The second record waits for bit 2.
    EXPECT_EQ(client.mQueue.availableToRead(), 0u);
    client.Take();
    EXPECT_EQ(client.Next(), (std::vector<uint32_t>{2, 20, 21}));
    client.Take();

    ASSERT_TRUE(sim.trigger()->PressTogether({{1, 1, 1}, {2, 2, 2}}));
    EXPECT_EQ(client.Next(), (std::vector<uint32_t>{1, 1, 1, 2, 2, 2}));
    client.Take();
    EXPECT_TRUE(sim.trigger()->WaitIdle());
    EXPECT_EQ(sim.trigger()->RecordsWritten(), 4u);
}

TEST(HardwareManagerSim, ReleaseAndDeathLetGoOfTheClientQueue) {
    size_t before = OpenDescriptors();
    HardwareManagerSim sim;
    sp<ITrigger> trigger = IDCHWManager::getService()->getTriggerInterface();
    {
        KeyClient client;
        ASSERT_TRUE(static_cast<bool>(trigger->setKeyEventQueue(*client.mQueue.getDesc())));
        EXPECT_TRUE(sim.trigger()->HasQueue());
        EXPECT_TRUE(static_cast<bool>(trigger->releaseTrigger()));
        EXPECT_FALSE(sim.trigger()->HasQueue());
        ASSERT_TRUE(static_cast<bool>(trigger->setKeyEventQueue(*client.mQueue.getDesc())));
        ASSERT_TRUE(sim.trigger()->Press(1, 1, 1));
        EXPECT_EQ(client.Next(), (std::vector<uint32_t>{1, 1, 1}));
        // Dies while waiting for the record to be taken.
        sim.Kill();
        EXPECT_FALSE(sim.trigger()->HasQueue());
        EXPECT_FALSE(sim.trigger()->Press(1, 1, 1));
    }
    trigger.clear();
    sim.Remove();
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST(HardwareManagerSim, RestartedServiceIsANewInstanceAndTheOldOneIsDead) {
    HardwareManagerSim sim;
    sp<IDCHWManager> old = IDCHWManager::getService();
    sp<FakeTrigger> oldTrigger = sim.trigger();
    sim.Restart();
    EXPECT_TRUE(sim.Alive());
    EXPECT_NE(sim.trigger(), oldTrigger);
    EXPECT_FALSE(old->ping().isOk());
    sp<IDCHWManager> fresh = IDCHWManager::getService();
    EXPECT_TRUE(fresh->ping().isOk());
    sim.Remove();
    EXPECT_EQ(IDCHWManager::getService(), nullptr);
}

}  // namespace
