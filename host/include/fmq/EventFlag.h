// libfmq's event flag for Linux hosts: a 32-bit word of bits that one side wakes and the other
// waits for, on a futex. The word may live in memory shared with another component (a message
// queue's event-flag word), so waits and wakes use shared futexes.
#pragma once

#include <stdint.h>
#include <sys/types.h>
#include <utils/Errors.h>

#include <atomic>

namespace android {
namespace hardware {

class EventFlag {
  public:
    // An event flag on the word at `offset` of `fd`'s memory, which it maps (so `offset` must be
    // page-aligned); the caller keeps `fd`. BAD_VALUE for a null out-pointer, NO_MEMORY when the
    // allocation fails, -errno when the mapping does (logged).
    static status_t createEventFlag(int fd, off_t offset, EventFlag** eventFlag);

    // An event flag on an existing word (for example MessageQueue::getEventFlagWord()); the
    // word must outlive the event flag. BAD_VALUE for a null word or out-pointer.
    static status_t createEventFlag(std::atomic<uint32_t>* efWordPtr, EventFlag** eventFlag);

    // Frees the event flag (and unmaps its word if it mapped it) and nulls the pointer. BAD_VALUE
    // for a null pointer, -errno when the unmapping fails.
    static status_t deleteEventFlag(EventFlag** eventFlag);

    // Sets the bits of `bitmask` and wakes the waiters of any of them. The futex wake is skipped
    // when every bit was already set: whoever set them first has woken the waiters. An empty
    // mask does nothing and succeeds.
    status_t wake(uint32_t bitmask);

    // Waits until at least one bit of `bitmask` is set, then clears the set bits of the mask
    // and returns them in `*efState`. Without `retry`, a wait may end early with -EAGAIN (the
    // word changed before the wait began) or -EINTR, and then `*efState` is 0. A non-zero
    // `timeoutNanoSeconds` bounds the wait (-ETIMEDOUT; a negative one times out at once, and with
    // `retry` even before the bits already set are taken); 0 waits without limit. BAD_VALUE for
    // an empty mask or a null `efState`.
    status_t wait(uint32_t bitmask, uint32_t* efState, int64_t timeoutNanoSeconds = 0,
                  bool retry = false);

  private:
    EventFlag(std::atomic<uint32_t>* word, bool mapped)
        : mEfWordPtr(word), mEfWordNeedsUnmapping(mapped) {}
    ~EventFlag();
    EventFlag(const EventFlag&) = delete;
    EventFlag& operator=(const EventFlag&) = delete;

    status_t waitOnce(uint32_t bitmask, uint32_t* efState, int64_t timeoutNanoSeconds);

    std::atomic<uint32_t>* const mEfWordPtr;
    const bool mEfWordNeedsUnmapping;
};

}  // namespace hardware
}  // namespace android
