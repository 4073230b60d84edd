// The platform library as a real caller meets it: loaded with dlopen, reached only through its
// five exported functions.
#pragma once

#include <string>

class IPlatformModule;
// As the library declares it: the exported functions take it by this exact type.
enum PlatformModuleTag : int {};

namespace orvexctl {

class PlatformLibrary {
public:
    using GetVersionFn = int (*)();
    using GetModuleFn = IPlatformModule* (*)(PlatformModuleTag tag, const char* name);
    using GetAbstractedFn = IPlatformModule* (*)(PlatformModuleTag tag);
    using DeleteModuleFn = void (*)(IPlatformModule* module);
    using CountFn = int (*)(PlatformModuleTag tag);

    // Loads the library; on failure error() says why and the functions are null.
    explicit PlatformLibrary(const std::string& path);
    ~PlatformLibrary();
    PlatformLibrary(const PlatformLibrary&) = delete;
    PlatformLibrary& operator=(const PlatformLibrary&) = delete;

    bool ok() const { return error_.empty(); }
    const std::string& error() const { return error_; }

    // The library next to this executable: ../lib/libplatform.orvex.so.
    static std::string DefaultPath();

    GetVersionFn getPlatformVersion = nullptr;
    GetModuleFn GetPlatformModule = nullptr;
    GetAbstractedFn GetAbstractedPlatformModule = nullptr;
    DeleteModuleFn DeletePlatformModule = nullptr;
    CountFn GetNumberOfPlatformModulesForTag = nullptr;

private:
    void* handle_ = nullptr;
    std::string error_;
};

}  // namespace orvexctl
