// The resolver keeps one table per process, filled on first use, so every case runs in a fresh
// caller process with its own device root.

#include <android/log.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <tinyxml2.h>
#include <unistd.h>

#include "TestSupport.h"

namespace {

using orvex::hostlog::Entry;

const std::string kDeps = "/system/etc/scanner/ExternalDependencies.xml",
                  kProps = "/system/build.prop", kTag = "ScannerFramework",
                  kAssertTag = "####ASSERTION#####",
                  kHead = "[ConfigInfo::ResolveConfigDependency] ",
                  kLongName(127, 'n');  // the longest name that fits

std::string DataFilesDir(const std::string& processName) {
    return "/data/user_de/" + std::to_string(getuid() / 100000) + "/" + processName +
           "/files/dcfiles";
}

std::string Document(const std::string& files, const std::string& binaries = "",
                     const std::string& properties = "") {
    return "<?xml version=\"1.0\"?>\n<ExternalDependencies>\n<files>" + files +
           "</files>\n<binaries>" + binaries + "</binaries>\n<properties>" + properties +
           "</properties>\n</ExternalDependencies>\n";
}

// Device paths with their contents, or names with their resolved texts.
using Files = std::vector<std::pair<std::string, std::string>>;

// Runs the caller under `process`, resolving each name in turn (a device path is removed
// instead), and checks what it prints and its resolver and assertion lines; a fatal last line
// must have ended it before it printed anything. An empty first line stands for the parser's own
// text, which names the file on the host.
void Expect(const std::string& what, const Files& files, const Files& resolved,
            std::vector<Entry> expected = {}, const std::string& process = "caller") {
    SCOPED_TRACE(what);
    orvex::test::DeviceRoot root;
    for (const auto& file : files) root.AddFile(file.first, file.second);
    const bool fatal = !expected.empty() && expected.back().priority == ANDROID_LOG_FATAL;
    std::vector<std::string> args;
    std::string out;
    for (const auto& r : resolved) {
        args.insert(args.end(), {r.first[0] != '/'  ? "resolve"
                                 : r.second.empty() ? "unlink"
                                                    : "move",
                                 r.first});
        if (r.first[0] == '/' && !r.second.empty()) args.push_back(r.second);
        if (!fatal && r.first[0] != '/') out += r.second + "\n";
    }
    const std::string logPath = root.path() + "/caller.log";
    orvex::test::ProcessResult run =
        orvex::test::RunProcess(orvex::test::CallerPath(), process, args,
                                {{"ORVEX_DEVICE_ROOT", root.path()}, {"ORVEX_LOG", logPath}});
    EXPECT_EQ(fatal ? SIGABRT : 0, run.termSignal) << run.err;
    EXPECT_EQ(fatal ? -1 : 0, run.exitCode);
    EXPECT_EQ(out, run.out);
    std::vector<Entry> log;
    for (const Entry& e : orvex::test::WithoutRegistrations(orvex::test::ReadLogFile(logPath)))
        if (e.tag == kTag || e.tag == kAssertTag) log.push_back(e);
    if (!expected.empty() && expected[0].message.empty()) {
        tinyxml2::XMLDocument doc;
        doc.LoadFile(root.HostPath(kDeps).c_str());
        expected[0].message =
            kHead + "Unable to load ExternalDependencies XML file, desc : " + doc.ErrorStr();
    }
    EXPECT_EQ(expected, log);
}

TEST(ConfigInfo, ResolvesEveryGroupWithItsCarryOversAndFirstDefinitionWinning) {
    const std::string prefix = DataFilesDir("caller");
    // clang-format off
    const Files resolved = {
        // Once the table is filled the file may go: a second read would end the process.
        {"absolute", "/vendor/etc/ScannerList.xml"}, {prefix + kDeps, ""},
        {"inherits-true", "/odm/a.xml"}, {"relative", prefix + "/etc/b.xml"},
        {"upper-case", prefix + "/etc/c.xml"},
        // "absolutepath" counts only when it comes before the path.
        {"late-flag", prefix + "/etc/d.xml"},
        // A nameless entry repeats the previous key and is dropped; an entry without its own
        // path stores the previous entry's text.
        {"dup", "/file/dup"}, {"no-path", "/no/name"}, {"empty", ""}, {" spaced ", " /s "},
        {"misplaced", ""}, {"extra", "/e"},
        // The binaries' first entry carries "true" over from the last file; other elements than
        // the three are passed over, as in files.
        {"lib-carried", "/system/lib64/libc1.so"}, {"lib-absolute", "/system/lib64/libfoo.so"},
        {"lib-relative", prefix + "/system/libs/arm64-v8a/libfoo.so"},
        {"ro.vendor.model", "SE4750"}, {"ro.empty", "fallback"}, {"ro.absent", "absent-default"},
        // A value met before its name is stored under the previous name, here a duplicate.
        {"named-late", ""}, {"blank-default", ""}, {"misplaced-file", ""},
        {"unlisted.prop", "from-property"}, {"nothing.here", ""}, {kLongName, "/p"},
    };
    const std::string document = Document(
        "<file><name>absolute</name><absolutepath>true</absolutepath>"
        "<path>/vendor/etc/ScannerList.xml</path></file><file><name>inherits-true</name>"
        "<path>/odm/a.xml</path></file><file><name>relative</name><absolutepath>false"
        "</absolutepath><path>/etc/b.xml</path></file><file><name>upper-case</name>"
        "<absolutepath>TRUE</absolutepath><path>/etc/c.xml</path></file><file><name>late-flag"
        "</name><path>/etc/d.xml</path><absolutepath>true</absolutepath></file>"
        "<file><name>dup</name><path>/file/dup</path></file><file><path>/no/name</path></file>"
        "<file><name>no-path</name></file><file><name>empty</name><path/></file>"
        "<file><name> spaced </name><path> /s </path></file>"
        "<binary><name>misplaced</name><libname>libm.so</libname></binary>"
        "<file><name>extra</name><comment>x</comment><path>/e</path><paths>/f</paths></file>"
        "<file><name>" + kLongName + "</name><path>/p</path></file>",
        "<binary><name>lib-carried</name><libname>libc1.so</libname></binary>"
        "<binary><name>lib-relative</name><absolutepath>no</absolutepath><libname>libfoo.so"
        "</libname></binary><binary><name>lib-absolute</name><absolutepath>true</absolutepath>"
        "<libname>libfoo.so</libname><comment>x</comment></binary>"
        "<binary><name>dup</name><libname>libdup.so</libname></binary>",
        "<property><name>ro.vendor.model</name><value>default</value></property><property>"
        "<name>ro.empty</name><value>fallback</value></property><property><name>ro.absent</name>"
        "<value>absent-default</value></property><property><name>dup</name><value>prop-dup"
        "</value></property><property><value>early</value><name>named-late</name></property>"
        "<property><name>blank-default</name><value/></property>"
        "<file><name>misplaced-file</name><path>/m</path></file>");
    // The per-user file wins over the system one, and a sub-process shares its package's.
    Expect("all groups",
           {{kProps, "ro.product.cpu.abi=arm64-v8a\nro.vendor.model=SE4750\nro.empty=\n"
                     "unlisted.prop=from-property\n"},
            {prefix + kDeps, document},
            {kDeps, Document("<file><name>absolute</name><path>/system</path></file>")}},
           resolved, {}, "caller:remote");
    // clang-format on
}

// Device paths in `resolved` are removed, or moved over the path given with them.
TEST(ConfigInfo, AFileWithOnlyEmptyGroupsIsReadAgainByTheNextResolution) {
    const std::string next = "/system/etc/scanner/next.xml";
    Expect("empty groups",
           {{kDeps, Document("")}, {next, Document("<file><name>a</name><path>/p</path></file>")}},
           {{"a", ""}, {next, kDeps}, {"a", "/p"}});
}

TEST(ConfigInfo, BinariesFollowTheAbi) {
    const std::string binaries = Document(
        "",
        "<binary><name>abs</name><absolutepath>true</absolutepath><libname>libfoo.so</libname>"
        "</binary><binary><name>rel</name><absolutepath>false</absolutepath><libname>libfoo.so"
        "</libname></binary>");
    // clang-format off
    const std::pair<std::string, std::string> abis[] = {
        {"arm64-v8a", "lib64"}, {"x86_64", "lib64"}, {"armeabi-v7a", "lib"}, {"x86", "lib"},
        {"riscv64", ""}};
    // clang-format on
    for (const auto& abi : abis) {
        Expect("abi " + abi.first,
               {{kProps, "ro.product.cpu.abi=" + abi.first + "\n"}, {kDeps, binaries}},
               {{"abs", "/system/" + abi.second + "/libfoo.so"},
                {"rel", "/system/libs/" + abi.first + "/libfoo.so"}});
    }
}

TEST(ConfigInfo, BrokenFileOrTooLongTextEndsTheProcess) {
    // The error line follows the description, except that the file's load failure carries the
    // parser's own text.
    const auto broken = [](const char* file, const std::string& error, int line,
                           const std::string& head = "ConfigInfo : ") {
        Expect(error, file ? Files{{kDeps, file}} : Files{}, {{"anything", ""}},
               {{ANDROID_LOG_ERROR, kTag, line == 121 ? "" : kHead + error},
                {ANDROID_LOG_FATAL, kAssertTag,
                 "This is not my fault, Something else has malfunctioned - Sincerly "
                 "ScanningService\n"},
                {ANDROID_LOG_FATAL, kAssertTag, "ERROR DESCRIPTION: " + head + error},
                {ANDROID_LOG_FATAL, kAssertTag,
                 "ASSERTING AT device/common/platform_bundle/dependencies/includes/ConfigInfo:" +
                     std::to_string(line) + " \n"}});
    };
    const std::string node = " node in ExternalDependencies XML";
    broken(nullptr, "Unable to load ExternalDependencies XML file", 121);
    broken("<?xml version=\"1.0\"?>\n<!-- nothing -->\n", "Failed : No root element.", 130, kHead);
    broken("<deps><binaries/><properties/></deps>", "No files" + node, 138);
    broken("<deps><properties/><files/></deps>", "No binaries" + node, 146);
    broken("<deps><files/><binaries/><Properties/></deps>", "No properties" + node, 154);

    const std::string p100(100, 'p');
    const auto tooLong = [](const std::string& line, const std::string& files,
                            const std::string& properties = "",
                            const std::string& process = "caller") {
        Expect(line, {{kDeps, Document(files, "", properties)}}, {{"a", ""}},
               {{ANDROID_LOG_FATAL, kTag, "[Utils::FormatFixed] " + line + "\n"}}, process);
    };
    tooLong("the data-files directory does not fit in 128 bytes (" +
                std::to_string(DataFilesDir(p100).size() + 1) + " needed)",
            "", "", p100);
    tooLong("a dependency name does not fit in 128 bytes (129 needed)",
            "<file><name>" + kLongName + "n</name><path>/p</path></file>");
    tooLong("an absolutepath text does not fit in 128 bytes (201 needed)",
            "<file><name>a</name><absolutepath>" + std::string(200, 't') +
                "</absolutepath><path>/p</path></file>");
    tooLong("a file path does not fit in 256 bytes (257 needed)",
            "<file><name>a</name><path>/" + std::string(255, 'x') + "</path></file>");
    tooLong("a property value does not fit in 128 bytes (129 needed)", "",
            "<property><name>p</name><value>" + std::string(128, 'v') + "</value></property>");
}

}  // namespace
