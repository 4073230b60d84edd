#include "FakeImagerAdapter.h"

#include <orvex/hidl_registry.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

namespace orvex {
namespace sim {

using ::android::sp;
using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::Return;
using ::android::hardware::Void;

namespace {

std::string Text(const FakeImagerAdapter::PreviewSize& size) {
    return "{" + std::to_string(size.width) + ", " + std::to_string(size.height) + ", " +
           std::to_string(size.bitsPerPixel) + ", " + std::to_string(size.flag1) + ", " +
           std::to_string(size.flag2) + "}";
}

// Fills `bytes` bytes at `data` with frame `number`'s pattern, which repeats every 256 bytes.
void FillPattern(uint8_t* data, size_t bytes, uint64_t number) {
    uint8_t period[256];
    for (size_t i = 0; i < sizeof(period); ++i)
        period[i] = FakeImagerAdapter::PatternByte(number, i);
    for (size_t done = 0; done < bytes; done += sizeof(period)) {
        memcpy(data + done, period, bytes - done < sizeof(period) ? bytes - done : sizeof(period));
    }
}

}  // namespace

size_t FakeImagerAdapter::FrameBytes(uint32_t width, uint32_t height, uint32_t bitsPerPixel) {
    // The device's 2280-pixel sensor delivers rows aligned to 16 pixels.
    size_t row = width == 2280 ? 2288 : width;
    return row * height * bitsPerPixel / 8;
}

uint8_t FakeImagerAdapter::PatternByte(uint64_t frame, size_t offset) {
    return static_cast<uint8_t>(frame + offset);
}

FakeImagerAdapter::~FakeImagerAdapter() { StopThread(); }

void FakeImagerAdapter::SetAnswers(const Answers& answers) {
    std::lock_guard<std::mutex> lock(mLock);
    mAnswers = answers;
}

FakeImagerAdapter::Answers FakeImagerAdapter::GetAnswers() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mAnswers;
}

void FakeImagerAdapter::SetParameterAnswer(const std::string& name, int32_t status,
                                           const std::string& value) {
    std::lock_guard<std::mutex> lock(mLock);
    mParameters[name] = Parameter{status, value};
}

void FakeImagerAdapter::SetFrameRate(double framesPerSecond) {
    {
        std::lock_guard<std::mutex> lock(mLock);
        mFrameInterval = framesPerSecond > 0
                             ? std::chrono::nanoseconds(static_cast<int64_t>(1e9 / framesPerSecond))
                             : std::chrono::nanoseconds(0);
    }
    mChanged.notify_all();
}

bool FakeImagerAdapter::Streaming() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mStreaming;
}

void FakeImagerAdapter::SetPainter(Painter painter) {
    std::lock_guard<std::mutex> lock(mLock);
    mPainter = std::move(painter);
}

void FakeImagerAdapter::SetDeliveryObserver(std::function<void(uint64_t frame)> observer) {
    std::lock_guard<std::mutex> lock(mLock);
    mObserver = std::move(observer);
}

uint64_t FakeImagerAdapter::FramesDelivered() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mDelivered;
}

bool FakeImagerAdapter::WaitForFrames(uint64_t count, std::chrono::milliseconds timeout) const {
    std::unique_lock<std::mutex> lock(mLock);
    return mChanged.wait_for(lock, timeout, [&] { return mDelivered >= count; });
}

FakeImagerAdapter::PreviewSize FakeImagerAdapter::CurrentPreviewSize() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mPreviewSize;
}

bool FakeImagerAdapter::HasFrameCallback() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mCallback != nullptr;
}

Return<int8_t> FakeImagerAdapter::Init(const hidl_string& adapterClass,
                                       const PreviewSize& previewSize) {
    calls().Add("Init(" + std::string(adapterClass.c_str()) + ", " + Text(previewSize) + ")");
    std::lock_guard<std::mutex> lock(mLock);
    if (mAnswers.init == 0) mPreviewSize = previewSize;
    return mAnswers.init;
}

Return<int8_t> FakeImagerAdapter::Deinit() {
    calls().Add("Deinit()");
    StopSending();
    return GetAnswers().deinit;
}

Return<int8_t> FakeImagerAdapter::StartStreaming() {
    calls().Add("StartStreaming()");
    int8_t answer = GetAnswers().startStreaming;
    if (answer != 0) return answer;
    std::lock_guard<std::mutex> threadLock(mThreadLock);
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (mQuit) return answer;
        mStreaming = true;
    }
    mChanged.notify_all();
    if (!mStreamer.joinable()) mStreamer = std::thread(&FakeImagerAdapter::StreamLoop, this);
    return answer;
}

Return<int8_t> FakeImagerAdapter::StopStreaming() {
    calls().Add("StopStreaming()");
    int8_t answer = GetAnswers().stopStreaming;
    if (answer == 0) StopSending();
    return answer;
}

Return<int8_t> FakeImagerAdapter::PrepAcquisition() {
    calls().Add("PrepAcquisition()");
    return GetAnswers().prepAcquisition;
}

Return<int8_t> FakeImagerAdapter::PostAcquisition() {
    calls().Add("PostAcquisition()");
    return GetAnswers().postAcquisition;
}

Return<int8_t> FakeImagerAdapter::HaltAcquisition(bool halt, int32_t flag) {
    calls().Add("HaltAcquisition(" + std::string(halt ? "true" : "false") + ", " +
                std::to_string(flag) + ")");
    return GetAnswers().haltAcquisition;
}

