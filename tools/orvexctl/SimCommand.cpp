#include "SimCommand.h"

#include <errno.h>
#include <limits.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <mutex>
#include <thread>

#include "Profiles.h"

namespace orvexctl {

namespace {

// How long the program may take to load the library and bring the device up.
constexpr auto kUrlWait = std::chrono::seconds(20);

std::string OwnFolder() {
    char path[PATH_MAX];
    const ssize_t n = readlink("/proc/self/exe", path, sizeof(path) - 1);
    if (n <= 0) return ".";
    path[n] = '\0';
    std::string self = path;
    return self.substr(0, self.rfind('/'));
}

// Whether `program` can be run as execvp would find it.
bool Runnable(const std::string& program) {
    if (program.find('/') != std::string::npos) return access(program.c_str(), X_OK) == 0;
    const char* path = getenv("PATH");
    std::string dirs = path != nullptr ? path : "/usr/bin:/bin";
    for (size_t start = 0; start <= dirs.size();) {
        size_t end = dirs.find(':', start);
        if (end == std::string::npos) end = dirs.size();
        const std::string dir = end > start ? dirs.substr(start, end - start) : ".";
        if (access((dir + "/" + program).c_str(), X_OK) == 0) return true;
        start = end + 1;
    }
    return false;
}

// The program being run: -1 while it is being started, 0 when none runs. A signal that comes
// while it starts is sent once it runs.
std::mutex g_programLock;
pid_t g_program = 0;         // GUARDED_BY(g_programLock)
int g_pendingSignal = 0;     // GUARDED_BY(g_programLock)

void SetProgram(pid_t pid) {
    std::lock_guard<std::mutex> lock(g_programLock);
    g_program = pid;
    if (pid > 0 && g_pendingSignal != 0) kill(pid, g_pendingSignal);
    g_pendingSignal = 0;
}

// Whether `child` ended, without reaping it: until it is reaped its pid cannot be reused, so a
// signal forwarded meanwhile cannot reach another process.
bool Ended(pid_t child, bool wait) {
    siginfo_t info = {};
    while (waitid(P_PID, static_cast<id_t>(child), &info,
                  WEXITED | WNOWAIT | (wait ? 0 : WNOHANG)) != 0) {
        if (errno != EINTR) return true;
    }
    return info.si_pid == child;
}

std::string ReadUrl(const std::string& file) {
    std::ifstream in(file);
    std::string url;
    std::getline(in, url);
    return url;
}

}  // namespace

bool ForwardSignalToSimProgram(int sig, bool fromTerminal) {
    std::lock_guard<std::mutex> lock(g_programLock);
    if (g_program == 0) return false;
    if (g_program < 0) {
        g_pendingSignal = sig;
    } else if (!fromTerminal) {
        kill(g_program, sig);
    }
    return true;
}

int RunSim(const Options& options, int port, const std::vector<std::string>& command) {
    std::vector<std::string> argv = command;
    if (argv.empty()) {
        const std::string demo = OwnFolder() + "/orvex-demo";
        if (access(demo.c_str(), X_OK) != 0) {
            fprintf(stderr,
                    "orvexctl sim: the demo service %s is not built (%s); build the orvex-demo "
                    "target, or give your program after --: orvexctl sim -- PROGRAM ARGS...\n",
                    demo.c_str(), strerror(errno));
            return kExitUsage;
        }
        argv = {demo};
    } else if (!Runnable(argv[0])) {
        fprintf(stderr, "orvexctl sim: cannot run %s: no such executable program\n",
                argv[0].c_str());
        return kExitUsage;
    }

    DeviceRootChoice choice;
    std::string error, dir;
    if (!choice.Select(options.profile, options.root, &error) || !MakeTempDir(&dir, &error)) {
        fprintf(stderr, "orvexctl sim: %s\n", error.c_str());
        return kExitUsage;
    }
    const std::string urlFile = dir + "/url";
    const std::string libDir = OwnFolder() + "/../lib";
    const char* oldPath = getenv("LD_LIBRARY_PATH");
    const std::string libraryPath =
        libDir + (oldPath != nullptr && *oldPath ? std::string(":") + oldPath : "");

    SetProgram(-1);
    const pid_t child = fork();
    if (child < 0) {
        SetProgram(0);
        fprintf(stderr, "orvexctl sim: cannot start %s: %s\n", argv[0].c_str(), strerror(errno));
        return kExitUsage;
    }
    if (child == 0) {
        setenv("ORVEX_SIM", options.profile.empty() ? kDefaultProfile : options.profile.c_str(), 1);
        setenv("ORVEX_DEVICE_ROOT", choice.path().c_str(), 1);
        setenv("ORVEX_SIM_HTTP", std::to_string(port).c_str(), 1);
        setenv("ORVEX_SIM_URL_FILE", urlFile.c_str(), 1);
        // A program linked against the library, or opening it by name, finds this build's.
        setenv("LD_LIBRARY_PATH", libraryPath.c_str(), 1);
        // The library takes the first string of the command line as the process name, inside a
        // fixed-size path: the program runs under its base name.
        std::vector<char*> args;
        std::string name = argv[0].substr(argv[0].rfind('/') + 1);
        args.push_back(name.data());
        for (size_t i = 1; i < argv.size(); ++i) args.push_back(argv[i].data());
        args.push_back(nullptr);
        // Ending the tool for good (SIGKILL) ends the program too, rather than leaving it
        // serving; other signals to the tool are passed on to the program.
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() == 1) _exit(127);
        sigset_t none;
        sigemptyset(&none);
        pthread_sigmask(SIG_SETMASK, &none, nullptr);
        execvp(argv[0].c_str(), args.data());
        fprintf(stderr, "orvexctl sim: cannot run %s: %s\n", argv[0].c_str(), strerror(errno));
        _exit(127);
    }

    SetProgram(child);

    // The program prints the URL itself; the tool repeats it on standard output once the
    // device serves, for scripts and for a user who reads only that.
    bool ended = false;
    const auto deadline = std::chrono::steady_clock::now() + kUrlWait;
    std::string url;
    while (url.empty() && !ended && std::chrono::steady_clock::now() < deadline) {
        url = ReadUrl(urlFile);
        if (url.empty()) {
            ended = Ended(child, false);
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }
    if (!url.empty()) {
        printf("virtual handheld (%s): %s\n", choice.label().c_str(), url.c_str());
        fflush(stdout);
    } else if (ended) {
        fprintf(stderr,
                "orvexctl sim: %s ended before the device came up: the device lives inside the "
                "program, so it must load libplatform.orvex.so\n",
                argv[0].c_str());
    } else {
        fprintf(stderr,
                "orvexctl sim: %s has not brought the device up after %lld s; does it load "
                "libplatform.orvex.so?\n",
                argv[0].c_str(), static_cast<long long>(kUrlWait.count()));
    }
    if (!ended) Ended(child, true);
    SetProgram(0);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
    return WIFEXITED(status) ? WEXITSTATUS(status) : kExitProblem;
}

}  // namespace orvexctl
