// The trigger configuration module in fresh caller processes, each on its own device: the
// trigger resource file's keys and their parsing, the built-in triggers, the SKU level of one
// model, the relabelling on a model without imager, and the list's handling as callers use it.

#include <gtest/gtest.h>
#include <unistd.h>

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "TestSupport.h"

namespace {

using namespace orvex::test;
using orvex::hostlog::Entry;

using Strings = std::vector<std::string>;

constexpr const char* kTag = "ScannerFramework";
constexpr const char* kResourcePath = "/system/etc/scanner/ScannerResourceConfig.xml";

Entry D(const std::string& text) { return {3, kTag, text}; }
Entry I(const std::string& text) { return {4, kTag, text}; }
Entry W(const std::string& text) { return {5, kTag, text}; }
Entry E(const std::string& text) { return {6, kTag, text}; }

struct Device {
    std::string model = "TR52";
    std::string sku = "TR52HC";
    std::string resourceFile;  // empty: no file
};

struct TriggersRun {
    ProcessResult process;
    Strings lines;
    // The library's records after the device facts were gathered, registrations left out.
    std::vector<Entry> log;
};

TriggersRun RunTriggers(const Device& device, const Strings& args) {
    DeviceRoot root;
    root.AddFile("/system/build.prop",
                 "ro.board.platform=lahaina\nro.product.name=test\nro.product.model=" +
                     device.model + "\nro.product.device=" + device.sku +
                     "\nro.product.manufacturer=Tevrin\nro.build.version.release=13\n"
                     "ro.product.cpu.abi=x86_64\n");
    root.AddFile("/system/etc/scanner/ExternalDependencies.xml",
                 "<?xml version=\"1.0\"?>\n<deps>\n<files><file><name>scannerresourceconfig</name>"
                 "<absolutepath>true</absolutepath><path>" +
                     std::string(kResourcePath) +
                     "</path></file></files>\n<binaries><binary><name>libplatformso</name>"
                     "<absolutepath>true</absolutepath><libname>libplatform.orvex.so</libname>"
                     "</binary></binaries>\n<properties/>\n</deps>\n");
    root.AddDir("/system/lib64");
    if (symlink(PlatformLibraryPath().c_str(),
                root.HostPath("/system/lib64/libplatform.orvex.so").c_str()) != 0) {
        throw std::runtime_error("symlink");
    }
    if (!device.resourceFile.empty()) root.AddFile(kResourcePath, device.resourceFile);
    root.SetLogLevel("1");

    const std::string logPath = root.path() + "/caller.log";
    TriggersRun run;
    run.process = RunProcess(ORVEX_BUILD_DIR "/bin/triggers_caller", "triggers_caller", args,
                             {{"ORVEX_DEVICE_ROOT", root.path()}, {"ORVEX_LOG", logPath}});
    const std::string& out = run.process.out;
    for (size_t start = 0; start < out.size();) {
        size_t end = out.find('\n', start);
        run.lines.push_back(out.substr(start, end - start));
        start = end + 1;
    }
    bool facts = false;
    for (const Entry& e : WithoutRegistrations(ReadLogFile(logPath))) {
        if (e.tag != kTag) continue;
        facts = facts || e.message.rfind("[DeviceInfo::GetProductModel]", 0) == 0;
        if (facts) run.log.push_back(e);
    }
    return run;
}

// The records of an Init up to the trigger file, on a device whose imager answers "31".
std::vector<Entry> InitStart(const Device& device) {
    return {D("[DeviceInfo::GetProductModel] ProductModel Name " + device.model),
            D("[DeviceInfo::GetProductSKU] ProductSKU Name " + device.sku),
            I("[ImagerHIDLProxy::associateImagerHIDL] Acquired IImager HIDL interface."),
            I("[ImagerHIDLProxy::getEngineID] getEngineID"),
            D("[ImagerHIDLProxy::getEngineID] ScannerID=31"),
            I("[ImagerHIDLProxy::disAssociateImagerHIDL] disconnected Imager HIDL"),
            D("[Triggers::Init] Product model : '" + device.model + "' | Device : '" + device.sku +
              "'")};
}

std::vector<Entry> Plus(std::vector<Entry> a, const std::vector<Entry>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

const Strings kBuiltIn = {
    "310\tKey Mapper Scan\tKEY_MAPPER_SCAN\t0",
    "311\tKey Mapper R1\tKEY_MAPPER_R1\t0",
    "744\tKey Mapper L1\tKEY_MAPPER_L1\t0",
    "724\tTrigger Proximity\tTRIGGER_PROXIMITY\t0",
    "726\tTrigger Wired Left\tTRIGGER_WIRED_LEFT\t0",
    "727\tTrigger Wired Right\tTRIGGER_WIRED_RIGHT\t0",
};

Strings Lines(const std::string& first, const Strings& rest) {
    Strings lines = {first};
    lines.insert(lines.end(), rest.begin(), rest.end());
    return lines;
}

std::string File(const std::string& body) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<ScannerResourceConfig>\n" + body +
           "\n</ScannerResourceConfig>\n";
}

TEST(Triggers, KeysAreReadInDocumentOrderWithHexCodesAndOnlyOneMeaningMultiScanner) {
    Device device;
    device.resourceFile = File(
        "<TR41><Key><KeyCode>1</KeyCode></Key></TR41>\n"
        "<TR52>\n"
        " <Key><KeyCode>136</KeyCode><friendlyname>Trigger Left</friendlyname>"
        "<ScannerResource>TRIGGER_LEFT</ScannerResource>"
        "<MultiScannerSupport>1</MultiScannerSupport></Key>\n"
        " <Other><KeyCode>5</KeyCode></Other>\n"
        " <Key><ScannerResource>TRIGGER_RIGHT</ScannerResource><KeyCode>0x2D7</KeyCode>"
        "<MultiScannerSupport>true</MultiScannerSupport>"
        "<friendlyname>Trigger Right</friendlyname></Key>\n"
        " <Key><KeyCode>9</KeyCode><Unknown>x</Unknown><KeyCode>1F</KeyCode>"
        "<MultiScannerSupport>1</MultiScannerSupport><MultiScannerSupport>0</MultiScannerSupport>"
        "</Key>\n"
        " <Key/>\n"
        " <Key><KeyCode>xyz</KeyCode><friendlyname/><ScannerResource></ScannerResource></Key>\n"
        "</TR52>\n"
        "<TR52><Key><KeyCode>2</KeyCode></Key></TR52>");
    TriggersRun run = RunTriggers(device, {"init", "list", "deinit", "list"});
    EXPECT_EQ(0, run.process.exitCode) << run.process.err;
    EXPECT_EQ((Strings{"init true", "size 5 empty false", "310\tTrigger Left\tTRIGGER_LEFT\t1",
                       "727\tTrigger Right\tTRIGGER_RIGHT\t0", "31\t\t\t0", "-1\t\t\t0", "0\t\t\t0",
                       "deinit", "size 0 empty true"}),
              run.lines);
    EXPECT_EQ(InitStart(device), run.log);
}

TEST(Triggers, ADeviceEntryWithoutKeysGetsTheSixBuiltInTriggers) {
    struct Case {
        const char* what;
        Device device;
    };
    const std::vector<Case> cases = {
        {"empty entry", {"TR52", "TR52HC", File("<TR52/>")}},
        {"only other elements", {"TR52", "TR52HC", File("<TR52><key/><Keys/></TR52>")}},
        // Only one model has the SKU level; for the others a SKU element is just not a key.
        {"a SKU level on another model",
         {"TR52", "TR52HC", File("<TR52><TR52HC><Key><KeyCode>1</KeyCode></Key></TR52HC></TR52>")}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        TriggersRun run = RunTriggers(c.device, {"init", "list", "deinit"});
        EXPECT_EQ(0, run.process.exitCode) << run.process.err;
        Strings expected = Lines("init true", Lines("size 6 empty false", kBuiltIn));
        expected.push_back("deinit");
        EXPECT_EQ(expected, run.lines);
        EXPECT_EQ(InitStart(c.device), run.log);
    }
}

TEST(Triggers, AMissingFileRootOrDeviceEntryFailsWithAnEmptyList) {
    const std::string path = kResourcePath;
    struct Case {
        const char* what;
        Device device;
        Entry failure;
    };
    const std::vector<Case> cases = {
        {"no file",
         {"TR52", "TR52HC", ""},
         W("[Triggers::Init] Unable to load scannerresourceconfig file from : " + path)},
        {"not XML",
         {"TR52", "TR52HC", "<ScannerResourceConfig><TR52>"},
         W("[Triggers::Init] Unable to load scannerresourceconfig file from : " + path)},
        {"no root element",
         {"TR52", "TR52HC", "<?xml version=\"1.0\"?>\n<!-- none -->\n"},
         E("[Triggers::Init] No root element in scannerresourceconfig file : " + path)},
        {"no entry for the model",
         {"TR52", "TR52HC", File("<TR41><Key/></TR41>")},
         W("[Triggers::Init] No element in scannerresourceconfig file for the device : TR52 - "
           "TR52HC")},
        {"keys directly under the model that needs its SKU",
         {"HX2105x", "HX2105A", File("<HX2105x><Key><KeyCode>1</KeyCode></Key></HX2105x>")},
         W("[Triggers::Init] No element in scannerresourceconfig file for the device : HX2105x - "
           "HX2105A")},
        {"no entry for the SKU",
         {"HX2105x", "HX2105A", File("<HX2105x><HX2105B><Key/></HX2105B></HX2105x>")},
         W("[Triggers::Init] No element in scannerresourceconfig file for the device : HX2105x - "
           "HX2105A")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        TriggersRun run = RunTriggers(c.device, {"init", "list", "deinit"});
        EXPECT_EQ(0, run.process.exitCode) << run.process.err;
        EXPECT_EQ((Strings{"init false", "size 0 empty true", "deinit"}), run.lines);
        EXPECT_EQ(Plus(InitStart(c.device), {c.failure}), run.log);
    }
}

TEST(Triggers, TheSkuLevelOfItsModelHoldsTheKeys) {
    Device device{"HX2105x", "HX2105A",
                  File("<HX2105x>\n<Key><KeyCode>1</KeyCode></Key>\n"
                       "<HX2105B><Key><KeyCode>2</KeyCode></Key></HX2105B>\n"
                       "<HX2105A><Key><KeyCode>2D6</KeyCode><friendlyname>Grip</friendlyname>"
                       "<ScannerResource>TRIGGER_GRIP</ScannerResource></Key></HX2105A>\n"
                       "</HX2105x>")};
    TriggersRun run = RunTriggers(device, {"init", "list", "deinit"});
    EXPECT_EQ(0, run.process.exitCode) << run.process.err;
    EXPECT_EQ((Strings{"init true", "size 1 empty false", "726\tGrip\tTRIGGER_GRIP\t0", "deinit"}),
              run.lines);
}

TEST(Triggers, OnTheModelWithoutImagerTheCentreKeyBecomesTheKeyMapper) {
    const std::string file = File(
        "<QT7BW>\n"
        "<Key><KeyCode>2D5</KeyCode><friendlyname>Trigger Center</friendlyname>"
        "<ScannerResource>TRIGGER_CENTER</ScannerResource>"
        "<MultiScannerSupport>1</MultiScannerSupport></Key>\n"
        "<Key><KeyCode>2D6</KeyCode><friendlyname>Trigger Left</friendlyname>"
        "<ScannerResource>TRIGGER_LEFT</ScannerResource>"
        "<MultiScannerSupport>1</MultiScannerSupport></Key>\n"
        "<Key><KeyCode>2D8</KeyCode><friendlyname>Centre again</friendlyname>"
        "<ScannerResource>TRIGGER_CENTER</ScannerResource></Key>\n"
        "</QT7BW>");
    const Strings relabelled = {"725\tKey Mapper Scan\tKEY_MAPPER_SCAN\t0",
                                "726\tTrigger Left\tTRIGGER_LEFT\t1",
                                "728\tKey Mapper Scan\tKEY_MAPPER_SCAN\t0"};
    const Strings kept = {"725\tTrigger Center\tTRIGGER_CENTER\t1",
                          "726\tTrigger Left\tTRIGGER_LEFT\t1",
                          "728\tCentre again\tTRIGGER_CENTER\t0"};
    const Entry noImager = D("[Triggers::Init] Product model : 'QT7BW' with no imager");
    struct Case {
        Strings options;
        Strings list;
        std::vector<Entry> imagerLog;
    };
    auto answered = [](const std::string& id, bool error) {
        std::vector<Entry> log = {
            I("[ImagerHIDLProxy::associateImagerHIDL] Acquired IImager HIDL interface."),
            I("[ImagerHIDLProxy::getEngineID] getEngineID")};
        if (error) log.push_back(E("[ImagerHIDLProxy::getEngineID] Error at HIDL Service"));
        log.push_back(D("[ImagerHIDLProxy::getEngineID] ScannerID=" + id));
        log.push_back(I("[ImagerHIDLProxy::disAssociateImagerHIDL] disconnected Imager HIDL"));
        return log;
    };
    const std::vector<Entry> unreachable = {
        E("[ImagerHIDLProxy::associateImagerHIDL] Unable to get DCHWManager HIDL interface."),
        E("[ImagerHIDLProxy<T>::ImagerHIDLProxy] failed to associate Imager HIDL"),
        E("[ImagerHIDLProxy::getEngineID] sp_Imager is Null"),
        D("[ImagerHIDLProxy::getEngineID] ScannerID="),
        I("[ImagerHIDLProxy::disAssociateImagerHIDL] disconnected Imager HIDL")};
    const std::vector<Case> cases = {
        {{"--engine", "0"}, relabelled, answered("0", false)},
        {{"--engine", "000"}, relabelled, answered("000", false)},
        {{"--engine", ""}, relabelled, answered("", true)},
        {{"--engine", "1a"}, relabelled, answered("1a", false)},
        {{"--no-manager"}, relabelled, unreachable},
        {{"--engine", "1"}, kept, answered("1", false)},
        {{"--engine", "010"}, kept, answered("010", false)},
    };
    Device device{"QT7BW", "QT7BWA", file};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.options.back());
        Strings args = c.options;
        args.insert(args.end(), {"init", "list", "deinit"});
        TriggersRun run = RunTriggers(device, args);
        EXPECT_EQ(0, run.process.exitCode) << run.process.err;
        EXPECT_EQ(Lines("init true", Lines("size 3 empty false", c.list)),
                  Strings(run.lines.begin(), run.lines.end() - 1));
        std::vector<Entry> expected = {D("[DeviceInfo::GetProductModel] ProductModel Name QT7BW"),
                                       D("[DeviceInfo::GetProductSKU] ProductSKU Name QT7BWA")};
        expected = Plus(expected, c.imagerLog);
        expected.push_back(D("[Triggers::Init] Product model : 'QT7BW' | Device : 'QT7BWA'"));
        if (c.list == relabelled) expected.push_back(noImager);
        EXPECT_EQ(expected, run.log);
    }
}

TEST(Triggers, ASecondInitAppendsAndCallersMayChangeTheListBeforeDeinit) {
    Device device;
    device.resourceFile = File(
        "<TR52><Key><KeyCode>10</KeyCode><friendlyname>A</friendlyname>"
        "</Key></TR52>");
    TriggersRun run =
        RunTriggers(device, {"abstract", "init", "init", "list", "push", "99", "Mine", "CALLER",
                             "drop", "list", "deinit", "list", "init", "list", "deinit"});
    EXPECT_EQ(0, run.process.exitCode) << run.process.err;
    EXPECT_EQ(
        (Strings{"Triggers supported", "init true", "init true", "size 2 empty false", "16\tA\t\t0",
                 "16\tA\t\t0", "size 2 empty false", "16\tA\t\t0", "99\tMine\tCALLER\t0", "deinit",
                 "size 0 empty true", "init true", "size 1 empty false", "16\tA\t\t0", "deinit"}),
        run.lines);
}

}  // namespace