Return<void> FakeImagerAdapter::GetParameter(const hidl_string& name, GetParameter_cb _hidl_cb) {
    calls().Add("GetParameter(" + std::string(name.c_str()) + ")");
    Parameter answer{0, ""};
    {
        std::lock_guard<std::mutex> lock(mLock);
        auto it = mParameters.find(name.c_str());
        // A name the service does not know gets no answer at all.
        if (it == mParameters.end()) return Void();
        answer = it->second;
    }
    _hidl_cb(answer.status, answer.value);
    return Void();
}

Return<int8_t> FakeImagerAdapter::SetParameter(const hidl_string& name, const hidl_string& value) {
    calls().Add("SetParameter(" + std::string(name.c_str()) + ", " + value.c_str() + ")");
    std::lock_guard<std::mutex> lock(mLock);
    if (mAnswers.setParameter == 0) mParameters[name.c_str()] = Parameter{0, value.c_str()};
    return mAnswers.setParameter;
}

Return<int8_t> FakeImagerAdapter::SetPreviewSize(const PreviewSize& previewSize) {
    calls().Add("SetPreviewSize(" + Text(previewSize) + ")");
    std::lock_guard<std::mutex> lock(mLock);
    if (mAnswers.setPreviewSize == 0) mPreviewSize = previewSize;
    return mAnswers.setPreviewSize;
}

Return<int8_t> FakeImagerAdapter::RegisterFrameCallback(const sp<IFrameCallback>& callback) {
    calls().Add(callback != nullptr ? "RegisterFrameCallback(callback)"
                                    : "RegisterFrameCallback(null)");
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (mAnswers.registerFrameCallback != 0) return mAnswers.registerFrameCallback;
        mCallback = callback;
    }
    mChanged.notify_all();
    return 0;
}

Return<bool> FakeImagerAdapter::IsStreaming() {
    calls().Add("IsStreaming()");
    std::lock_guard<std::mutex> lock(mLock);
    return mStreaming;
}

void FakeImagerAdapter::OnDeath() {
    StopThread();
    sp<IFrameCallback> callback;
    {
        std::lock_guard<std::mutex> lock(mLock);
        callback = std::move(mCallback);
    }
}

void FakeImagerAdapter::StopSending() {
    std::unique_lock<std::mutex> lock(mLock);
    mStreaming = false;
    mChanged.notify_all();
    if (orvex::hidl::OnRpcThread()) return;
    mChanged.wait(lock, [&] { return !mDelivering; });
}

void FakeImagerAdapter::StopThread() {
    std::lock_guard<std::mutex> threadLock(mThreadLock);
    {
        std::lock_guard<std::mutex> lock(mLock);
        mQuit = true;
        mStreaming = false;
    }
    mChanged.notify_all();
    if (!mStreamer.joinable()) return;
    if (mStreamer.get_id() == std::this_thread::get_id()) {
        mStreamer.detach();
    } else {
        mStreamer.join();
    }
}

void FakeImagerAdapter::StreamLoop() {
    using Clock = std::chrono::steady_clock;
    std::unique_lock<std::mutex> lock(mLock);
    Clock::time_point next = Clock::now();
    uint64_t number = 0;
    for (;;) {
        mChanged.wait(lock, [&] { return mQuit || (mStreaming && mCallback != nullptr); });
        if (mQuit) return;
        if (mFrameInterval.count() > 0) {
            Clock::time_point now = Clock::now();
            // After a pause the stream starts again at its rate instead of catching up.
            if (next + mFrameInterval < now) next = now;
            bool interrupted = mChanged.wait_until(
                lock, next, [&] { return mQuit || !mStreaming || mCallback == nullptr; });
            if (interrupted) continue;
            next += mFrameInterval;
        }
        sp<IFrameCallback> callback = mCallback;
        size_t bytes =
            FrameBytes(mPreviewSize.width, mPreviewSize.height, mPreviewSize.bitsPerPixel);
        std::function<void(uint64_t)> observer = mObserver;
        Painter painter = mPainter;
        const PreviewSize size = mPreviewSize;
        mDelivering = true;
        lock.unlock();

        bool delivered = Deliver(callback, bytes, number, size, painter);
        if (delivered && observer) observer(number);
        callback.clear();

        lock.lock();
        ++number;
        if (delivered) ++mDelivered;
        mDelivering = false;
        mChanged.notify_all();
    }
}

bool FakeImagerAdapter::Deliver(const sp<IFrameCallback>& callback, size_t bytes, uint64_t number,
                                const PreviewSize& size, const Painter& painter) {
    int fd = memfd_create("orvex-frame", MFD_CLOEXEC);
    if (fd < 0) return false;
    if (ftruncate(fd, static_cast<off_t>(bytes)) != 0) {
        close(fd);
        return false;
    }
    if (bytes > 0) {
        void* data = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        if (data != MAP_FAILED) {
            if (painter) {
                painter(static_cast<uint8_t*>(data), bytes, size, number);
            } else {
                FillPattern(static_cast<uint8_t*>(data), bytes, number);
            }
            munmap(data, bytes);
        }
    }
    native_handle_t* native = native_handle_create(1, 0);
    if (native == nullptr) {
        close(fd);
        return false;
    }
    native->data[0] = fd;
    hidl_handle frame;
    frame.setTo(native, true);
    bool delivered = callback->onFrameAvailable(frame).isOk();
    // The buffer goes back to the sensor once the callback returned: the file shrinks to
    // nothing, so a mapping of it that outlived the callback faults (SIGBUS) at its next touch
    // instead of reading a frame that is no longer there.
    // (memfds are not sealed here, so shrinking them cannot fail.)
    int emptied = ftruncate(fd, 0);
    (void)emptied;
    return delivered;
}

}  // namespace sim
}  // namespace orvex
