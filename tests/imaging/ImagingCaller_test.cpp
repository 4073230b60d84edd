// The imager module as a caller process sees it: its registration, and the adapter's stop, which
// depends on the platform of the staged device profile.

#include <gtest/gtest.h>

#include "TestSupport.h"

namespace {

using namespace orvex::test;
using orvex::hostlog::Entry;

using Strings = std::vector<std::string>;

std::string Profile(const std::string& name) { return ORVEX_BUILD_DIR "/sim/profiles/" + name; }

struct ImagingRun {
    ProcessResult process;
    Strings lines;
    std::vector<Entry> adapterLog;  // the adapter's own records
};

ImagingRun RunImaging(const std::string& root, const Strings& args) {
    TempDir logDir;
    const std::string logPath = logDir.path() + "/caller.log";
    ImagingRun run;
    run.process = RunProcess(ORVEX_BUILD_DIR "/bin/imaging_caller", "imaging_caller", args,
                             {{"ORVEX_DEVICE_ROOT", root}, {"ORVEX_LOG", logPath}});
    size_t start = 0;
    const std::string& out = run.process.out;
    while (start < out.size()) {
        size_t end = out.find('\n', start);
        run.lines.push_back(out.substr(start, end - start));
        start = end + 1;
    }
    for (const Entry& e : ReadLogFile(logPath)) {
        if (e.message.rfind("[V4L2ImagerAdapter", 0) == 0) run.adapterLog.push_back(e);
    }
    return run;
}

TEST(ImagingCaller, TheImagerIsRegisteredUnderTag8ForRequestsByNameOnly) {
    DeviceRoot root;
    CallerRun run = RunCaller(root, {"count", "8", "create", "8", "ImagerHIDLProxy", "abstract",
                                     "8", "create", "8", "Imager"});
    EXPECT_EQ(0, run.process.exitCode) << run.process.err;
    EXPECT_EQ("1\nmodule\nnull\nnull\n", run.process.out);
}

TEST(ImagingCaller, StopStreamingStopsAfterAHaltOnlyOnLahaina) {
    struct Case {
        const char* profile;
        const char* halt;
        const char* flag;
        Strings calls;
    };
    const std::vector<Case> cases = {
        {"default", "1", "0", {"HaltAcquisition(true, 0)", "StopStreaming()"}},
        {"default", "1", "1", {"HaltAcquisition(true, 1)", "StopStreaming()"}},
        {"tr41", "1", "0", {"HaltAcquisition(true, 0)"}},
        {"tr41", "1", "1", {"HaltAcquisition(true, 1)"}},
        // A timed stop stops on every platform.
        {"tr41", "0", "1", {"HaltAcquisition(false, 1)", "StopStreaming()"}},
        {"default", "0", "0", {"HaltAcquisition(false, 0)"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.profile) + " " + c.halt + " " + c.flag);
        ImagingRun run = RunImaging(Profile(c.profile), {"stop", c.halt, c.flag});
        EXPECT_EQ(0, run.process.exitCode) << run.process.err;
        EXPECT_EQ(c.calls, run.lines);
        // The profiles log at level 5: info and errors, no debug lines.
        EXPECT_EQ((std::vector<Entry>{
                      {4, "ScannerFramework",
                       "[V4L2ImagerAdapterHIDLProxy::associateImagerAdapterHIDL] Acquired "
                       "IImager HIDL interface."},
                      {4, "ScannerFramework",
                       "[V4L2ImagerAdapterHIDLProxy::associateImagerAdapterHIDL] Acquired "
                       "IImagerAdapter HIDL interface."},
                      {4, "ScannerFramework",
                       std::string("[V4L2ImagerAdapterHIDLProxy::StopStreaming] Flag received= ") +
                           c.flag},
                      {4, "ScannerFramework",
                       "[V4L2ImagerAdapterHIDLProxy::disAssociateImagerAdapterHIDL] "
                       "disconnected Adapter HIDL"}}),
                  run.adapterLog);
    }
}

}  // namespace
