// The external-dependencies file, read by the resolver exactly as a process's first resolution
// reads it: the input's first byte chooses the device (whether the per-user data-files
// directory exists, which ABI the device reports), the rest is the file. The resolver keeps
// its table for the life of a process, so every input starts by making it forget the table;
// everything after that is the resolver's own path, from finding the prefix to the look-up.

#include <stddef.h>
#include <stdint.h>
#include <string.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "ConfigInfo.h"
#include "FuzzSupport.h"
#include "orvex/properties.h"

namespace {

constexpr const char* kFile = "/system/etc/scanner/ExternalDependencies.xml";

// Property values set for every input, so that property entries meet both a set property and
// an unset one.
constexpr const char* kSetProperties[][2] = {
    {"ro.product.model", "TR52"},
    {"ro.board.platform", "lahaina"},
    {"vold.decrypt", ""},
};

// The ABIs the resolver knows, and some it does not.
constexpr const char* kAbis[] = {"",       "armeabi-v7a", "x86",   "arm64-v8a",
                                 "x86_64", "mips",        "arm64", "x86_64 "};

// Names the library resolves, and some that no file lists.
constexpr const char* kNames[] = {"sctimerfifo",
                                  "scannerlistxml",
                                  "scannerresourceconfig",
                                  "libplatformso",
                                  "ro.product.model",
                                  "ro.board.platform",
                                  "ro.product.cpu.abi",
                                  "vold.decrypt",
                                  "",
                                  "name",
                                  "not.listed.anywhere"};

// The per-user data-files directory of this process, as the resolver builds it.
std::string DataFilesDirectory() {
    std::ifstream in("/proc/self/cmdline", std::ios::binary);
    std::string name;
    std::getline(in, name, '\0');
    name = name.substr(0, name.find(':'));
    return "/data/user_de/" + std::to_string(getuid() / 100000) + "/" + name + "/files/dcfiles";
}

[[noreturn]] void Fail() { __builtin_trap(); }

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char*** argv) {
    orvex::fuzz::UseShortProcessName(*argv, "extdeps_fuzzer");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string& root = orvex::fuzz::Setup();
    static const std::string dataFiles = DataFilesDirectory();
    if (size == 0) return 0;
    const uint8_t device = data[0];
    const bool perUser = (device & 1) != 0;
    const char* abi = kAbis[(device >> 1) % (sizeof kAbis / sizeof kAbis[0])];

    orvex::properties::Clear();
    for (const auto& p : kSetProperties) orvex::properties::Set(p[0], p[1]);
    if (abi[0] != '\0') orvex::properties::Set("ro.product.cpu.abi", abi);

    std::filesystem::remove_all(root + "/data/user_de");
    orvex::fuzz::WriteDeviceFile(kFile, data + 1, size - 1);
    if (perUser) orvex::fuzz::WriteDeviceFile(dataFiles + kFile, data + 1, size - 1);

    platform::host::ForgetConfigDependencies();
    try {
        for (const char* name : kNames) {
            const std::string text = ConfigInfo::ResolveConfigDependency(name);
            // Every stored text went through a buffer of at most 256 bytes, NUL included.
            if (text.size() > 255 || text.find('\0') != std::string::npos) Fail();
        }
        // A second look-up answers from the table, identically.
        for (const char* name : kNames) {
            if (ConfigInfo::ResolveConfigDependency(name) !=
                ConfigInfo::ResolveConfigDependency(name)) {
                Fail();
            }
        }
    } catch (const orvex::fuzz::ExpectedAssertion&) {
        // A broken file or a text too long for its buffer: refused by design.
    }
    return 0;
}