namespace {

TEST(Triggers, TheDeviceProfilesListTheirOwnKeys) {
    struct Case {
        const char* profile;
        Strings options;
        Strings list;
    };
    const std::vector<Case> cases = {
        {"default",
         {},
         {"726\tTrigger Left\tTRIGGER_LEFT\t1", "727\tTrigger Right\tTRIGGER_RIGHT\t1",
          "725\tTrigger Center\tTRIGGER_CENTER\t0"}},
        {"tr41",
         {},
         {"726\tTrigger Left\tTRIGGER_LEFT\t0", "727\tTrigger Right\tTRIGGER_RIGHT\t0"}},
        {"HX2105x",
         {},
         {"725\tTrigger Center\tTRIGGER_CENTER\t1", "728\tTrigger Grip\tTRIGGER_GRIP\t0"}},
        {"QT7BW",
         {"--no-imager"},
         {"725\tKey Mapper Scan\tKEY_MAPPER_SCAN\t0", "311\tKey Mapper R1\tKEY_MAPPER_R1\t0"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.profile);
        TempDir logDir;
        Strings args = c.options;
        args.insert(args.end(), {"init", "list", "deinit"});
        ProcessResult process = RunProcess(
            ORVEX_BUILD_DIR "/bin/triggers_caller", "triggers_caller", args,
            {{"ORVEX_DEVICE_ROOT", ORVEX_BUILD_DIR "/sim/profiles/" + std::string(c.profile)},
             {"ORVEX_LOG", logDir.path() + "/caller.log"}});
        EXPECT_EQ(0, process.exitCode) << process.err;
        std::string expected =
            "init true\nsize " + std::to_string(c.list.size()) + " empty false\n";
        for (const std::string& line : c.list) expected += line + "\n";
        EXPECT_EQ(expected + "deinit\n", process.out);
    }
}

}  // namespace
