// A caller of the device facts as the scanning service is one: it loads the platform library
// with dlopen, reaches the exported classes through their exported functions and calls them
// only through vtables declared here, on the caller's side, in the documented slot order. A
// slot out of place in the library shows up as a wrong answer here.
//
//   ORVEX_PLATFORM_LIB   the library to load (default: the build's lib/libplatform.orvex.so)
//   The camera service is installed from the device root's camera list when it has one.
//
//   deviceinfo_caller CMD...   one or more of:
//     OP [ARG]                call one DeviceInfo or SupportedScannerInfo operation, print its
//                             answer (strings in brackets)
//     setprop NAME VALUE      change a system property of this process
//     scanners                print the scanner list: "count N", then "I<TAB>NAME<TAB>MODEL",
//                             or "exception TYPE: WHAT" for an invalid_argument or out_of_range
//     same                    print "same" when both builder operations and ImagerInfoUtils
//                             answer one object each
//     race N                  N threads make the first builder calls together; print "same"
//                             when all of them got the same objects
//     imager OP               call ImagerInfoUtils' GetImagerID or GetImagerInterfaceType
//     imagerclient-loaded     print "loaded" or "unloaded" for libimagerclient.so
//     hwinfo                  GetAbstractedPlatformModule(12): print its name and both SKU
//                             answers, or "null"; then DeletePlatformModule
//     hwinfo-named NAME       GetPlatformModule(12, NAME): print "module" or "null"; delete it
//     camera-calls            print the camera NDK calls made so far, one per line, then the
//                             number of camera id lists not freed

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <future>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "orvex/camera_service.h"
#include "orvex/properties.h"

class DeviceInfo;
class SupportedScannerInfo;
class ImagerInfoUtils;
class IPlatformModule;
enum PlatformModuleTag : int {};

// The views have external linkage on purpose: in an anonymous namespace the compiler sees that
// nothing derives from them and turns every call into a pure-virtual call.

// DeviceInfo, slot by slot.
class DeviceInfoView {
  public:
    virtual bool IsRearCameraAvaialable() = 0;
    virtual bool IsFrontCameraAvaialable() = 0;
    virtual std::string GetPlatformName() = 0;
    virtual std::string GetProductName() = 0;
    virtual std::string GetProductModel() = 0;
    virtual std::string GetProductSKU() = 0;
    virtual std::string GetManufacturerName() = 0;
    virtual std::string GetAndroidVersion() = 0;
    virtual std::string GetABI() = 0;
    virtual int GetScannerBeepVolume() = 0;
    virtual int GetScannerAudioAPI() = 0;
    virtual int CheckExternalHeadset() = 0;
    virtual std::string GetConfigPath(std::string name) = 0;
    virtual int GetScanner() = 0;
    virtual std::string GetDeviceDecryptionStatus() = 0;
    virtual int GetImagerInterfaceType() = 0;
    virtual int GetPlatformVersion() = 0;
    virtual bool isDeviceFederalSKU1() = 0;
    virtual bool isDeviceFederalSKU2() = 0;
    virtual ~DeviceInfoView() {}
};

// SupportedScannerInfo, slot by slot: the destructor comes before IsScannerListAvailable.
class SupportedScannerInfoView {
  public:
    virtual bool IsScannerAvailable(std::string name) = 0;
    virtual std::string GetScannerNameAt(int index) = 0;
    virtual int GetNumberOfSupportedScanners() = 0;
    virtual std::string GetInBuiltScannerModel() = 0;
    virtual std::string GetScannerModelNameAt(int index) = 0;
    virtual int IsMirroredAndFlipped() = 0;
    virtual ~SupportedScannerInfoView() {}
    virtual bool IsScannerListAvailable() = 0;
};

class ImagerInfoUtilsView {
  public:
    virtual std::string GetImagerID() = 0;
    virtual int GetImagerInterfaceType() = 0;
    virtual ~ImagerInfoUtilsView() {}
};

// The hardware-info module (tag 12), slot by slot.
class HWInfoModuleView {
  public:
    virtual ~HWInfoModuleView() {}
    virtual bool IsSupported() = 0;
    virtual const char* GetModuleName() = 0;
    virtual bool isDeviceFederalSku1() = 0;
    virtual bool isDeviceFederalSku2() = 0;
};

