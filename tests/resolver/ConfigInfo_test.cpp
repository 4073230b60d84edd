// The resolver keeps one table per process, filled on first use, so every case runs in a fresh
// caller process with its own device root.

#include <gtest/gtest.h>
#include <signal.h>
#include <tinyxml2.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "TestSupport.h"

namespace {

using orvex::hostlog::Entry;
using orvex::test::CallerPath;
using orvex::test::DeviceRoot;
using orvex::test::ProcessResult;
using orvex::test::ReadLogFile;
using orvex::test::RunProcess;

constexpr const char* kDepsPath = "/system/etc/scanner/ExternalDependencies.xml";
constexpr const char* kAssertTag = "####ASSERTION#####";
constexpr const char* kTag = "ScannerFramework";
constexpr int kError = 6;
constexpr int kFatal = 7;

std::string DataFilesDir(const std::string& processName) {
    return "/data/user_de/" + std::to_string(getuid() / 100000) + "/" + processName +
           "/files/dcfiles";
}

std::string Document(const std::string& files, const std::string& binaries,
                     const std::string& properties) {
    return "<?xml version=\"1.0\"?>\n<ExternalDependencies>\n<files>" + files +
           "</files>\n<binaries>" + binaries + "</binaries>\n<properties>" + properties +
           "</properties>\n</ExternalDependencies>\n";
}

struct CallerOutput {
    ProcessResult process;
    std::vector<std::string> lines;  // stdout, one per resolved name
    std::vector<Entry> log;          // ScannerFramework and assertion records
};

// Runs the caller under `processName` with one "resolve" (or other) command per argument pair.
CallerOutput RunResolver(const DeviceRoot& root, const std::vector<std::string>& args,
                         const std::string& processName = "caller") {
    const std::string logPath = root.path() + "/caller.log";
    unlink(logPath.c_str());
    CallerOutput run;
    run.process = RunProcess(CallerPath(), processName, args,
                             {{"ORVEX_DEVICE_ROOT", root.path()}, {"ORVEX_LOG", logPath}});
    size_t start = 0;
    const std::string& out = run.process.out;
    while (start < out.size()) {
        size_t end = out.find('\n', start);
        if (end == std::string::npos) end = out.size();
        run.lines.push_back(out.substr(start, end - start));
        start = end + 1;
    }
    for (const Entry& e : ReadLogFile(logPath)) {
        // Module registrations log while the library loads; they are not the resolver's.
        if (e.message.rfind("[ComponentIndex::AddPlatformModule]", 0) == 0) continue;
        if (e.tag == kTag || e.tag == kAssertTag) run.log.push_back(e);
    }
    return run;
}

std::vector<std::string> ResolveArgs(const std::vector<std::string>& names) {
    std::vector<std::string> args;
    for (const std::string& name : names) {
        args.push_back("resolve");
        args.push_back(name);
    }
    return args;
}

std::vector<Entry> AssertionLines(const std::string& description, int line) {
    return {
        {kFatal, kAssertTag,
         "This is not my fault, Something else has malfunctioned - Sincerly ScanningService\n"},
        {kFatal, kAssertTag, "ERROR DESCRIPTION: " + description},
        {kFatal, kAssertTag,
         "ASSERTING AT device/common/platform_bundle/dependencies/includes/ConfigInfo:" +
             std::to_string(line) + " \n"},
    };
}

struct Expected {
    const char* name;
    std::string text;
};

TEST(ConfigInfo, ResolvesEveryGroupWithItsCarryOversAndFirstDefinitionWinning) {
    DeviceRoot root;
    const std::string prefix = DataFilesDir("caller");
    root.AddFile("/system/build.prop",
                 "ro.product.cpu.abi=arm64-v8a\n"
                 "ro.vendor.model=SE4750\n"
                 "ro.empty=\n"
                 "unlisted.prop=from-property\n");
    root.AddFile(prefix + kDepsPath,
                 Document(
                     // files
                     "<file><name>absolute</name><absolutepath>true</absolutepath>"
                     "<path>/vendor/etc/ScannerList.xml</path></file>"
                     "<file><name>inherits-true</name><path>/odm/a.xml</path></file>"
                     "<file><name>relative</name><absolutepath>false</absolutepath>"
                     "<path>/etc/b.xml</path></file>"
                     "<file><name>upper-case</name><absolutepath>TRUE</absolutepath>"
                     "<path>/etc/c.xml</path></file>"
                     "<file><name>late-flag</name><path>/etc/d.xml</path>"
                     "<absolutepath>true</absolutepath></file>"
                     "<file><name>dup</name><path>/file/dup</path></file>"
                     "<file><path>/no/name</path></file>"
                     "<file><name>no-path</name></file>"
                     "<file><name>empty</name><path/></file>"
                     "<file><name> spaced </name><path> /s </path></file>"
                     "<binary><name>misplaced</name><libname>libm.so</libname></binary>"
                     "<file><name>extra</name><comment>x</comment><path>/e</path>"
                     "<paths>/f</paths></file>",
                     // binaries: absolutepath "true" carried over from the last file
                     "<binary><name>lib-carried</name><libname>libc1.so</libname></binary>"
                     "<binary><name>lib-relative</name><absolutepath>no</absolutepath>"
                     "<libname>libfoo.so</libname></binary>"
                     "<binary><name>lib-absolute</name><absolutepath>true</absolutepath>"
                     "<libname>libfoo.so</libname></binary>"
                     "<binary><name>dup</name><libname>libdup.so</libname></binary>",
                     // properties
                     "<property><name>ro.vendor.model</name><value>default</value></property>"
                     "<property><name>ro.empty</name><value>fallback</value></property>"
                     "<property><name>ro.absent</name><value>absent-default</value></property>"
                     "<property><name>dup</name><value>prop-dup</value></property>"
                     "<property><value>early</value><name>named-late</name></property>"
                     "<property><name>blank-default</name><value/></property>"
                     "<file><name>misplaced-file</name><path>/m</path></file>"));

    const std::vector<Expected> expected = {
        {"absolute", "/vendor/etc/ScannerList.xml"},
        {"inherits-true", "/odm/a.xml"},
        {"relative", prefix + "/etc/b.xml"},
        {"upper-case", prefix + "/etc/c.xml"},
        // "absolutepath" counts only when it comes before the path.
        {"late-flag", prefix + "/etc/d.xml"},
        // A nameless entry repeats the previous key and is dropped.
        {"dup", "/file/dup"},
        // An entry without its own path stores the previous entry's text.
        {"no-path", "/no/name"},
        {"empty", ""},
        {" spaced ", " /s "},
        {"misplaced", ""},
        {"extra", "/e"},
        {"lib-carried", "/system/lib64/libc1.so"},
        {"lib-relative", prefix + "/system/libs/arm64-v8a/libfoo.so"},
        {"lib-absolute", "/system/lib64/libfoo.so"},
        {"ro.vendor.model", "SE4750"},
        {"ro.empty", "fallback"},
        {"ro.absent", "absent-default"},
        // A value met before its name is stored under the previous name, here a duplicate.
        {"named-late", ""},
        {"blank-default", ""},
        {"misplaced-file", ""},
        {"unlisted.prop", "from-property"},
        {"nothing.here", ""},
    };
    std::vector<std::string> names;
    for (const Expected& e : expected) names.push_back(e.name);
    CallerOutput run = RunResolver(root, ResolveArgs(names));
    ASSERT_EQ(0, run.process.exitCode) << run.process.err;
    ASSERT_EQ(expected.size(), run.lines.size()) << run.process.out;
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(expected[i].text, run.lines[i]) << "name: " << expected[i].name;
    }
    EXPECT_TRUE(run.log.empty());
}

