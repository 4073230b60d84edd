// orvexctl check: everything the library reads at run time for this device, step by step, each
// in a fresh child process against the tool's private view of the root, then what it accepts
// silently but is likely a mistake, what the tool left out of the view and what the library
// would write on the device.

#include <stdio.h>
#include <sys/stat.h>
#include <tinyxml2.h>
#include <unistd.h>

#include <map>
#include <sstream>

#include "Commands.h"
#include "ConfigLint.h"
#include "DependencyFile.h"
#include "DeviceView.h"
#include "Json.h"
#include "Supervisor.h"

namespace orvexctl {

namespace {

constexpr const char* kSettingsPath = "/enterprise/device/settings/scanner/LogLevel.xml";
constexpr const char* kBuildProp = "/system/build.prop";

struct Step {
    std::string id;
    std::string title;
    std::string file;      // the device path the step reads
    std::string property;  // device facts: the property behind the fact
};

struct StepResult {
    Step step;
    // ok, stop, throws, error; skipped (an earlier cause), same (the cause of an earlier step)
    std::string status;
    std::map<std::string, std::string> facts;
    ChildOutcome outcome;
    std::string detail;
    std::vector<std::string> notes;  // what to fix, most useful first
    std::string dependsOn;           // skipped / same: the step that failed first
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

// As the host reads build.prop: the value is everything after the first '=', verbatim.
std::map<std::string, std::string> ReadBuildProp(const std::string& root) {
    std::map<std::string, std::string> props;
    std::istringstream in(ReadSmallFile(root + kBuildProp));
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        size_t eq = line.find('=');
        if (eq != std::string::npos && eq > 0) props[line.substr(0, eq)] = line.substr(eq + 1);
    }
    return props;
}

void Classify(StepResult& result) {
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
        result.detail = "did not finish in 20 s and was stopped: the scanning service would hang here";
    } else if (!o.fatalLine.empty()) {
        result.status = "stop";
        result.detail = o.fatalLine;
    } else {
        result.status = "error";
        result.detail = o.signal ? "ended by signal " + std::to_string(o.signal)
                                 : "exit status " + std::to_string(o.exitCode);
    }
}

// The level the library chose as it loaded, from its own record of it ("" when it wrote none).
std::string LogLevel(const ChildOutcome& outcome) {
    const std::string prefix = "[InitLogLevel::InitLogLevel] Log level XML - ";
    for (const LogRecord& r : outcome.log) {
        if (r.tag == "LoglevelManager" && r.message.rfind(prefix, 0) == 0) {
            return r.message.substr(prefix.size());
        }
    }
    return "";
}

bool Failed(const StepResult& r) { return r.status != "ok" && r.status != "skipped" && r.status != "same"; }

// The plain cause of a settings file the library cannot use, next to its own odd text.
std::string SettingsCause(const DeviceView& view) {
    const std::string problem = view.ProblemAt(kSettingsPath);
    if (!problem.empty()) return std::string(kSettingsPath) + " is " + problem;
    tinyxml2::XMLDocument doc;
    if (doc.LoadFile((view.path() + kSettingsPath).c_str()) != tinyxml2::XML_SUCCESS) {
        return std::string(kSettingsPath) + " is not well-formed XML: " +
               (doc.ErrorStr() ? doc.ErrorStr() : "");
    }
    if (doc.RootElement() == nullptr) {
        return std::string(kSettingsPath) +
               " has no root element: give it one holding <LogLevel>N</LogLevel>";
    }
    return "";
}

// How to give a fatal device fact a value.
std::string FactFix(const Step& step, const DependencyFile& deps,
                    const std::map<std::string, std::string>& props) {
    const std::string& p = step.property;
    std::string where = "not set in " + std::string(kBuildProp);
    if (props.count(p) != 0) where = "empty in " + std::string(kBuildProp);
    auto entry = deps.origins.find(p);
    if (entry != deps.origins.end() && entry->second.group == "properties") {
        where += ", and its <property> entry (properties entry " +
                 std::to_string(entry->second.entry) + " of " + deps.devicePath +
                 ") has an empty <value>";
    } else {
        where += ", and " + deps.devicePath + " has no <property> entry for it";
    }
    return p + " is " + where + ": add the line \"" + p + "=VALUE\" to " + kBuildProp +
           " (on the device: the property), or give the entry a <value>";
}

}  // namespace

