// A caller of the device facts as the scanning service is one: it loads the platform library
// with dlopen, reaches the exported classes through their exported functions and calls them
// only through vtables declared here, on the caller's side, in the classes' slot order. A
// slot out of place in the library shows up as a wrong answer here.
//
//   ORVEX_PLATFORM_LIB   the library to load
//   The camera service is installed from the device root's camera list when it has one.
//
//   deviceinfo_caller CMD...   one or more of:
//     OP [ARG]                call one DeviceInfo or SupportedScannerInfo operation, print its
//                             answer (strings in brackets)
//     setprop NAME VALUE      change a system property of this process
//     scanners                print the scanner list: "count N", then "I<TAB>NAME<TAB>MODEL",
//                             or "exception TYPE: WHAT" for an invalid_argument or out_of_range
//     race N                  N threads make the first builder calls together; print "same"
//                             when all of them, later calls too, got the same objects and
//                             ImagerInfoUtils answers one object
//     imager.OP               call ImagerInfoUtils' GetImagerID or GetImagerInterfaceType
//     imagerclient-loaded     print "loaded" or "unloaded" for libimagerclient.so
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
#include <vector>

#include "orvex/camera_service.h"
#include "orvex/properties.h"

class DeviceInfo;
class SupportedScannerInfo;
class ImagerInfoUtils;

// Each class's operations slot by slot, as X(RESULT, NAME[, ARGUMENT]): the views below and the
// caller's commands are both made from these lists.
// clang-format off
#define DEVICE_INFO(X) \
    X(bool, IsRearCameraAvaialable) X(bool, IsFrontCameraAvaialable) \
    X(std::string, GetPlatformName) X(std::string, GetProductName) \
    X(std::string, GetProductModel) X(std::string, GetProductSKU) \
    X(std::string, GetManufacturerName) X(std::string, GetAndroidVersion) X(std::string, GetABI) \
    X(int, GetScannerBeepVolume) X(int, GetScannerAudioAPI) X(int, CheckExternalHeadset) \
    X(std::string, GetConfigPath, std::string) X(int, GetScanner) \
    X(std::string, GetDeviceDecryptionStatus) X(int, GetImagerInterfaceType) \
    X(int, GetPlatformVersion) X(bool, isDeviceFederalSKU1) X(bool, isDeviceFederalSKU2)
// SupportedScannerInfo's destructor comes before IsScannerListAvailable.
#define SCANNER_INFO(X) \
    X(bool, IsScannerAvailable, std::string) X(std::string, GetScannerNameAt, int) \
    X(int, GetNumberOfSupportedScanners) X(std::string, GetInBuiltScannerModel) \
    X(std::string, GetScannerModelNameAt, int) X(int, IsMirroredAndFlipped)
#define SLOT(result, name, ...) virtual result name(__VA_ARGS__) = 0;

// The views have external linkage on purpose: in an anonymous namespace the compiler sees that
// nothing derives from them and turns every call into a pure-virtual call.
class DeviceInfoView {
  public:
    DEVICE_INFO(SLOT)
    virtual ~DeviceInfoView() {}
};

class SupportedScannerInfoView {
  public:
    SCANNER_INFO(SLOT)
    virtual ~SupportedScannerInfoView() {}
    virtual bool IsScannerListAvailable() = 0;
};
// clang-format on

class ImagerInfoUtilsView {
  public:
    virtual std::string GetImagerID() = 0;
    virtual int GetImagerInterfaceType() = 0;
    virtual ~ImagerInfoUtilsView() {}
};

namespace {

void* gLibrary = nullptr;

// Called through the exported function's own type (a call through any other is undefined, and
// UBSan says so); its result is then seen through the view.
template <typename View, typename Class>
View* Get(const char* name) {
    void* symbol = dlsym(gLibrary, name);
    if (symbol == nullptr) {
        fprintf(stderr, "missing export %s\n", name);
        exit(3);
    }
    return reinterpret_cast<View*>(reinterpret_cast<Class* (*)()>(symbol)());
}

DeviceInfoView* Info() {
    return Get<DeviceInfoView, DeviceInfo>("_ZN3odk17DeviceInfoBuilder21GetDeviceInfoInstanceEv");
}
SupportedScannerInfoView* Scanners() {
    return Get<SupportedScannerInfoView, SupportedScannerInfo>(
        "_ZN3odk17DeviceInfoBuilder31GetSupportedScannerInfoInstanceEv");
}
ImagerInfoUtilsView* Imager() {
    return Get<ImagerInfoUtilsView, ImagerInfoUtils>(
        "_ZN15ImagerInfoUtils21getImagerInfoInstanceEv");
}

void Print(bool value) { printf("%s\n", value ? "true" : "false"); }
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
    // Later calls answer the same objects, and ImagerInfoUtils one object too.
    return got[0] == std::make_pair<void*, void*>(Info(), Scanners()) && Imager() == Imager();
}

// Each command gets the next two arguments and gives how many of them it used.
using Arg = const std::string&;
// An argument as an operation takes it: a number or the text itself.
struct Word {
    Arg text;
    operator int() const { return atoi(text.c_str()); }
    operator std::string() const { return text; }
};

// One operation of a view, its answer printed; gives how many arguments it used.
template <typename View, typename Result, typename... Args>
int Invoke(View* view, Result (View::*op)(Args...), Arg a) {
    return Print((view->*op)(static_cast<Args>(Word{a})...)), static_cast<int>(sizeof...(Args));
}

// clang-format off
#define INFO(result, name, ...) \
    {#name, [](Arg a, Arg) { return Invoke(Info(), &DeviceInfoView::name, a); }},
#define SCANNERS(result, name, ...) \
    {#name, [](Arg a, Arg) { return Invoke(Scanners(), &SupportedScannerInfoView::name, a); }},
#define IMAGER(name) \
    {"imager." #name, [](Arg a, Arg) { return Invoke(Imager(), &ImagerInfoUtilsView::name, a); }},

const std::map<std::string, std::function<int(Arg, Arg)>> kCommands = {
    DEVICE_INFO(INFO) SCANNER_INFO(SCANNERS) SCANNERS(bool, IsScannerListAvailable)
    IMAGER(GetImagerID) IMAGER(GetImagerInterfaceType)
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
    {"race", [](Arg n, Arg) {
        return printf("%s\n", Race(atoi(n.c_str())) ? "same" : "different"), 1; }},
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
    gLibrary = dlopen(getenv("ORVEX_PLATFORM_LIB"), RTLD_NOW | RTLD_LOCAL);
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
