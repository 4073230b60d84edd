// A target that calls from other threads reach until its owner closes the gate: the caller's
// callback that a transport module's service callback object holds, or a module that a death
// notice calls into.
//
// Who calls what: the service side keeps its reference to the object that holds the gate after
// the module has let go of it (until the next registration or the service's death), and may be
// calling through it on a HIDL runtime thread at the moment the owner releases or deletes the
// target. So the owner closes the gate first: from then on no call reaches the target, and a
// call already running on another thread has finished.
//
// Threads: Set and Close run on the owner's thread, Call on HIDL runtime threads. mLock guards
// the pointer and the count of calls running; the target runs without it, so calls from several
// runtime threads still run side by side.
#pragma once

#include <stddef.h>

#include <condition_variable>
#include <mutex>
#include <utility>

template <typename Target>
class CallGate {
  public:
    CallGate() = default;
    CallGate(const CallGate&) = delete;
    CallGate& operator=(const CallGate&) = delete;

    // Keeps `target` only when it is non-null; returns whether it was.
    bool Set(Target* target) {
        if (target == nullptr) return false;
        std::lock_guard<std::mutex> lock(mLock);
        mTarget = target;
        return true;
    }

    // Runs `call` with the target unless there is none or the gate is closed.
    template <typename F>
    void Call(F&& call) {
        Target* target;
        {
            std::lock_guard<std::mutex> lock(mLock);
            if (mTarget == nullptr) return;
            target = mTarget;
            ++mRunning;
        }
        Running running(this);
        std::forward<F>(call)(target);
        {
            std::lock_guard<std::mutex> lock(mLock);
            if (--mRunning == 0) mIdle.notify_all();
        }
    }

    // No call starts after this returns, and every call running on another thread has ended.
    // A close from inside a call through this gate is not waited for; an owner that holds,
    // across the close, a lock the target takes would wait forever.
    void Close() {
        std::unique_lock<std::mutex> lock(mLock);
        mTarget = nullptr;
        const size_t own = tRunningIn == this ? tDepth : 0;
        mIdle.wait(lock, [&] { return mRunning == own; });
    }

  private:
    // Marks the gate whose call runs on this thread, so that Close from inside it does not
    // wait for itself.
    class Running {
      public:
        explicit Running(const CallGate* holder)
            : mPreviousHolder(tRunningIn), mPreviousDepth(tDepth) {
            if (tRunningIn != holder) tDepth = 0;
            tRunningIn = holder;
            ++tDepth;
        }
        ~Running() {
            tRunningIn = mPreviousHolder;
            tDepth = mPreviousDepth;
        }

      private:
        const CallGate* mPreviousHolder;
        size_t mPreviousDepth;
    };

    static inline thread_local const CallGate* tRunningIn = nullptr;
    static inline thread_local size_t tDepth = 0;

    std::mutex mLock;
    std::condition_variable mIdle;
    Target* mTarget = nullptr;  // GUARDED_BY(mLock)
    size_t mRunning = 0;        // GUARDED_BY(mLock)
};
