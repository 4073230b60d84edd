// The timer service on real time, in-process against a device root of its own whose
// external-dependencies file names the pipe (death-test children reuse their parent's root), and
// where the pipe comes from, seen from fresh processes with their own device roots. Deadlines
// are far apart compared with the lateness a loaded machine shows, and results are checked by
// order and by lower bounds, never by "within N ms".

#include "TimerProvider.h"

#include <signal.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include "../soak/SoakSupport.h"
#include "TestSupport.h"

// The timer thread's next timerfd_create or timerfd_settime fails when a test asks for it;
// otherwise both go straight to the kernel.
static std::atomic<bool> g_failNextCreate{false}, g_failNextArm{false};
extern "C" int timerfd_create(int clock, int flags) {
    if (g_failNextCreate.exchange(false)) return errno = EMFILE, -1;
    return static_cast<int>(syscall(SYS_timerfd_create, clock, flags));
}
extern "C" int timerfd_settime(int fd, int flags, const itimerspec* value, itimerspec* old) {
    if (g_failNextArm.exchange(false)) return errno = EINVAL, -1;
    return static_cast<int>(syscall(SYS_timerfd_settime, fd, flags, value, old));
}

namespace {

using Clock = std::chrono::steady_clock;
using orvex::hostlog::Entry;
using orvex::test::AssertionRegex;
using orvex::test::DeviceRoot;
using std::chrono::milliseconds;

constexpr const char* kSource = "device/common/platform_bundle/dependencies/Utils/TimerProvider";
constexpr const char* kDepsPath = "/system/etc/scanner/ExternalDependencies.xml";
constexpr const char* kOwnRootVariable = "ORVEX_TIMER_TEST_ROOT";

// The timers of a test have it as their context, and their callbacks record what they saw.
class TimerProviderTest : public ::testing::Test {
  protected:
    struct Firing {
        TimerProvider* timer;
        Clock::time_point at;
        std::thread::id thread;
    };

    void SetUp() override { TimerProvider::Initialize(); }
    void TearDown() override { TimerProvider::DeInitialize(); }

    static void OnTimer(TimerProvider* timer) {
        auto* test = static_cast<TimerProviderTest*>(timer->p_Context);
        const auto then = test->then.load();  // before the test, woken, may set it
        test->firings.Change([&](std::vector<Firing>& firings) {
            firings.push_back({timer, Clock::now(), std::this_thread::get_id()});
        });
        if (then) then(timer);
    }
    TimerProvider* Create(int ms) { return TimerProvider::CreateNewTimer(ms, OnTimer, this); }
    // Waits until `count` firings were recorded; false on time-out.
    bool WaitFor(size_t count) {
        return firings.WaitFor([&](std::vector<Firing>& f) { return f.size() >= count; });
    }
    std::vector<Firing> Firings() {
        return firings.Read([](std::vector<Firing>& f) { return f; });
    }

