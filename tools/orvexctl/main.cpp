// orvexctl: inspect and check a device's scanning configuration on a PC.
//
// The tool's own process never loads the platform library: every command that needs it runs
// in a child process (Supervisor), so a configuration that makes the library stop is reported,
// not suffered. A signal thread takes Ctrl-C: it stops the running child and removes the tool's
// temporary directories before the tool ends.

#include <errno.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <string>
#include <thread>
#include <vector>

#include "Commands.h"
#include "PlatformLibrary.h"
#include "Profiles.h"
#include "SimCommand.h"
#include "Supervisor.h"

#ifndef ORVEXCTL_VERSION
#define ORVEXCTL_VERSION "1.0"
#endif

namespace {

// The name the library sees as this process's name (the first string of its command line). It
// is part of a fixed-size path the library builds, so a long path to the binary must not be it.
constexpr const char* kProcessName = "orvexctl";

constexpr const char* kFooter =
    "\nExit status: 0 success; 1 the command found a problem (the scanning service would stop,\n"
    "a step failed, or with --strict a warning); 2 usage or set-up error (bad arguments, the\n"
    "tool's libraries not found, a device root that cannot be read).\n"
    "\nEnvironment: TMPDIR where the private copy of the device root is made (default /tmp);\n"
    "ORVEX_ADB the adb program pull runs (default adb); ANDROID_SERIAL the device pull reads\n"
    "when --serial is not given (adb's own).";

// Runs again under the short process name, with the same arguments.
void ReexecUnderShortName(int argc, char** argv) {
    if (strcmp(argv[0], kProcessName) == 0) return;
    std::vector<char*> args(argv, argv + argc);
    args[0] = const_cast<char*>(kProcessName);
    args.push_back(nullptr);
    execv("/proc/self/exe", args.data());
    // Without /proc the tool still works; only a long binary path can then be too long.
}

// Ctrl-C, a closed terminal or kill: stop the child, remove what the tool made, then end by
// the same signal so the caller sees how the tool ended. Under `sim` the signal is the
// program's instead: the tool passes it on and ends when the program does. SIGUSR1, sent to
// the thread alone, pauses it: a child that runs the library without exec must be forked from
// a process with one thread. The signals stay blocked meanwhile, so none is lost.
sigset_t g_signals;
std::thread* g_signalThread = nullptr;  // touched by the main thread only

void WaitForSignals() {
    siginfo_t info;
    int sig;
    do {
        while ((sig = sigwaitinfo(&g_signals, &info)) < 0) {
        }
        if (sig == SIGUSR1) return;
    } while (orvexctl::ForwardSignalToSimProgram(sig, info.si_code == SI_KERNEL));
    orvexctl::KillRunningChild();
    orvexctl::RemoveTempDirs();
    orvexctl::RemoveSupervisorFiles();
    signal(sig, SIG_DFL);
    pthread_sigmask(SIG_UNBLOCK, &g_signals, nullptr);
    raise(sig);
    _exit(128 + sig);
}

void StartSignalThread() {
    sigemptyset(&g_signals);
    for (int sig : {SIGINT, SIGTERM, SIGHUP, SIGUSR1}) sigaddset(&g_signals, sig);
    pthread_sigmask(SIG_BLOCK, &g_signals, nullptr);
    g_signalThread = new std::thread(WaitForSignals);
}

}  // namespace

void orvexctl::PauseSignalThread() {
    if (g_signalThread == nullptr) return;
    pthread_kill(g_signalThread->native_handle(), SIGUSR1);
    g_signalThread->join();
    delete g_signalThread;
    g_signalThread = nullptr;
}

void orvexctl::ResumeSignalThread() {
    if (g_signalThread == nullptr) g_signalThread = new std::thread(WaitForSignals);
}

namespace {

// A copied binary without the libraries beside it cannot run any device command.
bool LibrariesPresent() {
    const std::string library = orvexctl::PlatformLibrary::DefaultPath();
    const std::string probe = library.substr(0, library.rfind('/')) + "/liborvexctl_probe.so";
    for (const std::string& path : {library, probe}) {
        if (access(path.c_str(), R_OK) != 0) {
            fprintf(stderr,
                    "orvexctl: set-up error: %s: %s\n"
                    "  orvexctl runs with the libraries of its build or installation in ../lib "
                    "beside its bin folder; run it from there (or install it with cmake "
                    "--install) instead of a copied binary\n",
                    path.c_str(), strerror(errno));
            return false;
        }
    }
    return true;
}

// --log: stderr, off, or a file that can be appended to.
std::string CheckLogDestination(const std::string& dest) {
    if (dest == "stderr" || dest == "off") return "";
    FILE* f = fopen(dest.c_str(), "a");
    if (f == nullptr) {
        return "--log " + dest + ": cannot write there (" + strerror(errno) +
               "); give stderr, off or a file path";
    }
    fclose(f);
    return "";
}

}  // namespace

