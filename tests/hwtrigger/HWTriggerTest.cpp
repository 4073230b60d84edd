// The hardware trigger module against the simulated hardware manager: connection, key
// events from the queue, commands, release, and recovery from the service's death.

#include <gtest/gtest.h>
#include <orvex/hidl_registry.h>
#include <orvex/log_capture.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <filesystem>
#include <thread>

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

using namespace orvex::sim;
using Strings = std::vector<std::string>;

constexpr const char* kAcquired = "D [IDCHWManager] Acquired ITrigger interface.";
constexpr const char* kReaderExit = "I KeyListner Breaking now+";

size_t CountEntries(const char* dir) {
    return std::distance(std::filesystem::directory_iterator(dir), {});
}

// Events as "key A B" (OnKeyEvent) or "prekey A B", with the thread each came on.
class RecordingCallback : public ITriggerKeyEventWrapperCallBack {
  public:
    struct Seen {
        Strings events;
        std::vector<std::thread::id> threads;
        bool onRpcThread = false;
    };
    void OnKeyEvent(unsigned int a, unsigned int b) override { Add("key", a, b); }
    void OnPreKeyEvent(unsigned int a, unsigned int b) override { Add("prekey", a, b); }
    // What came, once `count` events have (or after a time-out, what came by then).
    Seen WaitFor(size_t count) {
        std::unique_lock<std::mutex> lock(mLock);
        mChanged.wait_for(lock, std::chrono::seconds(10),
                          [&] { return mSeen.events.size() >= count; });
        return mSeen;
    }

  private:
    void Add(const char* kind, unsigned int a, unsigned int b) {
        std::lock_guard<std::mutex> lock(mLock);
        mSeen.events.push_back(std::string(kind) + " " + std::to_string(a) + " " +
                               std::to_string(b));
        mSeen.threads.push_back(std::this_thread::get_id());
        mSeen.onRpcThread = mSeen.onRpcThread || orvex::hidl::OnRpcThread();
        mChanged.notify_all();
    }

    std::mutex mLock;
    std::condition_variable mChanged;
    Seen mSeen;
};

class HWTriggerTest : public ::testing::Test {
  protected:
    // Initializes and acquires (asserting the answer) and clears what that logged.
    void Connect(bool expected = true) {
        ASSERT_TRUE(mModule->Initialize(&mCallback));
        ASSERT_EQ(expected, mModule->AcquireHWTrigger());
        if (expected) mLog.Clear();
    }

    // The module's lines as "P text"; without the reader's exit line if `withoutReaderExit`.
    // That line is written only when the stop bit finds the reader waiting (a reader still
    // finishing its previous record ends silently).
    Strings Logged(bool withoutReaderExit = false) {
        Strings lines;
        for (const orvex::hostlog::Entry& e : mLog.WithTag("ScannerFramework")) {
            lines.push_back(std::string(1, "???DIWEF"[e.priority]) + " " + e.message);
            if (withoutReaderExit && lines.back() == kReaderExit) lines.pop_back();
        }
        return lines;
    }

    orvex::hostlog::ScopedCapture mLog;
    RecordingCallback mCallback;
    std::unique_ptr<HardwareManagerSim> mSim;
    std::unique_ptr<IHWTriggerModule> mModule{static_cast<IHWTriggerModule*>(
        ComponentIndex::Instance()->CreateModule(PLATFORM_MODULE_HW_TRIGGER, "HWTrigger"))};
};

// The fixed answers without a connection are the death table's to pin; the name, support and
// count are the callers'.
TEST_F(HWTriggerTest, AcquireFailsWithoutServiceAndSilentlyWhenRefused) {
    Connect(false);
    EXPECT_EQ(Logged(),
              (Strings{"E [IDCHWManager] Unable to get IDCHWManager interface.",
                       "E [HW Trigger] is not available, Soft trigger may be available"}));
    // Refused, the interface is held all the same, so commands reach the service.
    mSim.reset(new HardwareManagerSim);
    mSim->trigger()->SetAnswers({/*acquireTrigger*/ false, true, /*startTrigger*/ false});
    mLog.Clear();
    Connect(false);
    EXPECT_EQ(mSim->trigger()->calls().Calls(), (Strings{"acquireTrigger()"}));
    EXPECT_EQ(Logged(), (Strings{kAcquired}));
    EXPECT_FALSE(mModule->StartTrigger());
}

