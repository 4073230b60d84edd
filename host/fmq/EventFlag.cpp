// Event flags on shared futexes.

#include <android/log.h>
#include <errno.h>
#include <fmq/EventFlag.h>
#include <limits.h>
#include <linux/futex.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <new>

namespace android {
namespace hardware {

namespace {

constexpr const char* kTag = "FMQ";

long futex(std::atomic<uint32_t>* word, int op, uint32_t value, const struct timespec* timeout,
           uint32_t bitmask) {
    return syscall(SYS_futex, reinterpret_cast<uint32_t*>(word), op, value, timeout, nullptr,
                   bitmask);
}

int64_t monotonicNanos() {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1000000000 + now.tv_nsec;
}

// Now plus `timeout` on the monotonic clock, held within [0, INT64_MAX].
int64_t deadlineAfter(int64_t timeout) {
    int64_t at;
    if (__builtin_add_overflow(monotonicNanos(), timeout, &at)) return INT64_MAX;
    return at < 0 ? 0 : at;
}

}  // namespace

EventFlag::~EventFlag() = default;

status_t EventFlag::createEventFlag(int fd, off_t offset, EventFlag** eventFlag) {
    if (eventFlag == nullptr) return BAD_VALUE;
    *eventFlag = nullptr;
    // As libfmq, the word is mapped at `offset` itself, which must therefore be page-aligned.
    void* map = mmap(nullptr, sizeof(uint32_t), PROT_READ | PROT_WRITE, MAP_SHARED, fd, offset);
    if (map == MAP_FAILED) {
        status_t status = -errno;
        __android_log_print(ANDROID_LOG_ERROR, kTag, "Attempt to mmap event flag word failed: %s",
                            strerror(errno));
        return status;
    }
    *eventFlag = new (std::nothrow) EventFlag(static_cast<std::atomic<uint32_t>*>(map), true);
    if (*eventFlag == nullptr) {
        munmap(map, sizeof(uint32_t));
        return NO_MEMORY;
    }
    return OK;
}

status_t EventFlag::createEventFlag(std::atomic<uint32_t>* efWordPtr, EventFlag** eventFlag) {
    if (eventFlag == nullptr) return BAD_VALUE;
    *eventFlag = nullptr;
    if (efWordPtr == nullptr) return BAD_VALUE;
    *eventFlag = new (std::nothrow) EventFlag(efWordPtr, false);
    return *eventFlag == nullptr ? NO_MEMORY : OK;
}

status_t EventFlag::deleteEventFlag(EventFlag** eventFlag) {
    if (eventFlag == nullptr || *eventFlag == nullptr) return BAD_VALUE;
    status_t status = OK;
    if ((*eventFlag)->mEfWordNeedsUnmapping &&
        munmap((*eventFlag)->mEfWordPtr, sizeof(uint32_t)) != 0) {
        status = -errno;
        __android_log_print(ANDROID_LOG_ERROR, kTag, "Error in deleting event flag group: %s",
                            strerror(errno));
    }
    delete *eventFlag;
    *eventFlag = nullptr;
    return status;
}

status_t EventFlag::wake(uint32_t bitmask) {
    // Nothing to set is nothing to do, and no error: callers wake with whatever mask they hold.
    if (bitmask == 0) return OK;
    uint32_t old = mEfWordPtr->fetch_or(bitmask, std::memory_order_acq_rel);
    if ((~old & bitmask) == 0) return OK;
    if (futex(mEfWordPtr, FUTEX_WAKE_BITSET, INT_MAX, nullptr, bitmask) == -1) {
        status_t status = -errno;
        __android_log_print(ANDROID_LOG_ERROR, kTag, "Error in event flag wake attempt: %s",
                            strerror(errno));
        return status;
    }
    return OK;
}

status_t EventFlag::waitOnce(uint32_t bitmask, uint32_t* efState, int64_t timeoutNanoSeconds) {
    if (bitmask == 0 || efState == nullptr) return BAD_VALUE;
    uint32_t old = mEfWordPtr->fetch_and(~bitmask, std::memory_order_acq_rel);
    if ((old & bitmask) != 0) {
        *efState = old & bitmask;
        return OK;
    }
    // Sleep only while the word still holds what was seen: a wake in between makes the
    // kernel refuse the wait (EAGAIN) instead of losing it.
    struct timespec deadline;
    struct timespec* timeout = nullptr;
    if (timeoutNanoSeconds != 0) {
        // A deadline already past (a negative time-out) makes the kernel time out at once.
        int64_t at = deadlineAfter(timeoutNanoSeconds);
        deadline.tv_sec = at / 1000000000;
        deadline.tv_nsec = at % 1000000000;
        timeout = &deadline;
    }
    if (futex(mEfWordPtr, FUTEX_WAIT_BITSET, old & ~bitmask, timeout, bitmask) == -1) {
        status_t status = -errno;
        if (status != -EAGAIN && status != -ETIMEDOUT && status != -EINTR) {
            __android_log_print(ANDROID_LOG_ERROR, kTag, "Event flag wait was unsuccessful: %s",
                                strerror(errno));
        }
        *efState = 0;
        return status;
    }
    old = mEfWordPtr->fetch_and(~bitmask, std::memory_order_acq_rel);
    *efState = old & bitmask;
    return *efState == 0 ? -EINTR : OK;
}

status_t EventFlag::wait(uint32_t bitmask, uint32_t* efState, int64_t timeoutNanoSeconds,
                         bool retry) {
    if (!retry) return waitOnce(bitmask, efState, timeoutNanoSeconds);
    // With retries, the time-out is checked before every attempt, so a negative one times out
    // before even the bits already set are looked at, as in libfmq.
    if (efState == nullptr) return BAD_VALUE;
    int64_t deadline = deadlineAfter(timeoutNanoSeconds);
    for (;;) {
        int64_t remaining = 0;
        if (timeoutNanoSeconds != 0) {
            remaining = deadline - monotonicNanos();
            if (remaining <= 0) {
                *efState = 0;
                return -ETIMEDOUT;
            }
        }
        status_t status = waitOnce(bitmask, efState, remaining);
        if (status != -EAGAIN && status != -EINTR) return status;
    }
}

}  // namespace hardware
}  // namespace android
