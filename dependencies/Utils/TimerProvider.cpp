#include "TimerProvider.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <map>
#include <string>
#include <vector>

#include "ConfigInfo.h"
#include "FrameworkAssert.h"
#include "HostHooks.h"
#include "ScannerLog.h"

namespace {

constexpr const char* kSourcePath =
    "device/common/platform_bundle/dependencies/Utils/TimerProvider";

// Where the pipe goes on a device whose external-dependencies file does not name it.
constexpr const char* kDefaultPipePath = "/data/local/tmp/sctimerfifo";

enum PipeMessageKind : uint32_t {
    kStartTimer = 0,
    kStopTimer = 1,
    kDestroyTimer = 2,
    kCreateTimer = 3,
    kCallbackReturned = 4,
    kEndTimerThread = 5,
};

// The record on the pipe. 16 bytes, less than PIPE_BUF, so each write of one is atomic with
// respect to other writers and the reader always gets whole messages.
struct PipeMessage {
    uint32_t kind;
    uint32_t zero;
    uint64_t timer;
};
static_assert(sizeof(PipeMessage) == 16, "the pipe carries 16-byte messages");

// Which threads Initialize actually started, so that DeInitialize joins only those.
bool g_timerThreadCreated = false;
bool g_callbackThreadCreated = false;

std::string PipePath() {
    std::string path = ConfigInfo::ResolveConfigDependency("sctimerfifo");
    return path.empty() ? kDefaultPipePath : path;
}

void SendMessage(uint32_t kind, TimerProvider* timer) {
    const PipeMessage message = {kind, 0, reinterpret_cast<uintptr_t>(timer)};
    for (;;) {
        ssize_t written = write(TimerProvider::ms_EpollWriteFd, &message, sizeof message);
        if (written == static_cast<ssize_t>(sizeof message)) return;
        if (written < 0 && errno == EINTR) continue;
        if (written < 0 && errno == EAGAIN) {
            // The pipe is full: the timer thread is draining it, so wait for room rather than
            // drop a request somebody may be waiting on.
            struct pollfd room = {TimerProvider::ms_EpollWriteFd, POLLOUT, 0};
            poll(&room, 1, -1);
            continue;
        }
        // Any other failure (the service is not running) simply loses the request, quietly.
        return;
    }
}

// A timer's wait lock, shared between the timer and the callers inside one of its requests. The
// timer thread may destroy a timer as soon as it has signalled the request (a callback's
// DestroyTimer, right after an expiry), while the woken caller is still re-taking and releasing
// the lock's mutex; the last holder, not the timer, frees it.
struct SharedWaitLock : WaitLock {
    std::atomic<int> holders{1};  // the timer, and each caller between its request and Wait's end
};

// Taken before a request goes out, so that nothing of the timer is touched once it is sent.
WaitLock* HoldWaitLock(WaitLock* lock) {
    static_cast<SharedWaitLock*>(lock)->holders.fetch_add(1, std::memory_order_relaxed);
    return lock;
}

void DropWaitLock(WaitLock* lock) {
    auto* shared = static_cast<SharedWaitLock*>(lock);
    if (shared->holders.fetch_sub(1, std::memory_order_acq_rel) == 1) delete shared;
}

// Waits for the timer thread's signal on a held lock, then lets go of it.
void WaitAndDrop(WaitLock* lock) {
    lock->Wait();
    DropWaitLock(lock);
}

bool IsRegistered(TimerProvider* timer) {
    return TimerProvider::set_Containers->find(timer) != TimerProvider::set_Containers->end();
}

// Timer -> callbacks of it queued or running, beyond the first. A timer re-armed inside its
// callback can expire again before the callback returns, and each expiry queues a callback:
// the timer stays in flight (its container cell null, a destroy deferred) until the last of
// them has returned. Touched only by the timer thread; never destroyed, since a timer thread
// that nobody ended may still run at exit.
std::map<TimerProvider*, int>& ExtraCallbacks() {
    static auto* extra = new std::map<TimerProvider*, int>;
    return *extra;
}

// Frees a timer, as a destroy does, except that nothing is printed.
void FreeTimer(TimerProvider* timer) {
    TimerProvider::set_Containers->erase(timer);
    ExtraCallbacks().erase(timer);
    timer->p_Context = nullptr;
    delete timer->p_Container;
    delete timer;
}

}  // namespace

