// build.prop as the host property store reads it, then looked up as the library looks it up.

#include <stddef.h>
#include <stdint.h>
#include <sys/system_properties.h>

#include <string>

#include "orvex/properties.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    auto props = orvex::properties::ParseBuildProp(text);
    for (const auto& kv : props) {
        if (kv.first.empty() || kv.first[0] == '#' || kv.first.find('\n') != std::string::npos ||
            kv.first.find('=') != std::string::npos ||
            kv.first.find('\0') != std::string::npos || kv.second.find('\0') != std::string::npos) {
            __builtin_trap();  // a name the format cannot produce
        }
    }
    orvex::properties::Clear();
    for (const auto& kv : props) orvex::properties::Set(kv.first, kv.second);
    for (const auto& kv : props) {
        const prop_info* pi = __system_property_find(kv.first.c_str());
        if (pi == nullptr) __builtin_trap();
        std::string value;
        __system_property_read_callback(
            pi,
            [](void* cookie, const char*, const char* v, uint32_t) {
                *static_cast<std::string*>(cookie) = v;
            },
            &value);
        if (value != kv.second) __builtin_trap();
    }
    return 0;
}
