// A caller of the device facts as the scanning service is one: it loads the platform library
// with dlopen, reaches the exported classes through their exported functions and calls them
// only through vtables declared here, on the caller's side, in the documented slot order. A
// slot out of place in the library shows up as a wrong answer here.
//
//   ORVEX_PLATFORM_LIB   the library to load (default: the build's lib/libplatform.orvex.so)
//
//   deviceinfo_caller CMD...   one or more of:
//     cameras                 install the camera service from the device root's camera list
//     setprop NAME VALUE      change a system property of this process
//     info OP [ARG]           call one DeviceInfo operation and print its answer
//     scanners                print the scanner list: "count N", then "I<TAB>NAME<TAB>MODEL"
//     scanner OP [ARG]        call one SupportedScannerInfo operation and print its answer
//     scanners-catch          as scanners, printing "exception TYPE: WHAT" for an exception
//     same                    print "same" when both builder operations answer one object
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
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
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

template <typename View, typename Exported>
View* As(Exported* object) {
    return reinterpret_cast<View*>(object);
}

void* gLibrary = nullptr;

void* Symbol(const char* name) {
    void* symbol = dlsym(gLibrary, name);
    if (symbol == nullptr) {
        fprintf(stderr, "missing export %s\n", name);
        exit(3);
    }
    return symbol;
}

GetDeviceInfoFunc DeviceInfoFunc() {
    return reinterpret_cast<GetDeviceInfoFunc>(
        Symbol("_ZN3odk17DeviceInfoBuilder21GetDeviceInfoInstanceEv"));
}

GetScannerInfoFunc ScannerInfoFunc() {
    return reinterpret_cast<GetScannerInfoFunc>(
        Symbol("_ZN3odk17DeviceInfoBuilder31GetSupportedScannerInfoInstanceEv"));
}

DeviceInfoView* Info() { return As<DeviceInfoView>(DeviceInfoFunc()()); }

SupportedScannerInfoView* Scanners() { return As<SupportedScannerInfoView>(ScannerInfoFunc()()); }

const char* Bool(bool value) { return value ? "true" : "false"; }

// Runs one DeviceInfo operation; false for an unknown name.
bool CallInfo(const std::string& op, const std::string& arg) {
    DeviceInfoView* info = Info();
    if (op == "IsRearCameraAvaialable")
        printf("%s\n", Bool(info->IsRearCameraAvaialable()));
    else if (op == "IsFrontCameraAvaialable")
        printf("%s\n", Bool(info->IsFrontCameraAvaialable()));
    else if (op == "GetPlatformName")
        printf("%s\n", info->GetPlatformName().c_str());
    else if (op == "GetProductName")
        printf("%s\n", info->GetProductName().c_str());
    else if (op == "GetProductModel")
        printf("%s\n", info->GetProductModel().c_str());
    else if (op == "GetProductSKU")
        printf("%s\n", info->GetProductSKU().c_str());
    else if (op == "GetManufacturerName")
        printf("%s\n", info->GetManufacturerName().c_str());
    else if (op == "GetAndroidVersion")
        printf("%s\n", info->GetAndroidVersion().c_str());
    else if (op == "GetABI")
        printf("%s\n", info->GetABI().c_str());
    else if (op == "GetScannerBeepVolume")
        printf("%d\n", info->GetScannerBeepVolume());
    else if (op == "GetScannerAudioAPI")
        printf("%d\n", info->GetScannerAudioAPI());
    else if (op == "CheckExternalHeadset")
        printf("%d\n", info->CheckExternalHeadset());
    else if (op == "GetConfigPath")
        printf("[%s]\n", info->GetConfigPath(arg).c_str());
    else if (op == "GetScanner")
        printf("%d\n", info->GetScanner());
    else if (op == "GetDeviceDecryptionStatus")
        printf("[%s]\n", info->GetDeviceDecryptionStatus().c_str());
    else if (op == "GetImagerInterfaceType")
        printf("%d\n", info->GetImagerInterfaceType());
    else if (op == "GetPlatformVersion")
        printf("%d\n", info->GetPlatformVersion());
    else if (op == "isDeviceFederalSKU1")
        printf("%s\n", Bool(info->isDeviceFederalSKU1()));
    else if (op == "isDeviceFederalSKU2")
        printf("%s\n", Bool(info->isDeviceFederalSKU2()));
    else
        return false;
    return true;
}

