// Frames streaming from the simulated imager adapter while the caller ends and starts its scans
// hundreds of times, as the scanning service does: every scan enables the adapter with a new
// image callback, starts the stream, halts it (plainly, as a timed hold, or with the platform's
// stop), disables the adapter and destroys its callback; every few scans the adapter is
// deinitialised and handed back to the imager module, which makes a new one for the next
// session. Throughout: frames flow after every enable, each frame reaches the caller once,
// no frame reaches a callback after Disable returned, the caller's mapping of a frame is gone
// once OnReceiveFrame returned, and at the end no thread, descriptor or frame mapping is left.
//
// A late touch of a frame is caught two ways. The simulated service empties each frame file as
// soon as the delivery returned, so any read or write through a mapping that outlived the
// delivery faults (SIGBUS, which ASan reports too) whoever makes it, library or caller. And
// after every delivery the process's memory map must hold no mapping of a frame file, which
// also catches a mapping kept but not touched. An address check (msync answering ENOMEM) is
// not used: the freed range may be mapped again at once by another thread's allocation.

#include <errno.h>
#include <gtest/gtest.h>
#include <orvex/hidl_registry.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "ImagerHIDLProxy.h"
#include "ImagingFixture.h"
#include "SoakSupport.h"
#include "V4L2ImagerAdapterHIDLProxy.h"
#include "orvex/log_capture.h"

#ifndef FRAME_SOAK_CYCLES
#define FRAME_SOAK_CYCLES 300
#endif

namespace {

using orvex::sim::FakeImagerAdapter;
using orvex::test::SimImager;

constexpr auto kWait = std::chrono::seconds(30);
constexpr unsigned kCycles = FRAME_SOAK_CYCLES;
constexpr unsigned kCyclesPerSession = 50;
constexpr uint64_t kFramesPerCycle = 2;  // at least, before the scan ends

// The three geometries scans take turns with; 2280 pixels wide is the padded one.
const __preview_size__ kGeometries[] = {
    {640, 480, 8, false, false},
    {2280, 1080, 8, true, false},
    {1280, 800, 8, false, true},
};

size_t FrameBytes(const __preview_size__& size) {
    return FakeImagerAdapter::FrameBytes(size.width, size.height, size.bitsPerPixel);
}

// Mappings of the fake's frame files in /proc/self/maps. Exact where an address check is
// not: an unmapped frame's address may be taken at once by another mapping (a log buffer that
// grows on another thread), but nothing but a frame maps a frame file.
size_t FrameMappings() {
    std::ifstream maps("/proc/self/maps");
    std::string line;
    size_t n = 0;
    while (std::getline(maps, line)) n += line.find("memfd:orvex-frame") != std::string::npos;
    return n;
}

// What every scan's callback reports to, and what outlives the callbacks: the frames each
// scan received, in order, checked on the runtime thread while mapped, and paired with the
// fake's frame number once the delivery returned.
class Ledger {
  public:
    struct Frame {
        unsigned cycle;
        const void* address;
        uint8_t firstByte;
        bool pattern;  // sampled bytes across the whole frame matched the fake's pattern
        bool late;     // arrived after its scan's Disable returned
        uint64_t number = UINT64_MAX;
        bool mappedAfterReturn = false;
    };

    void Received(Frame frame) {
        {
            std::lock_guard<std::mutex> lock(mLock);
            frame.late = mClosed.size() > frame.cycle && mClosed[frame.cycle];
            mPending.push_back(frame);
        }
        mChanged.notify_all();
    }

    // On the fake's streaming thread, after the library's onFrameAvailable returned, that is
    // after OnReceiveFrame returned and the library had its chance to unmap.
    void DeliveryReturned(uint64_t number) {
        size_t mapped = FrameMappings();
        std::lock_guard<std::mutex> lock(mLock);
        if (mPending.size() != 1) {
            // Every delivered frame reaches exactly one callback exactly once.
            mUnpaired.push_back(number);
            mPending.clear();
            return;
        }
        Frame frame = mPending.front();
        mPending.clear();
        frame.number = number;
        frame.mappedAfterReturn = mapped != 0;
        mFrames.push_back(frame);
        ++mPerCycle[frame.cycle];
    }

