// The scanner list reader in-process, at the suites' log level (5): info and error lines are
// written, debug lines are not. Each case writes one small file into its own device root.

#include "XMLParserUtil.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <tinyxml2.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "DeviceFixture.h"
#include "ScannerListXml.h"
#include "TestSupport.h"

namespace {

using namespace orvex::test;
using namespace orvex::test::xml;
using orvex::hostlog::Entry;

constexpr const char* kPath = "/ScannerList.xml";
constexpr const char* kSource =
    "device/common/platform_bundle/dependencies/LibProperties/utility/XMLParserUtil";

struct Facts {
    bool rear = true;
    int scannerId = 31;
    std::string platform = "lahaina";
    std::string model = "TR52";
    std::string release = "Android_13";
    bool front = false;
};

struct Scanner {
    std::string name;
    int index;
    std::string model;
    int orientation;
    bool operator==(const Scanner& o) const {
        return name == o.name && index == o.index && model == o.model &&
               orientation == o.orientation;
    }
};

void PrintTo(const Scanner& s, std::ostream* os) {
    *os << "{" << s.name << ", " << s.index << ", " << s.model << ", " << s.orientation << "}";
}

// Sets the device root for one test and puts the previous one back.
class XMLParserUtilTest : public ::testing::Test {
protected:
    void SetUp() override {
        const char* previous = getenv("ORVEX_DEVICE_ROOT");
        previous_ = previous != nullptr ? previous : "";
        setenv("ORVEX_DEVICE_ROOT", root_.path().c_str(), 1);
    }
    void TearDown() override { setenv("ORVEX_DEVICE_ROOT", previous_.c_str(), 1); }

    // Writes `content` and reads it with these facts.
    std::vector<Scanner> Read(const std::string& content, const Facts& facts) {
        root_.AddFile(kPath, content);
        return Parse(facts);
    }

    // Reads the file as it is; the list as records, each key checked against its position.
    std::vector<Scanner> Parse(const Facts& facts) {
        XMLParserUtil parser;
        std::vector<char> platform(facts.platform.begin(), facts.platform.end());
        platform.push_back('\0');
        std::vector<char> model(facts.model.begin(), facts.model.end());
        model.push_back('\0');
        std::vector<char> release(facts.release.begin(), facts.release.end());
        release.push_back('\0');
        std::map<int, SupportedScanner> list = parser.GetSupportedScannerListFromXML(
            kPath, facts.rear, facts.scannerId, platform.data(), model.data(), release.data(),
            facts.front);
        std::vector<Scanner> out;
        int position = 0;
        for (auto& entry : list) {
            EXPECT_EQ(position++, entry.first);
            out.push_back({entry.second.GetScannerName(), entry.second.GetScannerIndex(),
                           entry.second.GetScannerModel(), entry.second.GetScannerOrientation()});
        }
        return out;
    }

