#include "FuzzSupport.h"

#include <stdio.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>

#include "orvex/assert_hook.h"
#include "orvex/log_capture.h"

namespace orvex {
namespace fuzz {

namespace {

void ThrowExpected() { throw ExpectedAssertion{}; }

}  // namespace

const std::string& Setup() {
    static const std::string root = [] {
        setenv("ORVEX_LOG", "off", 0);
        hostlog::ResetSink();
        orvex_set_assert_handler(&ThrowExpected);
        char tmpl[] = "/tmp/orvex-fuzz-XXXXXX";
        std::string dir = mkdtemp(tmpl) != nullptr ? tmpl : "/tmp";
        setenv("ORVEX_DEVICE_ROOT", dir.c_str(), 1);
        return dir;
    }();
    return root;
}

void WriteDeviceFile(const std::string& devicePath, const uint8_t* data, size_t size) {
    const std::string path = Setup() + devicePath;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
}

}  // namespace fuzz
}  // namespace orvex
