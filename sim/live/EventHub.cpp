#include "EventHub.h"

#include <algorithm>

namespace orvex {
namespace sim {

uint64_t EventHub::Add(double ms, int tid, std::string thread, std::string service,
                       std::string method, std::string args) {
    std::lock_guard<std::mutex> lock(mLock);
    const uint64_t seq = ++mSeq;
    mHistory.push_back(Call{seq, ms, tid, std::move(thread), std::move(service), std::move(method),
                            std::move(args)});
    if (mHistory.size() > mCapacity) mHistory.pop_front();
    ++mChanges;
    mChanged.notify_all();
    return seq;
}

void EventHub::Touch() {
    std::lock_guard<std::mutex> lock(mLock);
    ++mChanges;
    mChanged.notify_all();
}

void EventHub::PublishState(std::string state, uint64_t seq) {
    std::lock_guard<std::mutex> lock(mLock);
    mState = std::move(state);
    mStateSeq = seq;
    ++mStateVersion;
    mChanged.notify_all();
}

EventHub::Batch EventHub::CollectLocked(uint64_t after, uint64_t stateVersion) const {
    Batch batch;
    batch.stopped = mStopped;
    if (after < mSeq) {
        const uint64_t oldest = mHistory.empty() ? mSeq + 1 : mHistory.front().seq;
        if (after + 1 < oldest) {
            batch.gapFrom = after + 1;
            batch.gapTo = oldest - 1;
        }
        for (const Call& call : mHistory) {
            if (call.seq > after) batch.calls.push_back(call);
        }
    }
    if (mStateVersion > stateVersion) {
        while (batch.callsBeforeState < batch.calls.size() &&
               batch.calls[batch.callsBeforeState].seq <= mStateSeq) {
            ++batch.callsBeforeState;
        }
        // A reader that already has later calls (the state was made before them but published
        // after) gets it as of its last call: what it shows is no older than the calls up to
        // mStateSeq, and the publisher sends a newer one if the later calls changed anything.
        const uint64_t seq = std::max({mStateSeq, after, batch.gapTo});
        batch.state = mState.substr(0, mState.size() - 1) + (mState.size() > 2 ? "," : "") +
                      "\"seq\":" + std::to_string(seq) + "}";
        batch.stateVersion = mStateVersion;
    } else {
        batch.stateVersion = stateVersion;
    }
    return batch;
}

EventHub::Batch EventHub::Wait(uint64_t after, uint64_t stateVersion,
                               std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(mLock);
    mChanged.wait_for(lock, timeout,
                      [&] { return mStopped || mSeq > after || mStateVersion > stateVersion; });
    return CollectLocked(after, stateVersion);
}

uint64_t EventHub::WaitForChange(uint64_t seen, std::chrono::steady_clock::time_point deadline) {
    std::unique_lock<std::mutex> lock(mLock);
    mChanged.wait_until(lock, deadline, [&] { return mStopped || mChanges != seen; });
    return mChanges;
}

uint64_t EventHub::LastSeq() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mSeq;
}

void EventHub::Stop() {
    std::lock_guard<std::mutex> lock(mLock);
    mStopped = true;
    mChanged.notify_all();
}

bool EventHub::Stopped() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mStopped;
}

}  // namespace sim
}  // namespace orvex
