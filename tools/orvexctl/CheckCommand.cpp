// orvexctl check: everything the library reads at run time for this device, step by step, each
// in a fresh child process, then what it accepts silently but is likely a mistake.

#include <stdio.h>

#include <fstream>
#include <map>
#include <sstream>

#include "Commands.h"
#include "ConfigLint.h"
#include "DependencyFile.h"
#include "Json.h"
#include "Supervisor.h"

namespace orvexctl {

namespace {

struct Step {
    std::string id;
    std::string title;
    std::string file;  // the device path the step reads
};

struct StepResult {
    Step step;
    std::string status;  // ok, stop, throws, error, skipped
    std::map<std::string, std::string> facts;
    ChildOutcome outcome;
    std::string detail;
};

std::map<std::string, std::string> ParseFacts(const std::string& output) {
    std::map<std::string, std::string> facts;
    std::istringstream lines(output);
    std::string line;
    while (std::getline(lines, line)) {
        size_t eq = line.find('=');
        if (eq != std::string::npos) facts[line.substr(0, eq)] = line.substr(eq + 1);
    }
    return facts;
}

std::map<std::string, std::string> ReadBuildProp(const std::string& root) {
    std::map<std::string, std::string> props;
    std::ifstream in(root + "/system/build.prop");
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        size_t eq = line.find('=');
        if (eq != std::string::npos && eq > 0) props[line.substr(0, eq)] = line.substr(eq + 1);
    }
    return props;
}

StepResult RunStep(const Options& options, const Step& step) {
    StepResult result;
    result.step = step;
    result.outcome = RunProbeInChild("check-step", options, {step.id});
    const ChildOutcome& o = result.outcome;
    result.facts = ParseFacts(o.output);
    if (o.asserted) {
        result.status = "stop";
        result.detail = o.assertDescription;
    } else if (o.exited && o.exitCode == 0) {
        result.status = "ok";
    } else if (o.exited && result.facts.count("exception")) {
        result.status = "throws";
        result.detail = "uncaught " + result.facts["exception"] + " reaches the caller";
    } else if (o.timedOut) {
        result.status = "error";
        result.detail = "did not finish in time";
    } else {
        result.status = "error";
        result.detail = o.signal ? "ended by signal " + std::to_string(o.signal)
                                 : "exit status " + std::to_string(o.exitCode);
    }
    return result;
}

StepResult Skipped(const Step& step, const std::string& why) {
    StepResult result;
    result.step = step;
    result.status = "skipped";
    result.detail = why;
    return result;
}

// The level the library chose, from its load-time record.
std::string LevelNote(const ChildOutcome& outcome) {
    const std::string prefix = "[InitLogLevel::InitLogLevel] Log level XML - ";
    for (const LogRecord& r : outcome.log) {
        if (r.tag == "LoglevelManager" && r.message.rfind(prefix, 0) == 0) {
            return " (log level " + r.message.substr(prefix.size()) + ")";
        }
    }
    return "";
}

}  // namespace

