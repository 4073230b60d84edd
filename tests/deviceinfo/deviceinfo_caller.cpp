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
//                             or "exception TYPE: WHAT" for an exception
//     same                    print "same" when both builder operations and ImagerInfoUtils
//                             answer one object each
//     race N                  N threads make the first builder calls together; print "same"
//                             when all of them got the same objects
//     imager OP               call ImagerInfoUtils' GetImagerID or GetImagerInterfaceType
//     imagerclient-loaded     print "loaded" or "unloaded" for libimagerclient.so
//     hwinfo                  GetAbstractedPlatformModule(12): print its name and both SKU
//                             answers, or "null"; then DeletePlatformModule
//     hwinfo-named NAME       GetPlatformModule(12, NAME): print "module" or "null"; delete it
//     camera-calls            print the camera NDK calls made so far, one per line
//     idlists                 print the number of camera id lists not freed

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <future>
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

const char* kGetInfo = "_ZN3odk17DeviceInfoBuilder21GetDeviceInfoInstanceEv";
const char* kGetScanners = "_ZN3odk17DeviceInfoBuilder31GetSupportedScannerInfoInstanceEv";
const char* kGetImager = "_ZN15ImagerInfoUtils21getImagerInfoInstanceEv";

template <typename View, typename Func>
View* Get(const char* name) {
    return reinterpret_cast<View*>(Symbol<Func>(name)());
}

DeviceInfoView* Info() { return Get<DeviceInfoView, GetDeviceInfoFunc>(kGetInfo); }
SupportedScannerInfoView* Scanners() {
    return Get<SupportedScannerInfoView, GetScannerInfoFunc>(kGetScanners);
}
ImagerInfoUtilsView* Imager() { return Get<ImagerInfoUtilsView, GetImagerInfoFunc>(kGetImager); }

const char* Bool(bool value) { return value ? "true" : "false"; }

// Each prints the answer and gives how many arguments the operation took.
int Print(bool value) { return printf("%s\n", Bool(value)), 0; }
int Print(int value) { return printf("%d\n", value), 0; }
int Print(const std::string& value) { return printf("[%s]\n", value.c_str()), 0; }

// Runs one DeviceInfo or SupportedScannerInfo operation; -1 for an unknown name.
int Call(const std::string& op, const std::string& arg) {
    if (op == "IsRearCameraAvaialable") return Print(Info()->IsRearCameraAvaialable());
    if (op == "IsFrontCameraAvaialable") return Print(Info()->IsFrontCameraAvaialable());
    if (op == "GetPlatformName") return Print(Info()->GetPlatformName());
    if (op == "GetProductName") return Print(Info()->GetProductName());
    if (op == "GetProductModel") return Print(Info()->GetProductModel());
    if (op == "GetProductSKU") return Print(Info()->GetProductSKU());
    if (op == "GetManufacturerName") return Print(Info()->GetManufacturerName());
    if (op == "GetAndroidVersion") return Print(Info()->GetAndroidVersion());
    if (op == "GetABI") return Print(Info()->GetABI());
    if (op == "GetScannerBeepVolume") return Print(Info()->GetScannerBeepVolume());
    if (op == "GetScannerAudioAPI") return Print(Info()->GetScannerAudioAPI());
    if (op == "CheckExternalHeadset") return Print(Info()->CheckExternalHeadset());
    if (op == "GetConfigPath") return Print(Info()->GetConfigPath(arg)) + 1;
    if (op == "GetScanner") return Print(Info()->GetScanner());
    if (op == "GetDeviceDecryptionStatus") return Print(Info()->GetDeviceDecryptionStatus());
    if (op == "GetImagerInterfaceType") return Print(Info()->GetImagerInterfaceType());
    if (op == "GetPlatformVersion") return Print(Info()->GetPlatformVersion());
    if (op == "isDeviceFederalSKU1") return Print(Info()->isDeviceFederalSKU1());
    if (op == "isDeviceFederalSKU2") return Print(Info()->isDeviceFederalSKU2());
    const int index = atoi(arg.c_str());
    if (op == "IsScannerAvailable") return Print(Scanners()->IsScannerAvailable(arg)) + 1;
    if (op == "GetScannerNameAt") return Print(Scanners()->GetScannerNameAt(index)) + 1;
    if (op == "GetNumberOfSupportedScanners") {
        return Print(Scanners()->GetNumberOfSupportedScanners());
    }
    if (op == "GetInBuiltScannerModel") return Print(Scanners()->GetInBuiltScannerModel());
    if (op == "GetScannerModelNameAt") return Print(Scanners()->GetScannerModelNameAt(index)) + 1;
    if (op == "IsMirroredAndFlipped") return Print(Scanners()->IsMirroredAndFlipped());
    if (op == "IsScannerListAvailable") return Print(Scanners()->IsScannerListAvailable());
    return -1;
}