    DeviceRoot root_;
    std::string previous_;
};

struct ListCase {
    const char* what;
    std::string file;
    Facts facts;
    std::vector<Scanner> expected;
    std::vector<Entry> log;  // info and error lines
};

Entry Error(const std::string& text) { return {kError, kTag, text}; }
Entry Info(const std::string& text) { return {kInfo, kTag, text}; }

Facts WithFront(const std::string& model) {
    Facts f;
    f.front = true;
    f.model = model;
    return f;
}

Facts WithScannerId(int id) {
    Facts f;
    f.scannerId = id;
    return f;
}

Facts WithoutRearCamera() {
    Facts f;
    f.rear = false;
    return f;
}

TEST_F(XMLParserUtilTest, BuildsTheOrderedListFromDefaultsAndProductAmendments) {
    const std::string builtin31 = Builtin("31", "1", "Imager", "1", "IM5100");
    const std::vector<ListCase> cases = {
        {"indexes order the scanners and are renumbered",
         List(Camera("Camera", "1", "5", "REAR_CAMERA") + builtin31 +
                  External("Ring", "1", "7", "BT_RING") + External("Serial", "1", "3", "SSI"),
              ""),
         {},
         {{"Imager", 0, "IM5100", 0},
          {"Serial", 1, "SSI", 0},
          {"Camera", 2, "REAR_CAMERA", 0},
          {"Ring", 3, "BT_RING", 0}},
         {}},
        {"the camera, inserted first, keeps an index the built-in scanner also claims",
         List(Camera("Camera", "1", "1", "REAR_CAMERA") + builtin31, ""),
         {},
         {{"Camera", 0, "REAR_CAMERA", 0}},
         {}},
        {"no rear camera, no camera scanner",
         List(Camera("Camera", "1", "5", "REAR_CAMERA") + builtin31, ""),
         WithoutRearCamera(),
         {{"Imager", 0, "IM5100", 0}},
         {}},
        {"a camera scanner with supported 0 is withdrawn",
         List(Camera("Camera", "0", "5", "REAR_CAMERA"), ""),
         {},
         {},
         {Info("[XMLParserUtil::GetCameraScannerName] Camera scanner is not supported")}},
        {"supported written with a blank, or empty, still offers",
         List(Camera("Camera", " 0", "5", "REAR_CAMERA") + External("Ring", "", "7", "BT_RING"),
              ""),
         {},
         {{"Camera", 0, "REAR_CAMERA", 0}, {"Ring", 1, "BT_RING", 0}},
         {}},
        {"the front camera is offered on TR41 only",
         List(FrontCamera("Front", "6", "FRONT_CAMERA"), ""),
         WithFront("TR52"),
         {},
         {}},
        {"TR41 offers its front camera",
         List(Camera("Camera", "1", "5", "REAR_CAMERA") + FrontCamera("Front", "6", "FRONT_CAMERA"),
              ""),
         WithFront("TR41"),
         {{"Camera", 0, "REAR_CAMERA", 0}, {"Front", 1, "FRONT_CAMERA", 0}},
         {}},
        {"scanner ID 0 considers no built-in scanner, even one with ID 0",
         List(Builtin("0", "1", "Zero", "1", "IM0"), ""),
         WithScannerId(0),
         {},
         {}},
        {"the first matching built-in scanner wins",
         List(Builtin("31", "1", "First", "1", "IM1") + Builtin("31", "1", "Second", "2", "IM2"),
              ""),
         {},
         {{"First", 0, "IM1", 0}},
         {}},
        {"a matching built-in scanner without a name is passed over",
         List(Builtin("", "1", "NoId", "1", "IM0") + Builtin("31", "1", "", "1", "IM1") +
                  Builtin("31", "0", "Off", "1", "IM2") + Builtin("31", "1", "Third", "2", "IM3"),
              ""),
         {},
         {{"Third", 0, "IM3", 0}},
         {Error("[XMLParserUtil::GetInBuiltScannerName] Scanner ID is empty"),
          Error("[XMLParserUtil::GetInBuiltScannerName] Scanner name does not exist under "
                "builtin-scanner tag")}},
        {"external scanners without a name or withdrawn are skipped",
         List(External("", "1", "3", "X") + External("Serial", "0", "4", "SSI") +
                  External("Ring", "1", "5", "BT_RING"),
              ""),
         {},
         {{"Ring", 0, "BT_RING", 0}},
         {Error("[XMLParserUtil::GetDefaultExternalScanners] Scanner name is empty"),
          Error("[XMLParserUtil::GetDefaultExternalScanners] External scanner(Serial) is not "
                "supported")}},
        {"an element without text reads as empty",
         List("<camera-scanner><name/><supported>1</supported><index>5</index></camera-scanner>" +
                  External("Ring", "1", "5", "BT_RING"),
              ""),
         {},
         {{"Ring", 0, "BT_RING", 0}},
         {Error("[XMLParserUtil::GetCameraScannerName] Camera scanner name does not exist under "
                "camera-scanner tag")}},
        {"negative indexes sort first",
         List(External("Ring", "1", "5", "BT_RING") + External("Serial", "1", "-4", "SSI"), ""),
         {},
         {{"Serial", 0, "SSI", 0}, {"Ring", 1, "BT_RING", 0}},
         {}},
        {"a product withdraws the default built-in scanner by its index",
         List(builtin31 + External("Ring", "1", "5", "BT_RING"),
              Product("lahaina", "TR52", External("Anything", "0", "1", "OTHER"))),
         {},
         {{"Ring", 0, "BT_RING", 0}},
         {Error("[XMLParserUtil::UpDateScannerListWithPlatformSupportedScanners] builtin scanner "
                "name does not exist under Product tag")}},
        {"a product adds without replacing and ignores other numbers",
         List(External("Ring", "1", "5", "BT_RING"),
              Product("lahaina", "TR52",
                      External("Serial", "1", "8", "SSI") + External("Other", "1", "5", "X") +
                          External("Two", "2", "9", "Y") + External("", "1", "10", "Z") +
                          ProductBuiltin("5", "BT_RING", "Renamed Ring", "0"))),
         {},
         {{"Renamed Ring", 0, "BT_RING", 0}, {"Serial", 1, "SSI", 0}},
         {Error("[XMLParserUtil::UpDateScannerListWithPlatformSupportedScanners] External scanner "
                "name does not exist under external-scanner tag")}},
        {"a product renames and orients the built-in scanner of its model only",
         List(builtin31, Product("lahaina", "TR52",
                                 ProductBuiltin("1", "IM5100", "Mirrored Imager", "2") +
                                     ProductBuiltin("1", "IM9999", "Wrong Model", "1") +
                                     ProductBuiltin("7", "IM5100", "Wrong Index", "1"))),
         {},
         {{"Mirrored Imager", 0, "IM5100", 2}},
         {}},
        {"another platform's or product's amendments do not apply",
         List(builtin31,
              Product("holi", "TR52", ProductBuiltin("1", "IM5100", "Holi", "1")) +
                  Product("lahaina", "TR41", ProductBuiltin("1", "IM5100", "TR41", "1"))),
         {},
         {{"Imager", 0, "IM5100", 0}},
         {}},
        {"only the first element of the release counts",
         "<ScannerList>" +
             Element("Android_13", Element("default", External("First", "1", "1", "A")) +
                                       Element("platform", "")) +
             Element("Android_13", Element("default", External("Second", "1", "1", "B")) +
                                       Element("platform", "")) +
             "</ScannerList>",
         {},
         {{"First", 0, "A", 0}},
         {}},
    };
    for (const ListCase& c : cases) {
        SCOPED_TRACE(c.what);
        orvex::hostlog::ScopedCapture capture;
        EXPECT_EQ(c.expected, Read(c.file, c.facts));
        EXPECT_EQ(c.log, capture.WithTag(kTag));
    }
}

TEST_F(XMLParserUtilTest, NullTextArgumentsGiveAnEmptyListWithoutReadingAnything) {
    XMLParserUtil parser;
    char text[] = "x";
    EXPECT_TRUE(
        parser.GetSupportedScannerListFromXML(nullptr, true, 1, text, text, text, true).empty());
    EXPECT_TRUE(
        parser.GetSupportedScannerListFromXML("/missing", true, 1, nullptr, text, text, true)
            .empty());
    EXPECT_TRUE(
        parser.GetSupportedScannerListFromXML("/missing", true, 1, text, nullptr, text, true)
            .empty());
    EXPECT_TRUE(
        parser.GetSupportedScannerListFromXML("/missing", true, 1, text, text, nullptr, true)
            .empty());
}

TEST_F(XMLParserUtilTest, NumberThatDoesNotParseEscapesOnlyFromAnEntryThatIsTaken) {
    struct Case {
        const char* what;
        std::string file;
        Facts facts;
        bool throws;
    };
    const std::vector<Case> cases = {
        {"camera index", List(Camera("Camera", "1", "five", "C"), ""), {}, true},
        {"camera index of an absent rear camera", List(Camera("Camera", "1", "five", "C"), ""),
         WithoutRearCamera(), false},
        {"empty external index", List(External("Ring", "1", "", "R"), ""), {}, true},
        {"built-in id", List(Builtin("abc", "1", "Imager", "1", "IM"), ""), {}, true},
        {"built-in id with scanner ID 0", List(Builtin("abc", "1", "Imager", "1", "IM"), ""),
         WithScannerId(0), false},
        {"product supported",
         List("", Product("lahaina", "TR52", External("S", "yes", "1", "M"))),
         {},
         true},
        {"orientation of the built-in scanner amended",
         List(Builtin("31", "1", "Imager", "1", "IM5100"),
              Product("lahaina", "TR52", ProductBuiltin("1", "IM5100", "Imager", ""))),
         {},
         true},
        {"orientation of an amendment that does not apply",
         List(Builtin("31", "1", "Imager", "1", "IM5100"),
              Product("lahaina", "TR52", ProductBuiltin("1", "OTHER", "Imager", "x"))),
         {},
         false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        if (c.throws) {
            EXPECT_THROW(Read(c.file, c.facts), std::invalid_argument);
        } else {
            EXPECT_NO_THROW(Read(c.file, c.facts));
        }
    }
    EXPECT_THROW(Read(List(External("Ring", "1", "99999999999", "R"), ""), {}), std::out_of_range);
}

using XMLParserUtilDeathTest = XMLParserUtilTest;

TEST_F(XMLParserUtilDeathTest, BrokenFileEndsTheProcessWithItsAssertion) {
    struct Case {
        const char* what;
        const char* content;  // null: no file
        std::string error;    // empty: the parser's own text
        std::string description;
        int line;
    };
    const std::string head = "[XMLParserUtil::GetSupportedScannerListFromXML] ";
    const std::vector<Case> cases = {
        {"missing file", nullptr, "", "XMLParserUtil : Unable to load ScannerList XML file", 30},
        {"malformed", "<ScannerList><Android_13>", "",
         "XMLParserUtil : Unable to load ScannerList XML file", 30},
        {"no root", "<?xml version=\"1.0\"?>\n<!-- nothing -->\n",
         head + "Failed to load config file: No root element.",
         "XMLParserUtil : Failed to load config file: No root element.", 38},
        {"no release", "<ScannerList><Android_12><default/><platform/></Android_12></ScannerList>",
         head + "No node in ScannerList XML with AndroidVersion = Android_13",
         "XMLParserUtil : No node in ScannerList XML with AndroidVersion = Android_13", 44},
        {"no default", "<ScannerList><Android_13><platform/></Android_13></ScannerList>",
         head + "No default node in ScannerList XML",
         "XMLParserUtil : No default node in ScannerList XML", 52},
        {"no platform", "<ScannerList><Android_13><default/></Android_13></ScannerList>",
         head + "No platform node in ScannerList XML",
         "XMLParserUtil : No platform node in ScannerList XML", 59},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        std::string error = c.error;
        if (c.content != nullptr) root_.AddFile(kPath, c.content);
        if (error.empty()) {
            tinyxml2::XMLDocument doc(true, tinyxml2::PRESERVE_WHITESPACE);
            doc.LoadFile(root_.HostPath(kPath).c_str());
            error = head + "Unable to load ScannerList XML file, desc : " + doc.ErrorStr();
        }
        EXPECT_DEATH(Parse({}), LiteralRegex(" E ScannerFramework: " + error + "\n") + ".*" +
                                    AssertionRegex(c.description, kSource, c.line));
        unlink(root_.HostPath(kPath).c_str());
    }
}

}  // namespace
