// The trigger configuration module in fresh caller processes, each on its own device: the
// trigger resource file's keys and their parsing, the built-in triggers, the SKU level of one
// model, the relabelling on a model without imager, and the list's handling as callers use it
// (its walk, removal by the cursor and clearing, through the list's table of virtual functions).

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestSupport.h"

namespace {

using namespace orvex::test;
using Strings = std::vector<std::string>;

constexpr const char* kResourcePath = "/system/etc/scanner/ScannerResourceConfig.xml";
const Strings kRun = {"init", "list", "deinit"};
const std::string kBuiltIn =
    "init true\nsize 6 empty false\n310\tKey Mapper Scan\tKEY_MAPPER_SCAN\t0\n"
    "311\tKey Mapper R1\tKEY_MAPPER_R1\t0\n744\tKey Mapper L1\tKEY_MAPPER_L1\t0\n"
    "724\tTrigger Proximity\tTRIGGER_PROXIMITY\t0\n726\tTrigger Wired Left\tTRIGGER_WIRED_LEFT\t0\n"
    "727\tTrigger Wired Right\tTRIGGER_WIRED_RIGHT\t0\ndeinit\n";
const std::string kFailed = "init false\nsize 0 empty true\ndeinit\n";
const std::string kNoFile =
    std::string("W [Triggers::Init] Unable to load scannerresourceconfig file from : ") +
    kResourcePath + "\n";
const std::string kQt =
    "<QT7BW>\n"
    "<Key><KeyCode>2D5</KeyCode><friendlyname>Trigger Center</friendlyname>"
    "<ScannerResource>TRIGGER_CENTER</ScannerResource><MultiScannerSupport>1</MultiScannerSupport>"
    "</Key>\n<Key><KeyCode>2D6</KeyCode><friendlyname>Trigger Left</friendlyname>"
    "<ScannerResource>TRIGGER_LEFT</ScannerResource><MultiScannerSupport>1</MultiScannerSupport>"
    "</Key>\n<Key><KeyCode>2D8</KeyCode><friendlyname>Centre again</friendlyname>"
    "<ScannerResource>TRIGGER_CENTER</ScannerResource></Key>\n</QT7BW>";
const std::string kRelabelled =
    "init true\nsize 3 empty false\n725\tKey Mapper Scan\tKEY_MAPPER_SCAN\t0\n"
    "726\tTrigger Left\tTRIGGER_LEFT\t1\n728\tKey Mapper Scan\tKEY_MAPPER_SCAN\t0\ndeinit\n";
const std::string kKept =
    "init true\nsize 3 empty false\n725\tTrigger Center\tTRIGGER_CENTER\t1\n"
    "726\tTrigger Left\tTRIGGER_LEFT\t1\n728\tCentre again\tTRIGGER_CENTER\t0\ndeinit\n";
const std::string kNoImager = "D [Triggers::Init] Product model : 'QT7BW' with no imager\n";

std::string File(const std::string& body) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<ScannerResourceConfig>\n" + body +
           "\n</ScannerResourceConfig>\n";
}

std::string NoEntry(const std::string& model, const std::string& sku) {
    return "W [Triggers::Init] No element in scannerresourceconfig file for the device : " + model +
           " - " + sku + "\n";
}

struct Case {
    std::string what, model, sku, file;
    Strings args;
    std::string out;
    std::string log;  // the library's lines after its "Product model" line; "?": not checked
};

// Runs the caller on the case's device; checks its output and the library's records from the
// device facts on (registrations and the imager's lines left out), one "P message" line each.
void Check(const Case& c) {
    SCOPED_TRACE(c.what);
    DeviceRoot root;
    root.AddFile("/system/build.prop",
                 "ro.product.model=" + c.model + "\nro.product.device=" + c.sku + "\n");
    root.AddFile("/system/etc/scanner/ExternalDependencies.xml",
                 "<?xml version=\"1.0\"?>\n<deps>\n<files><file><name>scannerresourceconfig</name>"
                 "<absolutepath>true</absolutepath><path>" +
                     std::string(kResourcePath) +
                     "</path></file></files>\n<binaries/>\n<properties/>\n</deps>\n");
    if (!c.file.empty()) root.AddFile(kResourcePath, c.file);
    root.SetLogLevel("1");
    const std::string logPath = root.path() + "/caller.log";
    ProcessResult process =
        RunProcess(ORVEX_BUILD_DIR "/bin/triggers_caller", "triggers_caller", c.args,
                   {{"ORVEX_DEVICE_ROOT", root.path()}, {"ORVEX_LOG", logPath}});
    EXPECT_EQ(0, process.exitCode) << process.err;
    std::string log;
    for (const orvex::hostlog::Entry& e :
         FilterTag(WithoutRegistrations(ReadLogFile(logPath)), "ScannerFramework")) {
        if (log.empty() && e.message.rfind("[DeviceInfo::GetProductModel]", 0) != 0) continue;
        // The imager's own lines are the imaging suite's to pin.
        if (e.message.rfind("[ImagerHIDLProxy", 0) == 0) continue;
        log += std::string(1, "???DIWEF"[e.priority]) + " " + e.message + "\n";
    }
    EXPECT_EQ(c.out, process.out);
    if (c.log == "?") return;
    EXPECT_EQ("D [DeviceInfo::GetProductModel] ProductModel Name " + c.model +
                  "\nD [DeviceInfo::GetProductSKU] ProductSKU Name " + c.sku +
                  "\nD [Triggers::Init] Product model : '" + c.model + "' | Device : '" + c.sku +
                  "'\n" + c.log,
              log);
}

