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
    using Create = IPlatformModule* (*)(PlatformModuleTag, const char*);
    auto* module = static_cast<IImagerModule*>(reinterpret_cast<Create>(
        dlsym(lib, "GetPlatformModule"))(PLATFORM_MODULE_IMAGER, "ImagerHIDLProxy"));
    // The adapter's class is the library's own; callers know it by its operations only.
    auto* adapter = reinterpret_cast<IImagerAdapterProxy*>(module->getImagerAdapterHIDLProxy());
    device.adapter->calls().Clear();
    adapter->StopStreaming(atoi(argv[1]) != 0, atoi(argv[2]));
    for (const std::string& call : device.adapter->calls().Calls()) printf("%s\n", call.c_str());
    module->deInit();
    reinterpret_cast<void (*)(IPlatformModule*)>(dlsym(lib, "DeletePlatformModule"))(module);
    return 0;
}
