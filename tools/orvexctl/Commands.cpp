#include "Commands.h"

#include <dlfcn.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>

#include <fstream>

#include "Json.h"
#include "PlatformLibrary.h"
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

int RunInfo(const Options& options, const std::vector<std::string>& args) {
    if (!args.empty()) {
        fprintf(stderr, "orvexctl info: takes no arguments\n");
        return kExitUsage;
    }
    return RunProbeCommand("info", options, args);
}

// Tells the user that the library stopped (or the child failed otherwise) instead of printing
// the command's result.
int ReportChildFailure(const Options& options, const std::string& command,
                       const ChildOutcome& outcome) {
    if (options.json) {
        JsonWriter json;
        json.BeginObject().Field("command", command).Field("ok", false).Key("stopped").BeginObject();
        if (outcome.asserted) {
            json.Field("kind", "assertion")
                .Field("description", outcome.assertDescription)
                .Field("source", outcome.assertSource)
                .Field("line", outcome.assertLine);
        } else if (outcome.timedOut) {
            json.Field("kind", "timeout");
        } else if (outcome.signal != 0) {
            json.Field("kind", "signal").Field("signal", outcome.signal);
        } else {
            json.Field("kind", "exit").Field("status", outcome.exitCode);
        }
        if (!outcome.lastError.empty()) json.Field("error", outcome.lastError);
        json.EndObject().EndObject();
        printf("%s\n", json.str().c_str());
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

CommandFn FindCommand(const std::string& name) {
    if (name == "modules") return RunModulesCommand;
    if (name == "resolve") return RunResolve;
    if (name == "info") return RunInfo;
    if (name == "check") return RunCheck;
    return nullptr;
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