TEST(Triggers, InitReadsTheKeysOfTheDeviceOrFallsBackOrFails) {
    std::vector<Case> cases = {
        {"keys in document order, hex codes, only 1 means multi-scanner",
         "TR52",
         "TR52HC",
         File("<TR41><Key><KeyCode>1</KeyCode></Key></TR41>\n<TR52>\n"
              " <Key><KeyCode>136</KeyCode><friendlyname>Trigger Left</friendlyname>"
              "<ScannerResource>TRIGGER_LEFT</ScannerResource>"
              "<MultiScannerSupport>1</MultiScannerSupport></Key>\n"
              " <Other><KeyCode>5</KeyCode></Other>\n"
              " <Key><ScannerResource>TRIGGER_RIGHT</ScannerResource><KeyCode>0x2D7</KeyCode>"
              "<MultiScannerSupport>true</MultiScannerSupport>"
              "<friendlyname>Trigger Right</friendlyname></Key>\n"
              " <Key><KeyCode>9</KeyCode><Unknown>x</Unknown><KeyCode>1F</KeyCode>"
              "<MultiScannerSupport>1</MultiScannerSupport>"
              "<MultiScannerSupport>0</MultiScannerSupport></Key>\n <Key/>\n"
              " <Key><KeyCode>xyz</KeyCode><friendlyname/><ScannerResource></ScannerResource>"
              "</Key>\n</TR52>\n<TR52><Key><KeyCode>2</KeyCode></Key></TR52>"),
         {"init", "list", "deinit", "list"},
         "init true\nsize 5 empty false\n310\tTrigger Left\tTRIGGER_LEFT\t1\n"
         "727\tTrigger Right\tTRIGGER_RIGHT\t0\n31\t\t\t0\n-1\t\t\t0\n0\t\t\t0\ndeinit\n"
         "size 0 empty true\n",
         ""},
        {"empty entry", "TR52", "TR52HC", File("<TR52/>"), kRun, kBuiltIn, ""},
        {"only other elements", "TR52", "TR52HC", File("<TR52><key/><Keys/></TR52>"), kRun,
         kBuiltIn, ""},
        // Only one model has the SKU level; for the others a SKU element is just not a key.
        {"a SKU level on another model", "TR52", "TR52HC",
         File("<TR52><TR52HC><Key><KeyCode>1</KeyCode></Key></TR52HC></TR52>"), kRun, kBuiltIn, ""},
        {"the SKU level of its model", "HX2105x", "HX2105A",
         File("<HX2105x>\n<Key><KeyCode>1</KeyCode></Key>\n"
              "<HX2105B><Key><KeyCode>2</KeyCode></Key></HX2105B>\n"
              "<HX2105A><Key><KeyCode>2D6</KeyCode><friendlyname>Grip</friendlyname>"
              "<ScannerResource>TRIGGER_GRIP</ScannerResource></Key></HX2105A>\n</HX2105x>"),
         kRun, "init true\nsize 1 empty false\n726\tGrip\tTRIGGER_GRIP\t0\ndeinit\n", ""},
        {"no file", "TR52", "TR52HC", "", kRun, kFailed, kNoFile},
        {"not XML", "TR52", "TR52HC", "<ScannerResourceConfig><TR52>", kRun, kFailed, kNoFile},
        {"no root element", "TR52", "TR52HC", "<?xml version=\"1.0\"?>\n<!-- none -->\n", kRun,
         kFailed,
         "E [Triggers::Init] No root element in scannerresourceconfig file : "
         "/system/etc/scanner/ScannerResourceConfig.xml\n"},
        {"no entry for the model", "TR52", "TR52HC", File("<TR41><Key/></TR41>"), kRun, kFailed,
         NoEntry("TR52", "TR52HC")},
        {"keys directly under the model that needs its SKU", "HX2105x", "HX2105A",
         File("<HX2105x><Key><KeyCode>1</KeyCode></Key></HX2105x>"), kRun, kFailed,
         NoEntry("HX2105x", "HX2105A")},
        {"no entry for the SKU", "HX2105x", "HX2105A",
         File("<HX2105x><HX2105B><Key/></HX2105B></HX2105x>"), kRun, kFailed,
         NoEntry("HX2105x", "HX2105A")},
        {"Init appends; callers change the list",
         "TR52",
         "TR52HC",
         File("<TR52><Key><KeyCode>10</KeyCode><friendlyname>A</friendlyname></Key></TR52>"),
         {"abstract", "init", "init", "list", "push", "99", "Mine", "CALLER", "drop", "list",
          "deinit", "list", "init", "list", "deinit"},
         "Triggers supported\ninit true\ninit true\nsize 2 empty false\n16\tA\t\t0\n16\tA\t\t0\n"
         "size 2 empty false\n16\tA\t\t0\n99\tMine\tCALLER\t0\ndeinit\nsize 0 empty true\n"
         "init true\nsize 1 empty false\n16\tA\t\t0\ndeinit\n",
         "?"},
    };
    // On the model without imager (engine identifier zero or not a number, or no manager at
    // all: "-") the centre key becomes the key mapper.
    for (std::string id : {"0", "000", "", "1a", "-", "1", "010"}) {
        const bool kept = id == "1" || id == "010";
        // The caller skips the "-" after "--no-manager" as an option it does not know.
        Strings args = {id == "-" ? "--no-manager" : "--engine", id, "init", "list", "deinit"};
        cases.push_back({"engine " + id, "QT7BW", "QT7BWA", File(kQt), args,
                         kept ? kKept : kRelabelled, kept ? "" : kNoImager});
    }
    for (const Case& c : cases) Check(c);
}

}  // namespace