int TimerProvider::ms_EpollReadFd = -1;
int TimerProvider::ms_EpollWriteFd = -1;
int TimerProvider::ms_efd = -1;
bool TimerProvider::ms_bStartedThread = false;
struct epoll_event TimerProvider::ms_epollEvent;
pthread_t TimerProvider::ms_TimerThread;
pthread_t TimerProvider::ms_CallbackThread;
std::set<TimerProvider*>* TimerProvider::set_Containers = nullptr;
TimerProvider::CallbackQueue* TimerProvider::tq_CallbacktransferQueue = nullptr;

TimerProvider::TimerProvider(int intervalMs, void (*callback)(TimerProvider*))
    : p_Context(nullptr),
      m_Callback(callback),
      n_IntervalMs(intervalMs),
      fd_TimerFD(-1),
      ts_TimerSpec(),
      p_WaitLock(new SharedWaitLock),
      p_Container(nullptr),
      b_Started(false),
      b_DestroyPending(false) {}

TimerProvider::~TimerProvider() {
    b_Started = false;
    b_DestroyPending = false;
    m_Callback = nullptr;
    n_IntervalMs = 0;
    if (fd_TimerFD != -1) close(fd_TimerFD);
    fd_TimerFD = -1;
    DropWaitLock(p_WaitLock);
    p_WaitLock = nullptr;
}

void TimerProvider::Initialize() {
    tq_CallbacktransferQueue = new CallbackQueue;
    ms_bStartedThread = true;
    ms_efd = epoll_create(1);

    const std::string path = PipePath();
    const std::string hostPath = platform::host::DevicePath(path.c_str());
    int result = mkfifo(hostPath.c_str(), 0600);
    if (result != 0) {
        if (errno == EEXIST) {
            SF_LOGD("[TimerProvider::Initialize] Named pipe already exists. Not creating.\n");
        } else {
            SF_LOGE(
                "[TimerProvider::Initialize] Error while creating Named pipe. (return:%d, "
                "errno:%d)\n",
                result, errno);
            platform::AssertFramework(kSourcePath, 71,
                                      "[TimerProvider::Initialize] Error while creating Named "
                                      "pipe.\n");
        }
    }

    // Read-write, so that the pipe never reports end-of-file while no requester has it open.
    ms_EpollReadFd = open(hostPath.c_str(), O_RDWR | O_NONBLOCK);
    ms_epollEvent.events = EPOLLIN;
    ms_epollEvent.data.u64 = static_cast<uint64_t>(ms_EpollReadFd);
    epoll_ctl(ms_efd, EPOLL_CTL_ADD, ms_EpollReadFd, &ms_epollEvent);

    g_timerThreadCreated = pthread_create(&ms_TimerThread, nullptr, ThreadProc, nullptr) == 0;
    if (!g_timerThreadCreated) {
        SF_LOGE("[TimerProvider::Initialize] timer thread creation error");
        ms_bStartedThread = false;
    }
    g_callbackThreadCreated =
        pthread_create(&ms_CallbackThread, nullptr, CallbackProc, nullptr) == 0;
    if (!g_callbackThreadCreated) {
        SF_LOGE("[TimerProvider::Initialize] Callback thread creation error");
        ms_bStartedThread = false;
    }
    InitializeModule();
}

