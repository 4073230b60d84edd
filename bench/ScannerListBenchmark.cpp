// What reading the scanner list costs on top of parsing the file: the shipped default profile's
// list read with the default device's facts, against tinyxml2 loading the same file.

#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <tinyxml2.h>

#include <string>

#include "XMLParserUtil.h"
#include "orvex/log_capture.h"

namespace {

const std::string kRoot = ORVEX_BUILD_DIR "/sim/profiles/default";
constexpr const char* kList = "/system/etc/scanner/ScannerList.xml";

void ScannerList_Baseline(benchmark::State& state) {
    const std::string path = kRoot + kList;
    for (auto _ : state) {
        tinyxml2::XMLDocument document(true, tinyxml2::PRESERVE_WHITESPACE);
        benchmark::DoNotOptimize(document.LoadFile(path.c_str()));
    }
}
BENCHMARK(ScannerList_Baseline);

void ScannerList_Read(benchmark::State& state) {
    char platform[] = "lahaina";
    char model[] = "TR52";
    char release[] = "Android_13";
    for (auto _ : state) {
        XMLParserUtil parser;
        auto list = parser.GetSupportedScannerListFromXML(kList, true, 31, platform, model,
                                                          release, false);
        benchmark::DoNotOptimize(list);
    }
}
BENCHMARK(ScannerList_Read);

}  // namespace

int main(int argc, char** argv) {
    // The default device's list logs one error line per read; measure the call, not a terminal.
    setenv("ORVEX_DEVICE_ROOT", kRoot.c_str(), 1);
    setenv("ORVEX_LOG", "off", 1);
    orvex::hostlog::ResetSink();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
