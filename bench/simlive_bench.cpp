// The virtual handheld's costs, each against a baseline in the same run:
// - SimPress: POST /api/trigger to the caller's OnKeyEvent (the library's trigger module, in this
//   process), against SimPress_Baseline, a bare HTTP round trip on loopback to a handler that does
//   nothing (same client and server library, a new connection each, as for the presses).
// - SimEvent: a library call on a simulated service (the trigger module's StartTrigger) to its
//   call event in an /api/events reader, against the same bare round trip (SimEvent_Baseline).
// - SimFrames: frames per second a frame callback receives at 2280x1080 made from an uploaded
//   PNG, against SimFrames_Baseline, the same stream of the device's own pattern without the
//   server. Frames go back to back; the callback maps and copies each one, as a caller must.
// Latencies: time per iteration is the mean; counters give p50 and p99 in microseconds.

#include <benchmark/benchmark.h>
#include <httplib.h>
#include <png.h>
#include <sys/mman.h>
#include <string.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <vector>

#include "ApiServer.h"
#include "FakeImager.h"
#include "FakeImagerAdapter.h"
#include "LiveDevice.h"
#include "Platform.h"
#include "PlatformModuleInterfaces.h"

namespace {

using orvex::sim::ApiServer;
using orvex::sim::LiveDevice;
using Clock = std::chrono::steady_clock;

constexpr int kSamples = 2000;
constexpr uint64_t kFrames = 200;

// The one device of the process, with the caller's trigger module acquired.
struct Rig : ITriggerKeyEventWrapperCallBack {
    LiveDevice device{"default"};
    ApiServer server{device, ""};
    IHWTriggerModule* trigger = nullptr;
    std::mutex lock;
    std::condition_variable changed;
    int delivered = 0;               // GUARDED_BY(lock)
    Clock::time_point deliveredAt;   // GUARDED_BY(lock)

