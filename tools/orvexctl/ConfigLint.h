// What the library accepts silently in a device's configuration files but is likely a mistake.
// Each finding names the file (device path) and what the library will do with it.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace orvexctl {

struct Finding {
    std::string file;
    int line = 0;  // in the file, 0 when it is about the whole file
    std::string text;
};


void LintSettings(const std::string& deviceRoot, std::vector<Finding>* out);
void LintScannerList(const std::string& deviceRoot, const std::string& devicePath,
                     const std::string& androidVersionKey, std::vector<Finding>* out);

// Values of the properties the library compares exactly that start or end with a blank.
void LintProperties(const std::map<std::string, std::string>& properties,
                    std::vector<Finding>* out);

void LintTriggerFile(const std::string& deviceRoot, const std::string& devicePath,
                     std::vector<Finding>* out);

// A decimal number as std::stoi reads it: leading blanks skipped, digits taken, the rest ignored.
// "clean" when nothing was ignored; "valid" when stoi would not throw.
struct NumberText {
    bool valid = false;
    bool clean = false;
    long value = 0;
};
NumberText ReadNumber(const std::string& text);

}  // namespace orvexctl
