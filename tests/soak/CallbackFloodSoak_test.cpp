// Serial data and pluggable-device changes flooding in from several service threads while the
// caller releases and acquires the module a few hundred times, destroying its callback right
// after every release: nothing reaches a callback once its release has returned, everything the
// service sent while the module was held arrives exactly once, and at the end the module has
// left no thread and no descriptor behind.

#include <gtest/gtest.h>
#include <hidl/HidlTransportSupport.h>
#include <orvex/hidl_registry.h>
#include <string.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "FakeDCHWManager.h"
#include "FakePlugableDeviceNotifier.h"
#include "FakeSerial.h"
#include "HardwareManagerSim.h"
#include "PlugableDeviceNotifier.h"
#include "SerialPort.h"
#include "SoakSupport.h"

// Release and re-acquisition cycles per module; a sanitizer build may set fewer.
#ifndef FLOOD_SOAK_CYCLES
#define FLOOD_SOAK_CYCLES 400
#endif

namespace {

using android::sp;
using orvex::sim::FakeDCHWManager;
using orvex::sim::FakePlugableDeviceNotifier;
using orvex::sim::FakeSerial;
using orvex::sim::HardwareManagerSim;

constexpr unsigned kCycles = FLOOD_SOAK_CYCLES;
constexpr unsigned kFloodThreads = 3;
// Deliveries each cycle waits for before it releases, so that every cycle sees the flood.
constexpr size_t kDeliveriesPerCycle = 20;
constexpr auto kWait = std::chrono::seconds(30);
constexpr int8_t kScannerType = 2;

// Messages carry an id: the sending flood thread in the high half, its sequence number below.
uint64_t MessageId(unsigned thread, uint32_t sequence) {
    return static_cast<uint64_t>(thread) << 32 | sequence;
}

// What the caller's callbacks saw, across all cycles; outlives every callback. Callbacks run on
// runtime threads, everything else on the test's thread or the flood threads.
class Ledger {
  public:
    // The caller's side of a cycle, as the flood threads read it around each message: odd while
    // the module is held with the cycle's callback in place.
    void Acquired(unsigned cycle) { mState.store(2 * static_cast<uint64_t>(cycle) + 1); }
    void Releasing(unsigned cycle) { mState.store(2 * static_cast<uint64_t>(cycle) + 2); }
    void Released(unsigned cycle) { mReleasedThrough.store(cycle); }
    uint64_t State() const { return mState.load(); }
    static bool IsHeld(uint64_t state) { return state % 2 == 1; }
    static unsigned CycleOf(uint64_t state) { return static_cast<unsigned>((state - 1) / 2); }

    // A callback of `cycle` received message `id`.
    void Delivered(unsigned cycle, uint64_t id) {
        // Checked first: a call after the release is the fault this soak is after.
        if (cycle <= mReleasedThrough.load()) mLate.fetch_add(1);
        {
            std::lock_guard<std::mutex> lock(mLock);
            Delivery& delivery = mDeliveries[id];
            ++delivery.count;
            delivery.cycle = cycle;
            ++mPerCycle[cycle];
        }
        mChanged.notify_all();
    }
    void Malformed() { mMalformed.fetch_add(1); }

    bool WaitForDeliveries(unsigned cycle, size_t n) {
        std::unique_lock<std::mutex> lock(mLock);
        return mChanged.wait_for(lock, kWait, [&] { return mPerCycle[cycle] >= n; });
    }

    size_t Late() const { return mLate.load(); }
    size_t MalformedCount() const { return mMalformed.load(); }

    struct Delivery {
        int count = 0;
        unsigned cycle = 0;
    };
    std::unordered_map<uint64_t, Delivery> Deliveries() {
        std::lock_guard<std::mutex> lock(mLock);
        return mDeliveries;
    }

  private:
    std::atomic<uint64_t> mState{0};
    std::atomic<unsigned> mReleasedThrough{0};
    std::atomic<size_t> mLate{0};
    std::atomic<size_t> mMalformed{0};
    std::mutex mLock;
    std::condition_variable mChanged;
    std::unordered_map<uint64_t, Delivery> mDeliveries;  // GUARDED_BY(mLock)
    std::map<unsigned, size_t> mPerCycle;                // GUARDED_BY(mLock)
};

// A message the service sent while the module was held in one cycle, from before the send
// until after the service's call had returned: it must have reached that cycle's callback once.
struct Owed {
    uint64_t id;
    unsigned cycle;
};

// Service threads sending messages as fast as they can until destroyed.
class Flood {
  public:
    // Sends message `id`; false when the service had no callback to send it to.
    using Send = std::function<bool(uint64_t id)>;