    Rig() {
        device.Start();
        std::string error;
        server.Start(0, &error);
        trigger = static_cast<IHWTriggerModule*>(
            GetPlatformModule(PLATFORM_MODULE_HW_TRIGGER, "HWTrigger"));
        trigger->Initialize(this);
        trigger->AcquireHWTrigger();
    }
    void OnKeyEvent(unsigned int, unsigned int) override {
        std::lock_guard<std::mutex> guard(lock);
        ++delivered;
        deliveredAt = Clock::now();
        changed.notify_all();
    }
    void OnPreKeyEvent(unsigned int, unsigned int) override {}
};

Rig& TheRig() {
    static Rig* rig = new Rig;  // lives until exit, as a device in a process does
    return *rig;
}

void Report(benchmark::State& state, std::vector<double>& micros) {
    std::sort(micros.begin(), micros.end());
    double sum = 0;
    for (double m : micros) sum += m;
    state.SetIterationTime(sum / micros.size() / 1e6);
    state.counters["p50_us"] = micros[micros.size() / 2];
    state.counters["p99_us"] = micros[micros.size() * 99 / 100];
}

double Micros(Clock::time_point from, Clock::time_point to) {
    return std::chrono::duration<double, std::micro>(to - from).count();
}

void RoundTrip(benchmark::State& state) {
    httplib::Server bare;
    bare.Post("/nothing", [](const httplib::Request&, httplib::Response& res) {
        res.set_content("{\"ok\":true}", "application/json");
    });
    const int port = bare.bind_to_any_port("127.0.0.1");
    std::thread serving([&] { bare.listen_after_bind(); });
    httplib::Client client("127.0.0.1", port);
    for (auto _ : state) {
        std::vector<double> micros;
        for (int i = 0; i < kSamples; ++i) {
            const Clock::time_point start = Clock::now();
            auto res = client.Post("/nothing", "{\"action\":\"press\"}", "application/json");
            micros.push_back(Micros(start, Clock::now()));
            if (!res || res->status != 200) state.SkipWithError("bare round trip failed");
        }
        Report(state, micros);
    }
    bare.stop();
    serving.join();
}

void PressToKeyEvent(benchmark::State& state) {
    Rig& rig = TheRig();
    httplib::Client client("127.0.0.1", rig.server.port());
    for (auto _ : state) {
        std::vector<double> micros;
        for (int i = 0; i < kSamples; ++i) {
            int before;
            {
                std::lock_guard<std::mutex> guard(rig.lock);
                before = rig.delivered;
            }
            const Clock::time_point start = Clock::now();
            auto res = client.Post("/api/trigger",
                                   i % 2 == 0 ? "{\"action\":\"press\"}" : "{\"action\":\"release\"}",
                                   "application/json");
            if (!res || res->status != 200) {
                state.SkipWithError("press refused");
                return;
            }
            std::unique_lock<std::mutex> guard(rig.lock);
            if (!rig.changed.wait_for(guard, std::chrono::seconds(5),
                                      [&] { return rig.delivered > before; })) {
                state.SkipWithError("key event not delivered");
                return;
            }
            micros.push_back(Micros(start, rig.deliveredAt));
        }
        Report(state, micros);
    }
}

void CallToEvent(benchmark::State& state) {
    Rig& rig = TheRig();
    std::mutex lock;
    std::condition_variable changed;
    int seen = 0;                 // GUARDED_BY(lock): startTrigger events read
    Clock::time_point seenAt;     // GUARDED_BY(lock)
    httplib::Client reader("127.0.0.1", rig.server.port());
    std::atomic<bool> quit{false};
    const std::string since = "/api/events?since=" + std::to_string(rig.device.events().LastSeq());
    std::thread reading([&] {
        std::string pending;
        reader.Get(since.c_str(), [&](const char* data, size_t length) {
            pending.append(data, length);
            for (size_t end; (end = pending.find("\n\n")) != std::string::npos;) {
                if (pending.compare(0, 11, "event: call") == 0 &&
                    pending.find("\"method\":\"startTrigger\"") < end) {
                    std::lock_guard<std::mutex> guard(lock);
                    ++seen;
                    seenAt = Clock::now();
                    changed.notify_all();
                }
                pending.erase(0, end + 2);
            }
            return !quit;
        });
    });
    for (auto _ : state) {
        std::vector<double> micros;
        for (int i = 0; i < kSamples; ++i) {
            std::unique_lock<std::mutex> guard(lock);
            const int before = seen;
            guard.unlock();
            const Clock::time_point start = Clock::now();
            rig.trigger->StartTrigger();
            guard.lock();
            if (!changed.wait_for(guard, std::chrono::seconds(5), [&] { return seen > before; })) {
                state.SkipWithError("no event in the reader");
                break;
            }
            micros.push_back(Micros(start, seenAt));
        }
        if (micros.size() == kSamples) Report(state, micros);
    }
    quit = true;
    rig.trigger->StartTrigger();  // one more event lets the reader see it should stop
    reading.join();
}

// The caller's side of a frame: map it, copy it out, unmap it.
class Copier : public vendor::tevrin::hardware::dchwmanager::V1_0::IFrameCallback {
  public:
    android::hardware::Return<void> onFrameAvailable(
        const android::hardware::hidl_handle& frame) override {
        const int fd = frame->data[0];
        void* data = mmap(nullptr, mCopy.size(), PROT_READ, MAP_SHARED, fd, 0);
        if (data != MAP_FAILED) {
            memcpy(mCopy.data(), data, mCopy.size());
            benchmark::DoNotOptimize(mCopy.data());
            munmap(data, mCopy.size());
        }
        return android::hardware::Void();
    }
    std::vector<uint8_t> mCopy =
        std::vector<uint8_t>(orvex::sim::FakeImagerAdapter::FrameBytes(2280, 1080, 8));
};

std::string TestCard() {
    png_image image;
    memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    image.width = 640;
    image.height = 480;
    image.format = PNG_FORMAT_GRAY;
    std::vector<uint8_t> pixels(640 * 480);
    for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<uint8_t>(i % 640 / 3);
    png_alloc_size_t size = 0;
    png_image_write_to_memory(&image, nullptr, &size, 0, pixels.data(), 0, nullptr);
    std::string png(size, '\0');
    png_image_write_to_memory(&image, png.data(), &size, 0, pixels.data(), 0, nullptr);
    return png;
}

void Frames(benchmark::State& state, bool uploaded) {
    Rig& rig = TheRig();
    auto* adapter = static_cast<orvex::sim::FakeImagerAdapter*>(
        rig.device.device().imager()->Adapter().get());
    if (uploaded) {
        httplib::Client client("127.0.0.1", rig.server.port());
        auto res = client.Post("/api/imager/frames", TestCard(), "image/png");
        if (!res || res->status != 200) {
            state.SkipWithError("upload refused");
            return;
        }
    } else {
        rig.device.ShowImage(nullptr);
    }
    android::sp<Copier> copier = new Copier;
    adapter->SetFrameRate(0);
    adapter->RegisterFrameCallback(copier);
    adapter->Init("bench", {2280, 1080, 8, false, false});
    double frames = 0, seconds = 0;
    for (auto _ : state) {
        const uint64_t before = adapter->FramesDelivered();
        const Clock::time_point start = Clock::now();
        adapter->StartStreaming();
        adapter->WaitForFrames(before + kFrames, std::chrono::seconds(60));
        adapter->StopStreaming();
        const double spent = std::chrono::duration<double>(Clock::now() - start).count();
        frames += static_cast<double>(adapter->FramesDelivered() - before);
        seconds += spent;
        state.SetIterationTime(spent / kFrames);
    }
    adapter->Deinit();
    state.counters["frames_per_s"] = frames / seconds;
}

}  // namespace

int main(int argc, char** argv) {
    // The default device of this build, unless a device root is given.
    setenv("ORVEX_DEVICE_ROOT", ORVEX_BUILD_DIR "/sim/profiles/default", 0);
    for (auto* b : {benchmark::RegisterBenchmark("SimPress_Baseline", RoundTrip),
                    benchmark::RegisterBenchmark("SimPress", PressToKeyEvent),
                    benchmark::RegisterBenchmark("SimEvent_Baseline", RoundTrip),
                    benchmark::RegisterBenchmark("SimEvent", CallToEvent),
                    benchmark::RegisterBenchmark("SimFrames_Baseline", Frames, false),
                    benchmark::RegisterBenchmark("SimFrames", Frames, true)}) {
        b->UseManualTime()->Iterations(1)->Repetitions(3)->ReportAggregatesOnly(true);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
