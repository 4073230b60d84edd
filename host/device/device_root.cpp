#include "orvex/device_root.h"

#include <stdlib.h>

extern "C" const char* orvex_device_root(void) {
    const char* root = getenv("ORVEX_DEVICE_ROOT");
    return root != nullptr && *root != '\0' ? root : nullptr;
}

namespace orvex {

std::string DevicePath(const std::string& device_path) {
    const char* root = orvex_device_root();
    if (root == nullptr || device_path.empty() || device_path[0] != '/') return device_path;
    std::string out(root);
    while (!out.empty() && out.back() == '/') out.pop_back();
    return out + device_path;
}

}  // namespace orvex