void TimerProvider::DeInitialize() {
    if (tq_CallbacktransferQueue == nullptr) return;
    tq_CallbacktransferQueue->Push(new Message{kEndCallbackThread, nullptr});
    if (g_callbackThreadCreated) {
        // Joining itself would fail with EDEADLK; asked first, so that no thread library has to
        // detect it.
        int joined = pthread_equal(pthread_self(), ms_CallbackThread)
                         ? EDEADLK
                         : pthread_join(ms_CallbackThread, nullptr);
        if (joined == EDEADLK) {
            platform::AssertFramework(kSourcePath, 107,
                                      "[TimerProvider::DeInitialize] Deinitialize should not be "
                                      "called from the callback thread");
        }
        g_callbackThreadCreated = false;
    }
    if (g_timerThreadCreated) {
        SendMessage(kEndTimerThread, nullptr);
        pthread_join(ms_TimerThread, nullptr);
        g_timerThreadCreated = false;
    }

    ms_bStartedThread = false;
    for (int* fd : {&ms_EpollReadFd, &ms_EpollWriteFd, &ms_efd}) {
        if (*fd != -1) close(*fd);
        *fd = -1;
    }
    // Expiries that came after the callback thread's end were never delivered; their timers are
    // gone with the timer thread, so only the messages are left to release.
    while (Message* message = tq_CallbacktransferQueue->Pop()) CallbackQueue::Release(message);
    delete tq_CallbacktransferQueue;
    tq_CallbacktransferQueue = nullptr;
}

void TimerProvider::InitializeModule() {
    if (ms_EpollWriteFd != -1) return;
    ms_EpollWriteFd =
        open(platform::host::DevicePath(PipePath().c_str()).c_str(), O_RDWR | O_NONBLOCK);
    if (ms_EpollWriteFd == -1) {
        SF_LOGE("[TimerProvider::InitializeModule] open errno: %i\n", errno);
        platform::AssertFramework(
            kSourcePath, 155,
            "[TimerProvider::InitializeModule] CreateNewTimer error. Timer not initialized");
    }
}

TimerProvider* TimerProvider::CreateNewTimer(int intervalMs, void (*callback)(TimerProvider*),
                                             void* context) {
    InitializeModule();
    TimerProvider* timer = new TimerProvider(intervalMs, callback);
    timer->p_Context = context;
    timer->p_Container = new TimerProvider*(timer);
    WaitLock* done = HoldWaitLock(timer->p_WaitLock);
    SendMessage(kCreateTimer, timer);
    WaitAndDrop(done);
    return timer;
}

void TimerProvider::Start() {
    // Once the request is out, this timer may be destroyed by the time the wait returns.
    WaitLock* done = HoldWaitLock(p_WaitLock);
    SendMessage(kStartTimer, this);
    WaitAndDrop(done);
}

void TimerProvider::Stop() {
    if (!b_Started) return;
    WaitLock* done = HoldWaitLock(p_WaitLock);
    SendMessage(kStopTimer, this);
    WaitAndDrop(done);
}

bool TimerProvider::IsStarted() { return b_Started; }

void TimerProvider::DestroyTimer(TimerProvider* timer) {
    if (timer == nullptr) return;
    SendMessage(kDestroyTimer, timer);
}

