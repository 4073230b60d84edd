// One-shot millisecond timers whose callbacks run on the service's callback thread.
//
// Threads:
// - caller threads make requests (CreateNewTimer, Start, Stop, DestroyTimer); each request is one
//   16-byte message written to the named pipe "sctimerfifo", and create, start and stop then wait
//   on the timer's own WaitLock until the timer thread has acted;
// - the timer thread (ThreadProc and the On* handlers) alone changes timers: it owns every
//   timerfd, set_Containers and every field below except p_Context and b_Started;
// - the callback thread (CallbackProc) runs expired timers' callbacks, one at a time, in expiry
//   order, fed through tq_CallbacktransferQueue so that a slow callback never delays the timer
//   thread. A callback may Start, Stop or DestroyTimer any timer.
//
// A timer's wait lock can be left signalled by a handler nobody waited for (an expiry stops the
// timer and signals; so does a deferred destroy). The next Start or Stop on that timer then
// returns before the timer thread has handled it: after an expiry, Start's return does not mean
// the timer is armed yet. Callers rely on Start never blocking in that case.
#pragma once

#include <pthread.h>
#include <stdint.h>
#include <sys/epoll.h>
#include <time.h>

#include <atomic>
#include <set>

#include "PlatformExport.h"
#include "TransferQueue.h"
#include "WaitLock.h"

class PLATFORM_EXPORT TimerProvider {
  public:
    // An expiry on its way to the callback thread; heap-allocated, released by the consumer.
    struct Message {
        uint64_t id;  // kRunCallback or kEndCallbackThread
        TimerProvider* timer;
    };
    static constexpr uint64_t kEndCallbackThread = 0;
    static constexpr uint64_t kRunCallback = 1;

    typedef Utils::TransferQueue<TimerProvider::Message,
                                 Utils::DefaultDeAllocator<TimerProvider::Message> >
        CallbackQueue;

    // Starts both threads and opens the pipe and the epoll set. Once, before any timer is
    // created. A pipe that cannot be created ends the process.
    static void Initialize();

    // Ends both threads, destroys every remaining timer and closes the service's descriptors.
    // Not from the callback thread: that ends the process.
    static void DeInitialize();

    // Opens the requests' end of the pipe if it is not open yet; ends the process if it cannot.
    static void InitializeModule();

    // A new idle timer that runs `callback` on the callback thread `intervalMs` milliseconds after
    // each Start. Never null. Blocks until the timer thread has registered it. The timer belongs
    // to the service: release it with DestroyTimer, never delete it.
    static TimerProvider* CreateNewTimer(int intervalMs, void (*callback)(TimerProvider*),
                                         void* context);

    // Arms the timer for n_IntervalMs; a started timer keeps its first deadline. Blocks until the
    // timer thread has acted (see the class comment for the exception after an expiry).
    void Start();

    // Disarms a started timer and blocks until the timer thread has acted; returns at once, with
    // no request, when the timer is not started.
    void Stop();

    bool IsStarted();

    // Asks the timer thread to destroy `timer`; does not wait. While the timer's callback runs,
    // the destroy waits until it returns. Null does nothing; destroying twice ends the process.
    static void DestroyTimer(TimerProvider* timer);

    TimerProvider(int intervalMs, void (*callback)(TimerProvider*));
    ~TimerProvider();
    TimerProvider(const TimerProvider&) = delete;
    TimerProvider& operator=(const TimerProvider&) = delete;

    // The timer thread and its handlers.
    static void* ThreadProc(void* unused);
    static void OnCreateTimer(TimerProvider* timer);
    static void OnDestroyTimer(TimerProvider* timer);
    static void OnStartTimer(TimerProvider* timer);
    static void OnStopTimer(TimerProvider* timer);
    static void OnTimerExpired(TimerProvider* timer);
    static void OnExitThread();

    // The callback thread.
    static void* CallbackProc(void* unused);

    void* p_Context;  // the caller's; null once the timer is destroyed
    void (*m_Callback)(TimerProvider*);
    int n_IntervalMs;
    int fd_TimerFD;  // -1 while none is open
    struct itimerspec ts_TimerSpec;
    // Owned, shared with the callers inside a request: freed by the last of them to let go.
    WaitLock* p_WaitLock;
    // A heap cell holding this timer's address while it is idle, and null while an expiry is
    // being delivered.
    TimerProvider** p_Container;
    // Set by the timer thread, read by any thread.
    std::atomic<bool> b_Started;
    bool b_DestroyPending;  // a destroy waits for the callback in flight

    static int ms_EpollReadFd;   // the pipe's end in the epoll set
    static int ms_EpollWriteFd;  // the pipe's end every request is written to
    static int ms_efd;           // the epoll set
    static bool ms_bStartedThread;
    static struct epoll_event ms_epollEvent;
    static pthread_t ms_TimerThread;
    static pthread_t ms_CallbackThread;
    static std::set<TimerProvider*>* set_Containers;  // the live timers; timer thread only
    static CallbackQueue* tq_CallbacktransferQueue;
};