int main(int argc, char** argv) {
    ReexecUnderShortName(argc, argv);
    StartSignalThread();

    orvexctl::Options options;
    CLI::App app{"orvexctl: inspect and check a device's scanning configuration on a PC",
                 "orvexctl"};
    app.footer(kFooter);
    app.set_version_flag("--version", "orvexctl " ORVEXCTL_VERSION);
    app.require_subcommand(1);
    auto* profile = app.add_option("--profile", options.profile,
                                   "a built-in profile (see profiles) or a profile directory "
                                   "(default: default)");
    auto* root = app.add_option("--root", options.root,
                                "an existing device root, e.g. files copied off a device; it "
                                "is only read, never written");
    profile->excludes(root);
    app.add_flag("--json", options.json, "one JSON document on standard output");
    app.add_option("--log", options.log,
                   "also write the library's log to DEST: stderr, off or a file")
        ->type_name("DEST")
        ->check(CLI::Validator(CheckLogDestination, "DEST", "log destination"));
    app.add_flag("--strict", options.strict, "check: warnings fail too (exit 1), for CI");

    std::vector<std::string> args;
    int presses = 0;
    std::string serial, first, second;
    const orvexctl::CommandSpec* chosen = nullptr;
    for (const orvexctl::CommandSpec& spec : orvexctl::Commands()) {
        CLI::App* sub = app.add_subcommand(spec.name, spec.help);
        sub->fallthrough();
        sub->footer(kFooter);
        sub->callback([&chosen, &spec]() { chosen = &spec; });
        const std::string want = spec.args;
        if (want == "NAME...") sub->add_option("NAME", args, "dependency names")->required();
        if (want == "PROFILE DIR") {
            sub->add_option("PROFILE", first, "a built-in profile")->required();
            sub->add_option("DIR", second, "the new device root (missing or empty)")->required();
        }
        if (want == "DIR")
            sub->add_option("DIR", first, "the new device root (missing or empty)")->required();
        if (std::string(spec.name) == "scan") {
            sub->add_option("--presses", presses, "trigger presses (1 to 1000)")
                ->check(CLI::Range(1, 1000));
        }
        if (std::string(spec.name) == "pull") {
            sub->add_option("--serial", serial, "the device's serial (adb -s)");
        }
    }
    // sim runs a program with the device inside it: it makes the device root for that program
    // itself, and the tool's process loads nothing.
    int simPort = 0;
    std::vector<std::string> simCommand;
    bool simChosen = false;
    CLI::App* sim = app.add_subcommand(
        "sim",
        "run a program (default: the demo service) with the virtual handheld inside it; "
        "its page and API are served on 127.0.0.1");
    sim->fallthrough();
    sim->footer(kFooter);
    sim->callback([&simChosen]() { simChosen = true; });
    sim->add_option("--port", simPort, "the port to serve on (default: a free one)")
        ->check(CLI::Range(0, 65535));
    sim->add_option("PROGRAM", simCommand, "-- PROGRAM ARGS...: the program and its arguments");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        const int rc = app.exit(e);
        return rc == 0 ? orvexctl::kExitOk : orvexctl::kExitUsage;
    }
    if (simChosen) {
        if (!LibrariesPresent()) return orvexctl::kExitUsage;
        return orvexctl::RunSim(options, simPort, simCommand);
    }
    if (presses > 0) args = {"--presses", std::to_string(presses)};
    for (const std::string* positional : {&first, &second}) {
        if (!positional->empty()) args.push_back(*positional);
    }
    if (std::string(chosen->name) == "pull") args.push_back(serial);
    if (!chosen->needsDevice) return chosen->run(options, args);
    if (!LibrariesPresent()) return orvexctl::kExitUsage;

    // The environment must be in place before the library loads: it reads its log level and
    // device files at load time.
    orvexctl::DeviceRootChoice choice;
    std::string error;
    if (!choice.Select(options.profile, options.root, &error)) {
        fprintf(stderr, "orvexctl: %s\n", error.c_str());
        return orvexctl::kExitUsage;
    }
    options.deviceRoot = choice.path();
    options.deviceLabel = choice.label();
    options.view = &choice.view();
    options.simulatedNotes = choice.simulatedNotes();
    setenv("ORVEX_DEVICE_ROOT", choice.path().c_str(), 1);
    orvexctl::InitSupervisor();

    int rc = chosen->run(options, args);
    orvexctl::CopyLogTo(options.log);
    return rc;
}
