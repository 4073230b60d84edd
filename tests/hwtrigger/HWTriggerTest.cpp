// The hardware trigger module against the simulated hardware manager: connection, key
// events from the queue, commands, release, and recovery from the service's death.

#include <android/log.h>
#include <dirent.h>
#include <gtest/gtest.h>
#include <orvex/hidl_registry.h>
#include <orvex/log_capture.h>
#include <stdlib.h>
#include <unistd.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "ComponentIndex.h"
#include "HWTrigger.h"
#include "HardwareManagerSim.h"

// The level is read while the library's objects are constructed, before main: point the
// device root at this suite's LogLevel.xml before any of them runs.
__attribute__((constructor(101))) static void UseSuiteDeviceRoot() {
    setenv("ORVEX_DEVICE_ROOT", HWTRIGGER_DEVICE_ROOT, 1);
}

// The module never frees a death notifier that no release deleted (Initialize replaces the
// pointer without deleting, since a death notice may still run on the old one): by design.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:HWTrigger<(AndroidVersion)10>::Initialize\n";
}

namespace {

using orvex::hostlog::Entry;
using orvex::sim::FakeTrigger;
using orvex::sim::HardwareManagerSim;

constexpr auto kWait = std::chrono::seconds(10);
constexpr int D = ANDROID_LOG_DEBUG;
constexpr int I = ANDROID_LOG_INFO;
constexpr int E = ANDROID_LOG_ERROR;

Entry Log(int priority, const std::string& text) {
    return Entry{priority, "ScannerFramework", text};
}

size_t CountEntries(const char* dir) {
    size_t n = 0;
    DIR* d = opendir(dir);
    while (dirent* e = readdir(d)) n += e->d_name[0] != '.';
    closedir(d);
    return n;
}

struct KeyEvent {
    bool key;  // OnKeyEvent, else OnPreKeyEvent
    unsigned first;
    unsigned second;
    bool operator==(const KeyEvent& o) const {
        return key == o.key && first == o.first && second == o.second;
    }
};

std::ostream& operator<<(std::ostream& os, const KeyEvent& e) {
    return os << (e.key ? "key(" : "prekey(") << e.first << ", " << e.second << ")";
}

class RecordingCallback : public ITriggerKeyEventWrapperCallBack {
  public:
    void OnKeyEvent(unsigned int type, unsigned int value) override { Add({true, type, value}); }
    void OnPreKeyEvent(unsigned int type, unsigned int value) override {
        Add({false, type, value});
    }

    bool WaitFor(size_t count) {
        std::unique_lock<std::mutex> lock(mLock);
        return mChanged.wait_for(lock, kWait, [&] { return mEvents.size() >= count; });
    }
    std::vector<KeyEvent> Events() {
        std::lock_guard<std::mutex> lock(mLock);
        return mEvents;
    }
    std::vector<std::thread::id> Threads() {
        std::lock_guard<std::mutex> lock(mLock);
        return mThreads;
    }
    bool AnyOnRpcThread() {
        std::lock_guard<std::mutex> lock(mLock);
        return mOnRpcThread;
    }

  private:
    void Add(const KeyEvent& e) {
        std::lock_guard<std::mutex> lock(mLock);
        mEvents.push_back(e);
        mThreads.push_back(std::this_thread::get_id());
        mOnRpcThread = mOnRpcThread || orvex::hidl::OnRpcThread();
        mChanged.notify_all();
    }

    std::mutex mLock;
    std::condition_variable mChanged;
    std::vector<KeyEvent> mEvents;
    std::vector<std::thread::id> mThreads;
    bool mOnRpcThread = false;
};

class HWTriggerTest : public ::testing::Test {
  protected:
    void SetUp() override {
        IPlatformModule* module =
            ComponentIndex::Instance()->CreateModule(PLATFORM_MODULE_HW_TRIGGER, "HWTrigger");
        mModule.reset(dynamic_cast<IHWTriggerModule*>(module));
        ASSERT_NE(mModule, nullptr);
    }

    // Acquires against a running simulation and clears what that logged.
    void Connect() {
        ASSERT_TRUE(mModule->Initialize(&mCallback));
        ASSERT_TRUE(mModule->AcquireHWTrigger());
        mLog.Clear();
    }

    std::vector<Entry> Logged() { return mLog.WithTag("ScannerFramework"); }