TEST_F(HWTriggerTest, RecordsCommandsAndReleaseOfAConnection) {
    mSim.reset(new HardwareManagerSim);
    // ThreadSanitizer starts a helper thread of its own with the first thread a process makes.
    std::thread([] {}).join();
    const size_t threads = CountEntries("/proc/self/task");
    const size_t descriptors = CountEntries("/proc/self/fd");
    ASSERT_TRUE(mModule->Initialize(&mCallback));
    ASSERT_TRUE(mModule->AcquireHWTrigger());
    EXPECT_EQ(mSim->manager()->calls().Calls(), (Strings{"getTriggerInterface()"}));
    EXPECT_EQ(Logged(), (Strings{kAcquired}));
    mLog.Clear();

    // Each record: type (1 a key event, any other a pre-key event), two words. With {1, 1, 2}
    // comes {2, 3, 4} at the same wake-up: only the first of them is delivered.
    const std::array<uint32_t, 3> records[] = {
        {1, 10, 20}, {2, 3, 4}, {0, 5, 6}, {7, 0, 1}, {1, 0xFFFFFFFF, 0x80000000},
        {1, 1, 2},   {1, 5, 6}};
    Strings events, lines;
    for (auto [type, first, second] : records) {
        ASSERT_TRUE(second == 2 ? mSim->trigger()->PressTogether({{1, 1, 2}, {2, 3, 4}})
                                : mSim->trigger()->Press(type, first, second));
        events.push_back((type == 1 ? "key " : "prekey ") + std::to_string(first) + " " +
                         std::to_string(second));
        lines.push_back(std::string("D [HW Trigger] ") + (type == 1 ? "Key" : "PreKey") +
                        " event received  " + std::to_string(static_cast<int32_t>(first)) + " " +
                        std::to_string(static_cast<int32_t>(second)));
    }
    RecordingCallback::Seen seen = mCallback.WaitFor(events.size());
    ASSERT_TRUE(mSim->trigger()->WaitIdle());
    EXPECT_EQ(seen.events, events);
    EXPECT_EQ(Logged(), lines);
    EXPECT_EQ(mSim->trigger()->RecordsWritten(), 8u);
    // Every event came on the one reader thread: neither the caller's nor a HIDL thread.
    EXPECT_EQ(std::count(seen.threads.begin(), seen.threads.end(), seen.threads[0]), 7);
    EXPECT_NE(seen.threads[0], std::this_thread::get_id());
    EXPECT_FALSE(seen.onRpcThread);
    // The reader thread and the service's writer.
    EXPECT_EQ(CountEntries("/proc/self/task"), threads + 2);

    // Answers unlike those a module without connection gives.
    // Start, stop and simulate refused, trigger 3 pressed.
    mSim->trigger()->SetAnswers({true, true, false, false, false, true, 3});
    EXPECT_FALSE(mModule->StartTrigger());
    EXPECT_FALSE(mModule->StopTrigger());
    EXPECT_FALSE(mModule->SimulateTrigger(0xFFFFFFFF, 7));
    EXPECT_EQ(mModule->GetPressedTrigger(), 3);
    EXPECT_TRUE(mModule->ResetPressedTrigger());
    EXPECT_EQ(mSim->trigger()->calls().Calls(),
              (Strings{"acquireTrigger()", "setKeyEventQueue(16)", "startTrigger()",
                       "stopTrigger()", "simulateTrigger(4294967295, 7)", "getPressedTrigger()",
                       "resetPressedTrigger()"}));

    // Release joins the reader and leaves no thread or descriptor behind.
    mLog.Clear();
    EXPECT_TRUE(mModule->ReleaseHWTrigger());
    Strings logged = Logged();
    if (logged.size() == 3 && logged[1] == kReaderExit) logged.erase(logged.begin() + 1);
    EXPECT_EQ(logged,
              (Strings{"D HWTrigger<T>::ReleaseHWTrigger+", "D HWTrigger<T>::ReleaseHWTrigger-"}));
    EXPECT_EQ(mSim->trigger()->calls().Calls().back(), "releaseTrigger()");
    EXPECT_EQ(CountEntries("/proc/self/task"), threads);
    EXPECT_EQ(CountEntries("/proc/self/fd"), descriptors);
    // Acquiring again needs a fresh Initialize, and fetches the service anew.
    Connect();
    EXPECT_EQ(mSim->manager()->calls().Count("getTriggerInterface"), 2u);
    EXPECT_TRUE(mModule->ReleaseHWTrigger());
}

TEST_F(HWTriggerTest, ServiceDeathReconnectsWithANewReaderAndKeysFlowAgain) {
    mSim.reset(new HardwareManagerSim);
    // setKeyEventQueue false with a valid queue still connects.
    mSim->trigger()->SetAnswers({true, true, true, true, true, /*setKeyEventQueue*/ false});
    Connect();
    ASSERT_TRUE(mSim->trigger()->Press(1, 1, 1));
    ASSERT_EQ(mCallback.WaitFor(1).events, (Strings{"key 1 1"}));
    ASSERT_TRUE(mSim->trigger()->WaitIdle());
    mLog.Clear();

    // While the service is down, the death handling waits for it in getService.
    mSim->Restart();
    ASSERT_TRUE(mSim->trigger()->calls().WaitFor("setKeyEventQueue"));
    ASSERT_TRUE(mSim->trigger()->Press(2, 7, 8));
    RecordingCallback::Seen seen = mCallback.WaitFor(2);
    ASSERT_EQ(seen.events, (Strings{"key 1 1", "prekey 7 8"}));
    EXPECT_NE(seen.threads[0], seen.threads[1]);
    EXPECT_EQ(mSim->manager()->calls().Calls(), (Strings{"getTriggerInterface()"}));
    EXPECT_EQ(mSim->trigger()->calls().Calls(),
              (Strings{"acquireTrigger()", "setKeyEventQueue(16)"}));

    // Release waits for the death handling to finish; its lines came before.
    EXPECT_TRUE(mModule->ReleaseHWTrigger());
    // One reader ended at the death, the new one at the release; each silently or not.
    Strings logged = Logged(true);
    EXPECT_LE(Logged().size() - logged.size(), 2u);
    logged.resize(std::min<size_t>(logged.size(), 5));
    EXPECT_EQ(logged, (Strings{"I ISS [HW Trigger] DCHWManager Died", "I ISS [HW Trigger] Wake Up",
                               "I ISS HWTrigger<T>::handlDCHWManagerDeath Done ", kAcquired,
                               "D [HW Trigger] PreKey event received  7 8"}));
}

TEST_F(HWTriggerTest, DeathHandlingWithoutAnEventFlagAnswersTrueAtOnce) {
    // In a child process: that early return keeps the class-wide lock held for good.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(_exit(HWTrigger<(AndroidVersion)10>().handlDCHWManagerDeath() ? 3 : 4),
                ::testing::ExitedWithCode(3), "");
}

}  // namespace
