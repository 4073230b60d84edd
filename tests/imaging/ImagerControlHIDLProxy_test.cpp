// The imager control against the simulated hardware manager: association (which opens the
// imager), raw commands with their replies, the settle count and the service's death.

#include "ImagerControlHIDLProxy.h"

#include <gtest/gtest.h>

#include <memory>

#include "ImagingFixture.h"

namespace {

using namespace orvex::test;
using orvex::hostlog::Entry;
using orvex::hostlog::ScopedCapture;
using orvex::sim::FakeImager;
using orvex::sim::FakeImagerControl;

using Bytes = std::vector<uint8_t>;
using Strings = std::vector<std::string>;

const Entry kDisconnected =
    I("[ImagerControlHIDLProxy::disAssociateImagerControlHIDL] disconnected Control HIDL");
const Entry kCallingClose =
    I("[ImagerControlHIDLProxy::disAssociateImagerControlHIDL] Calling close imager");
const Entry kAcquiredImager =
    I("[ImagerControlHIDLProxy::associateImagerControlHIDL] Acquired IImagerControl HIDL "
      "interface.");
const Entry kAcquiredControl =
    I("[ImagerControlHIDLProxy::associateImagerControlHIDL] Acquired IImagerControlHIDL "
      "interface.");
const Entry kFailed =
    E("[ImagerControlHIDLProxy::ImagerControlHIDLProxy] failed to associate ImagerControl "
      "HIDL");

TEST(ImagerControlHIDLProxy, AFailedAssociationLeavesNoControlAndClosesNothing) {
    const std::vector<FailedAssociation> cases = {
        {"no hardware manager",
         false,
         {},
         0,
         {E("[ImagerControlHIDLProxy::associateImagerControlHIDL] Unable to get DCHWManager HIDL "
            "interface."),
          kFailed},
         {}},
        {"no imager",
         true,
         {false, false, false},
         0,
         {E("[ImagerControlHIDLProxy::associateImagerControlHIDL] Unable to get IImager HIDL "
            "interface."),
          kFailed},
         {}},
        {"the imager does not open",
         true,
         {},
         -1,
         {kAcquiredImager,
          E("[ImagerControlHIDLProxy::associateImagerControlHIDL] Unable to open imager"), kFailed},
         {"openImager()"}},
        {"no control interface",
         true,
         {true, false, true},
         0,
         {kAcquiredImager,
          E("[ImagerControlHIDLProxy::associateImagerControlHIDL] Unable to get "
            "IImagerControlHIDL interface."),
          kFailed},
         {"openImager()", "getImagerControl()"}},
    };
    for (const FailedAssociation& c : cases) {
        SCOPED_TRACE(c.what);
        std::unique_ptr<SimImager> device = StartDevice(c);
        ScopedCapture capture;
        auto control = std::make_unique<ImagerControlHIDLProxy>();
        unsigned char command[] = {1};
        unsigned char reply[4] = {};
        EXPECT_EQ(1u, control->sendCommand(command, 1, reply, sizeof reply, 0, 0));
        EXPECT_FALSE(control->configureSettleCount(3));
        control.reset();

        std::vector<Entry> expected = c.association;
        expected.insert(expected.end(),
                        {E("[ImagerControlHIDLProxy::sendCommand] sp_ImagerControlHIDL is Null"),
                         I("[ImagerControlHIDLProxy::configureSettleCount]"),
                         E("[ImagerControlHIDLProxy::configureSettleCount] sp_ImagerControlHIDL is "
                           "Null"),
                         kDisconnected});
        EXPECT_EQ(expected, Records(capture));
        if (device != nullptr && device->imager != nullptr) {
            // A failed association drops the imager, so the destructor does not close it.
            EXPECT_EQ(c.imagerCalls, device->imager->calls().Calls());
        }
    }
}

TEST(ImagerControlHIDLProxy, SendCommandCopiesTheWholeReplyAndPassesTheValuesOn) {
    struct Case {
        const char* what;
        FakeImagerControl::Reply reply;
        uint32_t result;
        Bytes buffer;  // the caller's 8-byte buffer afterwards
        bool error;
    };
    const Bytes untouched(8, 0xee);
    const std::vector<Case> cases = {
        // The caller said 2 bytes; the reply is as long as the service made it.
        {"longer reply than the size given",
         {0, {1, 2, 3, 4, 5}},
         0,
         {1, 2, 3, 4, 5, 0xee, 0xee, 0xee},
         false},
        {"empty reply", {0, {}}, 0, untouched, false},
        {"failure status with bytes",
         {3, {9, 9}},
         3,
         {9, 9, 0xee, 0xee, 0xee, 0xee, 0xee, 0xee},
         true},
        {"negative status", {-1, {}}, 0xffffffffu, untouched, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        SimImager device;
        device.control->SetReply({0x1b, 0x02}, c.reply);
        device.control->SetDefaultReply({4, {0x77}});
        auto control = std::make_unique<ImagerControlHIDLProxy>();

        ScopedCapture capture;
        unsigned char command[] = {0x1b, 0x02, 0xff};
        Bytes buffer = untouched;
        EXPECT_EQ(c.result, control->sendCommand(command, 2, buffer.data(), 2, 7, 9));
        EXPECT_EQ(c.buffer, buffer);
        std::vector<Entry> expected;
        if (c.error) {
            expected.push_back(
                E("[ImagerControlHIDLProxy::sendCommand] Error at HIDL Service "
                  "(sp_ImagerControlHIDL instance is NULL, Error - Unable to send command)"));
        }
        EXPECT_EQ(expected, Records(capture));
        // Only the command's length of bytes is sent.
        EXPECT_EQ(Strings{"sendCommand([1b 02], 2, 2, 7, 9)"}, device.control->calls().Calls());
    }
}

TEST(ImagerControlHIDLProxy, SettleCountSucceedsOnAnyNonZeroStatus) {
    const std::vector<std::pair<int8_t, bool>> cases = {
        {1, true}, {0, false}, {-1, true}, {42, true}};
    SimImager device;
    auto control = std::make_unique<ImagerControlHIDLProxy>();
    for (const auto& c : cases) {
        device.control->SetSettleCountStatus(c.first);
        EXPECT_EQ(c.second, control->configureSettleCount(5)) << int{c.first};
    }
    EXPECT_EQ(Strings(4, "configureSettleCount(5)"), device.control->calls().Calls());
}

TEST(ImagerControlHIDLProxy, AssociationOpensTheImagerAndTheDestructorClosesIt) {
    SimImager device;
    ScopedCapture capture;
    auto control = std::make_unique<ImagerControlHIDLProxy>();
    EXPECT_EQ(1, device.imager->OpenCount());
    control.reset();
    EXPECT_EQ(0, device.imager->OpenCount());
    EXPECT_EQ((std::vector<Entry>{kAcquiredImager, kAcquiredControl, kCallingClose, kDisconnected}),
              Records(capture));
    EXPECT_EQ((Strings{"openImager()", "getImagerControl()", "closeImager()"}),
              device.imager->calls().Calls());
}

TEST(ImagerControlHIDLProxy, ADeadServiceFailsCommandsAndEndsTheProcessOnTheSettleCount) {
    SimImager device;
    auto control = std::make_unique<ImagerControlHIDLProxy>();
    device.sim().Kill();

    EXPECT_DEATH(control->configureSettleCount(2),
                 "Attempted to retrieve value from failed HIDL call");

    // No reply arrives, so the status stays at its starting -1.
    ScopedCapture capture;
    unsigned char command[] = {1, 2};
    unsigned char reply[2] = {0xee, 0xee};
    EXPECT_EQ(0xffffffffu, control->sendCommand(command, 2, reply, 2, 0, 0));
    EXPECT_EQ(0xee, reply[0]);
    control.reset();
    EXPECT_EQ((std::vector<Entry>{
                  E("[ImagerControlHIDLProxy::sendCommand] Error at HIDL Service "
                    "(sp_ImagerControlHIDL instance is NULL, Error - Unable to send command)"),
                  kCallingClose, kDisconnected}),
              Records(capture));
    EXPECT_TRUE(device.control->calls().Calls().empty());
}

TEST(ImagerControlHIDLProxy, ADeathWhileAssociatingEndsTheProcessAtTheNextAnswer) {
    SimImager device;
    // The service dies while it opens the imager: the open's answer still arrives, the next
    // request does not.
    device.imager->SetCallHook([&](const std::string& call) {
        if (call == "openImager()") device.sim().Kill();
    });
    EXPECT_DEATH(ImagerControlHIDLProxy control,
                 "Attempted to retrieve value from failed HIDL call");
}

}  // namespace