    // The reader's exit line is written only when the stop bit finds it waiting: a reader
    // still finishing its previous record sees running cleared and ends silently. Returns the
    // lines without it, and how often it came.
    std::pair<std::vector<Entry>, int> LoggedWithoutReaderExit() {
        std::pair<std::vector<Entry>, int> out{{}, 0};
        for (const Entry& e : Logged()) {
            if (e == Log(I, "KeyListner Breaking now+")) {
                ++out.second;
            } else {
                out.first.push_back(e);
            }
        }
        return out;
    }

    orvex::hostlog::ScopedCapture mLog;
    RecordingCallback mCallback;
    std::unique_ptr<IHWTriggerModule> mModule;
};

TEST_F(HWTriggerTest, IsRegisteredUnderTagSixAndAlwaysSupported) {
    EXPECT_TRUE(mModule->IsSupported());
    EXPECT_STREQ(mModule->GetModuleName(), "HWTrigger");
    EXPECT_EQ(ComponentIndex::Instance()->GetNumberOfFeedbackModules(PLATFORM_MODULE_HW_TRIGGER),
              1u);
}

TEST_F(HWTriggerTest, WithoutServiceAcquireFailsAndCommandsGiveTheirFixedAnswers) {
    ASSERT_TRUE(mModule->Initialize(&mCallback));
    EXPECT_FALSE(mModule->AcquireHWTrigger());
    EXPECT_EQ(Logged(), (std::vector<Entry>{
                            Log(E, "[IDCHWManager] Unable to get IDCHWManager interface."),
                            Log(E, "[HW Trigger] is not available, Soft trigger may be available"),
                        }));
    EXPECT_TRUE(mModule->StartTrigger());
    EXPECT_TRUE(mModule->StopTrigger());
    EXPECT_TRUE(mModule->SimulateTrigger(1, 2));
    EXPECT_EQ(mModule->GetPressedTrigger(), -1);
    EXPECT_FALSE(mModule->ResetPressedTrigger());
}

TEST_F(HWTriggerTest, AcquireConnectsAndRecordTypesChooseTheCallback) {
    HardwareManagerSim sim;
    ASSERT_TRUE(mModule->Initialize(&mCallback));
    ASSERT_TRUE(mModule->AcquireHWTrigger());
    EXPECT_EQ(sim.manager()->calls().Calls(), (std::vector<std::string>{"getTriggerInterface()"}));
    EXPECT_EQ(sim.trigger()->calls().Calls(),
              (std::vector<std::string>{"acquireTrigger()", "setKeyEventQueue(16)"}));
    EXPECT_EQ(Logged(),
              (std::vector<Entry>{Log(D, "[IDCHWManager] Acquired ITrigger interface.")}));
    mLog.Clear();

    struct Case {
        uint32_t type, first, second;
        KeyEvent expected;
        const char* line;
    } cases[] = {
        {1, 10, 20, {true, 10, 20}, "[HW Trigger] Key event received  10 20"},
        {2, 3, 4, {false, 3, 4}, "[HW Trigger] PreKey event received  3 4"},
        {0, 5, 6, {false, 5, 6}, "[HW Trigger] PreKey event received  5 6"},
        {7, 0, 1, {false, 0, 1}, "[HW Trigger] PreKey event received  0 1"},
        {1,
         0xFFFFFFFF,
         0x80000000,
         {true, 0xFFFFFFFF, 0x80000000},
         "[HW Trigger] Key event received  -1 -2147483648"},
    };
    std::vector<KeyEvent> expected;
    std::vector<Entry> lines;
    for (const Case& c : cases) {
        ASSERT_TRUE(sim.trigger()->Press(c.type, c.first, c.second));
        expected.push_back(c.expected);
        lines.push_back(Log(D, c.line));
    }
    ASSERT_TRUE(mCallback.WaitFor(expected.size()));
    ASSERT_TRUE(sim.trigger()->WaitIdle());
    EXPECT_EQ(mCallback.Events(), expected);
    EXPECT_EQ(Logged(), lines);
    // Every event came on the one reader thread: neither the caller's nor a HIDL thread.
    std::vector<std::thread::id> threads = mCallback.Threads();
    for (std::thread::id id : threads) {
        EXPECT_EQ(id, threads[0]);
        EXPECT_NE(id, std::this_thread::get_id());
    }
    EXPECT_FALSE(mCallback.AnyOnRpcThread());
    EXPECT_TRUE(mModule->ReleaseHWTrigger());
}

TEST_F(HWTriggerTest, TwoRecordsAtOneWakeUpDeliverOnlyTheFirst) {
    HardwareManagerSim sim;
    Connect();
    ASSERT_TRUE(sim.trigger()->PressTogether({{1, 1, 2}, {2, 3, 4}}));
    ASSERT_TRUE(sim.trigger()->Press(1, 5, 6));
    ASSERT_TRUE(mCallback.WaitFor(2));
    ASSERT_TRUE(sim.trigger()->WaitIdle());
    EXPECT_EQ(mCallback.Events(), (std::vector<KeyEvent>{{true, 1, 2}, {true, 5, 6}}));
    EXPECT_EQ(sim.trigger()->RecordsWritten(), 3u);
    EXPECT_TRUE(mModule->ReleaseHWTrigger());
}

TEST_F(HWTriggerTest, SetKeyEventQueueFalseWithAValidQueueStillConnects) {
    HardwareManagerSim sim;
    FakeTrigger::Answers answers;
    answers.setKeyEventQueue = false;
    sim.trigger()->SetAnswers(answers);
    Connect();
    ASSERT_TRUE(sim.trigger()->Press(1, 8, 9));
    ASSERT_TRUE(mCallback.WaitFor(1));
    EXPECT_EQ(mCallback.Events(), (std::vector<KeyEvent>{{true, 8, 9}}));
    EXPECT_TRUE(mModule->ReleaseHWTrigger());
}

TEST_F(HWTriggerTest, AcquireTriggerRefusedEndsAcquireWithoutAMessage) {
    HardwareManagerSim sim;
    FakeTrigger::Answers answers;
    answers.acquireTrigger = false;
    sim.trigger()->SetAnswers(answers);
    ASSERT_TRUE(mModule->Initialize(&mCallback));
    EXPECT_FALSE(mModule->AcquireHWTrigger());
    EXPECT_EQ(sim.trigger()->calls().Calls(), (std::vector<std::string>{"acquireTrigger()"}));
    EXPECT_EQ(Logged(),
              (std::vector<Entry>{Log(D, "[IDCHWManager] Acquired ITrigger interface.")}));
    // The interface is held all the same, so commands reach the service.
    answers.startTrigger = false;
    sim.trigger()->SetAnswers(answers);
    EXPECT_FALSE(mModule->StartTrigger());
}

TEST_F(HWTriggerTest, CommandsPassArgumentsAndAnswersThrough) {
    HardwareManagerSim sim;
    Connect();
    struct Case {
        bool start, stop, simulate, reset;
        int32_t pressed;
    } cases[] = {{true, true, true, true, 0}, {false, false, false, false, 3}};
    for (const Case& c : cases) {
        FakeTrigger::Answers answers;
        answers.startTrigger = c.start;
        answers.stopTrigger = c.stop;
        answers.simulateTrigger = c.simulate;
        answers.resetPressedTrigger = c.reset;
        answers.getPressedTrigger = c.pressed;
        sim.trigger()->SetAnswers(answers);
        EXPECT_EQ(mModule->StartTrigger(), c.start);
        EXPECT_EQ(mModule->StopTrigger(), c.stop);
        EXPECT_EQ(mModule->SimulateTrigger(0xFFFFFFFF, 7), c.simulate);
        EXPECT_EQ(mModule->GetPressedTrigger(), c.pressed);
        EXPECT_EQ(mModule->ResetPressedTrigger(), c.reset);
    }
    std::vector<std::string> round = {"startTrigger()", "stopTrigger()",
                                      "simulateTrigger(4294967295, 7)", "getPressedTrigger()",
                                      "resetPressedTrigger()"};
    std::vector<std::string> expected = {"acquireTrigger()", "setKeyEventQueue(16)"};
    expected.insert(expected.end(), round.begin(), round.end());
    expected.insert(expected.end(), round.begin(), round.end());
    EXPECT_EQ(sim.trigger()->calls().Calls(), expected);
    EXPECT_TRUE(mModule->ReleaseHWTrigger());
}

TEST_F(HWTriggerTest, ReleaseJoinsTheReaderAndLeavesNoThreadOrDescriptorBehind) {
    HardwareManagerSim sim;
    // ThreadSanitizer starts a helper thread of its own with the first thread a process makes.
    std::thread([] {}).join();
    size_t threads = CountEntries("/proc/self/task");
    size_t descriptors = CountEntries("/proc/self/fd");
    Connect();
    ASSERT_TRUE(sim.trigger()->Press(1, 1, 1));
    ASSERT_TRUE(mCallback.WaitFor(1));
    ASSERT_TRUE(sim.trigger()->WaitIdle());
    // The reader thread and the service's writer.
    EXPECT_EQ(CountEntries("/proc/self/task"), threads + 2);
    mLog.Clear();

    EXPECT_TRUE(mModule->ReleaseHWTrigger());
    auto logged = LoggedWithoutReaderExit();
    EXPECT_EQ(logged.first, (std::vector<Entry>{
                                Log(D, "HWTrigger<T>::ReleaseHWTrigger+"),
                                Log(D, "HWTrigger<T>::ReleaseHWTrigger-"),
                            }));
    EXPECT_LE(logged.second, 1);
    if (logged.second == 1) {
        EXPECT_EQ(Logged()[1], Log(I, "KeyListner Breaking now+"));
    }
    EXPECT_EQ(sim.trigger()->calls().Calls().back(), "releaseTrigger()");
    EXPECT_EQ(CountEntries("/proc/self/task"), threads);
    EXPECT_EQ(CountEntries("/proc/self/fd"), descriptors);

    // Acquiring again needs a fresh Initialize, and fetches the service anew.
    Connect();
    EXPECT_EQ(sim.manager()->calls().Count("getTriggerInterface"), 2u);
    EXPECT_TRUE(mModule->ReleaseHWTrigger());
}

TEST_F(HWTriggerTest, ServiceDeathReconnectsWithANewReaderAndKeysFlowAgain) {
    HardwareManagerSim sim;
    Connect();
    ASSERT_TRUE(sim.trigger()->Press(1, 1, 1));
    ASSERT_TRUE(mCallback.WaitFor(1));
    ASSERT_TRUE(sim.trigger()->WaitIdle());
    mLog.Clear();

    // While the service is down, the death handling waits for it in getService.
    sim.Kill();
    sim.Restart();
    ASSERT_TRUE(sim.trigger()->calls().WaitFor("setKeyEventQueue"));
    ASSERT_TRUE(sim.trigger()->Press(2, 7, 8));
    ASSERT_TRUE(mCallback.WaitFor(2));
    EXPECT_EQ(mCallback.Events(), (std::vector<KeyEvent>{{true, 1, 1}, {false, 7, 8}}));
    std::vector<std::thread::id> threads = mCallback.Threads();
    EXPECT_NE(threads[0], threads[1]);
    EXPECT_EQ(sim.manager()->calls().Calls(), (std::vector<std::string>{"getTriggerInterface()"}));
    EXPECT_EQ(sim.trigger()->calls().Calls(),
              (std::vector<std::string>{"acquireTrigger()", "setKeyEventQueue(16)"}));

    // Release waits for the death handling to finish; its lines came before.
    EXPECT_TRUE(mModule->ReleaseHWTrigger());
    auto logged = LoggedWithoutReaderExit();
    std::vector<Entry> head(logged.first.begin(),
                            logged.first.begin() + std::min<size_t>(logged.first.size(), 5));
    EXPECT_EQ(head, (std::vector<Entry>{
                        Log(I, "ISS [HW Trigger] DCHWManager Died"),
                        Log(I, "ISS [HW Trigger] Wake Up"),
                        Log(I, "ISS HWTrigger<T>::handlDCHWManagerDeath Done "),
                        Log(D, "[IDCHWManager] Acquired ITrigger interface."),
                        Log(D, "[HW Trigger] PreKey event received  7 8"),
                    }));
    // One reader ended at the death, the new one at the release; each silently or not.
    EXPECT_LE(logged.second, 2);
}

TEST_F(HWTriggerTest, DeathHandlingWithoutAnEventFlagAnswersTrueAtOnce) {
    // In a child process: that early return keeps the class-wide lock held for good.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            HWTrigger<(AndroidVersion)10> module;
            _exit(module.handlDCHWManagerDeath() ? 3 : 4);
        },
        ::testing::ExitedWithCode(3), "");
}

}  // namespace
