// A caller of the imager module as the scanning service is one: it loads the built library with
// dlopen, obtains the module through GetPlatformModule and uses it and its adapter only through
// their tables of virtual functions. The simulated hardware manager runs in this process with
// an imager, its control and its adapter.
//
//   imaging_caller CMD...   one or more of:
//     stop HALT FLAG        the adapter's StopStreaming(HALT, FLAG) (HALT 0 or 1); prints the
//                           adapter service's calls, one per line

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>

#include <string>

#include "FakeImager.h"
#include "FakeImagerAdapter.h"
#include "FakeImagerControl.h"
#include "HardwareManagerSim.h"
#include "PlatformModuleInterfaces.h"

namespace {

void PrintAndClear(orvex::sim::FakeImagerAdapter& adapter) {
    for (const std::string& call : adapter.calls().Calls()) printf("%s\n", call.c_str());
    adapter.calls().Clear();
    fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    android::sp<orvex::sim::FakeImagerAdapter> fakeAdapter;
    orvex::sim::HardwareManagerSim sim(false);
    sim.AddBuilder([&](orvex::sim::FakeDCHWManager& manager) {
        android::sp<orvex::sim::FakeImager> imager = new orvex::sim::FakeImager;
        fakeAdapter = new orvex::sim::FakeImagerAdapter;
        imager->SetControl(new orvex::sim::FakeImagerControl);
        imager->SetAdapter(fakeAdapter);
        manager.SetImager(imager);
    });
    sim.Start();

    void* lib = dlopen(ORVEX_BUILD_DIR "/lib/libplatform.orvex.so", RTLD_NOW | RTLD_LOCAL);
    if (lib == nullptr) {
        fprintf(stderr, "dlopen: %s\n", dlerror());
        return 3;
    }
    auto create = reinterpret_cast<IPlatformModule* (*)(PlatformModuleTag, const char*)>(
        dlsym(lib, "GetPlatformModule"));
    auto destroy = reinterpret_cast<void (*)(IPlatformModule*)>(dlsym(lib, "DeletePlatformModule"));
    if (create == nullptr || destroy == nullptr) {
        fprintf(stderr, "missing export\n");
        return 3;
    }
    auto* module = static_cast<IImagerModule*>(create(PLATFORM_MODULE_IMAGER, "ImagerHIDLProxy"));
    if (module == nullptr) {
        fprintf(stderr, "no imager module\n");
        return 3;
    }
    // The adapter's class is the library's own; callers know it by its operations only.
    auto* adapter = reinterpret_cast<IImagerAdapterProxy*>(module->getImagerAdapterHIDLProxy());
    fakeAdapter->calls().Clear();

    for (int i = 1; i < argc; ++i) {
        std::string cmd = argv[i];
        if (cmd == "stop" && i + 2 < argc) {
            bool halt = atoi(argv[++i]) != 0;
            int flag = atoi(argv[++i]);
            adapter->StopStreaming(halt, flag);
            PrintAndClear(*fakeAdapter);
        } else {
            fprintf(stderr, "bad command %s\n", cmd.c_str());
            return 2;
        }
    }
    module->deInit();
    destroy(module);
    return 0;
}