int RunCheck(const Options& options, const std::vector<std::string>& args) {
    if (!args.empty()) {
        fprintf(stderr, "orvexctl check: takes no arguments\n");
        return kExitUsage;
    }
    const std::string root = options.deviceRoot;
    const std::map<std::string, std::string> props = ReadBuildProp(root);
    const DependencyFile deps = ReadDependencyFile(root, "orvexctl", props);

    std::vector<StepResult> results;
    auto run = [&](const Step& step) {
        results.push_back(RunStep(options, step));
        return results.back().status == "ok";
    };
    const Step settings{"settings", "settings file", "/enterprise/device/settings/scanner/LogLevel.xml"};
    const Step dependencies{"dependencies", "external dependencies", deps.devicePath};
    std::vector<Step> later = {
        {"GetPlatformName", "device fact: platform", ""},
        {"GetProductName", "device fact: product name", ""},
        {"GetProductModel", "device fact: product model", ""},
        {"GetProductSKU", "device fact: product SKU", ""},
        {"GetManufacturerName", "device fact: manufacturer", ""},
        {"GetAndroidVersion", "device fact: Android version", ""},
        {"GetABI", "device fact: ABI", ""},
        {"imager", "imager client library", "libimagerclient.so"},
        {"scannerlist", "scanner list", ""},
        {"triggers", "trigger resource file", ""},
        {"timer", "timer pipe", ""},
    };
    bool loads = run(settings);
    bool resolves = loads && run(dependencies);
    if (!loads) results.push_back(Skipped(dependencies, "the library does not load"));
    std::map<std::string, std::string> resolved =
        resolves ? results.back().facts : std::map<std::string, std::string>{};
    for (Step& step : later) {
        if (step.id == "scannerlist") step.file = resolved["scannerlistxml"];
        if (step.id == "timer") step.file = resolved["sctimerfifo"];
        if (step.id == "triggers") step.file = resolved["scannerresourceconfig"];
        if (!resolves) {
            results.push_back(Skipped(step, loads ? "the external dependencies cannot be read"
                                                  : "the library does not load"));
            continue;
        }
        run(step);
    }

    std::vector<Finding> findings;
    LintSettings(root, &findings);
    for (const std::string& w : deps.warnings) findings.push_back(Finding{deps.devicePath, w});
    std::string versionKey;
    for (const StepResult& r : results) {
        if (r.step.id == "triggers" && r.status == "ok" && r.facts.count("init") &&
            r.facts.at("init") == "false") {
            findings.push_back(Finding{r.step.file,
                                       "the trigger configuration does not initialise for this "
                                       "device (Init answers false): no device element, or the "
                                       "file cannot be read"});
        }
        if (r.step.id == "GetAndroidVersion" && r.status == "ok") {
            versionKey = "Android_" + r.facts.at("value");
        }
    }
    if (!resolved["scannerlistxml"].empty()) {
        LintScannerList(root, resolved["scannerlistxml"], versionKey, &findings);
    }
    if (!resolved["scannerresourceconfig"].empty()) {
        LintTriggerFile(root, resolved["scannerresourceconfig"], &findings);
    }

    int stops = 0;
    for (const StepResult& r : results) {
        if (r.status != "ok" && r.status != "skipped") ++stops;
    }

    if (options.json) {
        JsonWriter json;
        json.BeginObject()
            .Field("command", "check")
            .Field("ok", stops == 0)
            .Field("device", options.deviceLabel)
            .Key("steps")
            .BeginArray();
        for (const StepResult& r : results) {
            json.BeginObject()
                .Field("step", r.step.id)
                .Field("title", r.step.title)
                .Field("file", r.step.file)
                .Field("status", r.status);
            if (!r.detail.empty()) json.Field("detail", r.detail);
            if (r.status == "stop") {
                json.Key("assertion")
                    .BeginObject()
                    .Field("description", r.outcome.assertDescription)
                    .Field("source", r.outcome.assertSource)
                    .Field("line", r.outcome.assertLine)
                    .EndObject();
                if (!r.outcome.lastError.empty()) json.Field("error", r.outcome.lastError);
            }
            json.Key("facts").BeginObject();
            for (const auto& f : r.facts) json.Field(f.first, f.second);
            json.EndObject().EndObject();
        }
        json.EndArray().Key("warnings").BeginArray();
        for (const Finding& f : findings) {
            json.BeginObject().Field("file", f.file).Field("text", f.text).EndObject();
        }
        json.EndArray().EndObject();
        printf("%s\n", json.str().c_str());
        return stops == 0 ? kExitOk : kExitProblem;
    }

    printf("device: %s\n\n", options.deviceLabel.c_str());
    for (const StepResult& r : results) {
        const char* mark = r.status == "ok" ? "ok" : r.status == "skipped" ? "--" : "STOP";
        std::string what = r.step.file;
        if (r.facts.count("value")) what = "\"" + r.facts.at("value") + "\"";
        if (r.step.id == "settings" && r.status == "ok") what += LevelNote(r.outcome);
        printf("%-5s %-28s %s\n", mark, r.step.title.c_str(), what.c_str());
        if (r.status == "stop") {
            printf("      assertion: %s\n      at %s:%d\n", r.outcome.assertDescription.c_str(),
                   r.outcome.assertSource.c_str(), r.outcome.assertLine);
            if (!r.outcome.lastError.empty()) {
                std::string e = r.outcome.lastError;
                while (!e.empty() && e.back() == '\n') e.pop_back();
                printf("      last error line before it: %s\n", e.c_str());
            }
        } else if (!r.detail.empty()) {
            printf("      %s\n", r.detail.c_str());
        }
    }
    if (!findings.empty()) {
        printf("\nwarnings\n");
        for (const Finding& f : findings) printf("  %s: %s\n", f.file.c_str(), f.text.c_str());
    }
    printf("\n%s\n", stops == 0 ? "the scanning service would start on this device"
                                : ("the scanning service would stop: " + std::to_string(stops) +
                                   (stops == 1 ? " step fails" : " steps fail")).c_str());
    return stops == 0 ? kExitOk : kExitProblem;
}

}  // namespace orvexctl