    soak::Watched<std::vector<Firing>> firings;
    // Runs after a firing is recorded, when set before the firing.
    std::atomic<void (*)(TimerProvider*)> then{nullptr};
};

TEST_F(TimerProviderTest, OneShotsFireInDeadlineOrderOnTheCallbackThreadAndStopDisarms) {
    TimerProvider *early = Create(300), *restarted = Create(1000), *witness = Create(1250),
                  *late = Create(1750), *stopped = Create(600);
    EXPECT_FALSE(witness->IsStarted());
    const Clock::time_point started = Clock::now();
    for (TimerProvider* timer : {late, witness, restarted, stopped, early}) timer->Start();
    EXPECT_TRUE(witness->IsStarted());
    const itimerspec& spec = witness->ts_TimerSpec;
    EXPECT_EQ((std::vector<long>{1, 250000000, 0, 0}),
              (std::vector<long>{spec.it_value.tv_sec, spec.it_value.tv_nsec,
                                 spec.it_interval.tv_sec, spec.it_interval.tv_nsec}));
    stopped->Stop();
    EXPECT_FALSE(stopped->IsStarted());
    stopped->Stop();  // not started: returns at once
    std::this_thread::sleep_for(milliseconds(500));
    restarted->Start();  // a new deadline would be 1500 ms, after the witness

    ASSERT_TRUE(WaitFor(4));
    std::vector<Firing> firings = Firings();
    const TimerProvider* order[] = {early, restarted, witness, late};
    for (size_t i = 0; i < 4; ++i) EXPECT_EQ(order[i], firings[i].timer) << "firing " << i;
    EXPECT_NE(std::this_thread::get_id(), firings[2].thread);
    EXPECT_GE(firings[2].at - started, milliseconds(1240));
    EXPECT_FALSE(witness->IsStarted());

    stopped->Start();
    ASSERT_TRUE(WaitFor(5));
    EXPECT_EQ(stopped, Firings()[4].timer);
}

// Writes one raw request, as a caller thread does: a 32-bit kind, 32 zero bits, the timer.
void SendRaw(uint32_t kind, const void* timer) {
    const uint64_t message[] = {kind, reinterpret_cast<uintptr_t>(timer)};  // little-endian
    ASSERT_EQ(16, write(TimerProvider::ms_EpollWriteFd, message, sizeof message));
}

TEST_F(TimerProviderTest, LateNewsIgnoredRestartAfterExpiryArmsAndTheEndDestroysTheRest) {
    testing::internal::CaptureStdout();
    int stranger = 0;
    SendRaw(4, &stranger);  // callback returned, of timers the service does not know
    SendRaw(4, nullptr);
    TimerProvider::DestroyTimer(nullptr);
    Create(100000);
    Create(100000)->Start();
    TimerProvider::DestroyTimer(Create(100000));
    TimerProvider* timer = Create(10);
    timer->Start();
    ASSERT_TRUE(WaitFor(1));
    // The expiry stopped the timer and signalled; nobody waited. The next Start takes that
    // signal and returns at once, and the timer is armed all the same.
    EXPECT_TRUE(timer->p_WaitLock->IsSignalled());
    then = [](TimerProvider* t) {  // destroyed from its own callback: waits
        TimerProvider::DestroyTimer(t);
        // Give the timer thread time to act on the request; the timer must still be whole.
        std::this_thread::sleep_for(milliseconds(100));
        EXPECT_NE(nullptr, t->p_Context);
        EXPECT_EQ(10, t->n_IntervalMs);
    };
    timer->Start();
    ASSERT_TRUE(WaitFor(2));
    // A callback outlasts the end of the service: an expiry queued behind the end is never
    // delivered, and the end frees its timer without the destroy's line.
    static TimerProvider* behindTheEnd;
    behindTheEnd = Create(1);
    then = [](TimerProvider*) {
        while (!TimerProvider::tq_CallbacktransferQueue->GetWaitLock().IsSignalled())
            std::this_thread::sleep_for(milliseconds(1));  // until the end is queued
        behindTheEnd->Start();
        std::this_thread::sleep_for(milliseconds(100));
    };
    Create(1)->Start();
    ASSERT_TRUE(WaitFor(3));
    TimerProvider::DeInitialize();
    EXPECT_EQ(5u, soak::Count(testing::internal::GetCapturedStdout(), "Destroying timer"));
    orvex::hostlog::ScopedCapture log;
    TimerProvider::DestroyTimer(timer);  // the service has ended: the request is lost, quietly
    EXPECT_EQ(0u, log.Entries().size());
    EXPECT_EQ((std::vector<int>{-1, -1, -1}),
              (std::vector<int>{TimerProvider::ms_EpollReadFd, TimerProvider::ms_EpollWriteFd,
                                TimerProvider::ms_efd}));
    EXPECT_EQ(nullptr, TimerProvider::tq_CallbacktransferQueue);
}

// A descriptor that cannot be made or armed is logged and leaves the timer stopped; the next
// start makes a new one and the timer fires.
TEST_F(TimerProviderTest, DescriptorThatCannotBeMadeOrArmedIsLoggedAndTheNextStartWorks) {
    TimerProvider* timer = Create(10);
    orvex::hostlog::ScopedCapture log;
    g_failNextCreate = true;
    timer->Start();  // arming the missing descriptor fails too
    g_failNextArm = true;
    timer->Start();
    const std::string e = "[TimerProvider::OnStartTimer] Timer_fd ";
    EXPECT_EQ(
        (std::vector<Entry>{{6, "ScannerFramework", e + " create error: 24\n"},
                            {6, "ScannerFramework", e + "'-1' start error: 9\n"},
                            {6, "ScannerFramework",
                             e + "'" + std::to_string(timer->fd_TimerFD) + "' start error: 22\n"}}),
        log.Entries());
    EXPECT_FALSE(timer->IsStarted());
    timer->Start();
    EXPECT_TRUE(WaitFor(1));
}

TimerProvider* NewTimer() {
    return TimerProvider::CreateNewTimer(
        1000, [](TimerProvider*) {}, nullptr);
}

TEST(TimerProviderDeathTest, RequestTheServiceCannotHonourEndsTheProcess) {
    static int stranger;  // an address the service never saw
    const struct {
        void (*body)();
        const char* description;
        int line;
    } cases[] = {
        {[] { SendRaw(6, NewTimer()); },
         "[TimerProvider::ThreadProc] Unknown message sent to Timer thread 6", 469},
        {[] { SendRaw(0, &stranger); },
         "[TimerProvider::OnStartTimer] Trying to start a timer which is already destroyed", 275},
        {[] { SendRaw(1, &stranger); }, "Trying to stop a timer which is already destroyed", 325},
        {[] { SendRaw(3, NewTimer()); }, "[TimerProvider::OnCreateTimer] Timer already registered",
         224},
        {[] {
             TimerProvider* t = NewTimer();
             TimerProvider::DestroyTimer(t), TimerProvider::DestroyTimer(t);
         },
         "[TimerProvider::OnDestroyTimer] Trying to destroy a timer which is already destroyed",
         233},
        {[] {
             auto end = [](TimerProvider*) { TimerProvider::DeInitialize(); };
             TimerProvider::CreateNewTimer(10, end, nullptr)->Start();
         },
         "[TimerProvider::DeInitialize] Deinitialize should not be called from the callback "
         "thread",
         107},
        {[] {
             TimerProvider::tq_CallbacktransferQueue->Push(new TimerProvider::Message{7, {}});
         },
         "[TimerProvider::CallbackProc] Unknown ID received to the callback proc", 545},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.description);
        EXPECT_DEATH((TimerProvider::Initialize(), c.body(), sleep(30)),
                     AssertionRegex(c.description, kSource, c.line));
    }
    const std::string pipe =
        std::string(getenv("ORVEX_DEVICE_ROOT")) + "/data/local/tmp/sctimerfifo";
    EXPECT_DEATH(
        (unlink(pipe.c_str()), NewTimer()),
        orvex::test::LiteralRegex(
            " E ScannerFramework: [TimerProvider::InitializeModule] open errno: 2\n") +
            ".*" +
            AssertionRegex(
                "[TimerProvider::InitializeModule] CreateNewTimer error. Timer not initialized",
                kSource, 155));
}

