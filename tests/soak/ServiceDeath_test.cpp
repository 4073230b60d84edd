// Every service dying at every point of each module's sequence: one table of module x point,
// each row run in a fresh process (the connection holders are process statics) and ending in the
// result the module gives there: a false result, a fixed result, a reconnection, or the end of
// the process through the HIDL runtime's checked retrieval of a value from a dead service. Each
// module family keeps its rows in a file of its own; ServiceDeath.h says how a row is made.

#include "ServiceDeath.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <stdio.h>
#include <unistd.h>

#include <ostream>
#include <string>
#include <vector>

namespace service_death {

void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }

namespace {

std::vector<Row> AllRows() {
    std::vector<Row> rows;
    for (const auto& family : {FeedbackRows(), TransportRows(), ImagingRows()}) {
        rows.insert(rows.end(), family.begin(), family.end());
    }
    return rows;
}

class ServiceDeath : public ::testing::TestWithParam<Row> {};

TEST_P(ServiceDeath, GivesTheModulesResult) {
    const Row& row = GetParam();
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    if (row.outcome == Outcome::kProcessEnds) {
        EXPECT_EXIT(
            {
                ChildChecks checks;
                row.run(checks);
                fputs("the process went on\n", stderr);
                _exit(1);
            },
            ::testing::KilledBySignal(SIGABRT), kCheckedRetrieval);
    } else {
        EXPECT_EXIT(
            {
                ChildChecks checks;
                row.run(checks);
                checks.Exit();
            },
            ::testing::ExitedWithCode(0), "");
    }
}

INSTANTIATE_TEST_SUITE_P(Table, ServiceDeath, ::testing::ValuesIn(AllRows()),
                         [](const ::testing::TestParamInfo<Row>& info) {
                             return std::string(info.param.name) + "_" +
                                    OutcomeName(info.param.outcome);
                         });

}  // namespace
}  // namespace service_death
