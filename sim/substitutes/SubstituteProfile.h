// How a substitute library reads its part of the device profile: a name=value file under the
// device root (build.prop rules), read afresh at every use so a simulator or a test can change
// the hardware between calls.
#pragma once

#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "orvex/device_root.h"
#include "orvex/properties.h"

namespace orvex {
namespace sim {

class SubstituteProfile {
public:
    // `devicePath` of the file, e.g. "/sim/libovc.prop". A missing file reads as empty.
    explicit SubstituteProfile(const char* devicePath) {
        std::ifstream in(DevicePath(devicePath), std::ios::binary);
        if (!in) return;
        std::stringstream text;
        text << in.rdbuf();
        values_ = properties::ParseBuildProp(text.str());
    }

    std::string Get(const std::string& name, const std::string& fallback) const {
        auto it = values_.find(name);
        return it != values_.end() ? it->second : fallback;
    }

    int GetInt(const std::string& name, int fallback) const {
        auto it = values_.find(name);
        if (it == values_.end()) return fallback;
        try {
            return std::stoi(it->second);
        } catch (const std::exception&) {
            return fallback;
        }
    }

    bool GetBool(const std::string& name, bool fallback) const {
        auto it = values_.find(name);
        if (it == values_.end()) return fallback;
        return it->second == "1" || it->second == "true" || it->second == "yes";
    }

private:
    std::map<std::string, std::string> values_;
};

}  // namespace sim
}  // namespace orvex
