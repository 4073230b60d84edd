// The scanner list reader in-process, at the suites' log level (5): info and error lines are
// written, debug lines are not. Each case writes one small file into its own device root; the
// files it cannot read end the process and are run through the caller (DeviceInfo_test.cpp).

#include "XMLParserUtil.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "ScannerListXml.h"
#include "TestSupport.h"

namespace {

using namespace orvex::test;
using namespace orvex::test::xml;

// Reads `content` as the list of a lahaina device on Android_13 whose facts are the defaults
// (rear camera, scanner ID 31, TR52, front camera not checked) as `facts` changes them
// ("norear", "id0", "front", "TR41"). The list comes back as "NAME MODEL ORIENTATION, ...",
// each key and index checked against its position, or as the exception that escaped.
std::string Read(const std::string& content, const std::string& facts) {
    DeviceRoot root;
    root.AddFile("/ScannerList.xml", content);
    const std::string previous = getenv("ORVEX_DEVICE_ROOT") ? getenv("ORVEX_DEVICE_ROOT") : "";
    setenv("ORVEX_DEVICE_ROOT", root.path().c_str(), 1);
    char platform[] = "lahaina", release[] = "Android_13", tr52[] = "TR52", tr41[] = "TR41";
    std::string out;
    try {
        XMLParserUtil parser;
        int position = 0;
        for (auto& entry : parser.GetSupportedScannerListFromXML(
                 "/ScannerList.xml", facts.find("norear") == std::string::npos,
                 facts.find("id0") == std::string::npos ? 31 : 0, platform,
                 facts.find("TR41") == std::string::npos ? tr52 : tr41, release,
                 facts.find("front") != std::string::npos)) {
            EXPECT_EQ(position, entry.first);
            EXPECT_EQ(position++, entry.second.GetScannerIndex());
            out += (out.empty() ? "" : ", ") + entry.second.GetScannerName() + " " +
                   entry.second.GetScannerModel() + " " +
                   std::to_string(entry.second.GetScannerOrientation());
        }
    } catch (const std::invalid_argument&) {
        out = "invalid_argument";
    } catch (const std::out_of_range&) {
        out = "out_of_range";
    }
    setenv("ORVEX_DEVICE_ROOT", previous.c_str(), 1);
    return out;
}

TEST(XMLParserUtil, BuildsTheOrderedListFromDefaultsAndProductAmendments) {
    const std::string builtin31 = Builtin("31", "1", "Imager", "1", "IM5100");
    const std::string ring = External("Ring", "1", "5", "BT_RING");
    const std::string u = "E [XMLParserUtil::UpDateScannerListWithPlatformSupportedScanners] ";
    const std::string d = "E [XMLParserUtil::GetDefaultExternalScanners] ";
    const std::string b = "E [XMLParserUtil::GetInBuiltScannerName] ";
    const std::vector<std::vector<std::string>> cases = {
        // Indexes order the scanners and are renumbered; negative ones sort first.
        {List(Camera("Camera", "1", "5", "REAR_CAMERA") + builtin31 +
              External("Ring", "1", "7", "BT_RING") + External("Serial", "1", "3", "SSI")),
         "", "Imager IM5100 0, Serial SSI 0, Camera REAR_CAMERA 0, Ring BT_RING 0"},
        {List(ring + External("Serial", "1", "-4", "SSI")), "", "Serial SSI 0, Ring BT_RING 0"},
        // The camera, inserted first, keeps an index the built-in scanner also claims.
        {List(Camera("Camera", "1", "1", "REAR_CAMERA") + builtin31), "", "Camera REAR_CAMERA 0"},
        {List(Camera("Camera", "1", "5", "REAR_CAMERA") + builtin31), "norear", "Imager IM5100 0"},
        {List(Camera("Camera", "0", "5", "REAR_CAMERA")), "", "",
         "I [XMLParserUtil::GetCameraScannerName] Camera scanner is not supported\n"},
        // Supported written with a blank, or empty, still offers.
        {List(Camera("Camera", " 0", "5", "REAR_CAMERA") + External("Ring", "", "7", "BT_RING")),
         "", "Camera REAR_CAMERA 0, Ring BT_RING 0"},
        // The front camera is offered on TR41 only.
        {List(FrontCamera("Front", "6", "FRONT_CAMERA")), "front", ""},
        {List(Camera("Camera", "1", "5", "REAR_CAMERA") +
              FrontCamera("Front", "6", "FRONT_CAMERA")),
         "front TR41", "Camera REAR_CAMERA 0, Front FRONT_CAMERA 0"},
        // Scanner ID 0 considers no built-in scanner, even one with ID 0.
        {List(Builtin("0", "1", "Zero", "1", "IM0")), "id0", ""},
        {List(Builtin("31", "1", "First", "1", "IM1") + Builtin("31", "1", "Second", "2", "IM2")),
         "", "First IM1 0"},
        // A matching built-in scanner without a name, or withdrawn, is passed over.
        {List(Builtin("", "1", "NoId", "1", "IM0") + Builtin("31", "1", "", "1", "IM1") +
              Builtin("31", "0", "Off", "1", "IM2") + Builtin("31", "1", "Third", "2", "IM3")),
         "", "Third IM3 0",
         b + "Scanner ID is empty\n" + b +
             "Scanner name does not exist under builtin-scanner tag\n"},
        {List(External("", "1", "3", "X") + External("Serial", "0", "4", "SSI") + ring), "",
         "Ring BT_RING 0",
         d + "Scanner name is empty\n" + d + "External scanner(Serial) is not supported\n"},
        // An element without text reads as empty.
        {List("<camera-scanner><name/><supported>1</supported><index>5</index></camera-scanner>" +
              ring),
         "", "Ring BT_RING 0",
         "E [XMLParserUtil::GetCameraScannerName] Camera scanner name does not exist under "
         "camera-scanner tag\n"},
        // A product withdraws the default built-in scanner by its index.
        {List(builtin31 + ring, Product("lahaina", "TR52", External("Anything", "0", "1", "O"))),
         "", "Ring BT_RING 0", u + "builtin scanner name does not exist under Product tag\n"},
        // A product adds without replacing and ignores other numbers.
        {List(ring, Product("lahaina", "TR52",
                            External("Serial", "1", "8", "SSI") + External("Other", "1", "5", "X") +
                                External("Two", "2", "9", "Y") + External("", "1", "10", "Z") +
                                ProductBuiltin("5", "BT_RING", "Renamed Ring", "0"))),
         "", "Renamed Ring BT_RING 0, Serial SSI 0",
         u + "External scanner name does not exist under external-scanner tag\n"},
        // A product renames and orients the built-in scanner of its model only.
        {List(builtin31, Product("lahaina", "TR52",
                                 ProductBuiltin("1", "IM5100", "Mirrored Imager", "2") +
                                     ProductBuiltin("1", "IM9999", "Wrong Model", "1") +
                                     ProductBuiltin("7", "IM5100", "Wrong Index", "1"))),
         "", "Mirrored Imager IM5100 2"},
        {List(builtin31,
              Product("holi", "TR52", ProductBuiltin("1", "IM5100", "Holi", "1")) +
                  Product("lahaina", "TR41", ProductBuiltin("1", "IM5100", "TR41", "1"))),
         "", "Imager IM5100 0"},
        // Only the first element of the release counts.
        {"<ScannerList>" + Release(External("First", "1", "1", "A")) +
             Release(External("Second", "1", "1", "B")) + "</ScannerList>",
         "", "First A 0"},
        // A number that does not parse escapes only from an entry that is taken.
        {List(Camera("Camera", "1", "five", "C")), "", "invalid_argument"},
        {List(Camera("Camera", "1", "five", "C")), "norear", ""},
        {List(External("Ring", "1", "", "R")), "", "invalid_argument"},
        {List(External("Ring", "1", "99999999999", "R")), "", "out_of_range"},
        {List(Builtin("abc", "1", "Imager", "1", "IM")), "", "invalid_argument"},
        {List(Builtin("abc", "1", "Imager", "1", "IM")), "id0", ""},
        {List("", Product("lahaina", "TR52", External("S", "yes", "1", "M"))), "",
         "invalid_argument"},
        {List(builtin31, Product("lahaina", "TR52", ProductBuiltin("1", "IM5100", "Imager", ""))),
         "", "invalid_argument"},
        {List(builtin31, Product("lahaina", "TR52", ProductBuiltin("1", "OTHER", "Imager", "x"))),
         "", "Imager IM5100 0"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c[0] + " " + c[1]);
        orvex::hostlog::ScopedCapture capture;
        EXPECT_EQ(c[2], Read(c[0], c[1]));
        std::string log;
        for (const auto& e : capture.WithTag("ScannerFramework")) {
            log += std::string(1, "??VDIWEF"[e.priority & 7]) + " " + e.message + "\n";
        }
        EXPECT_EQ(c.size() > 3 ? c[3] : "", log);
    }
}

TEST(XMLParserUtil, NullTextArgumentsGiveAnEmptyListWithoutReadingAnything) {
    XMLParserUtil parser;
    char x[] = "x";
    EXPECT_TRUE(parser.GetSupportedScannerListFromXML(nullptr, true, 1, x, x, x, true).empty());
    EXPECT_TRUE(parser.GetSupportedScannerListFromXML("/no", true, 1, nullptr, x, x, true).empty());
    EXPECT_TRUE(parser.GetSupportedScannerListFromXML("/no", true, 1, x, nullptr, x, true).empty());
    EXPECT_TRUE(parser.GetSupportedScannerListFromXML("/no", true, 1, x, x, nullptr, true).empty());
}

}  // namespace
