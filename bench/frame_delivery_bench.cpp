// Frame delivery through the frame callback (map the frame, hand it to the caller, unmap it)
// against the least any delivery costs: a raw mmap/munmap of the same memfd in the same run.
// Both sides give the frame to the same consumer, which copies it whole, as a caller must
// before it returns. Geometries: 2280x1080 at 8 bits per pixel (rows padded to 2288) and
// 1280x800 at 8 bits. The time of a frame is the CPU time the delivering thread spent on it,
// page faults of the fresh mapping included, so that other load on the machine does not count;
// frames_per_s is the rate that time allows.

#include <benchmark/benchmark.h>
#include <string.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

#include <vector>

#include "FrameCallback.h"

namespace {

using vendor::tevrin::hardware::dchwmanager::implementation::FrameCallback;

struct Geometry {
    uint32_t width;
    uint32_t height;
    uint32_t bitsPerPixel;
    size_t bytes() const { return FrameCallback::FrameSize(width, height, bitsPerPixel); }
};

// What a caller does with a frame: copy it out while it is mapped.
class CopyingConsumer : public IImageCallback {
  public:
    explicit CopyingConsumer(size_t bytes) : mCopy(bytes) {}
    bool OnReceiveFrame(void* frame) override {
        Consume(frame);
        return true;
    }
    void Consume(const void* frame) {
        memcpy(mCopy.data(), frame, mCopy.size());
        benchmark::DoNotOptimize(mCopy.data());
        benchmark::ClobberMemory();
    }

  private:
    std::vector<unsigned char> mCopy;
};

// One frame file, filled once, shared by both sides of a geometry.
class FrameFile {
  public:
    explicit FrameFile(size_t bytes) : mFd(memfd_create("bench-frame", MFD_CLOEXEC)) {
        if (mFd < 0 || ftruncate(mFd, static_cast<off_t>(bytes)) != 0) return;
        void* data = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, mFd, 0);
        if (data == MAP_FAILED) return;
        for (size_t i = 0; i < bytes; ++i)
            static_cast<unsigned char*>(data)[i] = static_cast<unsigned char>(i);
        munmap(data, bytes);
        native_handle_t* native = native_handle_create(1, 0);
        native->data[0] = dup(mFd);
        mHandle.setTo(native, true);
    }
    ~FrameFile() {
        if (mFd >= 0) close(mFd);
    }
    bool valid() const { return mHandle.getNativeHandle() != nullptr; }
    int fd() const { return mFd; }
    const android::hardware::hidl_handle& handle() const { return mHandle; }

  private:
    int mFd;
    android::hardware::hidl_handle mHandle;
};

double ThreadSeconds() {
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// Times one delivery per iteration.
template <typename Deliver>
void Measure(benchmark::State& state, Deliver deliver) {
    double total = 0;
    for (auto _ : state) {
        double start = ThreadSeconds();
        if (!deliver()) {
            state.SkipWithError("delivery failed");
            break;
        }
        double spent = ThreadSeconds() - start;
        state.SetIterationTime(spent);
        total += spent;
    }
    if (total > 0) state.counters["frames_per_s"] = static_cast<double>(state.iterations()) / total;
}

void Baseline(benchmark::State& state, Geometry geometry) {
    const size_t bytes = geometry.bytes();
    FrameFile file(bytes);
    CopyingConsumer consumer(bytes);
    if (!file.valid()) {
        state.SkipWithError("no frame file");
        return;
    }
    Measure(state, [&] {
        void* frame = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file.fd(), 0);
        if (frame == MAP_FAILED) return false;
        consumer.Consume(frame);
        munmap(frame, bytes);
        return true;
    });
}

void ThroughFrameCallback(benchmark::State& state, Geometry geometry) {
    const size_t bytes = geometry.bytes();
    FrameFile file(bytes);
    CopyingConsumer consumer(bytes);
    if (!file.valid()) {
        state.SkipWithError("no frame file");
        return;
    }
    android::sp<FrameCallback> callback = new FrameCallback(&consumer);
    callback->UpdatePreviewSize(
        new __preview_size__{geometry.width, geometry.height, geometry.bitsPerPixel, false, false});
    Measure(state, [&] { return callback->onFrameAvailable(file.handle()).isOk(); });
}

}  // namespace

int main(int argc, char** argv) {
    const Geometry padded{2280, 1080, 8};
    const Geometry plain{1280, 800, 8};
    // Repetitions give a median each, which the ratio runner compares.
    for (auto* b : {benchmark::RegisterBenchmark("Frame2280x1080_Baseline", Baseline, padded),
                    benchmark::RegisterBenchmark("Frame2280x1080_FrameCallback",
                                                 ThroughFrameCallback, padded),
                    benchmark::RegisterBenchmark("Frame1280x800_Baseline", Baseline, plain),
                    benchmark::RegisterBenchmark("Frame1280x800_FrameCallback",
                                                 ThroughFrameCallback, plain)}) {
        b->UseManualTime()->Repetitions(5)->ReportAggregatesOnly(true);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
