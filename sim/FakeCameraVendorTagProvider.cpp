#include "FakeCameraVendorTagProvider.h"

namespace orvex {
namespace sim {

using ::android::hardware::hidl_string;
using ::android::hardware::Return;

FakeCameraVendorTagProvider::Table FakeCameraVendorTagProvider::DefaultTable() {
    // Vendor tags live in sections from 0x8000 on, a tag's identifier being its section in the
    // upper half and its index in the lower: the imager's tags in the first section, the
    // illumination's in the second.
    auto tag = [](uint32_t section, uint32_t index) {
        return static_cast<int32_t>((section << 16) | index);
    };
    return Table{
        {"com.tevrin.imager.engine_id", tag(0x8000, 0)},
        {"com.tevrin.imager.exposure", tag(0x8000, 1)},
        {"com.tevrin.imager.gain", tag(0x8000, 2)},
        {"com.tevrin.imager.frame_rate", tag(0x8000, 3)},
        {"com.tevrin.illumination.aimer", tag(0x8001, 0)},
        {"com.tevrin.illumination.flash", tag(0x8001, 1)},
    };
}

void FakeCameraVendorTagProvider::SetTable(const Table& table) {
    std::lock_guard<std::mutex> lock(mLock);
    mTable = table;
}

FakeCameraVendorTagProvider::Table FakeCameraVendorTagProvider::GetTable() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mTable;
}

void FakeCameraVendorTagProvider::SetUnknownTagId(int32_t id) {
    std::lock_guard<std::mutex> lock(mLock);
    mUnknownTagId = id;
}

Return<int32_t> FakeCameraVendorTagProvider::getVendorTagId(const hidl_string& name) {
    calls().Add("getVendorTagId(" + std::string(name.c_str()) + ")");
    std::lock_guard<std::mutex> lock(mLock);
    auto it = mTable.find(name.c_str());
    return it != mTable.end() ? it->second : mUnknownTagId;
}

}  // namespace sim
}  // namespace orvex
