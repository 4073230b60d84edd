// The soaks: each module under a load far beyond a scanning session's, checked for every
// delivery exactly once, nothing after a release, and no thread or descriptor left behind.

#include <hidl/HidlTransportSupport.h>
#include <string.h>

#include <algorithm>
#include <fstream>

#include "FakePlugableDeviceNotifier.h"
#include "FakeSerial.h"
#include "HWTrigger.h"
#include "ImagerHIDLProxy.h"
#include "ImagingFixture.h"
#include "PlugableDeviceNotifier.h"
#include "SerialPort.h"
#include "SoakSupport.h"
#include "TimerProvider.h"
#include "V4L2ImagerAdapterHIDLProxy.h"

namespace {

using android::sp;
using namespace orvex::sim;

// The timer service: 10,000 timers created, started, stopped and destroyed from four threads at
// once and from inside callbacks. Each timer follows one of a few life stories whose callback
// count is known; at the end every timer was destroyed exactly once ("Destroying timer" once per
// timer), and the service leaves no thread or descriptor behind (leaks are ASan's part).
// The stories, with their callbacks: started with a far deadline, stopped, destroyed (0);
// fires, its creator waits for that and destroys it (1); fires, its callback destroys it (1);
// its callback starts it again twice, then destroys it (3); its callback starts it again and
// outlasts the new deadline, then destroys it, while a second callback may be queued (1 or 2);
// its callback creates and starts a
// child that destroys itself, then destroys itself (1, and 1 for the child); started and
// stopped at once, then destroyed (0 or 1); created and destroyed (0).
enum Story {
    kStoppedBeforeItFires,
    kOwnerDestroysAfterOne,
    kDestroysItself,
    kRestartsTwice,
    kFiresAgainInItsCallback,
    kSpawnsAChild,
    kStopRacesExpiry,
    kNeverStarted,
    kStories
};
// The callbacks each story promises: least and most for the timer, and for its child.
const struct {
    int least, most, child;
} kPromised[kStories] = {{0, 0, 0}, {1, 1, 0}, {1, 1, 0}, {3, 3, 0},
                         {1, 2, 0}, {1, 1, 1}, {0, 1, 0}, {0, 0, 0}};

struct Record {
    Story story;
    std::atomic<int> callbacks{0}, childCallbacks{0};
};

// Shared with the callbacks, which run on the service's callback thread: changed at each one.
soak::Watched<int> gFired;
// Timers destroyed so far: the service's own line for each, counted on its way to stdout.
soak::Watched<size_t> gDestroyed;
}  // namespace

extern "C" int puts(const char* text) {
    if (strcmp(text, "Destroying timer") == 0) gDestroyed.Change([](size_t& n) { ++n; });
    return fputs((std::string(text) + "\n").c_str(), stdout) == EOF ? EOF : 1;
}