    Flood(Ledger& ledger, Send send) : mOwed(kFloodThreads), mSent(kFloodThreads) {
        for (unsigned t = 0; t < kFloodThreads; ++t) {
            mThreads.emplace_back([this, t, &ledger, send] {
                for (uint32_t sequence = 0; !mStop.load(); ++sequence) {
                    const uint64_t id = MessageId(t, sequence);
                    const uint64_t before = ledger.State();
                    const bool sent = send(id);
                    if (sent && Ledger::IsHeld(before) && ledger.State() == before) {
                        mOwed[t].push_back(Owed{id, Ledger::CycleOf(before)});
                    }
                    ++mSent[t];
                }
            });
        }
    }
    ~Flood() { Stop(); }

    void Stop() {
        mStop.store(true);
        for (std::thread& thread : mThreads) {
            if (thread.joinable()) thread.join();
        }
    }

    // After Stop.
    std::vector<Owed> OwedMessages() const {
        std::vector<Owed> all;
        for (const auto& owed : mOwed) all.insert(all.end(), owed.begin(), owed.end());
        return all;
    }
    size_t Sent() const {
        size_t n = 0;
        for (size_t sent : mSent) n += sent;
        return n;
    }

  private:
    std::atomic<bool> mStop{false};
    std::vector<std::vector<Owed>> mOwed;  // one per thread, written by that thread only
    std::vector<size_t> mSent;             // one per thread, written by that thread only
    std::vector<std::thread> mThreads;
};

class FloodDataCallback : public ISerialDataCallBack {
  public:
    FloodDataCallback(Ledger& ledger, unsigned cycle) : mLedger(ledger), mCycle(cycle) {}

    void OnSerialDataReceived(const uint8_t* data, size_t size) override {
        uint64_t id;
        if (size != sizeof id) return mLedger.Malformed();
        memcpy(&id, data, sizeof id);
        mLedger.Delivered(mCycle, id);
    }

  private:
    Ledger& mLedger;
    const unsigned mCycle;
};

class FloodPlugableCallback : public IPlugableHALCallBack {
  public:
    FloodPlugableCallback(Ledger& ledger, unsigned cycle) : mLedger(ledger), mCycle(cycle) {}

    // The port name carries the id; odd ids are attachments.
    void OnPlugableDeviceChanged(bool connected, const std::string& portName,
                                 int scannerType) override {
        if (portName.compare(0, 4, "tty-") != 0) return mLedger.Malformed();
        const uint64_t id = std::stoull(portName.substr(4));
        if (connected != (id % 2 == 1) || scannerType != kScannerType) {
            return mLedger.Malformed();
        }
        mLedger.Delivered(mCycle, id);
    }

  private:
    Ledger& mLedger;
    const unsigned mCycle;
};

// What the soak found, checked the same way for both modules.
struct Outcome {
    size_t owed = 0;
    size_t delivered = 0;
    size_t missing = 0;    // owed, never delivered
    size_t repeated = 0;   // delivered more than once
    size_t misrouted = 0;  // owed to one cycle's callback, delivered to another's
};

Outcome Settle(Ledger& ledger, const Flood& flood) {
    Outcome outcome;
    const std::unordered_map<uint64_t, Ledger::Delivery> deliveries = ledger.Deliveries();
    for (const auto& delivery : deliveries) {
        outcome.delivered += delivery.second.count;
        outcome.repeated += delivery.second.count > 1;
    }
    const std::vector<Owed> owed = flood.OwedMessages();
    outcome.owed = owed.size();
    for (const Owed& message : owed) {
        auto it = deliveries.find(message.id);
        if (it == deliveries.end()) {
            ++outcome.missing;
        } else if (it->second.cycle != message.cycle) {
            ++outcome.misrouted;
        }
    }
    return outcome;
}

// Threads and descriptors of the process around a soak. The runtime's pool threads (two, as the
// scanning service configures them) stay for the life of the process, as libhidl's do.
class ResourceCheck {
  public:
    ResourceCheck() {
        android::hardware::configureRpcThreadpool(2, false);
        std::thread([] {}).join();  // a sanitizer's helper thread, up front
        mThreads = soak::ThreadCount();
        mDescriptors = soak::DescriptorCount();
        mPool = orvex::hidl::RpcThreadCount();
    }

    void ExpectNothingLeft() const {
        const size_t pool = orvex::hidl::RpcThreadCount();
        EXPECT_LE(pool, 2u);
        EXPECT_EQ(soak::ThreadCount(), mThreads + (pool - mPool));
        EXPECT_EQ(soak::DescriptorCount(), mDescriptors);
    }

  private:
    size_t mThreads;
    size_t mDescriptors;
    size_t mPool;
};

void Record(const Outcome& outcome, size_t sent, std::chrono::steady_clock::duration elapsed) {
    ::testing::Test::RecordProperty("cycles", static_cast<int>(kCycles));
    ::testing::Test::RecordProperty("sent", static_cast<int>(sent));
    ::testing::Test::RecordProperty("delivered", static_cast<int>(outcome.delivered));
    ::testing::Test::RecordProperty("owed", static_cast<int>(outcome.owed));
    ::testing::Test::RecordProperty(
        "milliseconds",
        static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count()));
}

