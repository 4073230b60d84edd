// The one place where a device build and a host build of the library differ: device paths are
// taken under ORVEX_DEVICE_ROOT on a host, and a host process may watch assertions (fuzzers).
#pragma once

#include <string>

#if !defined(__BIONIC__)
extern "C" {
// Provided by the host layer.
const char* orvex_device_root(void);
// Called by _assert_framework() before it aborts, when a host process installed a handler.
typedef void (*orvex_assert_handler_t)(void);
orvex_assert_handler_t orvex_get_assert_handler(void);
}
#endif

namespace platform {
namespace host {

// The path at which a device path is opened, stat-ed or created right now. The library keeps
// reporting the device path itself.
inline std::string DevicePath(const char* devicePath) {
#if defined(__BIONIC__)
    return devicePath;
#else
    const char* root = orvex_device_root();
    if (root == nullptr || devicePath == nullptr || devicePath[0] != '/') {
        return devicePath != nullptr ? devicePath : "";
    }
    std::string path(root);
    while (!path.empty() && path.back() == '/') path.pop_back();
    return path + devicePath;
#endif
}

inline void OnAssertFramework() {
#if !defined(__BIONIC__)
    if (orvex_assert_handler_t handler = orvex_get_assert_handler()) handler();
#endif
}

}  // namespace host
}  // namespace platform