int RunCheck(const Options& options, const std::vector<std::string>& args) {
    if (!args.empty()) {
        fprintf(stderr, "orvexctl check: takes no arguments\n");
        return kExitUsage;
    }
    const DeviceView& view = *options.view;
    const std::string root = view.path();
    const std::map<std::string, std::string> props = ReadBuildProp(root);
    const DependencyFile deps = ReadDependencyFile(root, "orvexctl", props);

    std::vector<StepResult> results;
    auto run = [&](const Step& step) {
        StepResult result;
        result.step = step;
        SetProgress("check: " + step.title);
        result.outcome = RunProbeInChild("check-step", options, {step.id});
        Classify(result);
        results.push_back(result);
        return result.status == "ok";
    };
    auto refuse = [&](const Step& step, const std::string& why) {
        StepResult result;
        result.step = step;
        result.status = "stop";
        result.detail = why;
        results.push_back(result);
    };

    const Step settings{"settings", "settings file", kSettingsPath, ""};
    const Step dependencies{"dependencies", "external dependencies", deps.devicePath, ""};
    std::vector<Step> later = {
        {"GetPlatformName", "device fact: platform", "", "ro.board.platform"},
        {"GetProductName", "device fact: product name", "", "ro.product.name"},
        {"GetProductModel", "device fact: product model", "", "ro.product.model"},
        {"GetProductSKU", "device fact: product SKU", "", "ro.product.device"},
        {"GetManufacturerName", "device fact: manufacturer", "", "ro.product.manufacturer"},
        {"GetAndroidVersion", "device fact: Android version", "", "ro.build.version.release"},
        {"GetABI", "device fact: ABI", "", "ro.product.cpu.abi"},
        {"imager", "imager client library", "libimagerclient.so", ""},
        {"scannerlist", "scanner list", "", ""},
        {"triggers", "trigger resource file", "", ""},
        {"timer", "timer pipe", "", ""},
    };

    // A settings file that is a pipe or a device would block the library as it loads.
    const std::string settingsProblem = view.ProblemAt(kSettingsPath);
    bool loads;
    if (settingsProblem.rfind("a named pipe", 0) == 0 ||
        settingsProblem.rfind("a character device", 0) == 0) {
        refuse(settings, std::string(kSettingsPath) + " is " + settingsProblem +
                             ": the library reads it as it loads and would wait on it for good");
        loads = false;
    } else {
        loads = run(settings);
        const std::string level = LogLevel(results.back().outcome);
        if (!level.empty()) results.back().facts["logLevel"] = level;
        if (!loads) {
            const std::string cause = SettingsCause(view);
            if (!cause.empty()) results.back().notes.push_back(cause);
        }
    }
    bool resolves = loads && run(dependencies);
    if (loads) {
        StepResult& r = results.back();
        for (const std::string& o : deps.overflows) r.notes.push_back(deps.devicePath + ": " + o);
        const std::string problem = view.ProblemAt(deps.devicePath);
        if (!problem.empty()) r.notes.push_back(deps.devicePath + " is " + problem);
        if (!resolves && !r.outcome.lastError.empty()) r.notes.push_back(r.outcome.lastError);
    } else {
        results.push_back(StepResult{dependencies, "skipped", {}, {}, "", {}, settings.title});
    }
    std::map<std::string, std::string> resolved =
        resolves ? results.back().facts : std::map<std::string, std::string>{};
    const std::string firstCause = !loads ? settings.title : !resolves ? dependencies.title : "";

    for (Step& step : later) {
        if (step.id == "scannerlist") step.file = resolved["scannerlistxml"];
        if (step.id == "timer") step.file = resolved["sctimerfifo"];
        if (step.id == "triggers") step.file = resolved["scannerresourceconfig"];
        if (!resolves) {
            results.push_back(StepResult{step, "skipped", {}, {}, "", {}, firstCause});
            continue;
        }
        if (step.id == "timer" && !step.file.empty()) {
            // Anything but a pipe at the timer's path would take its messages and never answer:
            // the service would hang, and write into that file.
            const std::string target = view.Resolve(step.file);
            struct stat st;
            const std::string problem = view.ProblemAt(step.file);
            if (problem.find("a named pipe") == 0) {
                mkfifo((root + target).c_str(), 0600);  // as it stands on the device
            } else if (lstat((root + target).c_str(), &st) == 0 && !S_ISFIFO(st.st_mode)) {
                refuse(step, "sctimerfifo resolves to " + target + ", which is " +
                                 (S_ISDIR(st.st_mode) ? "a directory" : "a regular file") +
                                 ", not a named pipe: the timer service would write its messages "
                                 "into it and wait for them for good (the service hangs)");
                results.back().notes.push_back(
                    "point sctimerfifo in " + deps.devicePath +
                    " at a path where nothing exists yet, e.g. /data/vendor/scanner/sctimerfifo");
                continue;
            }
        }
        run(step);
        StepResult& r = results.back();
        if (!step.property.empty() && r.status == "stop") r.notes.push_back(FactFix(step, deps, props));
        if ((step.id == "scannerlist" || step.id == "triggers") && !step.file.empty()) {
            const std::string problem = view.ProblemAt(step.file);
            if (!problem.empty()) r.notes.push_back(step.file + " is " + problem);
        }
        if (r.status == "stop" && !r.outcome.lastError.empty()) r.notes.push_back(r.outcome.lastError);
    }
    SetProgress("");

    // One cause, one count: a later step stopped by the same assertion as an earlier one follows
    // from it.
    int causes = 0;
    for (size_t i = 0; i < results.size(); ++i) {
        StepResult& r = results[i];
        if (!Failed(r)) continue;
        for (size_t j = 0; j < i; ++j) {
            const StepResult& e = results[j];
            if (e.status == "stop" && r.status == "stop" && e.detail == r.detail &&
                e.outcome.assertLine == r.outcome.assertLine) {
                r.status = "same";
                r.dependsOn = e.step.title;
                break;
            }
        }
        if (r.status != "same") ++causes;
    }
    int dependents = 0;
    for (const StepResult& r : results) dependents += r.status == "same" || r.status == "skipped";

    std::vector<Finding> findings;
    const std::string buildPropProblem = view.ProblemAt(kBuildProp);
    if (!buildPropProblem.empty()) {
        findings.push_back(Finding{kBuildProp, 0, "is " + buildPropProblem +
                                                     "; no system property can be read"});
    }
    LintSettings(root, &findings);
    for (const std::string& w : deps.warnings) findings.push_back(Finding{deps.devicePath, 0, w});
    LintProperties(props, &findings);
    std::string versionKey;
    for (const StepResult& r : results) {
        if (r.step.id == "triggers" && r.status == "ok" && r.facts.count("init") &&
            r.facts.at("init") == "false") {
            const std::string problem = view.ProblemAt(r.step.file);
            findings.push_back(Finding{r.step.file, 0,
                                       "the trigger configuration does not initialise for this "
                                       "device (Init answers false): " +
                                           (problem.empty() ? "no element for this device"
                                                            : "the file is " + problem)});
        }
        if (r.step.id == "scannerlist" && r.status == "ok" && r.facts.count("scanners") &&
            r.facts.at("scanners") == "0") {
            findings.push_back(Finding{r.step.file, 0,
                                       "the list offers no scanner for this device: check the "
                                       "Android release, platform and product elements"});
        }
        if (r.step.id == "GetAndroidVersion" && r.status == "ok") {
            versionKey = "Android_" + r.facts.at("value");
        }
        for (const LogRecord& l : r.outcome.log) {
            if (l.message.find("Unable to load platform library") != std::string::npos) {
                findings.push_back(Finding{resolved["libplatformso"], 0,
                                           "the platform library cannot be loaded: " + l.message});
                break;
            }
        }
    }
    // Each step's child logs the same load failure; one warning says it.
    for (size_t i = 1; i < findings.size(); ++i) {
        for (size_t j = 0; j < i; ++j) {
            if (findings[j].text == findings[i].text && findings[j].file == findings[i].file) {
                findings.erase(findings.begin() + static_cast<long>(i--));
                break;
            }
        }
    }
    if (!resolved["scannerlistxml"].empty()) {
        LintScannerList(root, resolved["scannerlistxml"], versionKey, &findings);
    }
    if (!resolved["scannerresourceconfig"].empty()) {
        LintTriggerFile(root, resolved["scannerresourceconfig"], &findings);
    }
    const std::vector<DeviceView::Note> writes = view.Changes();
    const std::vector<std::string> unknown = options.simulatedNotes;  // notes, not fact keys

    const bool ok = causes == 0;
    const bool strictFail = options.strict && !findings.empty();
    const int rc = !ok || strictFail ? kExitProblem : kExitOk;
    if (options.json) {
        Json doc = {{"command", "check"}, {"ok", ok}, {"device", options.deviceLabel},
                    {"causes", causes}, {"steps", Json::array()}};
        for (const StepResult& r : results) {
            Json step = {{"step", r.step.id}, {"title", r.step.title}, {"file", r.step.file},
                         {"status", r.status}};
            if (!r.detail.empty()) step["detail"] = r.detail;
            if (!r.notes.empty()) step["fix"] = r.notes;
            if (!r.dependsOn.empty()) step["dependsOn"] = r.dependsOn;
            if (r.outcome.asserted) {
                step["assertion"] = {{"description", r.outcome.assertDescription},
                                     {"source", r.outcome.assertSource},
                                     {"line", r.outcome.assertLine}};
                if (!r.outcome.lastError.empty()) step["error"] = r.outcome.lastError;
            }
            step["facts"] = r.facts;
            doc["steps"].push_back(step);
        }
        doc["warnings"] = Json::array();
        for (const Finding& f : findings) {
            doc["warnings"].push_back({{"file", f.file}, {"line", f.line}, {"text", f.text}});
        }
        doc["leftOut"] = Json::array();
        for (const auto& n : view.leftOut()) doc["leftOut"].push_back({{"path", n.devicePath}, {"text", n.text}});
        doc["writes"] = Json::array();
        for (const auto& n : writes) doc["writes"].push_back({{"path", n.devicePath}, {"text", n.text}});
        doc["notes"] = unknown;  // where the facts come from: the simulator, or nowhere
        printf("%s\n", Document(doc).c_str());
        return rc;
    }

    printf("device: %s\n\n", options.deviceLabel.c_str());
    for (const StepResult& r : results) {
        const char* mark = r.status == "ok" ? "ok" : r.status == "skipped" || r.status == "same" ? "--" : "STOP";
        std::string what = r.step.file;
        if (r.facts.count("value")) what = "\"" + r.facts.at("value") + "\"";
        if (r.facts.count("logLevel")) what += " (log level " + r.facts.at("logLevel") + ")";
        if (what.empty()) printf("%-5s %s\n", mark, r.step.title.c_str());
        else printf("%-5s %-28s %s\n", mark, r.step.title.c_str(), what.c_str());
        if (r.status == "skipped") {
            printf("      not run: it needs the %s, which stops first\n", r.dependsOn.c_str());
            continue;
        }
        if (r.status == "same") {
            printf("      stops for the same cause as the %s\n", r.dependsOn.c_str());
            continue;
        }
        if (r.outcome.asserted) {
            printf("      assertion: %s\n      at %s:%d\n", r.outcome.assertDescription.c_str(),
                   r.outcome.assertSource.c_str(), r.outcome.assertLine);
        } else if (!r.detail.empty()) {
            printf("      %s\n", r.detail.c_str());
        }
        for (const std::string& n : r.notes) printf("      fix: %s\n", n.c_str());
    }
    if (!findings.empty()) {
        printf("\nwarnings\n");
        for (const Finding& f : findings) {
            const std::string at = f.line > 0 ? ":" + std::to_string(f.line) : "";
            printf("  %s%s: %s\n", f.file.c_str(), at.c_str(), f.text.c_str());
        }
    }
    if (!view.leftOut().empty()) {
        printf("\nleft out of the check (the tool never opens these)\n");
        for (const auto& n : view.leftOut()) printf("  %s: %s\n", n.devicePath.c_str(), n.text.c_str());
    }
    if (!writes.empty()) {
        printf("\non the device the library would write (here it wrote only the tool's own copy)\n");
        for (const auto& n : writes) printf("  %s: %s\n", n.devicePath.c_str(), n.text.c_str());
    }
    for (const std::string& n : unknown) printf("\n%s\n", n.c_str());
    if (ok) {
        printf("\nthe scanning service would start on this device%s\n",
               strictFail ? " (warnings fail with --strict)" : "");
    } else {
        printf("\nthe scanning service would stop: %d %s", causes, causes == 1 ? "cause" : "causes");
        if (dependents > 0) printf("; %d more %s on it", dependents, dependents == 1 ? "step depends" : "steps depend");
        printf("\n");
    }
    return rc;
}

}  // namespace orvexctl
