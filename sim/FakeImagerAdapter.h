// The simulated imager adapter. It answers with scripted statuses and, while streaming, sends
// frames to the registered frame callback as the device's service does: each frame a new
// shared-memory file (memfd) of the size the geometry asks for (rows of 2280 pixels padded to
// 2288), filled with a pattern that names the frame (PatternByte), handed over as a handle
// with that one descriptor, emptied (truncated to 0 bytes) and closed once the callback
// returned.
//
// Threads: calls arrive on the client's threads. Frames are sent by the fake's own streaming
// thread, started by the first StartStreaming and ended by death or destruction; the client's
// callback runs on a runtime thread while the streaming thread waits for it. StopStreaming and
// Deinit return only after a frame being delivered was taken, unless they are called from a
// runtime thread (from inside the client's callback), where waiting would never end.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IImagerAdapter.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>

#include "Fake.h"

namespace orvex {
namespace sim {

class FakeImagerAdapter : public ::vendor::tevrin::hardware::dchwmanager::V1_0::IImagerAdapter,
                          public Fake {
  public:
    using PreviewSize = ::vendor::tevrin::hardware::dchwmanager::V1_0::PreviewSize;
    using IFrameCallback = ::vendor::tevrin::hardware::dchwmanager::V1_0::IFrameCallback;

    // What the fake answers; every call answers from the values set when it is made.
    struct Answers {
        int8_t init = 0;
        int8_t deinit = 0;
        int8_t startStreaming = 0;
        int8_t stopStreaming = 0;
        int8_t prepAcquisition = 0;
        int8_t postAcquisition = 0;
        int8_t haltAcquisition = 0;
        int8_t setParameter = 0;
        int8_t setPreviewSize = 0;
        int8_t registerFrameCallback = 0;
    };

    // Bytes of one frame of this geometry.
    static size_t FrameBytes(uint32_t width, uint32_t height, uint32_t bitsPerPixel);
    // The byte at `offset` of frame number `frame` (frames are numbered from 0 per fake).
    static uint8_t PatternByte(uint64_t frame, size_t offset);

    FakeImagerAdapter() = default;
    ~FakeImagerAdapter() override;

    void SetAnswers(const Answers& answers);
    Answers GetAnswers() const;

    // GetParameter answers (status, value) for `name`; names never set or scripted answer
    // status 0 with no value. A successful SetParameter stores (0, value).
    void SetParameterAnswer(const std::string& name, int32_t status, const std::string& value);

    // Frames per second while streaming; 0 sends them back to back. 30 unless set.
    void SetFrameRate(double framesPerSecond);
    // Fills a frame's `bytes` bytes instead of the pattern; runs on the streaming thread with the
    // geometry of the frame. Null goes back to the pattern.
    using Painter = std::function<void(uint8_t* data, size_t bytes, const PreviewSize& size,
                                       uint64_t frame)>;
    void SetPainter(Painter painter);
    // Called on the streaming thread after each delivery returned, with the frame's number.
    void SetDeliveryObserver(std::function<void(uint64_t frame)> observer);

    // Frames whose delivery returned so far.
    uint64_t FramesDelivered() const;
    // Waits until `count` frames were delivered in all; false on time-out.
    bool WaitForFrames(uint64_t count,
                       std::chrono::milliseconds timeout = std::chrono::seconds(10)) const;
    // The geometry of the last Init or SetPreviewSize.
    PreviewSize CurrentPreviewSize() const;
    bool HasFrameCallback() const;
    // Whether the client has streaming on; unlike IsStreaming, not recorded as a call.
    bool Streaming() const;

    // IImagerAdapter.
    ::android::hardware::Return<int8_t> Init(const ::android::hardware::hidl_string& adapterClass,
                                             const PreviewSize& previewSize) override;
    ::android::hardware::Return<int8_t> Deinit() override;
    ::android::hardware::Return<int8_t> StartStreaming() override;
    ::android::hardware::Return<int8_t> StopStreaming() override;
    ::android::hardware::Return<int8_t> PrepAcquisition() override;
    ::android::hardware::Return<int8_t> PostAcquisition() override;
    ::android::hardware::Return<int8_t> HaltAcquisition(bool halt, int32_t flag) override;
    ::android::hardware::Return<void> GetParameter(const ::android::hardware::hidl_string& name,
                                                   GetParameter_cb _hidl_cb) override;
    ::android::hardware::Return<int8_t> SetParameter(
        const ::android::hardware::hidl_string& name,
        const ::android::hardware::hidl_string& value) override;
    ::android::hardware::Return<int8_t> SetPreviewSize(const PreviewSize& previewSize) override;
    ::android::hardware::Return<int8_t> RegisterFrameCallback(
        const ::android::sp<IFrameCallback>& callback) override;
    ::android::hardware::Return<bool> IsStreaming() override;

    // Stops sending and lets go of the client's callback.
    void OnDeath() override;

  private:
    struct Parameter {
        int32_t status;
        std::string value;
    };

    // Ends streaming; waits for a frame in delivery unless called on a runtime thread.
    void StopSending();
    void StopThread();
    void StreamLoop();
    // Makes frame `number` and hands it to `callback`; false when the callback is unreachable.
    static bool Deliver(const ::android::sp<IFrameCallback>& callback, size_t bytes,
                        uint64_t number, const PreviewSize& size, const Painter& painter);

    mutable std::mutex mLock;
    mutable std::condition_variable mChanged;
    Answers mAnswers;                              // GUARDED_BY(mLock)
    std::map<std::string, Parameter> mParameters;  // GUARDED_BY(mLock)
    PreviewSize mPreviewSize;                      // GUARDED_BY(mLock)
    ::android::sp<IFrameCallback> mCallback;       // GUARDED_BY(mLock)
    std::function<void(uint64_t)> mObserver;       // GUARDED_BY(mLock)
    Painter mPainter;                              // GUARDED_BY(mLock)
    std::chrono::nanoseconds mFrameInterval{std::chrono::nanoseconds(1000000000) /
                                            30};  // GUARDED_BY(mLock)
    bool mStreaming = false;                      // GUARDED_BY(mLock)
    bool mDelivering = false;                     // GUARDED_BY(mLock)
    bool mQuit = false;                           // GUARDED_BY(mLock)
    uint64_t mDelivered = 0;                      // GUARDED_BY(mLock)
    std::thread mStreamer;                        // started and joined under mThreadLock
    std::mutex mThreadLock;
};

}  // namespace sim
}  // namespace orvex
