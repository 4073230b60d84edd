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

TEST(PlatformHWInfoRetriever, CallerObtainsItByTagAndByNameAndSeesItsLifeAtDebugLevel) {
    Device device;
    device.logLevel = "3";
    // Hand the caller the module before DeviceInfo exists, so only the caller's objects log.
    DeviceRun run = RunDevice(
        device, {"hwinfo", "hwinfo-named", "PlatformHWInfoRetriever", "hwinfo-named", "HWBeep"});
    EXPECT_EQ((std::vector<std::string>{"PlatformHWInfoRetriever false false", "module", "null"}),
              Output(run))
        << run.process.err;
    const Entry construct = D("[PlatformHWInfoRetriever] Construct");
    const Entry destruct = D("PlatformHWInfoRetriever Destruct");
    EXPECT_EQ((std::vector<Entry>{
                  construct, D("[PlatformHWInfoRetriever<T>::IsSupported] return true"),
                  D("[PlatformHWInfoRetriever<T>::GetModuleName] E"), destruct, construct, destruct,
                  E("[ComponentIndex::CreateModule] Unable to find module HWBeep\n")}),
              DeviceRecords(run.log, {kTag}));
    // Registered once, under its own tag and name, while the library loads.
    EXPECT_EQ(1, std::count(run.log.begin(), run.log.end(),
                            Entry{kInfo, kTag,
                                  "[ComponentIndex::AddPlatformModule] Adding platform module "
                                  "'PlatformHWInfoRetriever' with Tag '12'\n"}));

    // Above level 3 the module writes nothing.
    device.logLevel = "4";
    run = RunDevice(device, {"hwinfo"});
    EXPECT_EQ(std::vector<Entry>{}, DeviceRecords(run.log, {kTag}));
}

}  // namespace
