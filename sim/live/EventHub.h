// The calls a live device sees, numbered, and the latest state document, for readers that
// follow them as a stream. Calls are kept in a bounded history so that a reader that lost its
// connection can catch up; older ones are dropped and reported to it as a gap.
//
// Threads: Add runs on whatever thread made the call; readers wait on their own threads;
// PublishState runs on the device's publisher thread. Every member is guarded by mLock.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

namespace orvex {
namespace sim {

class EventHub {
  public:
    struct Call {
        uint64_t seq;
        double ms;
        int tid;
        std::string thread;
        std::string service;
        std::string method;
        std::string args;
    };

    // What a reader has not seen yet.
    struct Batch {
        std::vector<Call> calls;
        // Calls after the reader's position that the history no longer holds: [gapFrom, gapTo].
        uint64_t gapFrom = 0;
        uint64_t gapTo = 0;
        // Empty unless newer than the reader's. Its "seq" is the number of the last call the
        // reader has before it: the state goes after calls[0, callsBeforeState) and before
        // the rest, so that no call it already shows comes after it.
        std::string state;
        size_t callsBeforeState = 0;
        uint64_t stateVersion = 0;
        bool stopped = false;
    };

    explicit EventHub(size_t capacity = 4096) : mCapacity(capacity) {}

    // Numbers the call (from 1) and keeps it; returns its number.
    uint64_t Add(double ms, int tid, std::string thread, std::string service, std::string method,
                 std::string args);
    // Something changed that a state document shows, without a call.
    void Touch();

    // Replaces the state document (a JSON object without "seq"), made when `seq` was the last
    // call's number; readers see it once.
    void PublishState(std::string state, uint64_t seq);

    // Waits until there are calls after `after`, a state newer than `stateVersion`, a stop, or
    // the time-out, and returns what there is (possibly nothing).
    Batch Wait(uint64_t after, uint64_t stateVersion, std::chrono::milliseconds timeout);

    // Waits until a call or Touch happened since `seen` (a value this returned before), a stop,
    // or `deadline`; returns the new value.
    uint64_t WaitForChange(uint64_t seen, std::chrono::steady_clock::time_point deadline);

    uint64_t LastSeq() const;
    // Wakes every waiter for good; later waits return at once.
    void Stop();
    bool Stopped() const;

  private:
    Batch CollectLocked(uint64_t after, uint64_t stateVersion) const;

    const size_t mCapacity;
    mutable std::mutex mLock;
    std::condition_variable mChanged;
    std::deque<Call> mHistory;  // GUARDED_BY(mLock)
    uint64_t mSeq = 0;          // GUARDED_BY(mLock)
    uint64_t mChanges = 0;      // GUARDED_BY(mLock)
    std::string mState;         // GUARDED_BY(mLock)
    uint64_t mStateSeq = 0;     // GUARDED_BY(mLock)
    uint64_t mStateVersion = 0; // GUARDED_BY(mLock)
    bool mStopped = false;      // GUARDED_BY(mLock)
};

}  // namespace sim
}  // namespace orvex