namespace {

void OnChild(TimerProvider* timer) {
    static_cast<Record*>(timer->p_Context)->childCallbacks++;
    TimerProvider::DestroyTimer(timer);
    gFired.Change([](int&) {});
}

bool CallbackDestroys(Story story) { return story >= kDestroysItself && story <= kSpawnsAChild; }

void OnTimer(TimerProvider* timer) {
    auto* record = static_cast<Record*>(timer->p_Context);
    const int n = ++record->callbacks;
    if (record->story == kSpawnsAChild) TimerProvider::CreateNewTimer(1, OnChild, record)->Start();
    if (record->story == kFiresAgainInItsCallback && n == 1) {
        timer->Start();
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    if (record->story == kRestartsTwice && n < 3)
        timer->Start();
    else if (CallbackDestroys(record->story) &&
             (n == 1 || record->story != kFiresAgainInItsCallback))
        TimerProvider::DestroyTimer(timer);
    gFired.Change([](int&) {});
}

// One caller thread's share of the timers.
void RunCaller(Record* first, Record* last) {
    for (Record* r = first; r != last; ++r) {
        const int ms = r->story == kStoppedBeforeItFires ? 3600 * 1000 : 1;  // never, or soon
        TimerProvider* timer = TimerProvider::CreateNewTimer(ms, OnTimer, r);
        if (r->story != kNeverStarted) timer->Start();
        if (CallbackDestroys(r->story)) continue;
        if (r->story == kOwnerDestroysAfterOne)
            gFired.WaitFor([&](int) { return r->callbacks.load() > 0; });
        else if (r->story != kNeverStarted)
            timer->Stop();
        TimerProvider::DestroyTimer(timer);
    }
}

TEST(TimerProviderSoak, TenThousandTimersFromFourThreadsAndFromCallbacksEachCallbackOnce) {
    // The same count under ASan and TSan: the run waits on 1 ms timers far more than it computes,
    // so sanitizers barely lengthen it.
    constexpr size_t kTimers = 10000, kThreads = 4;
    soak::QuietLog quiet;
    soak::Baseline baseline;
    std::vector<Record> records(kTimers);
    for (size_t i = 0; i < kTimers; ++i) records[i].story = static_cast<Story>(i % kStories);

    const size_t destroyedBefore = gDestroyed.Read([](size_t& n) { return n; });
    testing::internal::CaptureStdout();
    TimerProvider::Initialize();
    std::vector<std::thread> callers;
    for (size_t t = 0; t < kThreads; ++t)
        callers.emplace_back(RunCaller, &records[t * kTimers / kThreads],
                             records.data() + (t + 1) * kTimers / kThreads);
    for (std::thread& caller : callers) caller.join();
    EXPECT_TRUE(gFired.WaitFor([&](int) {
        return std::all_of(records.begin(), records.end(), [](const Record& r) {
            return r.callbacks >= kPromised[r.story].least &&
                   r.childCallbacks >= kPromised[r.story].child;
        });
    }));
    // Every timer is destroyed by its owner or by itself; the end of the service finds none,
    // also none whose second expiry is still queued.
    EXPECT_TRUE(gDestroyed.WaitFor(
        [&](size_t n) { return n - destroyedBefore == kTimers + kTimers / kStories; }));
    TimerProvider::DeInitialize();
    const std::string out = testing::internal::GetCapturedStdout();

    size_t racedThrough = 0, children = 0;
    for (size_t i = 0; i < kTimers; ++i) {
        const Record& r = records[i];
        EXPECT_TRUE(kPromised[r.story].least <= r.callbacks &&
                    r.callbacks <= kPromised[r.story].most &&
                    r.childCallbacks == kPromised[r.story].child)
            << "timer " << i << ", story " << r.story << ": " << r.callbacks << " callbacks, "
            << r.childCallbacks << " for its child";
        racedThrough += r.story == kStopRacesExpiry ? r.callbacks.load() : 0;
        children += r.childCallbacks;
    }
    EXPECT_EQ(kTimers + children, soak::Count(out, "Destroying timer"));
    baseline.End({{"timers", kTimers + children}, {"stops_that_lost_the_race", racedThrough}});
}

// The hardware trigger through 1000 deaths of the hardware manager, each while keys are being
// pressed: after every reconnection key events flow again, no event is delivered twice, every
// death is handled once, and at the end the module has left no thread and no descriptor.
// Keys carry (round, key within the round) and are counted by key; the callback runs on the
// module's reader thread.
class CountingCallback : public ITriggerKeyEventWrapperCallBack {
  public:
    void OnKeyEvent(unsigned int round, unsigned int key) override { Add(round, key); }
    void OnPreKeyEvent(unsigned int round, unsigned int key) override { Add(round, key); }
    void Add(unsigned round, unsigned key) {
        seen.Change([&](Keys& k) { ++k[{round, key}]; });
    }
    bool WaitFor(unsigned int round, unsigned int key) {
        return seen.WaitFor([&](Keys& keys) { return keys.count({round, key}) != 0; });
    }

    using Keys = std::map<std::pair<unsigned, unsigned>, int>;
    soak::Watched<Keys> seen;
};

TEST(HWTriggerSoak, AThousandServiceDeathsWhileKeysArePressed) {
    // Keys in flight are pressed just before each death.
    constexpr unsigned kDeaths = 1000, kKeysInFlight = 3, kKeyAfterReconnect = 100;
    soak::QuietLog quiet;
    orvex::hostlog::ScopedCapture log;
    HardwareManagerSim sim;
    CountingCallback callback;
    HWTrigger<(AndroidVersion)10> module;
    ASSERT_TRUE(module.Initialize(&callback));
    // Counted with the module idle and the service running (its writer thread is started by
    // the first connection and belongs to the service).
    soak::Baseline baseline;

    ASSERT_TRUE(module.AcquireHWTrigger());
    ASSERT_TRUE(sim.trigger()->Press(1, 0, kKeyAfterReconnect));
    ASSERT_TRUE(callback.WaitFor(0, kKeyAfterReconnect));
    for (unsigned round = 1; round <= kDeaths; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        for (unsigned key = 0; key < kKeysInFlight; ++key)
            ASSERT_TRUE(sim.trigger()->Press(key % 2 + 1, round, key));
        // The death lands while those keys are being written and read; the service comes
        // back at once and the death handling connects to the new instance by itself.
        sim.Kill();
        sim.Restart();
        ASSERT_TRUE(sim.trigger()->calls().WaitFor("setKeyEventQueue"));
        ASSERT_TRUE(sim.trigger()->Press(1, round, kKeyAfterReconnect));
        ASSERT_TRUE(callback.WaitFor(round, kKeyAfterReconnect));
    }
    EXPECT_TRUE(module.ReleaseHWTrigger());
    size_t delivered = 0, repeated = 0;
    callback.seen.Read([&](CountingCallback::Keys& keys) {
        for (const auto& key : keys) delivered += key.second, repeated += key.second > 1;
    });
    EXPECT_EQ(0u, repeated) << "keys delivered more than once";
    const std::vector<orvex::hostlog::Entry> entries = log.WithTag("ScannerFramework");
    EXPECT_EQ(kDeaths, soak::Count(entries, "ISS [HW Trigger] DCHWManager Died"));
    EXPECT_EQ(kDeaths, soak::Count(entries, "ISS HWTrigger<T>::handlDCHWManagerDeath Done "));
    EXPECT_EQ(kDeaths + 1, soak::Count(entries, "[IDCHWManager] Acquired ITrigger interface."));
    baseline.End({{"deaths", kDeaths}, {"keys_delivered", delivered}});  // reader, writer gone
}

// Serial data and pluggable-device changes flooding in from three service threads while the
// caller releases and acquires the module 400 times, destroying its callback right after every
// release: nothing reaches a callback once its release has returned, everything the service sent
// while the module was held arrives exactly once, and at the end the module has left no thread
// and no descriptor behind.
constexpr unsigned kCycles = 400, kFloodThreads = 3;
// Deliveries each cycle waits for before it releases, so that every cycle sees the flood.
constexpr size_t kDeliveriesPerCycle = 20;
constexpr int8_t kScannerType = 2;

struct Deliveries {
    std::map<uint64_t, std::pair<int, unsigned>> byId;  // count, cycle of the last
    std::map<unsigned, size_t> perCycle;
};

// What the caller's callbacks saw, across all cycles; outlives every callback. Callbacks run on
// runtime threads, everything else on the test's thread or the flood threads.
struct Ledger {
    // A callback of `cycle` received message `id`; `ok` false when the message was garbled.
    void Delivered(unsigned cycle, uint64_t id, bool ok) {
        // Checked first: a call after the release is the fault this soak is after.
        late += cycle <= releasedThrough.load();
        malformed += !ok;
        seen.Change([&](Deliveries& d) {
            if (!ok) return;
            d.byId[id] = {d.byId[id].first + 1, cycle};
            ++d.perCycle[cycle];
        });
    }

    // The caller's side of a cycle, as the flood threads read it around each message: odd
    // (2 * cycle + 1) while the module is held with the cycle's callback in place.
    std::atomic<uint64_t> state{0};
    std::atomic<unsigned> releasedThrough{0};
    std::atomic<size_t> late{0}, malformed{0};
    soak::Watched<Deliveries> seen;
};

// One cycle's callback, for either module. Messages carry an id: the sending flood thread in the
// high half, its sequence number below; a plug change carries it in the port name, and odd ids
// are attachments.
class FloodCallback : public ISerialDataCallBack, public IPlugableHALCallBack {
  public:
    FloodCallback(Ledger& ledger, unsigned cycle) : mLedger(ledger), mCycle(cycle) {}

    void OnSerialDataReceived(const uint8_t* data, size_t size) override {
        uint64_t id = 0;
        if (size == sizeof id) memcpy(&id, data, sizeof id);
        mLedger.Delivered(mCycle, id, size == sizeof id);
    }
    void OnPlugableDeviceChanged(bool connected, const std::string& portName,
                                 int scannerType) override {
        const bool named = portName.compare(0, 4, "tty-") == 0;
        const uint64_t id = named ? std::stoull(portName.substr(4)) : 0;
        mLedger.Delivered(mCycle, id,
                          named && connected == (id % 2 == 1) && scannerType == kScannerType);
    }
    Ledger& mLedger;
    const unsigned mCycle;
};

// Floods the module through `send` (false when the service had no callback to send to) while
// the cycles run, `acquire` handing the module a new cycle's callback and `release` letting go,
// then checks what arrived where.
void Soak(const std::function<bool(uint64_t)>& send,
          const std::function<void(FloodCallback*)>& acquire,
          const std::function<void()>& release) {
    soak::QuietLog quiet;
    Ledger ledger;
    android::hardware::configureRpcThreadpool(2, false);
    soak::Baseline baseline;
    // A message the service sent while the module was held in one cycle, from before the send
    // until after the service's call had returned, must reach that cycle's callback once:
    // (id, cycle) by flood thread, each written by that thread only.
    std::vector<std::vector<std::pair<uint64_t, unsigned>>> owed(kFloodThreads);
    std::vector<size_t> sent(kFloodThreads);
    std::atomic<bool> stop{false};
    std::vector<std::thread> flood;
    for (unsigned t = 0; t < kFloodThreads; ++t)
        flood.emplace_back([&, t] {
            for (uint64_t id = static_cast<uint64_t>(t) << 32; !stop.load(); ++id, ++sent[t]) {
                const uint64_t before = ledger.state.load();
                if (send(id) && before % 2 == 1 && ledger.state.load() == before)
                    owed[t].emplace_back(id, static_cast<unsigned>(before / 2));
            }
        });
    [&] {
        std::unique_ptr<FloodCallback> callback;
        for (unsigned cycle = 1; cycle <= kCycles; ++cycle) {
            SCOPED_TRACE("cycle " + std::to_string(cycle));
            callback.reset(new FloodCallback(ledger, cycle));
            ASSERT_NO_FATAL_FAILURE(acquire(callback.get()));
            ledger.state.store(2 * cycle + 1);
            ASSERT_TRUE(ledger.seen.WaitFor(
                [&](Deliveries& d) { return d.perCycle[cycle] >= kDeliveriesPerCycle; }));
            ledger.state.store(2 * cycle + 2);
            ASSERT_NO_FATAL_FAILURE(release());
            ledger.releasedThrough.store(cycle);
            callback.reset();  // a call from now on is a use after free
        }
    }();
    stop.store(true);
    for (std::thread& thread : flood) thread.join();

    size_t delivered = 0, repeated = 0, owedCount = 0, missing = 0, misrouted = 0;
    ledger.seen.Read([&](Deliveries& d) {
        for (const auto& m : d.byId) delivered += m.second.first, repeated += m.second.first > 1;
        for (const auto& messages : owed) {
            for (const auto& message : messages) {
                const auto it = d.byId.find(message.first);
                missing += it == d.byId.end();
                misrouted += it != d.byId.end() && it->second.second != message.second;
            }
            owedCount += messages.size();
        }
    });
    // Late, malformed, missing, repeated, misrouted.
    EXPECT_EQ(std::vector<size_t>(5, 0),
              (std::vector<size_t>{ledger.late, ledger.malformed, missing, repeated, misrouted}));
    // Each cycle waited for deliveries, so the flood did reach held modules.
    EXPECT_GE(delivered, kCycles * kDeliveriesPerCycle);
    baseline.End({{"cycles", kCycles},
                  {"sent", sent[0] + sent[1] + sent[2]},
                  {"delivered", delivered},
                  {"owed", owedCount}});
}

TEST(CallbackFloodSoak, SerialDataFromServiceThreadsWhileTheTransportIsReleasedAndReacquired) {
    HardwareManagerSim sim(false);
    sp<orvex::sim::FakeSerial> serial = new orvex::sim::FakeSerial;
    sim.AddBuilder([serial](FakeDCHWManager& manager) { manager.SetSerial(serial); });
    sim.Start();
    SerialPort<(AndroidVersion)10> module;
    Soak(
        [serial](uint64_t id) {
            const auto* bytes = reinterpret_cast<const uint8_t*>(&id);
            return serial->Receive(std::vector<uint8_t>(bytes, bytes + sizeof id));
        },
        [&](FloodCallback* callback) {
            ASSERT_TRUE(module.Initialize(callback));
            ASSERT_TRUE(module.AcquireSerialInterface());
            ASSERT_EQ(module.StartTransport("/dev/ttyHS1", 115200, false), 0);
        },
        [&] {
            ASSERT_EQ(module.StopTransport(), 0);
            ASSERT_TRUE(module.ReleaseSerialInterface());
        });
}

TEST(CallbackFloodSoak, PlugChangesFromServiceThreadsWhileTheNotifierIsReleasedAndReacquired) {
    HardwareManagerSim sim(false);
    sp<orvex::sim::FakePlugableDeviceNotifier> notifier =
        new orvex::sim::FakePlugableDeviceNotifier;
    sim.AddBuilder([notifier](FakeDCHWManager& m) { m.SetPlugableDeviceNotifier(notifier); });
    sim.Start();
    PlugableDeviceNotifier<(AndroidVersion)10> module;
    Soak(
        [notifier](uint64_t id) {
            return notifier->RaiseConnectionChanged(id % 2 == 1, "tty-" + std::to_string(id),
                                                    kScannerType);
        },
        [&](FloodCallback* callback) {
            ASSERT_TRUE(module.AcquirePlugableDeviceNotifier());
            ASSERT_TRUE(module.InitializeSSI(callback, static_cast<ScannerType>(kScannerType)));
        },
        [&] { ASSERT_TRUE(module.ReleasePlugableDeviceNotifier()); });
}

// Frames streaming from the simulated imager adapter while the caller ends and starts its scans
// 300 times, as the scanning service does: every scan enables the adapter with a new image
// callback, starts the stream, halts it (plainly, as a timed hold, or with the platform's stop),
// disables the adapter and destroys its callback; every 50 scans the adapter is deinitialised
// and handed back to the imager module, which makes a new one for the next session. Throughout:
// frames flow after every enable, each frame reaches the caller once, no frame reaches a
// callback after Disable returned, the caller's mapping of a frame is gone once OnReceiveFrame
// returned, and at the end no thread, descriptor or frame mapping is left.
//
// A late touch of a frame is caught two ways. The simulated service empties each frame file as
// soon as the delivery returned, so any read or write through a mapping that outlived the
// delivery faults (SIGBUS, which ASan reports too) whoever makes it, library or caller. And
// after every delivery the process's memory map must hold no mapping of a frame file, which
// also catches a mapping kept but not touched. An address check (msync answering ENOMEM) is
// not used: the freed range may be mapped again at once by another thread's allocation.
constexpr unsigned kScans = 300, kScansPerSession = 50;
constexpr uint64_t kFramesPerScan = 2;  // at least, before the scan ends

// Mappings of the fake's frame files in /proc/self/maps: nothing but a frame maps one.
size_t FrameMappings() {
    std::ifstream maps("/proc/self/maps");
    size_t n = 0;
    for (std::string line; std::getline(maps, line);)
        n += line.find("memfd:orvex-frame") != std::string::npos;
    return n;
}

// `pattern`: sampled bytes across the whole frame matched the fake's pattern; `late`: arrived
// after its scan's Disable returned.
struct Frame {
    unsigned cycle;
    uint8_t firstByte;
    bool pattern, late, mappedAfterReturn;
    uint64_t number;
};

// What every scan's callback reports to, and what outlives the callbacks: the frames each
// scan received, in order, checked on the runtime thread while mapped, and paired with the
// fake's frame number once the delivery returned.
struct Scans {
    std::set<unsigned> closed;       // whose Disable returned
    std::vector<Frame> pending;      // received, delivery not yet returned
    std::vector<Frame> frames;       // delivered, in order
    std::vector<uint64_t> unpaired;  // delivered to no callback or to several
};
using ScanLedger = soak::Watched<Scans>;

// One scan's image callback. Destroyed right after the scan's Disable returned, so that a
// frame delivered later is a use after free that ASan reports (and a late frame that lands
// before the destruction is marked late by the ledger).
class ScanCallback : public IImageCallback {
  public:
    ScanCallback(ScanLedger& l, unsigned c, size_t b) : mLedger(l), mCycle(c), mBytes(b) {}

    // One byte a page and the last one: a mapping shorter than the frame faults here, and so
    // does one longer than the frame file. A full scan would cost the sanitized builds seconds
    // per scan.
    bool OnReceiveFrame(void* frame) override {
        const auto* data = static_cast<const uint8_t*>(frame);
        const size_t step = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        bool pattern = data[mBytes - 1] == FakeImagerAdapter::PatternByte(data[0], mBytes - 1);
        for (size_t i = 0; i < mBytes && pattern; i += step)
            pattern = data[i] == FakeImagerAdapter::PatternByte(data[0], i);
        mLedger.Change([&](Scans& s) {
            s.pending.push_back({mCycle, data[0], pattern, s.closed.count(mCycle) != 0, false, 0});
        });
        return true;
    }
    ScanLedger& mLedger;
    const unsigned mCycle;
    const size_t mBytes;
};

TEST(FrameStreamSoak, ScansEndAndStartWhileFramesStream) {
    // The three geometries scans take turns with; 2280 pixels wide is the padded one.
    const __preview_size__ kGeometries[] = {
        {640, 480, 8, false, false}, {2280, 1080, 8, true, false}, {1280, 800, 8, false, true}};
    soak::QuietLog quiet;
    orvex::hostlog::ScopedCapture log;
    soak::Baseline baseline;
    ScanLedger ledger;
    uint64_t delivered = 0;
    // Declared before the device so that, if an assertion ends the test mid-scan, the stream
    // stops (the device goes) before the scan's callback is destroyed.
    std::unique_ptr<ScanCallback> callback;
    {
        orvex::test::SimImager device;
        FakeImagerAdapter& fake = *device.adapter;
        fake.SetFrameRate(0);  // back to back: a frame is always arriving
        // On the fake's streaming thread, after the library's onFrameAvailable returned, that
        // is after OnReceiveFrame returned and the library had its chance to unmap.
        fake.SetDeliveryObserver([&](uint64_t number) {
            const bool mapped = FrameMappings() != 0;
            ledger.Change([&](Scans& s) {
                // Every delivered frame reaches exactly one callback exactly once.
                for (Frame& f : s.pending) f.number = number, f.mappedAfterReturn = mapped;
                if (s.pending.size() == 1) s.frames.push_back(s.pending[0]);
                if (s.pending.size() != 1) s.unpaired.push_back(number);
                s.pending.clear();
            });
        });
        auto* module = new ImagerHIDLProxy<(AndroidVersion)10>();
        V4L2ImagerAdapterHIDLProxy* adapter = nullptr;
        for (unsigned cycle = 0; cycle < kScans; ++cycle) {
            SCOPED_TRACE("scan " + std::to_string(cycle));
            const __preview_size__& geometry = kGeometries[cycle % 3];
            if (adapter == nullptr) {
                adapter = module->getImagerAdapterHIDLProxy();
                ASSERT_EQ(0, adapter->InitAdapter("V4L2Adapter", geometry));
            } else {
                adapter->SetPreviewSize(geometry);
            }
            // Nothing arrived since the last scan's Disable returned.
            ASSERT_EQ(delivered, fake.FramesDelivered());
            callback = std::make_unique<ScanCallback>(
                ledger, cycle,
                FakeImagerAdapter::FrameBytes(geometry.width, geometry.height,
                                              geometry.bitsPerPixel));
            ASSERT_EQ(0, adapter->Enable(callback.get()));
            ASSERT_EQ(0, adapter->StartStreaming());
            ASSERT_TRUE(ledger.WaitFor([&](Scans& s) {
                uint64_t seen = 0;
                for (const Frame& f : s.frames) seen += f.cycle == cycle;
                for (const Frame& f : s.pending) seen += f.cycle == cycle;
                return seen >= kFramesPerScan;
            }));
            // How the scan ends: a timed hold (false, 1) and the platform's halt (true, on this
            // "lahaina" profile) each pause to let the imager settle, so they are rarer.
            const bool halt = cycle % 20 == 13;
            const int flag = cycle % 20 == 7 ? 1 : !halt && cycle % 3 == 0 ? 2 : 0;
            ASSERT_EQ(0, adapter->StopStreaming(halt, flag));
            ASSERT_EQ(0, adapter->Disable());
            ledger.Change([&](Scans& s) { s.closed.insert(cycle); });
            delivered = fake.FramesDelivered();
            callback.reset();
            ASSERT_EQ(0u, ledger.Read([](Scans& s) { return s.pending.size(); }));
            if (cycle % kScansPerSession == kScansPerSession - 1) {
                // The session ends: the adapter goes back to the module, which closes the
                // imager and makes a new adapter (a new association) for the next scan.
                ASSERT_EQ(0, adapter->DeinitAdapter());
                module->deInit();
                adapter = nullptr;
            }
        }
        EXPECT_EQ(delivered, fake.FramesDelivered());
        if (adapter != nullptr) module->deInit();
        delete module;
        EXPECT_EQ(0, device.imager->OpenCount());
    }

    const Scans scans = ledger.Read([](Scans& s) { return s; });
    const std::vector<Frame>& frames = scans.frames;
    EXPECT_EQ(std::vector<uint64_t>{}, scans.unpaired);
    EXPECT_EQ(delivered, frames.size());
    size_t late = 0, mappedAfterReturn = 0, wrong = 0, repeated = 0;
    for (size_t i = 0; i < frames.size(); ++i) {
        const Frame& f = frames[i];
        late += f.late;
        mappedAfterReturn += f.mappedAfterReturn;
        wrong += !f.pattern || f.firstByte != static_cast<uint8_t>(f.number);
        // The fake numbers its frames in order, so a frame seen twice breaks the order.
        repeated += i > 0 && f.number <= frames[i - 1].number;
    }
    // Late, mapped after return, wrong, repeated.
    EXPECT_EQ(std::vector<size_t>(4, 0),
              (std::vector<size_t>{late, mappedAfterReturn, wrong, repeated}));
    EXPECT_EQ(kScans, soak::Count(log.WithTag("ScannerFramework"),
                                  "[V4L2ImagerAdapterHIDLProxy::Enable] Transport is registerd"));
    EXPECT_EQ(0u, FrameMappings());
    baseline.End({{"scans", kScans}, {"frames_delivered", frames.size()}});  // stream ended
}

}  // namespace
