#include "DeviceFixture.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <stdexcept>

namespace orvex {
namespace test {

namespace {

std::string CallerProgram() { return ORVEX_BUILD_DIR "/bin/deviceinfo_caller"; }

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

// The caller has no run path of its own: the loader looks for the host layer, and for the
// libraries the platform library opens by bare name, in `libraryPath` first. Sanitizer
// runtimes open libraries on the platform library's behalf, so its own $ORIGIN is not looked
// at then; naming the folder here gives every build the same search.
DeviceRun Run(const std::string& rootPath, const std::vector<std::string>& args,
              const std::string& platformLibrary, const std::string& libraryPath) {
    const std::string logPath = rootPath + "/caller.log";
    unlink(logPath.c_str());
    DeviceRun run;
    run.rootPath = rootPath;
    run.process = RunProcess(CallerProgram(), "caller", args,
                             {{"ORVEX_DEVICE_ROOT", rootPath},
                              {"ORVEX_LOG", logPath},
                              {"ORVEX_PLATFORM_LIB", platformLibrary},
                              {"LD_LIBRARY_PATH", libraryPath}});
    run.lines = Lines(run.process.out);
    run.log = ReadLogFile(logPath);
    return run;
}

}  // namespace

std::vector<std::string> Output(const DeviceRun& run) {
    EXPECT_EQ(0, run.process.exitCode) << run.process.err;
    EXPECT_EQ(0, run.process.termSignal);
    return run.lines;
}

LibraryDir::LibraryDir(bool withVolumeLibrary, bool withImagerClient) {
    const std::string lib = ORVEX_BUILD_DIR "/lib/";
    Link("libplatform.orvex.so", lib + "libplatform.orvex.so");
    Link("liborvex_host.so", lib + "liborvex_host.so");
    if (withVolumeLibrary) Link("libovc.so", lib + "libovc.so");
    if (withImagerClient) Link("libimagerclient.so", lib + "libimagerclient.so");
}

void LibraryDir::Link(const std::string& name, const std::string& target) const {
    const std::string link = dir_.path() + "/" + name;
    unlink(link.c_str());
    if (symlink(target.c_str(), link.c_str()) != 0) throw std::runtime_error("symlink " + link);
}

std::string TestLibrary(const std::string& fileName) {
    return ORVEX_BUILD_DIR "/tests/deviceinfo/" + fileName;
}

void WriteDevice(const DeviceRoot& root, const Device& device, const std::string& platformLibrary) {
    std::string buildProp;
    for (const auto& property : device.properties) {
        buildProp += property.first + "=" + property.second + "\n";
    }
    root.AddFile("/system/build.prop", buildProp);

    std::string binaries;
    if (!device.platformLibraryName.empty()) {
        binaries = "<binary><name>libplatformso</name><absolutepath>true</absolutepath><libname>" +
                   device.platformLibraryName + "</libname></binary>";
    }
    root.AddFile("/system/etc/scanner/ExternalDependencies.xml",
                 "<?xml version=\"1.0\"?>\n<deps>\n<files><file><name>scannerlistxml</name>"
                 "<absolutepath>true</absolutepath><path>" +
                     std::string(kScannerListPath) + "</path></file></files>\n<binaries>" +
                     binaries + "</binaries>\n<properties/>\n</deps>\n");
    // The x86_64 ABI puts absolute library paths under /system/lib64.
    root.AddDir("/system/lib64");
    const std::string& kept =
        device.platformLibraryFile.empty() ? platformLibrary : device.platformLibraryFile;
    if (symlink(kept.c_str(), root.HostPath("/system/lib64/libplatform.orvex.so").c_str()) != 0) {
        throw std::runtime_error("symlink platform library");
    }
    if (!device.scannerList.empty()) root.AddFile(kScannerListPath, device.scannerList);
    root.AddFile("/sim/libimagerclient.prop", device.imagerClient);
    root.AddFile("/sim/libovc.prop", device.volumeLibrary);
    if (!device.cameras.empty()) root.AddFile("/sim/cameras.prop", device.cameras);
    root.SetLogLevel(device.logLevel);
}

DeviceRun RunDevice(const Device& device, const std::vector<std::string>& args,
                    const LibraryDir& libraries) {
    DeviceRoot root;
    WriteDevice(root, device, libraries.PlatformLibrary());
    std::vector<std::string> all = args;
    if (!device.cameras.empty()) all.insert(all.begin(), "cameras");
    return Run(root.path(), all, libraries.PlatformLibrary(), libraries.path());
}

DeviceRun RunDevice(const Device& device, const std::vector<std::string>& args) {
    LibraryDir libraries;
    return RunDevice(device, args, libraries);
}

DeviceRun RunOnRoot(const std::string& rootPath, const std::vector<std::string>& args,
                    const std::string& libraryPath) {
    return Run(rootPath, args, PlatformLibraryPath(), libraryPath);
}

std::vector<hostlog::Entry> DeviceRecords(const std::vector<hostlog::Entry>& log,
                                          const std::vector<std::string>& tags) {
    std::vector<hostlog::Entry> out;
    for (const hostlog::Entry& e : log) {
        if (e.message.rfind("[ComponentIndex::AddPlatformModule]", 0) == 0) continue;
        for (const std::string& tag : tags) {
            if (e.tag == tag) {
                out.push_back(e);
                break;
            }
        }
    }
    return out;
}

std::vector<hostlog::Entry> AssertionRecords(const std::string& description,
                                             const std::string& sourcePath, int line) {
    return {
        {kFatal, kAssertTag,
         "This is not my fault, Something else has malfunctioned - Sincerly ScanningService\n"},
        {kFatal, kAssertTag, "ERROR DESCRIPTION: " + description},
        {kFatal, kAssertTag, "ASSERTING AT " + sourcePath + ":" + std::to_string(line) + " \n"},
    };
}

std::vector<hostlog::Entry> ConstructionRecords() {
    return {
        D("[DeviceInfo::LoadPlatformHWInfoRetrieverModule] E"),
        D("[PlatformHWInfoRetriever] Construct"),
        D("[PlatformHWInfoRetriever<T>::IsSupported] return true"),
        D("[DeviceInfo::LoadPlatformHWINfoRetrieverModule] PlatformHWInfoRetriever module "
          "loaded"),
        D("[PlatformHWInfoRetriever<T>::GetModuleName] E"),
        D("[DeviceInfo::LoadPlatformHWINfoRetrieverModule] GetModuleName "
          "PlatformHWInfoRetriever"),
    };
}

std::vector<std::string> Info(const std::vector<std::string>& ops) {
    std::vector<std::string> args;
    for (const std::string& op : ops) {
        args.push_back("info");
        args.push_back(op);
    }
    return args;
}

}  // namespace test
}  // namespace orvex
