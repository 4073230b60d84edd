// The imager module against the simulated hardware manager: association, the imager's answers
// passed through, the companion objects' lifetime and the service's death.

#include "ImagerHIDLProxy.h"

#include <gtest/gtest.h>

#include <memory>

#include "ImagerControlHIDLProxy.h"
#include "ImagingFixture.h"
#include "V4L2ImagerAdapterHIDLProxy.h"

namespace {

using namespace orvex::test;
using orvex::hostlog::Entry;
using orvex::hostlog::ScopedCapture;
using orvex::sim::FakeImager;

using Module = ImagerHIDLProxy<(AndroidVersion)10>;
using Strings = std::vector<std::string>;

std::unique_ptr<IImagerModule> NewModule() {
    return std::unique_ptr<IImagerModule>(static_cast<IImagerModule*>(Constructor<Module>()));
}

TEST(ImagerHIDLProxy, WithoutTheImagerEveryOperationReportsIt) {
    struct Case {
        const char* what;
        bool manager;
        std::vector<Entry> association;
    };
    const std::vector<Case> cases = {
        {"no hardware manager",
         false,
         {E("[ImagerHIDLProxy::associateImagerHIDL] Unable to get DCHWManager HIDL interface."),
          E("[ImagerHIDLProxy<T>::ImagerHIDLProxy] failed to associate Imager HIDL")}},
        {"a manager without imager",
         true,
         {E("[ImagerHIDLProxy::associateImagerHIDL] Unable to get IImager HIDL interface."),
          E("[ImagerHIDLProxy<T>::ImagerHIDLProxy] failed to associate Imager HIDL")}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        std::unique_ptr<SimImager> device;
        if (c.manager) device.reset(new SimImager(ImagerParts{false, false, false}));
        ScopedCapture capture;
        std::unique_ptr<IImagerModule> module = NewModule();
        EXPECT_EQ(-1, module->openImager());
        EXPECT_EQ(-1, module->closeImager());
        EXPECT_EQ(-1, module->getImagerInterfaceType());
        EXPECT_EQ("", module->getEngineID());
        module.reset();
        std::vector<Entry> expected = c.association;
        expected.insert(expected.end(),
                        {E("[ImagerHIDLProxy::openImager] sp_Imager is Null"),
                         E("[ImagerHIDLProxy::closeImager] sp_Imager is Null"),
                         E("[ImagerHIDLProxy::getImagerInterfaceType] sp_Imager is Null"),
                         E("[ImagerHIDLProxy::getEngineID] sp_Imager is Null"),
                         D("[ImagerHIDLProxy::getEngineID] ScannerID="),
                         I("[ImagerHIDLProxy::disAssociateImagerHIDL] disconnected Imager HIDL")});
        EXPECT_EQ(expected, Records(capture));
        if (c.manager) {
            EXPECT_EQ(Strings{"getImager()"}, device->ManagerCalls());
        }
    }
}

TEST(ImagerHIDLProxy, PassesTheImagersAnswersThrough) {
    struct Case {
        int8_t open, close, type;
        const char* engineId;
        std::vector<Entry> engineLog;
    };
    const std::vector<Case> cases = {
        {0,
         0,
         1,
         "31",
         {I("[ImagerHIDLProxy::getEngineID] getEngineID"),
          D("[ImagerHIDLProxy::getEngineID] ScannerID=31")}},
        {-1,
         7,
         2,
         "",
         {I("[ImagerHIDLProxy::getEngineID] getEngineID"),
          E("[ImagerHIDLProxy::getEngineID] Error at HIDL Service"),
          D("[ImagerHIDLProxy::getEngineID] ScannerID=")}},
        {5,
         -1,
         -1,
         "SE4710",
         {I("[ImagerHIDLProxy::getEngineID] getEngineID"),
          D("[ImagerHIDLProxy::getEngineID] ScannerID=SE4710")}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.engineId);
        SimImager device;
        FakeImager::Answers answers;
        answers.openImager = c.open;
        answers.closeImager = c.close;
        answers.imagerInterfaceType = c.type;
        answers.engineId = c.engineId;
        device.imager->SetAnswers(answers);

        ScopedCapture capture;
        std::unique_ptr<IImagerModule> module = NewModule();
        EXPECT_EQ(c.open, module->openImager());
        EXPECT_EQ(c.close, module->closeImager());
        EXPECT_EQ(c.type, module->getImagerInterfaceType());
        EXPECT_EQ(c.engineId, module->getEngineID());
        module.reset();

        std::vector<Entry> expected = {
            I("[ImagerHIDLProxy::associateImagerHIDL] Acquired IImager HIDL interface.")};
        expected.insert(expected.end(), c.engineLog.begin(), c.engineLog.end());
        expected.push_back(I("[ImagerHIDLProxy::disAssociateImagerHIDL] disconnected Imager HIDL"));
        EXPECT_EQ(expected, Records(capture));
        EXPECT_EQ(
            (Strings{"openImager()", "closeImager()", "getImagerInterfaceType()", "getEngineID()"}),
            device.imager->calls().Calls());
        EXPECT_EQ(Strings{"getImager()"}, device.ManagerCalls());
    }
}

TEST(ImagerHIDLProxy, CompanionsAreMadeOnceAndDeletedByDeInit) {
    SimImager device;
    std::unique_ptr<IImagerModule> module = NewModule();
    ImagerControlHIDLProxy* control = module->getImagerControlHIDLProxy();
    V4L2ImagerAdapterHIDLProxy* adapter = module->getImagerAdapterHIDLProxy();
    ASSERT_NE(nullptr, control);
    ASSERT_NE(nullptr, adapter);
    EXPECT_EQ(control, module->getImagerControlHIDLProxy());
    EXPECT_EQ(adapter, module->getImagerAdapterHIDLProxy());
    // Each companion opened the imager for itself.
    EXPECT_EQ(2, device.imager->OpenCount());

    module->deInit();
    EXPECT_EQ(0, device.imager->OpenCount());
    // A new control object after deInit opens the imager again.
    ASSERT_NE(nullptr, module->getImagerControlHIDLProxy());
    EXPECT_EQ(1, device.imager->OpenCount());
    module->deInit();
    module->deInit();
    module.reset();

    EXPECT_EQ((Strings{"openImager()", "getImagerControl()", "openImager()", "getImagerAdapter()",
                       "closeImager()", "closeImager()", "openImager()", "getImagerControl()",
                       "closeImager()"}),
              device.imager->calls().Calls());
    EXPECT_EQ(Strings(4, "getImager()"), device.ManagerCalls());
}

TEST(ImagerHIDLProxy, ADeadServiceEndsTheProcessWhereAValueIsRead) {
    SimImager device;
    std::unique_ptr<IImagerModule> module = NewModule();
    ASSERT_NE(nullptr, module->getImagerControlHIDLProxy());
    device.sim().Kill();

    const std::string fatal = "Attempted to retrieve value from failed HIDL call";
    EXPECT_DEATH(module->openImager(), fatal);
    EXPECT_DEATH(module->closeImager(), fatal);
    EXPECT_DEATH(module->getImagerInterfaceType(), fatal);

    // The engine identifier and the companions' deletion read no value and carry on.
    ScopedCapture capture;
    EXPECT_EQ("", module->getEngineID());
    module->deInit();
    EXPECT_EQ((std::vector<Entry>{
                  I("[ImagerHIDLProxy::getEngineID] getEngineID"),
                  E("[ImagerHIDLProxy::getEngineID] Error at HIDL Service"),
                  D("[ImagerHIDLProxy::getEngineID] ScannerID="),
                  I("[ImagerControlHIDLProxy::disAssociateImagerControlHIDL] Calling close imager"),
                  I("[ImagerControlHIDLProxy::disAssociateImagerControlHIDL] disconnected Control "
                    "HIDL")}),
              Records(capture));
    // The dead imager saw nothing after the control object's association.
    EXPECT_EQ((Strings{"openImager()", "getImagerControl()"}), device.imager->calls().Calls());

    // A module made after the service came back reaches the new imager.
    device.sim().Restart();
    std::unique_ptr<IImagerModule> fresh = NewModule();
    EXPECT_EQ(0, fresh->openImager());
    EXPECT_EQ(Strings{"openImager()"}, device.imager->calls().Calls());
}

}  // namespace