    bool WaitFor(unsigned cycle, uint64_t count) {
        std::unique_lock<std::mutex> lock(mLock);
        return mChanged.wait_for(lock, kWait, [&] {
            uint64_t seen = mPerCycle.size() > cycle ? mPerCycle[cycle] : 0;
            for (const Frame& f : mPending) seen += f.cycle == cycle;
            return seen >= count;
        });
    }

    void Open(unsigned cycle) {
        std::lock_guard<std::mutex> lock(mLock);
        mClosed.resize(cycle + 1, false);
        mPerCycle.resize(cycle + 1, 0);
    }
    void Close(unsigned cycle) {
        std::lock_guard<std::mutex> lock(mLock);
        mClosed[cycle] = true;
    }

    std::vector<Frame> Frames() {
        std::lock_guard<std::mutex> lock(mLock);
        return mFrames;
    }
    std::vector<uint64_t> Unpaired() {
        std::lock_guard<std::mutex> lock(mLock);
        return mUnpaired;
    }
    size_t Pending() {
        std::lock_guard<std::mutex> lock(mLock);
        return mPending.size();
    }

  private:
    std::mutex mLock;
    std::condition_variable mChanged;
    std::vector<bool> mClosed;        // GUARDED_BY(mLock), by cycle
    std::vector<uint64_t> mPerCycle;  // GUARDED_BY(mLock), paired frames by cycle
    std::vector<Frame> mPending;      // GUARDED_BY(mLock), received, delivery not yet returned
    std::vector<Frame> mFrames;       // GUARDED_BY(mLock)
    std::vector<uint64_t> mUnpaired;  // GUARDED_BY(mLock)
};

// One scan's image callback. Destroyed right after the scan's Disable returned, so that a
// frame delivered later is a use after free that ASan reports (and a late frame that lands
// before the destruction is marked late by the ledger).
class ScanCallback : public IImageCallback {
  public:
    ScanCallback(Ledger& ledger, unsigned cycle, size_t bytes)
        : mLedger(ledger), mCycle(cycle), mBytes(bytes) {}

    bool OnReceiveFrame(void* frame) override {
        // One byte a page and the last one: a mapping shorter than the frame faults here, and
        // so does one longer than the frame file. A full scan would cost the sanitized builds
        // seconds per scan.
        const auto* data = static_cast<const uint8_t*>(frame);
        const uint8_t number = data[0];
        bool pattern = true;
        const size_t step = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        for (size_t i = 0; i < mBytes && pattern; i += step) {
            pattern = data[i] == FakeImagerAdapter::PatternByte(number, i);
        }
        if (mBytes > 0) {
            pattern =
                pattern && data[mBytes - 1] == FakeImagerAdapter::PatternByte(number, mBytes - 1);
        }
        mLedger.Received(Ledger::Frame{mCycle, frame, number, pattern, false});
        return true;
    }

