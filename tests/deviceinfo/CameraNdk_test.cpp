// The host camera NDK over the simulated camera service.

#include <camera/NdkCameraManager.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "orvex/camera_service.h"

namespace {

using orvex::camera::SimCamera;

class CameraNdk : public ::testing::Test {
protected:
    void SetUp() override {
        orvex::camera::RemoveService();
        orvex::camera::ClearCalls();
        manager_ = ACameraManager_create();
    }
    void TearDown() override {
        ACameraManager_delete(manager_);
        orvex::camera::RemoveService();
    }

    ACameraManager* manager_ = nullptr;
};

TEST_F(CameraNdk, WithoutTheServiceTheManagerExistsButCannotReachIt) {
    ASSERT_NE(nullptr, manager_);
    ACameraIdList* ids = nullptr;
    EXPECT_EQ(ACAMERA_ERROR_CAMERA_DISCONNECTED, ACameraManager_getCameraIdList(manager_, &ids));
    EXPECT_EQ(nullptr, ids);
    ACameraMetadata* metadata = nullptr;
    EXPECT_EQ(ACAMERA_ERROR_CAMERA_DISCONNECTED,
              ACameraManager_getCameraCharacteristics(manager_, "0", &metadata));
    EXPECT_EQ(ACAMERA_ERROR_INVALID_PARAMETER, ACameraManager_getCameraIdList(nullptr, &ids));
}

TEST_F(CameraNdk, ListsCamerasInOrderWithTheirLensFacing) {
    orvex::camera::SetCameras({{"0", ACAMERA_LENS_FACING_BACK, true},
                               {"5", ACAMERA_LENS_FACING_FRONT, true},
                               {"7", orvex::camera::kNoLensFacing, true},
                               {"9", ACAMERA_LENS_FACING_EXTERNAL, false}});
    ACameraIdList* ids = nullptr;
    ASSERT_EQ(ACAMERA_OK, ACameraManager_getCameraIdList(manager_, &ids));
    ASSERT_EQ(4, ids->numCameras);
    std::vector<std::string> listed(ids->cameraIds, ids->cameraIds + ids->numCameras);
    EXPECT_EQ((std::vector<std::string>{"0", "5", "7", "9"}), listed);
    EXPECT_EQ(1, orvex::camera::OutstandingIdLists());

    struct Case {
        const char* id;
        camera_status_t characteristics;
        camera_status_t entry;
        int facing;
    };
    for (const Case& c : {Case{"0", ACAMERA_OK, ACAMERA_OK, ACAMERA_LENS_FACING_BACK},
                          Case{"5", ACAMERA_OK, ACAMERA_OK, ACAMERA_LENS_FACING_FRONT},
                          Case{"7", ACAMERA_OK, ACAMERA_ERROR_METADATA_NOT_FOUND, -1},
                          Case{"9", ACAMERA_ERROR_INVALID_PARAMETER, ACAMERA_OK, -1},
                          Case{"3", ACAMERA_ERROR_INVALID_PARAMETER, ACAMERA_OK, -1}}) {
        SCOPED_TRACE(c.id);
        ACameraMetadata* metadata = nullptr;
        ASSERT_EQ(c.characteristics,
                  ACameraManager_getCameraCharacteristics(manager_, c.id, &metadata));
        if (c.characteristics != ACAMERA_OK) continue;
        ACameraMetadata_const_entry entry = {};
        EXPECT_EQ(c.entry, ACameraMetadata_getConstEntry(metadata, ACAMERA_LENS_FACING, &entry));
        if (c.entry == ACAMERA_OK) {
            EXPECT_EQ(static_cast<uint32_t>(ACAMERA_LENS_FACING), entry.tag);
            EXPECT_EQ(ACAMERA_TYPE_BYTE, entry.type);
            EXPECT_EQ(1u, entry.count);
            EXPECT_EQ(c.facing, entry.data.u8[0]);
        }
        EXPECT_EQ(ACAMERA_ERROR_METADATA_NOT_FOUND,
                  ACameraMetadata_getConstEntry(metadata, ACAMERA_LENS_FOCAL_LENGTH, &entry));
        ACameraMetadata_free(metadata);
    }

    ACameraManager_deleteCameraIdList(ids);
    EXPECT_EQ(0, orvex::camera::OutstandingIdLists());
    std::vector<std::string> calls = orvex::camera::Calls();
    ASSERT_EQ(17u, calls.size());
    EXPECT_EQ(
        (std::vector<std::string>{"ACameraManager_create", "ACameraManager_getCameraIdList",
                                  "ACameraManager_getCameraCharacteristics 0",
                                  "ACameraMetadata_getConstEntry 0x80005",
                                  "ACameraMetadata_getConstEntry 0x80002", "ACameraMetadata_free"}),
        std::vector<std::string>(calls.begin(), calls.begin() + 6));
    EXPECT_EQ("ACameraManager_deleteCameraIdList", calls.back());
}

TEST(CameraList, ParsesFacingNamesAndNumbersAndRejectsWhatItCannotRead) {
    std::vector<SimCamera> cameras;
    std::string error;
    ASSERT_TRUE(orvex::camera::ParseCameraList(
        "# cameras\n0=back\n\n 1 = front \n2=external\n3=none\n4=unavailable\n5=1\n", &cameras,
        &error));
    ASSERT_EQ(6u, cameras.size());
    const int facings[] = {ACAMERA_LENS_FACING_BACK,     ACAMERA_LENS_FACING_FRONT,
                           ACAMERA_LENS_FACING_EXTERNAL, orvex::camera::kNoLensFacing,
                           ACAMERA_LENS_FACING_BACK,     ACAMERA_LENS_FACING_BACK};
    for (size_t i = 0; i < cameras.size(); ++i) {
        EXPECT_EQ(std::to_string(i), cameras[i].id);
        EXPECT_EQ(facings[i], cameras[i].lensFacing) << i;
        EXPECT_EQ(i != 4, cameras[i].characteristicsAvailable) << i;
    }
    for (const char* bad : {"0\n", "=back\n", "0=sideways\n", "0=256\n", "0=-1\n"}) {
        EXPECT_FALSE(orvex::camera::ParseCameraList(bad, &cameras, &error)) << bad;
        EXPECT_EQ(0u, error.find("line 1: ")) << error;
    }
}

}  // namespace
