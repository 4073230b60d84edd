// The hardware trigger through 1000 deaths of the hardware manager, each while keys are being
// pressed: after every reconnection key events flow again, no event is delivered twice, every
// death is handled once, and at the end the module has left no thread and no descriptor.

#include <gtest/gtest.h>
#include <orvex/hidl_registry.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "HWTrigger.h"
#include "HardwareManagerSim.h"
#include "SoakSupport.h"
#include "orvex/log_capture.h"

namespace {

using orvex::sim::HardwareManagerSim;

constexpr auto kWait = std::chrono::seconds(30);

// Keys carry (round, key within the round); the callback runs on the module's reader thread.
class CountingCallback : public ITriggerKeyEventWrapperCallBack {
  public:
    void OnKeyEvent(unsigned int round, unsigned int key) override { Add(round, key); }
    void OnPreKeyEvent(unsigned int round, unsigned int key) override { Add(round, key); }

    bool WaitFor(unsigned int round, unsigned int key) {
        std::unique_lock<std::mutex> lock(mLock);
        return mChanged.wait_for(lock, kWait, [&] { return mSeen.count({round, key}) != 0; });
    }
    // Keys delivered more than once.
    std::vector<std::pair<unsigned, unsigned>> Repeated() {
        std::lock_guard<std::mutex> lock(mLock);
        std::vector<std::pair<unsigned, unsigned>> out;
        for (const auto& e : mSeen) {
            if (e.second > 1) out.push_back(e.first);
        }
        return out;
    }
    size_t Delivered() {
        std::lock_guard<std::mutex> lock(mLock);
        size_t n = 0;
        for (const auto& e : mSeen) n += e.second;
        return n;
    }

  private:
    void Add(unsigned int round, unsigned int key) {
        {
            std::lock_guard<std::mutex> lock(mLock);
            ++mSeen[{round, key}];
        }
        mChanged.notify_all();
    }

    std::mutex mLock;
    std::condition_variable mChanged;
    std::map<std::pair<unsigned, unsigned>, int> mSeen;  // GUARDED_BY(mLock)
};

size_t Count(const std::vector<orvex::hostlog::Entry>& log, const std::string& message) {
    size_t n = 0;
    for (const auto& e : log) n += e.message == message;
    return n;
}

TEST(HWTriggerSoak, AThousandServiceDeathsWhileKeysArePressed) {
    constexpr unsigned deaths = 1000;
    constexpr unsigned kKeysInFlight = 3;  // pressed just before each death
    constexpr unsigned kKeyAfterReconnect = 100;

    soak::QuietLog quiet;
    orvex::hostlog::ScopedCapture log;
    std::thread([] {}).join();  // a sanitizer's helper thread, up front
    HardwareManagerSim sim;
    CountingCallback callback;
    HWTrigger<(AndroidVersion)10> module;
    ASSERT_TRUE(module.Initialize(&callback));

    // Counted with the module idle and the service running (its writer thread is started by
    // the first connection and belongs to the service).
    const size_t descriptors = soak::DescriptorCount();
    const size_t threadsIdle = soak::ThreadCount();
    const size_t poolBefore = orvex::hidl::RpcThreadCount();

    ASSERT_TRUE(module.AcquireHWTrigger());
    ASSERT_TRUE(sim.trigger()->Press(1, 0, kKeyAfterReconnect));
    ASSERT_TRUE(callback.WaitFor(0, kKeyAfterReconnect));

    const auto started = std::chrono::steady_clock::now();
    for (unsigned round = 1; round <= deaths; ++round) {
        for (unsigned key = 0; key < kKeysInFlight; ++key) {
            ASSERT_TRUE(sim.trigger()->Press(key % 2 + 1, round, key)) << "round " << round;
        }
        // The death lands while those keys are being written and read; the service comes
        // back at once and the death handling connects to the new instance by itself.
        sim.Kill();
        sim.Restart();
        ASSERT_TRUE(sim.trigger()->calls().WaitFor("setKeyEventQueue")) << "round " << round;
        ASSERT_TRUE(sim.trigger()->Press(1, round, kKeyAfterReconnect)) << "round " << round;
        ASSERT_TRUE(callback.WaitFor(round, kKeyAfterReconnect)) << "round " << round;
    }
    const auto elapsed = std::chrono::steady_clock::now() - started;

    EXPECT_TRUE(module.ReleaseHWTrigger());
    EXPECT_TRUE(callback.Repeated().empty());
    const std::vector<orvex::hostlog::Entry> entries = log.WithTag("ScannerFramework");
    EXPECT_EQ(Count(entries, "ISS [HW Trigger] DCHWManager Died"), deaths);
    EXPECT_EQ(Count(entries, "ISS HWTrigger<T>::handlDCHWManagerDeath Done "), deaths);
    EXPECT_EQ(Count(entries, "[IDCHWManager] Acquired ITrigger interface."), deaths + 1);

    // The reader and the service's writer are gone; the runtime's pool threads (configured
    // as two by the module) stay for the life of the process, as libhidl's do.
    const size_t poolAfter = orvex::hidl::RpcThreadCount();
    EXPECT_LE(poolAfter, 2u);
    EXPECT_EQ(soak::ThreadCount(), threadsIdle + (poolAfter - poolBefore));
    EXPECT_EQ(soak::DescriptorCount(), descriptors);
    RecordProperty("deaths", static_cast<int>(deaths));
    RecordProperty("keys_delivered", static_cast<int>(callback.Delivered()));
    RecordProperty(
        "milliseconds",
        static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count()));
}

}  // namespace
