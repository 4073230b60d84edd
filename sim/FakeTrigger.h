// The simulated hardware trigger. It answers with scripted values and, once a client handed
// it a key-event queue, delivers key presses as the device's service does: one three-word
// record (type, value, value) into the queue, a wake of bit 1 on the queue's event flag, then a
// wait for bit 2 (the client took the record) before the next record.
//
// Threads: calls arrive on the client's threads; records are written by the fake's own writer
// thread, started by setKeyEventQueue and stopped by releaseTrigger, a new queue, death or
// destruction.
#pragma once

#include <fmq/EventFlag.h>
#include <fmq/MessageQueue.h>
#include <stdint.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/ITrigger.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "Fake.h"

namespace orvex {
namespace sim {

class FakeTrigger : public ::vendor::tevrin::hardware::dchwmanager::V1_0::ITrigger, public Fake {
  public:
    // What the fake answers; every call answers from the values set when it is made.
    struct Answers {
        bool acquireTrigger = true;
        bool releaseTrigger = true;
        bool startTrigger = true;
        bool stopTrigger = true;
        bool simulateTrigger = true;
        // The queue is taken whenever it is valid, whatever this answer says.
        bool setKeyEventQueue = true;
        int32_t getPressedTrigger = 0;
        bool resetPressedTrigger = true;
    };

    struct Record {
        uint32_t type;
        uint32_t first;
        uint32_t second;
    };

    // Bits of the queue's event-flag word.
    static constexpr uint32_t kDataAvailable = 1;
    static constexpr uint32_t kRecordTaken = 2;

    using KeyQueue =
        ::android::hardware::MessageQueue<uint32_t, ::android::hardware::kSynchronizedReadWrite>;

    FakeTrigger() = default;
    ~FakeTrigger() override;

    void SetAnswers(const Answers& answers);
    Answers GetAnswers() const;

    // Queues one key event; false when no queue is held (nothing is written).
    bool Press(uint32_t type, uint32_t first, uint32_t second);
    // Queues several records to be written together, with one wake-up for all of them.
    bool PressTogether(const std::vector<Record>& records);

    // Waits until every queued record was written and taken (bit 2); false on time-out.
    bool WaitIdle(std::chrono::milliseconds timeout = std::chrono::seconds(10)) const;
    // Records written into client queues so far.
    size_t RecordsWritten() const;
    // Whether a client queue is held.
    bool HasQueue() const;

    // Called on the writer thread just before each write, with the records about to be written;
    // benchmarks stamp the time here.
    void SetWriteObserver(std::function<void(const std::vector<Record>&)> observer);

    // ITrigger.
    ::android::hardware::Return<bool> acquireTrigger() override;
    ::android::hardware::Return<bool> releaseTrigger() override;
    ::android::hardware::Return<bool> startTrigger() override;
    ::android::hardware::Return<bool> stopTrigger() override;
    ::android::hardware::Return<bool> simulateTrigger(uint32_t first, uint32_t second) override;
    ::android::hardware::Return<bool> setKeyEventQueue(
        const ::android::hardware::MQDescriptorSync<uint32_t>& queue) override;
    ::android::hardware::Return<void> reserved7() override;
    ::android::hardware::Return<int32_t> getPressedTrigger() override;
    ::android::hardware::Return<bool> resetPressedTrigger() override;

    void OnDeath() override;

  private:
    // The writer's view of one client queue.
    struct Channel {
        std::unique_ptr<KeyQueue> queue;
        ::android::hardware::EventFlag* flag = nullptr;
        ~Channel();
    };

    void StopWriter();
    void WriterLoop(std::shared_ptr<Channel> channel);

    mutable std::mutex mLock;
    mutable std::condition_variable mChanged;
    Answers mAnswers;                                           // GUARDED_BY(mLock)
    std::deque<std::vector<Record>> mPending;                   // GUARDED_BY(mLock)
    bool mWriting = false;                                      // GUARDED_BY(mLock)
    bool mStop = false;                                         // GUARDED_BY(mLock)
    size_t mWritten = 0;                                        // GUARDED_BY(mLock)
    std::shared_ptr<Channel> mChannel;                          // GUARDED_BY(mLock)
    std::function<void(const std::vector<Record>&)> mObserver;  // GUARDED_BY(mLock)
    std::thread mWriter;  // started and joined under mWriterLock
    std::mutex mWriterLock;
};

}  // namespace sim
}  // namespace orvex