TEST(ConfigInfo, PerUserFileTakesPrecedenceWhenItsDirectoryExists) {
    const std::string fileEntry =
        "<file><name>where</name><absolutepath>false</absolutepath><path>/x.xml</path></file>";
    struct Case {
        const char* processName;
        const char* dataFilesOf;  // the process whose data-files directory exists, or null
        std::string expected;
    } cases[] = {
        {"caller", "caller", DataFilesDir("caller") + "/x.xml dcfiles"},
        // A sub-process shares its package's directory.
        {"caller:remote", "caller", DataFilesDir("caller") + "/x.xml dcfiles"},
        {"caller", "other", "/x.xml system"},
        {"caller", nullptr, "/x.xml system"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.processName) + " with " +
                     (c.dataFilesOf ? c.dataFilesOf : "none"));
        DeviceRoot root;
        root.AddFile(kDepsPath, Document(fileEntry, "",
                                         "<property><name>from</name><value>system</value>"
                                         "</property>"));
        if (c.dataFilesOf != nullptr) {
            root.AddFile(DataFilesDir(c.dataFilesOf) + kDepsPath,
                         Document(fileEntry, "",
                                  "<property><name>from</name><value>dcfiles</value>"
                                  "</property>"));
        }
        CallerOutput run = RunResolver(root, ResolveArgs({"where", "from"}), c.processName);
        ASSERT_EQ(0, run.process.exitCode) << run.process.err;
        ASSERT_EQ(2u, run.lines.size());
        EXPECT_EQ(c.expected, run.lines[0] + " " + run.lines[1]);
    }
}

