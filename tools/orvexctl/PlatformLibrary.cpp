#include "PlatformLibrary.h"

#include <dlfcn.h>
#include <limits.h>
#include <unistd.h>

namespace orvexctl {

namespace {

template <typename Fn>
bool Resolve(void* handle, const char* name, Fn* out, std::string* error) {
    *out = reinterpret_cast<Fn>(dlsym(handle, name));
    if (*out == nullptr && error->empty()) *error = std::string("missing export ") + name;
    return *out != nullptr;
}

}  // namespace

PlatformLibrary::PlatformLibrary(const std::string& path) {
    // RTLD_NODELETE: a library with template static members cannot be unloaded anyway.
    handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (handle_ == nullptr) {
        const char* why = dlerror();
        error_ = why != nullptr ? why : "dlopen failed";
        return;
    }
    Resolve(handle_, "getPlatformVersion", &getPlatformVersion, &error_);
    Resolve(handle_, "GetPlatformModule", &GetPlatformModule, &error_);
    Resolve(handle_, "GetAbstractedPlatformModule", &GetAbstractedPlatformModule, &error_);
    Resolve(handle_, "DeletePlatformModule", &DeletePlatformModule, &error_);
    Resolve(handle_, "GetNumberOfPlatformModulesForTag", &GetNumberOfPlatformModulesForTag,
            &error_);
}

PlatformLibrary::~PlatformLibrary() {
    if (handle_ != nullptr) dlclose(handle_);
}

std::string PlatformLibrary::DefaultPath() {
    char self[PATH_MAX];
    ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
    if (n <= 0) return "libplatform.orvex.so";
    std::string dir(self, static_cast<size_t>(n));
    dir = dir.substr(0, dir.rfind('/'));
    return dir + "/../lib/libplatform.orvex.so";
}

}  // namespace orvexctl
