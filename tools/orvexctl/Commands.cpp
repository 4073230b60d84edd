#include "Commands.h"

#include <dlfcn.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>

#include <fstream>

#include "Json.h"
#include "PlatformLibrary.h"
#include "Profiles.h"
#include "Supervisor.h"

namespace orvexctl {

namespace {

int RunResolve(const Options& options, const std::vector<std::string>& args) {
    if (args.empty()) {
        fprintf(stderr, "orvexctl resolve: names expected\n");
        return kExitUsage;
    }
    return RunProbeCommand("resolve", options, args);
}

int RunModulesCommand(const Options& options, const std::vector<std::string>& args) {
    if (!args.empty()) {
        fprintf(stderr, "orvexctl modules: takes no arguments\n");
        return kExitUsage;
    }
    return RunProbeCommand("modules", options, args);
}

int RunScan(const Options& options, const std::vector<std::string>& args) {
    return RunProbeCommand("scan", options, args);
}


int RunInfo(const Options& options, const std::vector<std::string>& args) {
    if (!args.empty()) {
        fprintf(stderr, "orvexctl info: takes no arguments\n");
        return kExitUsage;
    }
    return RunProbeCommand("info", options, options.simulatedNotes);
}

// Tells the user that the library stopped (or the child failed otherwise) instead of printing
// the command's result.
int ReportChildFailure(const Options& options, const std::string& command,
                       const ChildOutcome& outcome) {
    if (options.json) {
        Json stopped;
        if (outcome.asserted) {
            stopped = {{"kind", "assertion"}, {"description", outcome.assertDescription},
                       {"source", outcome.assertSource}, {"line", outcome.assertLine}};
        } else if (outcome.timedOut) {
            stopped = {{"kind", "timeout"}};
        } else if (outcome.signal != 0) {
            stopped = {{"kind", "signal"}, {"signal", outcome.signal}};
        } else {
            stopped = {{"kind", "exit"}, {"status", outcome.exitCode}};
        }
        if (!outcome.lastError.empty()) stopped["error"] = outcome.lastError;
        printf("%s\n", Document({{"command", command}, {"ok", false}, {"stopped", stopped}}).c_str());
        return kExitProblem;
    }
    if (outcome.asserted) {
        printf("the library stops on this device: %s\n  asserting at %s:%d\n",
               outcome.assertDescription.c_str(), outcome.assertSource.c_str(),
               outcome.assertLine);
        if (!outcome.lastError.empty()) printf("  last error line before it: %s", outcome.lastError.c_str());
        if (!outcome.lastError.empty() && outcome.lastError.back() != '\n') printf("\n");
    } else if (outcome.timedOut) {
        printf("the library did not finish in time\n");
    } else if (outcome.signal != 0) {
        printf("the library ended with signal %d (%s)\n", outcome.signal, strsignal(outcome.signal));
    } else {
        printf("the command failed (status %d)\n", outcome.exitCode);
    }
    return kExitProblem;
}

}  // namespace

int RunExport(const Options& options, const std::vector<std::string>& args) {
    std::string error;
    if (!ExportProfile(args.at(0), args.at(1), &error)) {
        fprintf(stderr, "orvexctl export: %s\n", error.c_str());
        return kExitUsage;
    }
    if (options.json) {
        printf("%s\n", Document({{"command", "export"}, {"ok", true}, {"profile", args[0]},
                                 {"root", args[1]}}).c_str());
    } else {
        printf("wrote profile %s to %s; check it with: orvexctl --root %s check\n",
               args[0].c_str(), args[1].c_str(), args[1].c_str());
    }
    return kExitOk;
}

const std::vector<CommandSpec>& Commands() {
    static const std::vector<CommandSpec> commands = {
        {"profiles", "the device profiles built into orvexctl", "", RunProfiles, false},
        {"modules", "every module tag: registered modules, and whether the device supports it", "",
         RunModulesCommand, true},
        {"resolve", "what each dependency name resolves to, and where it comes from", "NAME...",
         RunResolve, true},
        {"info", "device facts, supported scanners and trigger keys", "", RunInfo, true},
        {"check",
         "every configuration file the library reads, each step as the scanning service would "
         "meet it, then likely mistakes",
         "", RunCheck, true},
        {"scan", "the typical scan on the simulated device, as a timeline", "", RunScan, true},
        {"export", "write a built-in profile as an editable device root", "PROFILE DIR", RunExport,
         false},
        {"pull", "build a device root from the device on USB (adb)", "DIR", RunPull, false},
    };
    return commands;
}

int RunInChildAndPrint(const Options& options, const std::string& command,
                       const std::function<int()>& body) {
    ChildOutcome outcome = RunInChild(body);
    if (!outcome.exited || outcome.asserted) return ReportChildFailure(options, command, outcome);
    fwrite(outcome.output.data(), 1, outcome.output.size(), stdout);
    return outcome.exitCode;
}

ChildOutcome RunProbeInChild(const std::string& command, const Options& options,
                            const std::vector<std::string>& args) {
    return RunInChild([&]() {
        std::string path = PlatformLibrary::DefaultPath();
        path = path.substr(0, path.rfind('/')) + "/liborvexctl_probe.so";
        void* probe = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (probe == nullptr) {
            fprintf(stderr, "orvexctl: cannot load %s: %s\n", path.c_str(), dlerror());
            return kExitProblem;
        }
        using ProbeFn = int (*)(const char*, int, const char* const*, int, const char*);
        auto run = reinterpret_cast<ProbeFn>(dlsym(probe, "orvexctl_probe_run"));
        if (run == nullptr) return kExitProblem;
        std::vector<const char*> argv;
        for (const std::string& a : args) argv.push_back(a.c_str());
        return run(command.c_str(), static_cast<int>(argv.size()), argv.data(), options.json ? 1 : 0,
                   options.deviceLabel.c_str());
    });
}

int RunProbeCommand(const std::string& command, const Options& options,
                    const std::vector<std::string>& args) {
    ChildOutcome outcome = RunProbeInChild(command, options, args);
    if (!outcome.exited || outcome.asserted) return ReportChildFailure(options, command, outcome);
    fwrite(outcome.output.data(), 1, outcome.output.size(), stdout);
    return outcome.exitCode;
}

void CopyLogTo(const std::string& dest) {
    if (dest.empty() || dest == "off") return;
    static const char kLetters[] = "??VDIWEFS";
    std::vector<LogRecord> records = AllLogRecords();
    if (dest == "stderr") {
        for (const LogRecord& r : records) {
            char letter = r.priority >= 0 && r.priority <= 8 ? kLetters[r.priority] : '?';
            std::string message = r.message;
            while (!message.empty() && message.back() == '\n') message.pop_back();
            fprintf(stderr, "%c %s: %s\n", letter, r.tag.c_str(), message.c_str());
        }
        return;
    }
    std::ofstream out(dest, std::ios::app);
    for (const LogRecord& r : records) {
        out << r.priority << '\t';
        for (const std::string* text : {&r.tag, &r.message}) {
            for (char c : *text) {
                if (c == '\\') out << "\\\\";
                else if (c == '\n') out << "\\n";
                else if (c == '\t') out << "\\t";
                else if (c == '\r') out << "\\r";
                else out << c;
            }
            out << (text == &r.tag ? '\t' : '\n');
        }
    }
}

}  // namespace orvexctl