TEST(ConfigInfo, AbiChoosesTheLibraryDirectory) {
    struct Case {
        const char* abi;
        const char* absolute;
        const char* relative;
    } cases[] = {
        {"arm64-v8a", "/system/lib64/libfoo.so", "/system/libs/arm64-v8a/libfoo.so"},
        {"x86_64", "/system/lib64/libfoo.so", "/system/libs/x86_64/libfoo.so"},
        {"armeabi-v7a", "/system/lib/libfoo.so", "/system/libs/armeabi-v7a/libfoo.so"},
        {"x86", "/system/lib/libfoo.so", "/system/libs/x86/libfoo.so"},
        {"riscv64", "/system//libfoo.so", "/system/libs/riscv64/libfoo.so"},
        {nullptr, "/system//libfoo.so", "/system/libs//libfoo.so"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.abi ? c.abi : "no abi");
        DeviceRoot root;
        if (c.abi != nullptr)
            root.AddFile("/system/build.prop", std::string("ro.product.cpu.abi=") + c.abi + "\n");
        root.AddFile(kDepsPath,
                     Document("",
                              "<binary><name>abs</name><absolutepath>true</absolutepath>"
                              "<libname>libfoo.so</libname></binary>"
                              "<binary><name>rel</name><absolutepath>false</absolutepath>"
                              "<libname>libfoo.so</libname></binary>",
                              ""));
        CallerOutput run = RunResolver(root, ResolveArgs({"abs", "rel"}));
        ASSERT_EQ(0, run.process.exitCode) << run.process.err;
        EXPECT_EQ((std::vector<std::string>{c.absolute, c.relative}), run.lines);
    }
}

TEST(ConfigInfo, TableIsReadOnceAndNotRefreshed) {
    DeviceRoot root;
    root.AddFile("/system/build.prop", "late.prop=first\n");
    root.AddFile(kDepsPath, Document("<file><name>a</name><path>/a</path></file>"
                                     "<file><name>b</name><path>/b</path></file>",
                                     "", ""));
    // Once the table is filled the file may go: a second read would end the process.
    CallerOutput run = RunResolver(
        root, {"resolve", "a", "unlink", kDepsPath, "resolve", "b", "resolve", "late.prop"});
    ASSERT_EQ(0, run.process.exitCode) << run.process.err;
    EXPECT_EQ((std::vector<std::string>{"/a", "/b", "first"}), run.lines);
}