void PrintScanners(SupportedScannerInfoView* scanners) {
    int count = scanners->GetNumberOfSupportedScanners();
    printf("count %d\n", count);
    for (int i = 0; i < count; ++i) {
        printf("%d\t%s\t%s\n", i, scanners->GetScannerNameAt(i).c_str(),
               scanners->GetScannerModelNameAt(i).c_str());
    }
}

// Starts `threads` threads that wait for one signal, then make the first builder calls
// together. Waits are bounded so that a deadlock fails the run instead of hanging it.
bool Race(int threads) {
    std::promise<void> start;
    std::shared_future<void> go = start.get_future().share();
    GetScannerInfoFunc getScanners = Symbol<GetScannerInfoFunc>(kGetScanners);
    GetDeviceInfoFunc getInfo = Symbol<GetDeviceInfoFunc>(kGetInfo);
    std::vector<std::future<std::pair<void*, void*>>> results;
    for (int i = 0; i < threads; ++i) {
        results.push_back(std::async(std::launch::async, [=] {
            go.wait_for(std::chrono::seconds(30));
            // Odd threads ask for the scanner list first, even ones for the device facts.
            void* scanners = i % 2 == 1 ? getScanners() : nullptr;
            void* info = getInfo();
            return std::make_pair(info, i % 2 == 0 ? getScanners() : scanners);
        }));
    }
    start.set_value();
    std::vector<std::pair<void*, void*>> got;
    for (auto& result : results) {
        if (result.wait_for(std::chrono::seconds(60)) != std::future_status::ready) {
            fprintf(stderr, "race: threads did not finish\n");
            _exit(4);
        }
        got.push_back(result.get());
    }
    for (const auto& pair : got) {
        if (pair != got[0]) return false;
    }
    return got[0].first != nullptr && got[0].second != nullptr;
}

// Runs one command of the caller's own; -1 for an unknown one.
int Command(const std::string& cmd, const std::string& next, const std::string& after) {
    if (cmd == "setprop") return orvex::properties::Set(next, after), 2;
    if (cmd == "scanners") {
        try {
            PrintScanners(Scanners());
        } catch (const std::invalid_argument& e) {
            printf("exception invalid_argument: %s\n", e.what());
        } catch (const std::out_of_range& e) {
            printf("exception out_of_range: %s\n", e.what());
        }
        return 0;
    }
    if (cmd == "same") {
        bool same = Info() == Info() && Scanners() == Scanners() && Imager() == Imager();
        return printf("%s\n", same ? "same" : "different"), 0;
    }
    if (cmd == "race") return printf("%s\n", Race(atoi(next.c_str())) ? "same" : "different"), 1;
    if (cmd == "imager" && next == "GetImagerID") return Print(Imager()->GetImagerID()) + 1;
    if (cmd == "imager" && next == "GetImagerInterfaceType") {
        return Print(Imager()->GetImagerInterfaceType()) + 1;
    }
    if (cmd == "hwinfo" || cmd == "hwinfo-named") {
        const PlatformModuleTag tag = static_cast<PlatformModuleTag>(12);
        IPlatformModule* module =
            cmd == "hwinfo" ? Symbol<IPlatformModule* (*)(PlatformModuleTag)>(
                                  "GetAbstractedPlatformModule")(tag)
                            : Symbol<IPlatformModule* (*)(PlatformModuleTag, const char*)>(
                                  "GetPlatformModule")(tag, next.c_str());
        HWInfoModuleView* hwInfo = reinterpret_cast<HWInfoModuleView*>(module);
        if (module == nullptr) {
            printf("null\n");
        } else if (cmd == "hwinfo") {
            const char* name = hwInfo->GetModuleName();
            printf("%s %s %s\n", name, Bool(hwInfo->isDeviceFederalSku1()),
                   Bool(hwInfo->isDeviceFederalSku2()));
        } else {
            printf("module\n");
        }
        Symbol<void (*)(IPlatformModule*)>("DeletePlatformModule")(module);
        return cmd == "hwinfo" ? 0 : 1;
    }
    if (cmd == "imagerclient-loaded") {
        void* handle = dlopen("libimagerclient.so", RTLD_LAZY | RTLD_NOLOAD);
        printf("%s\n", handle != nullptr ? "loaded" : "unloaded");
        if (handle != nullptr) dlclose(handle);
        return 0;
    }
    if (cmd == "camera-calls") {
        for (const std::string& call : orvex::camera::Calls()) printf("%s\n", call.c_str());
        return 0;
    }
    if (cmd == "idlists") return printf("%d\n", orvex::camera::OutstandingIdLists()), 0;
    return -1;
}

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
        std::string next = i + 1 < argc ? argv[i + 1] : "";
        std::string after = i + 2 < argc ? argv[i + 2] : "";
        int used = Command(argv[i], next, after);
        if (used < 0) used = Call(argv[i], next);
        if (used < 0) {
            fprintf(stderr, "bad command %s\n", argv[i]);
            return 2;
        }
        i += used;
        fflush(stdout);
    }
    return 0;
}
