// The scanner list file with the device facts it is read against. The input's first line holds
// the facts, separated by blanks:
//   <rear camera 0/1> <front camera 0/1> <scanner ID> <platform> <product model> <version key>
// (missing fields take a TR52 on lahaina, Android 13, with a rear camera and no imager); the
// rest of the input is the file.

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>

#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "SupportedScanner.h"
#include "XMLParserUtil.h"

namespace {

constexpr const char* kFile = "/system/etc/scanner/ScannerList.xml";

struct Facts {
    bool rearCamera = true;
    bool frontCamera = false;
    int scannerId = 0;
    std::string platform = "lahaina";
    std::string model = "TR52";
    std::string version = "Android_13";
};

Facts ParseFacts(const std::string& line) {
    std::istringstream in(line);
    std::vector<std::string> fields;
    for (std::string field; in >> field;) fields.push_back(field);
    Facts facts;
    if (fields.size() > 0) facts.rearCamera = atoi(fields[0].c_str()) != 0;
    if (fields.size() > 1) facts.frontCamera = atoi(fields[1].c_str()) != 0;
    if (fields.size() > 2)
        facts.scannerId = static_cast<int>(strtol(fields[2].c_str(), nullptr, 10));
    if (fields.size() > 3) facts.platform = fields[3];
    if (fields.size() > 4) facts.model = fields[4];
    if (fields.size() > 5) facts.version = fields[5];
    return facts;
}

[[noreturn]] void Fail() { __builtin_trap(); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    orvex::fuzz::Setup();
    const std::string input(reinterpret_cast<const char*>(data), size);
    const size_t newline = input.find('\n');
    Facts facts = ParseFacts(newline == std::string::npos ? "" : input.substr(0, newline));
    const std::string file = newline == std::string::npos ? input : input.substr(newline + 1);
    orvex::fuzz::WriteDeviceFile(kFile, file);

    XMLParserUtil parser;
    std::map<int, SupportedScanner> list;
    try {
        list = parser.GetSupportedScannerListFromXML(kFile, facts.rearCamera, facts.scannerId,
                                                     &facts.platform[0], &facts.model[0],
                                                     &facts.version[0], facts.frontCamera);
    } catch (const orvex::fuzz::ExpectedAssertion&) {
        return 0;  // no usable file, or no element for the release: refused by design
    } catch (const std::invalid_argument&) {
        return 0;  // a number that is not one reaches the caller, as designed
    } catch (const std::out_of_range&) {
        return 0;
    }
    // Renumbered: positions 0 .. n-1, each record's index its position.
    int position = 0;
    for (auto& entry : list) {
        if (entry.first != position || entry.second.GetScannerIndex() != position) Fail();
        ++position;
    }
    return 0;
}
