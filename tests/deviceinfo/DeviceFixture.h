// Simulated devices for the device-facts tests: a device root written from a few facts, a
// library folder that can leave out or replace the substitute libraries, and the caller
// program run against both.
#pragma once

#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "TestSupport.h"

namespace orvex {
namespace test {

constexpr const char* kTag = "ScannerFramework";
constexpr const char* kAssertTag = "####ASSERTION#####";
constexpr const char* kImagerTag = "sim.libimagerclient";
constexpr int kDebug = 3;
constexpr int kInfo = 4;
constexpr int kError = 6;
constexpr int kFatal = 7;

constexpr const char* kScannerListPath = "/system/etc/scanner/ScannerList.xml";

// What a test device is made of; every field starts as the default profile's device.
struct Device {
    std::map<std::string, std::string> properties = {
        {"ro.board.platform", "lahaina"},      {"ro.product.name", "tr52_gms"},
        {"ro.product.model", "TR52"},          {"ro.product.device", "TR52HC"},
        {"ro.product.manufacturer", "Tevrin"}, {"ro.build.version.release", "13"},
        {"ro.product.cpu.abi", "x86_64"},
    };
    std::string scannerList;  // empty: no file
    std::string imagerClient = "imager_id=31\ninterface_type=1\n";
    std::string volumeLibrary = "scanner_beep_volume=5\nbeep_audio_api=1\n";
    std::string cameras;  // empty: no camera list, the service stays away
    std::string logLevel = "1";
    // The libplatformso entry of the external-dependencies file; empty leaves it out.
    std::string platformLibraryName = "libplatform.orvex.so";
    // The file the device keeps under that name; empty: the caller's platform library.
    std::string platformLibraryFile;
};

// A folder holding the platform library and the host layer (links to the build's), plus the
// substitutes a test chooses; the platform library finds them there through $ORIGIN.
class LibraryDir {
public:
    // With the build's libovc.so and libimagerclient.so unless told otherwise.
    explicit LibraryDir(bool withVolumeLibrary = true, bool withImagerClient = true);
    // Places `target` in the folder under `name`.
    void Link(const std::string& name, const std::string& target) const;
    std::string PlatformLibrary() const { return dir_.path() + "/libplatform.orvex.so"; }
    const std::string& path() const { return dir_.path(); }

private:
    TempDir dir_;
};

// A test library from this folder's build output.
std::string TestLibrary(const std::string& fileName);

// Writes the device into the root: build.prop, the external-dependencies file (scanner list
// and platform library only, so properties come from build.prop), the scanner list, the
// substitutes' files, the camera list and the log level. The platform library the device
// keeps is `platformLibrary` unless the device names its own file.
void WriteDevice(const DeviceRoot& root, const Device& device, const std::string& platformLibrary);

struct DeviceRun {
    std::string rootPath;  // gone after the run; kept for texts that name it
    ProcessResult process;
    std::vector<std::string> lines;  // stdout
    std::vector<hostlog::Entry> log;
};

// The output of a run that must end normally; a sanitizer's report at exit fails it.
std::vector<std::string> Output(const DeviceRun& run);

// Writes the device and runs the caller on it with the library folder's platform library.
DeviceRun RunDevice(const Device& device, const std::vector<std::string>& args,
                    const LibraryDir& libraries);
DeviceRun RunDevice(const Device& device, const std::vector<std::string>& args);

// Runs the caller on an existing root (a staged profile) with the build's platform library,
// the loader looking in `libraryPath` first.
DeviceRun RunOnRoot(const std::string& rootPath, const std::vector<std::string>& args,
                    const std::string& libraryPath = ORVEX_BUILD_DIR "/lib");

// Records of these tags, in order, without the module registrations every load logs.
std::vector<hostlog::Entry> DeviceRecords(const std::vector<hostlog::Entry>& log,
                                          const std::vector<std::string>& tags);

// The three assertion records of the library.
std::vector<hostlog::Entry> AssertionRecords(const std::string& description,
                                             const std::string& sourcePath, int line);

inline hostlog::Entry D(const std::string& text) { return {kDebug, kTag, text}; }
inline hostlog::Entry I(const std::string& text) { return {kInfo, kTag, text}; }
inline hostlog::Entry E(const std::string& text) { return {kError, kTag, text}; }

inline std::vector<hostlog::Entry> Plus(std::vector<hostlog::Entry> a,
                                        const std::vector<hostlog::Entry>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// What every DeviceInfo writes while it is built on a device whose platform library is the
// real one.
std::vector<hostlog::Entry> ConstructionRecords();

// The device-facts records of a run: ScannerFramework and assertion lines.
inline std::vector<hostlog::Entry> Facts(const DeviceRun& run) {
    return DeviceRecords(run.log, {kTag, kAssertTag});
}

// Caller arguments for a series of DeviceInfo operations without arguments.
std::vector<std::string> Info(const std::vector<std::string>& ops);

}  // namespace test
}  // namespace orvex