TEST(ConfigInfo, BrokenFileEndsTheProcessWithItsAssertion) {
    struct Case {
        const char* what;
        const char* content;  // null: no file
        std::string error;    // empty: the load failure, checked against the parser's text
        std::string description;
        int line;
    } cases[] = {
        {"missing file", nullptr, "", "ConfigInfo : Unable to load ExternalDependencies XML file",
         121},
        {"malformed", "<deps><files></deps>", "",
         "ConfigInfo : Unable to load ExternalDependencies XML file", 121},
        {"no root", "<?xml version=\"1.0\"?>\n<!-- nothing -->\n",
         "[ConfigInfo::ResolveConfigDependency] Failed : No root element.",
         "[ConfigInfo::ResolveConfigDependency] Failed : No root element.", 130},
        {"no files", "<deps><binaries/><properties/></deps>",
         "[ConfigInfo::ResolveConfigDependency] No files node in ExternalDependencies XML",
         "ConfigInfo : No files node in ExternalDependencies XML", 138},
        {"no binaries", "<deps><properties/><files/></deps>",
         "[ConfigInfo::ResolveConfigDependency] No binaries node in ExternalDependencies XML",
         "ConfigInfo : No binaries node in ExternalDependencies XML", 146},
        {"no properties", "<deps><files/><binaries/><Properties/></deps>",
         "[ConfigInfo::ResolveConfigDependency] No properties node in ExternalDependencies XML",
         "ConfigInfo : No properties node in ExternalDependencies XML", 154},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        DeviceRoot root;
        if (c.content != nullptr) root.AddFile(kDepsPath, c.content);
        std::string error = c.error;
        if (error.empty()) {
            tinyxml2::XMLDocument doc;
            doc.LoadFile(root.HostPath(kDepsPath).c_str());
            error = std::string(
                        "[ConfigInfo::ResolveConfigDependency] Unable to load "
                        "ExternalDependencies XML file, desc : ") +
                    doc.ErrorStr();
        }
        CallerOutput run = RunResolver(root, ResolveArgs({"anything"}));
        EXPECT_EQ(SIGABRT, run.process.termSignal);
        EXPECT_TRUE(run.lines.empty());
        std::vector<Entry> expected = {{kError, kTag, error}};
        for (const Entry& e : AssertionLines(c.description, c.line)) expected.push_back(e);
        EXPECT_EQ(expected, run.log);
    }
}

TEST(ConfigInfo, TextLongerThanItsBufferEndsTheProcess) {
    const std::string longProcessName(100, 'p');
    const std::string name127(127, 'n');
    struct Case {
        const char* what;
        std::string processName;
        std::string files;
        std::string properties;
        std::string buildProp;
        std::string line;  // the overflow line, or empty when the text fits
    } cases[] = {
        {"process name", longProcessName, "", "", "",
         "[Utils::FormatFixed] the data-files directory does not fit in 128 bytes (" +
             std::to_string(DataFilesDir(longProcessName).size() + 1) + " needed)\n"},
        {"name of 127", "caller", "<file><name>" + name127 + "</name><path>/p</path></file>", "",
         "", ""},
        {"name of 128", "caller", "<file><name>" + name127 + "n</name><path>/p</path></file>", "",
         "", "[Utils::FormatFixed] a dependency name does not fit in 128 bytes (129 needed)\n"},
        {"absolutepath", "caller",
         "<file><name>a</name><absolutepath>" + std::string(200, 't') +
             "</absolutepath><path>/p</path></file>",
         "", "",
         "[Utils::FormatFixed] an absolutepath text does not fit in 128 bytes (201 needed)\n"},
        {"path", "caller", "<file><name>a</name><path>/" + std::string(255, 'x') + "</path></file>",
         "", "", "[Utils::FormatFixed] a file path does not fit in 256 bytes (257 needed)\n"},
        {"default value", "caller", "",
         "<property><name>p</name><value>" + std::string(128, 'v') + "</value></property>", "",
         "[Utils::FormatFixed] a property value does not fit in 128 bytes (129 needed)\n"},
        {"system value", "caller", "", "<property><name>p</name><value>short</value></property>",
         "p=" + std::string(130, 'v') + "\n",
         "[Utils::FormatFixed] a property value does not fit in 128 bytes (131 needed)\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        DeviceRoot root;
        root.AddFile("/system/build.prop", c.buildProp);
        root.AddFile(kDepsPath, Document(c.files, "", c.properties));
        CallerOutput run = RunResolver(root, ResolveArgs({"a"}), c.processName);
        if (c.line.empty()) {
            EXPECT_EQ(0, run.process.exitCode) << run.process.err;
            EXPECT_TRUE(run.log.empty());
        } else {
            EXPECT_EQ(SIGABRT, run.process.termSignal);
            EXPECT_EQ((std::vector<Entry>{{kFatal, kTag, c.line}}), run.log);
        }
    }
}

}  // namespace