// Starts the hardware manager with one sub-interface fake, set by `set`, and returns the fake.
template <typename F, typename I>
sp<F> StartWith(HardwareManagerSim& sim, void (FakeDCHWManager::*set)(const sp<I>&)) {
    auto fake = std::make_shared<sp<F>>();  // the builder outlives this call
    sim.AddBuilder([fake, set](FakeDCHWManager& manager) {
        *fake = new F;
        (manager.*set)(*fake);
    });
    sim.Start();
    return *fake;
}

// How one module is held and let go in a cycle. `acquire` creates the cycle's caller callback
// and hands it over; `release` lets go of the module; `destroy` destroys the callback.
struct CycleSteps {
    std::function<void(unsigned cycle)> acquire;
    std::function<void()> release;
    std::function<void()> destroy;
};

// Floods the module through `send` while the cycles run, then checks what arrived where.
void Soak(Ledger& ledger, const Flood::Send& send, const CycleSteps& steps) {
    ResourceCheck resources;
    const auto started = std::chrono::steady_clock::now();
    Flood flood(ledger, send);
    for (unsigned cycle = 1; cycle <= kCycles; ++cycle) {
        SCOPED_TRACE("cycle " + std::to_string(cycle));
        ASSERT_NO_FATAL_FAILURE(steps.acquire(cycle));
        ledger.Acquired(cycle);
        ASSERT_TRUE(ledger.WaitForDeliveries(cycle, kDeliveriesPerCycle));
        ledger.Releasing(cycle);
        ASSERT_NO_FATAL_FAILURE(steps.release());
        ledger.Released(cycle);
        steps.destroy();  // a call from now on is a use after free
    }
    flood.Stop();
    const auto elapsed = std::chrono::steady_clock::now() - started;

    const Outcome outcome = Settle(ledger, flood);
    EXPECT_EQ(ledger.Late(), 0u);
    EXPECT_EQ(ledger.MalformedCount(), 0u);
    EXPECT_EQ(outcome.missing, 0u);
    EXPECT_EQ(outcome.repeated, 0u);
    EXPECT_EQ(outcome.misrouted, 0u);
    // Each cycle waited for deliveries, so the flood did reach held modules.
    EXPECT_GE(outcome.delivered, kCycles * kDeliveriesPerCycle);
    resources.ExpectNothingLeft();
    Record(outcome, flood.Sent(), elapsed);
}

TEST(CallbackFloodSoak, SerialDataFromServiceThreadsWhileTheTransportIsReleasedAndReacquired) {
    soak::QuietLog quiet;
    HardwareManagerSim sim(false);
    const sp<FakeSerial> serial = StartWith<FakeSerial>(sim, &FakeDCHWManager::SetSerial);
    SerialPort<(AndroidVersion)10> module;
    Ledger ledger;
    std::unique_ptr<FloodDataCallback> callback;

    auto send = [serial](uint64_t id) {
        std::vector<uint8_t> bytes(sizeof id);
        memcpy(bytes.data(), &id, sizeof id);
        return serial->Receive(bytes);
    };
    CycleSteps steps;
    steps.acquire = [&](unsigned cycle) {
        callback = std::make_unique<FloodDataCallback>(ledger, cycle);
        ASSERT_TRUE(module.Initialize(callback.get()));
        ASSERT_TRUE(module.AcquireSerialInterface());
        ASSERT_EQ(module.StartTransport("/dev/ttyHS1", 115200, false), 0);
    };
    steps.release = [&] {
        ASSERT_EQ(module.StopTransport(), 0);
        ASSERT_TRUE(module.ReleaseSerialInterface());
    };
    steps.destroy = [&] { callback.reset(); };
    Soak(ledger, send, steps);
}

TEST(CallbackFloodSoak, PlugChangesFromServiceThreadsWhileTheNotifierIsReleasedAndReacquired) {
    soak::QuietLog quiet;
    HardwareManagerSim sim(false);
    const sp<FakePlugableDeviceNotifier> notifier =
        StartWith<FakePlugableDeviceNotifier>(sim, &FakeDCHWManager::SetPlugableDeviceNotifier);
    PlugableDeviceNotifier<(AndroidVersion)10> module;
    Ledger ledger;
    std::unique_ptr<FloodPlugableCallback> callback;

    auto send = [notifier](uint64_t id) {
        return notifier->RaiseConnectionChanged(id % 2 == 1, "tty-" + std::to_string(id),
                                                kScannerType);
    };
    CycleSteps steps;
    steps.acquire = [&](unsigned cycle) {
        callback = std::make_unique<FloodPlugableCallback>(ledger, cycle);
        ASSERT_TRUE(module.AcquirePlugableDeviceNotifier());
        ASSERT_TRUE(module.InitializeSSI(callback.get(), static_cast<ScannerType>(kScannerType)));
    };
    steps.release = [&] { ASSERT_TRUE(module.ReleasePlugableDeviceNotifier()); };
    steps.destroy = [&] { callback.reset(); };
    Soak(ledger, send, steps);
}

}  // namespace
