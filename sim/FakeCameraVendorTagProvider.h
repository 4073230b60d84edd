// The hardware manager's camera vendor tag provider as the simulated device offers it: a table
// of vendor tag names and the identifiers the camera stack gave them, looked up by name. A name
// not in the table is answered with a set value (initially -1). Each lookup is recorded with
// its name ("getVendorTagId(com.tevrin.imager.gain)").
//
// Threads: calls arrive on the client's threads; the table is guarded by mLock.
#pragma once

#include <stdint.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/ICameraVendorTagProvider.h>

#include <map>
#include <mutex>
#include <string>

#include "Fake.h"

namespace orvex {
namespace sim {

class FakeCameraVendorTagProvider
    : public ::vendor::tevrin::hardware::dchwmanager::V1_0::ICameraVendorTagProvider,
      public Fake {
  public:
    using Table = std::map<std::string, int32_t>;

    // The simulated device's vendor tags, numbered from the start of the vendor section.
    static Table DefaultTable();

    FakeCameraVendorTagProvider() : mTable(DefaultTable()) {}

    void SetTable(const Table& table);
    Table GetTable() const;
    void SetUnknownTagId(int32_t id);

    ::android::hardware::Return<int32_t> getVendorTagId(
        const ::android::hardware::hidl_string& name) override;

  private:
    mutable std::mutex mLock;
    Table mTable;                // GUARDED_BY(mLock)
    int32_t mUnknownTagId = -1;  // GUARDED_BY(mLock)
};

}  // namespace sim
}  // namespace orvex
