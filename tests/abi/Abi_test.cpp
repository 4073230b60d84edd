// The caller-side ABI check, in a fresh process on the staged default device.

#include <gtest/gtest.h>

#include "TestSupport.h"

TEST(CallerAbi, EveryModuleAnswersThroughItsDocumentedTable) {
    orvex::test::ProcessResult run = orvex::test::RunProcess(
        ORVEX_BUILD_DIR "/bin/abi_caller", "abicaller", {},
        {{"ORVEX_DEVICE_ROOT", ORVEX_BUILD_DIR "/sim/profiles/default"}, {"ORVEX_LOG", "off"}});
    EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
    EXPECT_EQ(run.out, "");
}