bool CallScanner(const std::string& op, const std::string& arg) {
    SupportedScannerInfoView* scanners = Scanners();
    if (op == "IsScannerAvailable")
        printf("%s\n", Bool(scanners->IsScannerAvailable(arg)));
    else if (op == "GetScannerNameAt")
        printf("[%s]\n", scanners->GetScannerNameAt(atoi(arg.c_str())).c_str());
    else if (op == "GetNumberOfSupportedScanners")
        printf("%d\n", scanners->GetNumberOfSupportedScanners());
    else if (op == "GetInBuiltScannerModel")
        printf("[%s]\n", scanners->GetInBuiltScannerModel().c_str());
    else if (op == "GetScannerModelNameAt")
        printf("[%s]\n", scanners->GetScannerModelNameAt(atoi(arg.c_str())).c_str());
    else if (op == "IsMirroredAndFlipped")
        printf("%d\n", scanners->IsMirroredAndFlipped());
    else if (op == "IsScannerListAvailable")
        printf("%s\n", Bool(scanners->IsScannerListAvailable()));
    else
        return false;
    return true;
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
    std::mutex mutex;
    std::condition_variable cv;
    bool go = false;
    int done = 0;
    std::vector<void*> infos(threads), scanners(threads);
    GetScannerInfoFunc getScanners = ScannerInfoFunc();
    GetDeviceInfoFunc getInfo = DeviceInfoFunc();
    std::vector<std::thread> pool;
    for (int i = 0; i < threads; ++i) {
        pool.emplace_back([&, i] {
            {
                std::unique_lock<std::mutex> lock(mutex);
                cv.wait_for(lock, std::chrono::seconds(30), [&] { return go; });
            }
            // Odd threads ask for the scanner list first, even ones for the device facts.
            if (i % 2 == 1) scanners[i] = getScanners();
            infos[i] = getInfo();
            if (i % 2 == 0) scanners[i] = getScanners();
            std::lock_guard<std::mutex> lock(mutex);
            ++done;
            cv.notify_all();
        });
    }
    {
        std::unique_lock<std::mutex> lock(mutex);
        go = true;
        cv.notify_all();
        if (!cv.wait_for(lock, std::chrono::seconds(60), [&] { return done == threads; })) {
            fprintf(stderr, "race: threads did not finish\n");
            _exit(4);
        }
    }
    for (std::thread& t : pool) t.join();
    for (int i = 1; i < threads; ++i) {
        if (infos[i] != infos[0] || scanners[i] != scanners[0]) return false;
    }
    return infos[0] != nullptr && scanners[0] != nullptr;
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
    for (int i = 1; i < argc; ++i) {
        std::string cmd = argv[i];
        std::string next = i + 1 < argc ? argv[i + 1] : "";
        std::string after = i + 2 < argc ? argv[i + 2] : "";
        if (cmd == "cameras") {
            if (!orvex::camera::LoadProfileCameras()) {
                fprintf(stderr, "no camera list\n");
                return 2;
            }
        } else if (cmd == "setprop" && i + 2 < argc) {
            orvex::properties::Set(next, after);
            i += 2;
        } else if (cmd == "info" && !next.empty()) {
            bool takesArg = next == "GetConfigPath";
            if (!CallInfo(next, after)) {
                fprintf(stderr, "bad operation %s\n", next.c_str());
                return 2;
            }
            i += takesArg ? 2 : 1;
        } else if (cmd == "scanner" && !next.empty()) {
            bool takesArg = next == "IsScannerAvailable" || next == "GetScannerNameAt" ||
                            next == "GetScannerModelNameAt";
            if (!CallScanner(next, after)) {
                fprintf(stderr, "bad operation %s\n", next.c_str());
                return 2;
            }
            i += takesArg ? 2 : 1;
        } else if (cmd == "scanners") {
            PrintScanners(Scanners());
        } else if (cmd == "scanners-catch") {
            try {
                PrintScanners(Scanners());
            } catch (const std::invalid_argument& e) {
                printf("exception invalid_argument: %s\n", e.what());
            } catch (const std::out_of_range& e) {
                printf("exception out_of_range: %s\n", e.what());
            }
        } else if (cmd == "same") {
            bool same = Info() == Info() && Scanners() == Scanners();
            printf("%s\n", same ? "same" : "different");
        } else if (cmd == "race" && !next.empty()) {
            printf("%s\n", Race(atoi(next.c_str())) ? "same" : "different");
            ++i;
        } else if (cmd == "imager" && !next.empty()) {
            ImagerInfoUtilsView* imager =
                As<ImagerInfoUtilsView>(reinterpret_cast<GetImagerInfoFunc>(
                    Symbol("_ZN15ImagerInfoUtils21getImagerInfoInstanceEv"))());
            if (next == "GetImagerID") {
                printf("[%s]\n", imager->GetImagerID().c_str());
            } else if (next == "GetImagerInterfaceType") {
                printf("%d\n", imager->GetImagerInterfaceType());
            } else if (next == "instance") {
                printf("%p\n", static_cast<void*>(imager));
            } else {
                fprintf(stderr, "bad operation %s\n", next.c_str());
                return 2;
            }
            ++i;
        } else if (cmd == "hwinfo" || (cmd == "hwinfo-named" && !next.empty())) {
            const PlatformModuleTag tag = static_cast<PlatformModuleTag>(12);
            IPlatformModule* module;
            if (cmd == "hwinfo") {
                module = reinterpret_cast<IPlatformModule* (*)(PlatformModuleTag)>(
                    Symbol("GetAbstractedPlatformModule"))(tag);
            } else {
                module = reinterpret_cast<IPlatformModule* (*)(PlatformModuleTag, const char*)>(
                    Symbol("GetPlatformModule"))(tag, next.c_str());
                ++i;
            }
            if (module == nullptr) {
                printf("null\n");
            } else if (cmd == "hwinfo") {
                HWInfoModuleView* hwInfo = As<HWInfoModuleView>(module);
                const char* name = hwInfo->GetModuleName();
                printf("%s %s %s\n", name, Bool(hwInfo->isDeviceFederalSku1()),
                       Bool(hwInfo->isDeviceFederalSku2()));
            } else {
                printf("module\n");
            }
            reinterpret_cast<void (*)(IPlatformModule*)>(Symbol("DeletePlatformModule"))(module);
        } else if (cmd == "imagerclient-loaded") {
            void* handle = dlopen("libimagerclient.so", RTLD_LAZY | RTLD_NOLOAD);
            printf("%s\n", handle != nullptr ? "loaded" : "unloaded");
            if (handle != nullptr) dlclose(handle);
        } else if (cmd == "camera-calls") {
            for (const std::string& call : orvex::camera::Calls()) printf("%s\n", call.c_str());
        } else if (cmd == "idlists") {
            printf("%d\n", orvex::camera::OutstandingIdLists());
        } else {
            fprintf(stderr, "bad command %s\n", cmd.c_str());
            return 2;
        }
        fflush(stdout);
    }
    return 0;
}