std::string Dependencies(const std::string& files) {
    return "<ExternalDependencies><files>" + files +
           "</files><binaries/><properties/></ExternalDependencies>\n";
}

TEST(TimerProviderPipe, NamedThroughTheResolverReusedWhenLeftOverAndEndsTheProcessIfUncreatable) {
    const std::string fileEntry =
        "<file><name>sctimerfifo</name><absolutepath>true</absolutepath>"
        "<path>/data/vendor/scanner/timer.fifo</path></file>";
    const std::vector<Entry> reused = {
        {3, "ScannerFramework",
         "[TimerProvider::Initialize] Named pipe already exists. Not creating.\n"}};
    const std::vector<Entry> ended = {
        {6, "ScannerFramework",
         "[TimerProvider::Initialize] Error while creating Named pipe. (return:-1, errno:2)\n"},
        {7, "####ASSERTION#####",
         "This is not my fault, Something else has malfunctioned - Sincerly ScanningService\n"},
        {7, "####ASSERTION#####",
         "ERROR DESCRIPTION: [TimerProvider::Initialize] Error while creating Named pipe.\n"},
        {7, "####ASSERTION#####",
         "ASSERTING AT device/common/platform_bundle/dependencies/Utils/TimerProvider:71 \n"}};
    const char* vendorPipe = "/data/vendor/scanner/timer.fifo";
    // Named by a file entry (twice, once left over), by a property, by nobody; uncreatable.
    const struct {
        std::string files;
        std::string buildProp;
        bool leftOver;
        const char* pipe;  // none: the process ends
        std::vector<Entry> log;
    } cases[] = {
        {fileEntry, "", false, vendorPipe, {}},
        {fileEntry, "", true, vendorPipe, reused},
        {"",
         "sctimerfifo=/data/vendor/scanner/prop.fifo\n",
         false,
         "/data/vendor/scanner/prop.fifo",
         {}},
        {"", "", false, "/data/local/tmp/sctimerfifo", {}},
        {"<file><name>sctimerfifo</name><path>/missing/dir/fifo</path></file>", "", false, nullptr,
         ended},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.files + c.buildProp + (c.leftOver ? " left over" : ""));
        DeviceRoot root;
        root.SetLogLevel("3");
        root.AddFile(kDepsPath, Dependencies(c.files));
        root.AddFile("/system/build.prop", c.buildProp);
        root.AddDir("/data/vendor/scanner");
        root.AddDir("/data/local/tmp");
        ASSERT_TRUE(!c.leftOver || mkfifo(root.HostPath(c.pipe).c_str(), 0600) == 0);

        orvex::test::CallerRun run = orvex::test::RunCaller(root, {"timer", "20"});
        if (c.pipe != nullptr) {
            EXPECT_EQ(0, run.process.exitCode) << run.process.err;
            // The service ends with the timer still registered.
            EXPECT_EQ("fired\nDestroying timer\n", run.process.out);
            struct stat st = {};
            EXPECT_EQ(0, stat(root.HostPath(c.pipe).c_str(), &st));
            EXPECT_EQ(S_IFIFO | 0600u, st.st_mode & (S_IFMT | 0777));
        } else {
            EXPECT_EQ(SIGABRT, run.process.termSignal);
        }
        // The service's own records: the library's load-time lines (log level, settings store,
        // module registrations) are left out.
        std::vector<Entry> log;
        for (const Entry& e : run.log)
            if ((e.tag == "ScannerFramework" || e.tag == "####ASSERTION#####") &&
                e.message.rfind("[ComponentIndex::AddPlatformModule]", 0) != 0)
                log.push_back(e);
        EXPECT_EQ(c.log, log);
    }
}

}  // namespace

int main(int argc, char** argv) {
    // The resolver puts the process name into a 128-byte directory path; a test binary deep in a
    // build tree would overflow it and end the process, so the suite runs under a short name.
    if (strlen(argv[0]) > 60) {
        argv[0] = const_cast<char*>("/proc/self/exe");
        execv("/proc/self/exe", argv);
        return 127;
    }
    std::unique_ptr<DeviceRoot> root;
    if (getenv(kOwnRootVariable) == nullptr) {
        root.reset(new DeviceRoot);
        root->AddFile(kDepsPath, Dependencies("<file><name>sctimerfifo</name><absolutepath>true"
                                              "</absolutepath><path>/data/local/tmp/sctimerfifo"
                                              "</path></file>"));
        root->AddDir("/data/local/tmp");
        setenv("ORVEX_DEVICE_ROOT", root->path().c_str(), 1);
        setenv(kOwnRootVariable, root->path().c_str(), 1);
    }
    testing::InitGoogleTest(&argc, argv);
    // Each death test child starts afresh, so the service threads of earlier tests do not follow
    // it through fork.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    return RUN_ALL_TESTS();
}