namespace {

// The exported functions' own types: a call through any other function type is undefined, and
// UBSan says so. Their results are then seen through the views.
typedef DeviceInfo* (*GetDeviceInfoFunc)();
typedef SupportedScannerInfo* (*GetScannerInfoFunc)();
typedef ImagerInfoUtils* (*GetImagerInfoFunc)();

void* gLibrary = nullptr;

template <typename Func>
Func Symbol(const char* name) {
    void* symbol = dlsym(gLibrary, name);
    if (symbol == nullptr) {
        fprintf(stderr, "missing export %s\n", name);
        exit(3);
    }
    return reinterpret_cast<Func>(symbol);
}

template <typename View, typename Func>
View* Get(const char* name) {
    return reinterpret_cast<View*>(Symbol<Func>(name)());
}

DeviceInfoView* Info() {
    return Get<DeviceInfoView, GetDeviceInfoFunc>(
        "_ZN3odk17DeviceInfoBuilder21GetDeviceInfoInstanceEv");
}
SupportedScannerInfoView* Scanners() {
    return Get<SupportedScannerInfoView, GetScannerInfoFunc>(
        "_ZN3odk17DeviceInfoBuilder31GetSupportedScannerInfoInstanceEv");
}
ImagerInfoUtilsView* Imager() {
    return Get<ImagerInfoUtilsView, GetImagerInfoFunc>(
        "_ZN15ImagerInfoUtils21getImagerInfoInstanceEv");
}

const char* Bool(bool value) { return value ? "true" : "false"; }
void Print(bool value) { printf("%s\n", Bool(value)); }
void Print(int value) { printf("%d\n", value); }
void Print(const std::string& value) { printf("[%s]\n", value.c_str()); }

// Starts `threads` threads that wait for one signal, then make the first builder calls
// together. Waits are bounded so that a deadlock fails the run instead of hanging it.
bool Race(int threads) {
    std::promise<void> start;
    std::shared_future<void> go = start.get_future().share();
    std::vector<std::future<std::pair<void*, void*>>> results;
    for (int i = 0; i < threads; ++i) {
        results.push_back(std::async(std::launch::async, [=] {
            go.wait_for(std::chrono::seconds(30));
            // Odd threads ask for the scanner list first, even ones for the device facts.
            void* scanners = i % 2 == 1 ? Scanners() : nullptr;
            void* info = Info();
            return std::make_pair(info, i % 2 == 0 ? Scanners() : scanners);
        }));
    }
    start.set_value();
    std::vector<std::pair<void*, void*>> got;
    for (auto& result : results) {
        if (result.wait_for(std::chrono::seconds(60)) != std::future_status::ready) _exit(4);
        got.push_back(result.get());
        if (got.back() != got[0] || !got.back().first || !got.back().second) return false;
    }
    return true;
}

// GetAbstractedPlatformModule(12) (no name) or GetPlatformModule(12, name), then
// DeletePlatformModule.
void HWInfo(const char* name) {
    const PlatformModuleTag tag = static_cast<PlatformModuleTag>(12);
    IPlatformModule* module =
        name == nullptr
            ? Symbol<IPlatformModule* (*)(PlatformModuleTag)>("GetAbstractedPlatformModule")(tag)
            : Symbol<IPlatformModule* (*)(PlatformModuleTag, const char*)>("GetPlatformModule")(
                  tag, name);
    HWInfoModuleView* hwInfo = reinterpret_cast<HWInfoModuleView*>(module);
    if (module == nullptr) {
        printf("null\n");
    } else if (name == nullptr) {
        const char* moduleName = hwInfo->GetModuleName();
        printf("%s %s %s\n", moduleName, Bool(hwInfo->isDeviceFederalSku1()),
               Bool(hwInfo->isDeviceFederalSku2()));
    } else {
        printf("module\n");
    }
    Symbol<void (*)(IPlatformModule*)>("DeletePlatformModule")(module);
}

// Each command gets the next two arguments and gives how many of them it used.
using Arg = const std::string&;
// One operation of a view, its answer printed; it uses an argument when it passes one on.
// clang-format off
#define CALL(view, op, ...) {#op, [](Arg a [[maybe_unused]], Arg) { \
    return Print(view()->op(__VA_ARGS__)), int(sizeof(#__VA_ARGS__) > 1); }}

const std::map<std::string, std::function<int(Arg, Arg)>> kCommands = {
    CALL(Info, IsRearCameraAvaialable), CALL(Info, IsFrontCameraAvaialable),
    CALL(Info, GetPlatformName), CALL(Info, GetProductName), CALL(Info, GetProductModel),
    CALL(Info, GetProductSKU), CALL(Info, GetManufacturerName), CALL(Info, GetAndroidVersion),
    CALL(Info, GetABI), CALL(Info, GetScannerBeepVolume), CALL(Info, GetScannerAudioAPI),
    CALL(Info, CheckExternalHeadset), CALL(Info, GetConfigPath, a), CALL(Info, GetScanner),
    CALL(Info, GetDeviceDecryptionStatus), CALL(Info, GetImagerInterfaceType),
    CALL(Info, GetPlatformVersion), CALL(Info, isDeviceFederalSKU1),
    CALL(Info, isDeviceFederalSKU2), CALL(Scanners, IsScannerAvailable, a),
    CALL(Scanners, GetScannerNameAt, atoi(a.c_str())), CALL(Scanners, GetNumberOfSupportedScanners),
    CALL(Scanners, GetInBuiltScannerModel), CALL(Scanners, GetScannerModelNameAt, atoi(a.c_str())),
    CALL(Scanners, IsMirroredAndFlipped), CALL(Scanners, IsScannerListAvailable),
    {"imager", [](Arg op, Arg) {
        op == "GetImagerID" ? Print(Imager()->GetImagerID()) : Print(Imager()->GetImagerInterfaceType());
        return 1; }},
    {"setprop", [](Arg name, Arg value) { return orvex::properties::Set(name, value), 2; }},
    {"scanners", [](Arg, Arg) {
        try {
            SupportedScannerInfoView* scanners = Scanners();
            const int count = scanners->GetNumberOfSupportedScanners();
            printf("count %d\n", count);
            for (int i = 0; i < count; ++i) {
                printf("%d\t%s\t%s\n", i, scanners->GetScannerNameAt(i).c_str(),
                       scanners->GetScannerModelNameAt(i).c_str());
            }
        } catch (const std::logic_error& e) {
            const bool invalid = dynamic_cast<const std::invalid_argument*>(&e) != nullptr;
            printf("exception %s: %s\n", invalid ? "invalid_argument" : "out_of_range", e.what());
        }
        return 0; }},
    {"same", [](Arg, Arg) {
        bool same = Info() == Info() && Scanners() == Scanners() && Imager() == Imager();
        return printf("%s\n", same ? "same" : "different"), 0; }},
    {"race", [](Arg n, Arg) { return printf("%s\n", Race(atoi(n.c_str())) ? "same" : "different"), 1; }},
    {"hwinfo", [](Arg, Arg) { return HWInfo(nullptr), 0; }},
    {"hwinfo-named", [](Arg name, Arg) { return HWInfo(name.c_str()), 1; }},
    {"imagerclient-loaded", [](Arg, Arg) {
        void* handle = dlopen("libimagerclient.so", RTLD_LAZY | RTLD_NOLOAD);
        printf("%s\n", handle != nullptr ? "loaded" : "unloaded");
        if (handle != nullptr) dlclose(handle);
        return 0; }},
    {"camera-calls", [](Arg, Arg) {
        for (const std::string& call : orvex::camera::Calls()) printf("%s\n", call.c_str());
        return printf("%d\n", orvex::camera::OutstandingIdLists()), 0; }}};
// clang-format on

}  // namespace

int main(int argc, char** argv) {
    const char* path = getenv("ORVEX_PLATFORM_LIB");
    if (path == nullptr || *path == '\0') path = ORVEX_BUILD_DIR "/lib/libplatform.orvex.so";
    gLibrary = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (gLibrary == nullptr) {
        fprintf(stderr, "dlopen: %s\n", dlerror());
        return 3;
    }
    orvex::camera::LoadProfileCameras();
    for (int i = 1; i < argc; ++i) {
        const auto command = kCommands.find(argv[i]);
        if (command == kCommands.end()) {
            fprintf(stderr, "bad command %s\n", argv[i]);
            return 2;
        }
        i += command->second(i + 1 < argc ? argv[i + 1] : "", i + 2 < argc ? argv[i + 2] : "");
        fflush(stdout);
    }
    return 0;
}