  private:
    Ledger& mLedger;
    const unsigned mCycle;
    const size_t mBytes;
};

// How a scan ends: the halt's two arguments. A timed hold (false, 1) and the platform's halt
// (true, on this "lahaina" profile) each pause to let the imager settle, so they are rarer.
struct ScanEnd {
    bool halt;
    int flag;
};

ScanEnd EndOf(unsigned cycle) {
    if (cycle % 20 == 7) return {false, 1};
    if (cycle % 20 == 13) return {true, 0};
    return {false, static_cast<int>(cycle % 3 == 0 ? 2 : 0)};
}

size_t Count(const std::vector<orvex::hostlog::Entry>& log, const std::string& message) {
    size_t n = 0;
    for (const auto& e : log) n += e.message == message;
    return n;
}

TEST(FrameStreamSoak, ScansEndAndStartWhileFramesStream) {
    soak::QuietLog quiet;
    orvex::hostlog::ScopedCapture log;
    std::thread([] {}).join();  // a sanitizer's helper thread, up front
    const size_t threadsBefore = soak::ThreadCount();
    const size_t descriptorsBefore = soak::DescriptorCount();
    const size_t poolBefore = orvex::hidl::RpcThreadCount();

    Ledger ledger;
    std::chrono::steady_clock::duration elapsed{};
    uint64_t delivered = 0;
    // Declared before the device so that, if an assertion ends the test mid-scan, the stream
    // stops (the device goes) before the scan's callback is destroyed.
    std::unique_ptr<ScanCallback> callback;
    {
        SimImager device;
        FakeImagerAdapter& fake = *device.adapter;
        fake.SetFrameRate(0);  // back to back: a frame is always arriving
        fake.SetDeliveryObserver([&](uint64_t number) { ledger.DeliveryReturned(number); });

        auto* module = new ImagerHIDLProxy<(AndroidVersion)10>();
        V4L2ImagerAdapterHIDLProxy* adapter = nullptr;
        const auto started = std::chrono::steady_clock::now();
        for (unsigned cycle = 0; cycle < kCycles; ++cycle) {
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

            ledger.Open(cycle);
            callback = std::make_unique<ScanCallback>(ledger, cycle, FrameBytes(geometry));
            ASSERT_EQ(0, adapter->Enable(callback.get()));
            ASSERT_EQ(0, adapter->StartStreaming());
            ASSERT_TRUE(ledger.WaitFor(cycle, kFramesPerCycle));
            const ScanEnd end = EndOf(cycle);
            ASSERT_EQ(0, adapter->StopStreaming(end.halt, end.flag));
            ASSERT_EQ(0, adapter->Disable());
            ledger.Close(cycle);
            delivered = fake.FramesDelivered();
            callback.reset();
            ASSERT_EQ(0u, ledger.Pending());

            if (cycle % kCyclesPerSession == kCyclesPerSession - 1) {
                // The session ends: the adapter goes back to the module, which closes the
                // imager and makes a new adapter (a new association) for the next scan.
                ASSERT_EQ(0, adapter->DeinitAdapter());
                module->deInit();
                adapter = nullptr;
            }
        }
        elapsed = std::chrono::steady_clock::now() - started;
        EXPECT_EQ(delivered, fake.FramesDelivered());
        if (adapter != nullptr) module->deInit();
        delete module;
        EXPECT_EQ(0, device.imager->OpenCount());
    }

    const std::vector<Ledger::Frame> frames = ledger.Frames();
    EXPECT_EQ(std::vector<uint64_t>{}, ledger.Unpaired());
    EXPECT_EQ(delivered, frames.size());
    size_t late = 0, mappedAfterReturn = 0, wrong = 0, repeated = 0;
    for (size_t i = 0; i < frames.size(); ++i) {
        const Ledger::Frame& f = frames[i];
        late += f.late;
        mappedAfterReturn += f.mappedAfterReturn;
        wrong += !f.pattern || f.firstByte != static_cast<uint8_t>(f.number);
        // The fake numbers its frames in order, so a frame seen twice breaks the order.
        repeated += i > 0 && f.number <= frames[i - 1].number;
    }
    EXPECT_EQ(0u, late);
    EXPECT_EQ(0u, mappedAfterReturn);
    EXPECT_EQ(0u, wrong);
    EXPECT_EQ(0u, repeated);

    const std::vector<orvex::hostlog::Entry> entries = log.WithTag("ScannerFramework");
    EXPECT_EQ(0u, Count(entries, "[FrameCallback::onFrame] mmap failed\n"));
    EXPECT_EQ(0u, Count(entries, "[FrameCallback::onFrameAvailable] OnReceiveFrame failed"));
    EXPECT_EQ(kCycles,
              Count(entries, "[V4L2ImagerAdapterHIDLProxy::Enable] Transport is registerd"));

    // The fake's streaming thread ended with the service; the runtime's pool threads stay for
    // the life of the process, as libhidl's do.
    EXPECT_EQ(soak::ThreadCount(), threadsBefore + (orvex::hidl::RpcThreadCount() - poolBefore));
    EXPECT_EQ(descriptorsBefore, soak::DescriptorCount());
    EXPECT_EQ(0u, FrameMappings());

    RecordProperty("scans", static_cast<int>(kCycles));
    RecordProperty("frames_delivered", static_cast<int>(frames.size()));
    RecordProperty(
        "milliseconds",
        static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count()));
}

}  // namespace