void* TimerProvider::ThreadProc(void*) {
    set_Containers = new std::set<TimerProvider*>;
    struct epoll_event events[10];
    // ms_bStartedThread is false here only when Initialize could not start the callback thread.
    while (ms_bStartedThread) {
        int count = epoll_wait(ms_efd, events, 10, -1);
        if (count == -1) {
            SF_LOGE("[Timer::ThreadProc] epoll wait returned '%i''(%s), Ignoring\n", errno,
                    strerror(errno));
            continue;
        }
        for (int i = 0; i < count; ++i) {
            // Anything but plain readability (an error or hang-up) is not ours to handle.
            if (events[i].events != EPOLLIN) continue;
            if (events[i].data.u64 == static_cast<uint64_t>(ms_EpollReadFd)) {
                // One message per readiness report: the level-triggered set reports the pipe
                // again while messages remain.
                PipeMessage message;
                if (read(ms_EpollReadFd, &message, sizeof message) !=
                    static_cast<ssize_t>(sizeof message)) {
                    continue;
                }
                TimerProvider* timer = reinterpret_cast<TimerProvider*>(message.timer);
                switch (message.kind) {
                    case kStartTimer:
                        OnStartTimer(timer);
                        break;
                    case kStopTimer:
                        OnStopTimer(timer);
                        break;
                    case kDestroyTimer:
                        OnDestroyTimer(timer);
                        break;
                    case kCreateTimer:
                        OnCreateTimer(timer);
                        break;
                    case kCallbackReturned:
                        // The timer may be gone already; its address is only looked up.
                        if (timer == nullptr || !IsRegistered(timer)) break;
                        if (timer->p_Container == nullptr) break;
                        if (auto extra = ExtraCallbacks().find(timer);
                            extra != ExtraCallbacks().end()) {
                            if (--extra->second == 0) ExtraCallbacks().erase(extra);
                            break;  // another callback of it is still queued
                        }
                        *timer->p_Container = timer;
                        if (timer->b_DestroyPending) OnDestroyTimer(timer);
                        break;
                    case kEndTimerThread:
                        OnExitThread();
                        delete set_Containers;
                        set_Containers = nullptr;
                        return nullptr;
                    default:
                        platform::AssertFrameworkF(
                            kSourcePath, 469,
                            "[TimerProvider::ThreadProc] Unknown message sent to Timer thread %d\n",
                            static_cast<int>(message.kind));
                }
                continue;
            }
            // A timerfd: its data is the timer's address, which may belong to a timer destroyed
            // earlier in this batch, so it is looked up before it is used.
            TimerProvider* timer = static_cast<TimerProvider*>(events[i].data.ptr);
            if (timer == nullptr) {
                SF_LOGE("[Timer::ThreadProc] pTimer is NULL\n");
                continue;
            }
            if (!IsRegistered(timer)) continue;
            if (timer->p_Container == nullptr) {
                SF_LOGE("[Timer::ThreadProc] pTimer->p_Container is NULL\n");
                continue;
            }
            if (timer->fd_TimerFD == -1) {
                // A report left over from a descriptor that a stop earlier in this batch
                // closed: no callback is queued for it, so the timer is not put in flight
                // (where nothing would ever take it out, and a destroy would wait for ever).
                OnTimerExpired(timer);
                continue;
            }
            if (*timer->p_Container == nullptr) ++ExtraCallbacks()[timer];
            *timer->p_Container = nullptr;
            OnTimerExpired(timer);
        }
    }
    delete set_Containers;
    set_Containers = nullptr;
    return nullptr;
}

void TimerProvider::OnCreateTimer(TimerProvider* timer) {
    if (IsRegistered(timer)) {
        platform::AssertFramework(kSourcePath, 224,
                                  "[TimerProvider::OnCreateTimer] Timer already registered");
    }
    set_Containers->insert(timer);
    timer->p_WaitLock->Signal();
}

void TimerProvider::OnDestroyTimer(TimerProvider* timer) {
    if (!IsRegistered(timer)) {
        platform::AssertFramework(
            kSourcePath, 233,
            "[TimerProvider::OnDestroyTimer] Trying to destroy a timer which is already destroyed");
    }
    if (timer == nullptr || timer->p_Container == nullptr) return;
    if (*timer->p_Container == nullptr) {
        // Its callback is running: finished when the callback-returned message comes.
        timer->b_DestroyPending = true;
        timer->p_WaitLock->Signal();
        return;
    }
    if (timer->fd_TimerFD != -1) OnStopTimer(timer);
    puts("Destroying timer");
    FreeTimer(timer);
}

void TimerProvider::OnStartTimer(TimerProvider* timer) {
    if (!IsRegistered(timer)) {
        platform::AssertFramework(
            kSourcePath, 275,
            "[TimerProvider::OnStartTimer] Trying to start a timer which is already destroyed");
    }
    if (!timer->b_Started) {
        // A descriptor left by an earlier start that failed half-way is not reused.
        if (timer->fd_TimerFD != -1) close(timer->fd_TimerFD);
        timer->fd_TimerFD = timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC);
        if (timer->fd_TimerFD == -1) {
            SF_LOGE("[TimerProvider::OnStartTimer] Timer_fd  create error: %i\n", errno);
        }
        timer->ts_TimerSpec.it_interval.tv_sec = 0;
        timer->ts_TimerSpec.it_interval.tv_nsec = 0;
        timer->ts_TimerSpec.it_value.tv_sec = timer->n_IntervalMs / 1000;
        timer->ts_TimerSpec.it_value.tv_nsec = (timer->n_IntervalMs % 1000) * 1000000L;
        if (timerfd_settime(timer->fd_TimerFD, 0, &timer->ts_TimerSpec, nullptr) == -1) {
            SF_LOGE("[TimerProvider::OnStartTimer] Timer_fd '%i' start error: %i\n",
                    timer->fd_TimerFD, errno);
        } else {
            ms_epollEvent.events = EPOLLIN | EPOLLPRI;
            ms_epollEvent.data.ptr = timer;
            if (epoll_ctl(ms_efd, EPOLL_CTL_ADD, timer->fd_TimerFD, &ms_epollEvent) == 0) {
                timer->b_Started = true;
            } else {
                SF_LOGE("[TimerProvider::OnStartTimer] EPOLL add fd '%i' error: %i\n",
                        timer->fd_TimerFD, errno);
            }
        }
    }
    timer->p_WaitLock->Signal();
}

