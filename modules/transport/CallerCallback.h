// The caller's callback as a service callback object of a transport module holds it.
//
// The service keeps its reference to the module's callback object after the module has let go
// of it (until the next registration or the service's death), and may be calling it on a HIDL
// runtime thread at the moment the caller releases the module. Callers destroy their callback
// as soon as the release returns, so the release closes this holder: from then on nothing more
// reaches the caller, and a call already running on another thread has finished.
//
// Threads: Set and Close run on the caller's thread, Call on HIDL runtime threads. mLock guards
// the pointer and the count of calls running; the caller's callback runs without it, so calls
// from several runtime threads still run side by side.
#pragma once

#include <stddef.h>

#include <condition_variable>
#include <mutex>
#include <utility>

template <typename Callback>
class CallerCallback {
  public:
    CallerCallback() = default;
    CallerCallback(const CallerCallback&) = delete;
    CallerCallback& operator=(const CallerCallback&) = delete;

    // Keeps `callback` only when it is non-null; returns whether it was.
    bool Set(Callback* callback) {
        if (callback == nullptr) return false;
        std::lock_guard<std::mutex> lock(mLock);
        mCallback = callback;
        return true;
    }

    // Runs `call` with the caller's callback unless there is none or the holder is closed.
    template <typename F>
    void Call(F&& call) {
        Callback* callback;
        {
            std::lock_guard<std::mutex> lock(mLock);
            if (mCallback == nullptr) return;
            callback = mCallback;
            ++mRunning;
        }
        Running running(this);
        std::forward<F>(call)(callback);
        {
            std::lock_guard<std::mutex> lock(mLock);
            if (--mRunning == 0) mIdle.notify_all();
        }
    }

    // No call starts after this returns, and every call running on another thread has ended.
    // A caller that releases the module from inside its own callback is not waited for; one
    // that holds, across the release, a lock its callback takes would wait forever.
    void Close() {
        std::unique_lock<std::mutex> lock(mLock);
        mCallback = nullptr;
        const size_t own = tRunningIn == this ? tDepth : 0;
        mIdle.wait(lock, [&] { return mRunning == own; });
    }

  private:
    // Marks the holder whose call runs on this thread, so that Close from inside it does not
    // wait for itself.
    class Running {
      public:
        explicit Running(const CallerCallback* holder)
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
        const CallerCallback* mPreviousHolder;
        size_t mPreviousDepth;
    };

    static inline thread_local const CallerCallback* tRunningIn = nullptr;
    static inline thread_local size_t tDepth = 0;

    std::mutex mLock;
    std::condition_variable mIdle;
    Callback* mCallback = nullptr;  // GUARDED_BY(mLock)
    size_t mRunning = 0;            // GUARDED_BY(mLock)
};
