// A caller of the imager module as the scanning service is one: it loads the built library with
// dlopen, obtains the module through GetPlatformModule and uses it and its adapter only through
// their tables of virtual functions. The simulated hardware manager runs in this process.
//
//   imaging_caller HALT FLAG   the adapter's StopStreaming(HALT, FLAG) (HALT 0 or 1); prints the
//                              adapter service's calls, one per line

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>

#include "ImagingFixture.h"
#include "PlatformModuleInterfaces.h"

int main(int argc, char** argv) {
    orvex::test::SimImager device;
    void* lib = dlopen(ORVEX_BUILD_DIR "/lib/libplatform.orvex.so", RTLD_NOW | RTLD_LOCAL);
    if (lib == nullptr || argc != 3) {
        fprintf(stderr, "usage: imaging_caller HALT FLAG (%s)\n", lib ? "" : dlerror());
        return 2;
    }
    auto create = reinterpret_cast<IPlatformModule* (*)(PlatformModuleTag, const char*)>(
        dlsym(lib, "GetPlatformModule"));
    auto destroy = reinterpret_cast<void (*)(IPlatformModule*)>(dlsym(lib, "DeletePlatformModule"));
    auto* module =
        create && destroy
            ? static_cast<IImagerModule*>(create(PLATFORM_MODULE_IMAGER, "ImagerHIDLProxy"))
            : nullptr;
    if (module == nullptr) return 3;
    // The adapter's class is the library's own; callers know it by its operations only.
    auto* adapter = reinterpret_cast<IImagerAdapterProxy*>(module->getImagerAdapterHIDLProxy());
    device.adapter->calls().Clear();
    adapter->StopStreaming(atoi(argv[1]) != 0, atoi(argv[2]));
    for (const std::string& call : device.adapter->calls().Calls()) printf("%s\n", call.c_str());
    module->deInit();
    destroy(module);
    return 0;
}