void TimerProvider::OnStopTimer(TimerProvider* timer) {
    if (!IsRegistered(timer)) {
        platform::AssertFramework(kSourcePath, 325,
                                  "Trying to stop a timer which is already destroyed");
    }
    if (timer->fd_TimerFD == -1) {
        SF_LOGE("[TimerProvider::OnStopTimer] fd_TimerFD is null");
        return;
    }
    if (!timer->b_Started) {
        timer->p_WaitLock->Signal();
        return;
    }
    if (epoll_ctl(ms_efd, EPOLL_CTL_DEL, timer->fd_TimerFD, nullptr) != 0) {
        SF_LOGE("[TimerProvider::OnStopTimer] epoll_ctl cleanup failed\n");
    }
    close(timer->fd_TimerFD);
    timer->fd_TimerFD = -1;
    timer->b_Started = false;
    timer->p_WaitLock->Signal();
}

void TimerProvider::OnTimerExpired(TimerProvider* timer) {
    if (!IsRegistered(timer)) {
        SF_LOGE(
            "[TimerProvider::OnTimerExpired] A timer which has been destroyed have been "
            "triggered\n");
    }
    if (timer->fd_TimerFD == -1) {
        SF_LOGE("[TimerProvider::OnTimerExpired] fd_TimerFD is null %p", timer);
        return;
    }
    // Every timer is one-shot: the expired descriptor is closed, and Start makes a new one.
    OnStopTimer(timer);
    tq_CallbacktransferQueue->Push(new Message{kRunCallback, timer});
}

void TimerProvider::OnExitThread() {
    const std::vector<TimerProvider*> timers(set_Containers->begin(), set_Containers->end());
    for (TimerProvider* timer : timers) {
        // The callback thread has ended before this message was sent, so an expiry still marked
        // in flight was never delivered and nothing will report its return. Its destroy would
        // be deferred for ever: the timer is freed, without the destroy's line.
        if (timer->p_Container != nullptr && *timer->p_Container == nullptr) {
            if (timer->fd_TimerFD != -1) OnStopTimer(timer);
            FreeTimer(timer);
        } else {
            OnDestroyTimer(timer);
        }
    }
    set_Containers->clear();
}

void* TimerProvider::CallbackProc(void*) {
    CallbackQueue* queue = tq_CallbacktransferQueue;
    WaitLock& wake = queue->GetWaitLock();
    for (;;) {
        Message* message = queue->Pop();
        if (message == nullptr) {
            wake.Wait();
            message = queue->Pop();
        }
        // Harmless to forget a wake-up here: Pop swaps in whatever arrived before it is null.
        wake.Reset();
        if (message == nullptr) continue;
        switch (message->id) {
            case kRunCallback:
                if (message->timer->m_Callback != nullptr) {
                    message->timer->m_Callback(message->timer);
                }
                SendMessage(kCallbackReturned, message->timer);
                CallbackQueue::Release(message);
                break;
            case kEndCallbackThread:
                CallbackQueue::Release(message);
                return nullptr;
            default:
                platform::AssertFramework(
                    kSourcePath, 545,
                    "[TimerProvider::CallbackProc] Unknown ID received to the callback proc");
        }
    }
}
