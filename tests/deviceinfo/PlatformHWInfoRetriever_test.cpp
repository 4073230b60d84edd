// The hardware-info module: registered under tag 12, always supported, both SKU answers false.

#include "PlatformHWInfoRetriever.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "DeviceFixture.h"
#include "Platform.h"
#include "TestSupport.h"

namespace {

using namespace orvex::test;
using orvex::hostlog::Entry;

TEST(PlatformHWInfoRetriever, AbstractedRequestForTag12GivesTheModuleAnsweringFalse) {
    EXPECT_EQ(1, GetNumberOfPlatformModulesForTag(PLATFORM_MODULE_HW_INFO));
    IPlatformModule* module = GetAbstractedPlatformModule(PLATFORM_MODULE_HW_INFO);
    ASSERT_NE(nullptr, module);
    auto* hwInfo = static_cast<IHWInfoModule*>(module);
    EXPECT_TRUE(hwInfo->IsSupported());
    EXPECT_STREQ("PlatformHWInfoRetriever", hwInfo->GetModuleName());
    EXPECT_FALSE(hwInfo->isDeviceFederalSku1());
    EXPECT_FALSE(hwInfo->isDeviceFederalSku2());
    DeletePlatformModule(module);

    std::unique_ptr<IPlatformModule> named(
        GetPlatformModule(PLATFORM_MODULE_HW_INFO, "PlatformHWInfoRetriever"));
    EXPECT_NE(nullptr, named);
}

TEST(PlatformHWInfoRetriever, WritesItsLifeAtDebugLevel) {
    DeviceRoot root;
    root.SetLogLevel("3");
    CallerRun run = RunCaller(root, {"abstract", "12", "create", "12", "PlatformHWInfoRetriever"});
    EXPECT_EQ("module\nmodule\n", run.process.out);
    std::vector<Entry> log;
    for (const Entry& e : FilterTag(run.log, kTag)) {
        if (e.message.rfind("[ComponentIndex::AddPlatformModule]", 0) != 0) log.push_back(e);
    }
    const Entry construct = D("[PlatformHWInfoRetriever] Construct");
    const Entry destruct = D("PlatformHWInfoRetriever Destruct");
    EXPECT_EQ(
        (std::vector<Entry>{construct, D("[PlatformHWInfoRetriever<T>::IsSupported] return true"),
                            destruct, construct, destruct}),
        log);
    // Registered once, under its own tag and name, while the library loads.
    EXPECT_EQ(1, std::count(run.log.begin(), run.log.end(),
                            Entry{kInfo, kTag,
                                  "[ComponentIndex::AddPlatformModule] Adding platform module "
                                  "'PlatformHWInfoRetriever' with Tag '12'\n"}));

    // At level 4 the debug lines are gone.
    root.SetLogLevel("4");
    run = RunCaller(root, {"abstract", "12"});
    for (const Entry& e : FilterTag(run.log, kTag)) {
        EXPECT_EQ(0u, e.message.find("[ComponentIndex::AddPlatformModule]")) << e.message;
    }
}

}  // namespace
