// The service-death rows of the imager module, its control object and the V4L2 adapter with its
// frames. Each of the three associates once, when it is made, and never checks its connection
// again: after a death the module keeps its dead imager, and the way back to a live service is
// a new companion object (after deInit), which associates on its own. Answers that come through
// a result callback (engine identifier, command reply, parameter) simply never arrive from a
// dead service; values read directly end the process.

#include <vendor/tevrin/hardware/dchwmanager/1.0/IDCHWManager.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "FakeDCHWManager.h"
#include "FakeImager.h"
#include "FakeImagerAdapter.h"
#include "FakeImagerControl.h"
#include "ImagerControlHIDLProxy.h"
#include "ImagerHIDLProxy.h"
#include "ImagingFixture.h"
#include "ServiceDeath.h"
#include "V4L2ImagerAdapterHIDLProxy.h"

namespace service_death {
namespace {

using android::sp;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using feedback_test::Debug;
using feedback_test::Error;
using feedback_test::Info;
using orvex::hostlog::ScopedCapture;
using orvex::sim::FakeDCHWManager;
using orvex::sim::FakeImager;
using orvex::sim::FakeImagerAdapter;
using orvex::sim::FakeImagerControl;
using orvex::test::SimImager;
namespace dch = vendor::tevrin::hardware::dchwmanager::V1_0;

using Imager = ImagerHIDLProxy<ANDROID_VERSION_10>;
using Calls = std::vector<std::string>;

const std::vector<uint8_t> kCommand = {0x1b, 0x02};
const __preview_size__ kSize = {64, 8, 8, false, false};

const Entry kCommandFailed = Error(
    "[ImagerControlHIDLProxy::sendCommand] Error at HIDL Service (sp_ImagerControlHIDL "
    "instance is NULL, Error - Unable to send command)");
const Entry kCallingClose =
    Info("[ImagerControlHIDLProxy::disAssociateImagerControlHIDL] Calling close imager");
const Entry kControlDisconnected =
    Info("[ImagerControlHIDLProxy::disAssociateImagerControlHIDL] disconnected Control HIDL");
const Entry kControlAcquiredImager = Info(
    "[ImagerControlHIDLProxy::associateImagerControlHIDL] Acquired IImagerControl HIDL interface.");
const Entry kControlAcquired = Info(
    "[ImagerControlHIDLProxy::associateImagerControlHIDL] Acquired IImagerControlHIDL "
    "interface.");
const Entry kControlNoManager = Error(
    "[ImagerControlHIDLProxy::associateImagerControlHIDL] Unable to get DCHWManager HIDL "
    "interface.");
const Entry kControlFailed = Error(
    "[ImagerControlHIDLProxy::ImagerControlHIDLProxy] failed to associate ImagerControl HIDL");
const Entry kAdapterNoManager = Error(
    "[V4L2ImagerAdapterHIDLProxy::associateImagerAdapterHIDL] Unable to get DCHWManager "
    "HIDL interface.");
const Entry kAdapterFailed = Error(
    "[V4L2ImagerAdapterHIDLProxy::V4L2ImagerAdapterHIDLProxy] failed to associate "
    "ImagerAdapter HIDL");
const Entry kAdapterDisconnected =
    Info("[V4L2ImagerAdapterHIDLProxy::disAssociateImagerAdapterHIDL] disconnected Adapter HIDL");

// Sends kCommand; the reply lands in `reply`, which starts filled with 0xEE.
uint32_t SendCommand(ImagerControlHIDLProxy* control, std::vector<uint8_t>& reply) {
    std::vector<uint8_t> command = kCommand;
    reply.assign(4, 0xEE);
    return control->sendCommand(command.data(), static_cast<unsigned>(command.size()), reply.data(),
                                static_cast<unsigned>(reply.size()), 0, 0);
}

// The caller's image callback: counts frames and checks that each is the frame the service
// filled (its pattern), i.e. that the mapping is the frame and not something else.
class Frames : public IImageCallback {
  public:
    bool OnReceiveFrame(void* frame) override {
        const auto* bytes = static_cast<const uint8_t*>(frame);
        bool patterned = true;
        for (size_t i = 0; i < 256; ++i) {
            patterned = patterned && bytes[i] == FakeImagerAdapter::PatternByte(bytes[0], i);
        }
        std::lock_guard<std::mutex> lock(mLock);
        ++mCount;
        mPatterned = mPatterned && patterned;
        return true;
    }
    uint64_t Count() {
        std::lock_guard<std::mutex> lock(mLock);
        return mCount;
    }
    bool Patterned() {
        std::lock_guard<std::mutex> lock(mLock);
        return mPatterned;
    }

  private:
    std::mutex mLock;
    uint64_t mCount = 0;
    bool mPatterned = true;
};

// A caller that is handed a frame by a service that dies while the caller still reads it.
class FramesOutlivingTheService : public IImageCallback {
  public:
    bool OnReceiveFrame(void* frame) override {
        std::lock_guard<std::mutex> lock(mLock);
        if (mCount++ > 0) return true;
        KillManager();
        const auto* bytes = static_cast<const uint8_t*>(frame);
        for (size_t i = 0; i < kFrameBytes; ++i) {
            mIntact = mIntact && bytes[i] == FakeImagerAdapter::PatternByte(bytes[0], i);
        }
        return true;
    }
    uint64_t Count() {
        std::lock_guard<std::mutex> lock(mLock);
        return mCount;
    }
    bool Intact() {
        std::lock_guard<std::mutex> lock(mLock);
        return mIntact;
    }

  private:
    static constexpr size_t kFrameBytes = 64 * 8;  // kSize, 8 bits per pixel
    std::mutex mLock;
    uint64_t mCount = 0;
    bool mIntact = true;
};

// Initializes, enables and starts the adapter, and waits (bounded) for a first frame.
bool StreamTo(V4L2ImagerAdapterHIDLProxy* adapter, Frames& frames,
              const sp<FakeImagerAdapter>& service) {
    return adapter->InitAdapter("V4L2Adapter", kSize) == 0 && adapter->Enable(&frames) == 0 &&
           adapter->StartStreaming() == 0 && service->WaitForFrames(1) && frames.Count() >= 1;
}

// A hardware manager that dies while handing out the imager.
class ManagerDyingInGetImager : public FakeDCHWManager {
  public:
    Return<sp<dch::IImager>> getImager() override {
        KillManager();
        return DeadObject<sp<dch::IImager>>();
    }
};

// An imager whose service dies inside the named call ("openImager", ...), which then fails.
class ImagerDyingIn : public FakeImager {
  public:
    explicit ImagerDyingIn(std::string point) : mPoint(std::move(point)) {
        SetControl(new FakeImagerControl);
        SetAdapter(new FakeImagerAdapter);
    }

    Return<int8_t> openImager() override {
        return Dies("openImager") ? DeadObject<int8_t>() : FakeImager::openImager();
    }
    Return<int8_t> closeImager() override {
        return Dies("closeImager") ? DeadObject<int8_t>() : FakeImager::closeImager();
    }
    Return<void> getEngineID(getEngineID_cb _hidl_cb) override {
        return Dies("getEngineID") ? DeadObject<void>() : FakeImager::getEngineID(_hidl_cb);
    }
    Return<sp<dch::IImagerControl>> getImagerControl() override {
        return Dies("getImagerControl") ? DeadObject<sp<dch::IImagerControl>>()
                                        : FakeImager::getImagerControl();
    }
    Return<sp<dch::IImagerAdapter>> getImagerAdapter() override {
        return Dies("getImagerAdapter") ? DeadObject<sp<dch::IImagerAdapter>>()
                                        : FakeImager::getImagerAdapter();
    }

  private:
    bool Dies(const std::string& call) {
        if (call != mPoint) return false;
        calls().Add(call + "()");
        KillManager();
        return true;
    }
    const std::string mPoint;
};

class ControlDyingInSendCommand : public FakeImagerControl {
  public:
    Return<void> sendCommand(const hidl_vec<uint8_t>&, uint32_t, uint32_t, uint32_t, uint32_t,
                             sendCommand_cb) override {
        KillManager();
        return DeadObject<void>();
    }
};

// An adapter whose service dies inside the named call ("Init", ...), which then fails.
class AdapterDyingIn : public FakeImagerAdapter {
  public:
    explicit AdapterDyingIn(std::string point) : mPoint(std::move(point)) {}

    Return<int8_t> Init(const hidl_string& adapterClass, const PreviewSize& size) override {
        return Dies("Init") ? DeadObject<int8_t>() : FakeImagerAdapter::Init(adapterClass, size);
    }
    Return<int8_t> RegisterFrameCallback(const sp<IFrameCallback>& callback) override {
        return Dies("RegisterFrameCallback") ? DeadObject<int8_t>()
                                             : FakeImagerAdapter::RegisterFrameCallback(callback);
    }
    Return<void> GetParameter(const hidl_string& name, GetParameter_cb _hidl_cb) override {
        return Dies("GetParameter") ? DeadObject<void>()
                                    : FakeImagerAdapter::GetParameter(name, _hidl_cb);
    }
    Return<int8_t> HaltAcquisition(bool halt, int32_t flag) override {
        return Dies("HaltAcquisition") ? DeadObject<int8_t>()
                                       : FakeImagerAdapter::HaltAcquisition(halt, flag);
    }

  private:
    bool Dies(const std::string& call) {
        if (call != mPoint) return false;
        KillManager();
        return true;
    }
    const std::string mPoint;
};

// Registers a manager that hands out `imager`, which hands out its own control and adapter.
void RegisterImager(const sp<FakeImager>& imager) {
    sp<FakeDCHWManager> manager = new FakeDCHWManager;
    manager->SetImager(imager);
    orvex::hidl::RegisterService<dch::IDCHWManager>(manager, "default");
}

sp<FakeImager> ImagerWith(const sp<dch::IImagerControl>& control,
                          const sp<dch::IImagerAdapter>& adapter) {
    sp<FakeImager> imager = new FakeImager;
    imager->SetControl(control);
    imager->SetAdapter(adapter);
    return imager;
}

// ---- ImagerHIDLProxy and ImagerControlHIDLProxy ----

void ImagerCreatedAfterTheManagerCameBack(ChildChecks& c) {
    SimImager device;
    sp<FakeImager> old = device.imager;
    device.sim().Restart();
    device.control->SetReply(kCommand, {0, {9, 8}});
    Imager module;
    c.Eq("openImager", module.openImager(), 0);
    c.Eq("getEngineID", module.getEngineID(), std::string("31"));
    std::vector<uint8_t> reply;
    c.Eq("sendCommand", SendCommand(module.getImagerControlHIDLProxy(), reply), 0u);
    c.True("the reply is copied", reply == std::vector<uint8_t>({9, 8, 0xEE, 0xEE}));
    SameCalls(c, "the new imager", device.imager->calls().Calls(),
              {"openImager()", "getEngineID()", "openImager()", "getImagerControl()"});
    SameCalls(c, "the dead imager", old->calls().Calls(), {});
    module.deInit();
}

void ImagerCreatedAfterTheManagerDiedForGood(ChildChecks& c) {
    SimImager device;
    device.sim().Remove();
    ScopedCapture log;
    {
        Imager module;
        c.Eq("openImager", module.openImager(), -1);
        c.Eq("closeImager", module.closeImager(), -1);
        c.Eq("getImagerInterfaceType", module.getImagerInterfaceType(), -1);
        c.Eq("getEngineID", module.getEngineID(), std::string());
        ImagerControlHIDLProxy* control = module.getImagerControlHIDLProxy();
        std::vector<uint8_t> reply;
        c.Eq("sendCommand", SendCommand(control, reply), 1u);
        c.True("configureSettleCount is false", !control->configureSettleCount(2));
        module.deInit();
    }
    c.Logged(
        log.WithTag("ScannerFramework"),
        {Error("[ImagerHIDLProxy::associateImagerHIDL] Unable to get DCHWManager HIDL interface."),
         Error("[ImagerHIDLProxy<T>::ImagerHIDLProxy] failed to associate Imager HIDL"),
         Error("[ImagerHIDLProxy::openImager] sp_Imager is Null"),
         Error("[ImagerHIDLProxy::closeImager] sp_Imager is Null"),
         Error("[ImagerHIDLProxy::getImagerInterfaceType] sp_Imager is Null"),
         Error("[ImagerHIDLProxy::getEngineID] sp_Imager is Null"),
         Debug("[ImagerHIDLProxy::getEngineID] ScannerID="), kControlNoManager, kControlFailed,
         Error("[ImagerControlHIDLProxy::sendCommand] sp_ImagerControlHIDL is Null"),
         Info("[ImagerControlHIDLProxy::configureSettleCount]"),
         Error("[ImagerControlHIDLProxy::configureSettleCount] sp_ImagerControlHIDL is Null"),
         kControlDisconnected,
         Info("[ImagerHIDLProxy::disAssociateImagerHIDL] disconnected Imager HIDL")});
}

void ImagerOpenAfterTheHeldManagerCameBack(ChildChecks&) {
    SimImager device;
    Imager module;
    device.sim().Restart();
    // The module never looks at its connection again: the open goes to the dead imager.
    module.openImager();
}

void ImagerCloseAfterTheHeldManagerDiedForGood(ChildChecks&) {
    SimImager device;
    Imager module;
    device.sim().Remove();
    module.closeImager();
}

void ImagerEngineIDAfterTheHeldManagerDiedForGood(ChildChecks& c) {
    SimImager device;
    Imager module;
    device.sim().Remove();
    ScopedCapture log;
    c.Eq("getEngineID", module.getEngineID(), std::string());
    c.Logged(log.WithTag("ScannerFramework"),
             {Info("[ImagerHIDLProxy::getEngineID] getEngineID"),
              Error("[ImagerHIDLProxy::getEngineID] Error at HIDL Service"),
              Debug("[ImagerHIDLProxy::getEngineID] ScannerID=")});
    SameCalls(c, "the dead imager", device.imager->calls().Calls(), {});
}

void ImagerControlRequestedAfterTheManagerCameBack(ChildChecks& c) {
    SimImager device;
    Imager module;
    device.sim().Restart();
    device.control->SetReply(kCommand, {0, {5}});
    // The control object associates by itself, with the new instance.
    std::vector<uint8_t> reply;
    c.Eq("sendCommand", SendCommand(module.getImagerControlHIDLProxy(), reply), 0u);
    c.Eq("reply", static_cast<int>(reply[0]), 5);
    c.Eq("the new imager is open", device.imager->OpenCount(), 1);
    module.deInit();
    c.Eq("and closed again", device.imager->OpenCount(), 0);
}

void ControlRecreatedAfterTheManagerCameBack(ChildChecks& c) {
    SimImager device;
    Imager module;
    ImagerControlHIDLProxy* control = module.getImagerControlHIDLProxy();
    device.sim().Restart();
    device.control->SetReply(kCommand, {0, {5}});
    ScopedCapture log;
    // No reply comes from the dead control: the status stays at its starting -1.
    std::vector<uint8_t> reply;
    c.Eq("sendCommand", SendCommand(control, reply), 0xFFFFFFFFu);
    c.True("nothing copied", reply == std::vector<uint8_t>(4, 0xEE));
    module.deInit();
    c.Eq("sendCommand on a new control", SendCommand(module.getImagerControlHIDLProxy(), reply),
         0u);
    c.Eq("reply", static_cast<int>(reply[0]), 5);
    c.Logged(log.WithTag("ScannerFramework"), {kCommandFailed, kCallingClose, kControlDisconnected,
                                               kControlAcquiredImager, kControlAcquired});
    SameCalls(c, "the new control", device.control->calls().Calls(),
              {"sendCommand([1b 02], 2, 4, 0, 0)"});
    module.deInit();
}

void ControlSettleCountAfterTheHeldManagerCameBack(ChildChecks&) {
    SimImager device;
    Imager module;
    ImagerControlHIDLProxy* control = module.getImagerControlHIDLProxy();
    device.sim().Restart();
    control->configureSettleCount(2);
}

void ControlRequestedAfterTheManagerDiedForGood(ChildChecks& c) {
    SimImager device;
    Imager module;
    device.sim().Remove();
    ScopedCapture log;
    ImagerControlHIDLProxy* control = module.getImagerControlHIDLProxy();
    std::vector<uint8_t> reply;
    c.Eq("sendCommand", SendCommand(control, reply), 1u);
    c.Logged(log.WithTag("ScannerFramework"),
             {kControlNoManager, kControlFailed,
              Error("[ImagerControlHIDLProxy::sendCommand] sp_ImagerControlHIDL is Null")});
    SameCalls(c, "the dead imager", device.imager->calls().Calls(), {});
}

void ImagerManagerDiesHandingOutTheImager(ChildChecks&) {
    orvex::hidl::RegisterService<dch::IDCHWManager>(new ManagerDyingInGetImager, "default");
    Imager module;
}

void ControlDiesInOpenImager(ChildChecks&) {
    RegisterImager(new ImagerDyingIn("openImager"));
    Imager module;
    module.getImagerControlHIDLProxy();
}

void ControlDiesHandingOutTheControl(ChildChecks&) {
    RegisterImager(new ImagerDyingIn("getImagerControl"));
    Imager module;
    module.getImagerControlHIDLProxy();
}

void ImagerDiesInGetEngineIDBeforeReplying(ChildChecks& c) {
    RegisterImager(new ImagerDyingIn("getEngineID"));
    Imager module;
    ScopedCapture log;
    c.Eq("getEngineID", module.getEngineID(), std::string());
    c.Logged(log.WithTag("ScannerFramework"),
             {Info("[ImagerHIDLProxy::getEngineID] getEngineID"),
              Error("[ImagerHIDLProxy::getEngineID] Error at HIDL Service"),
              Debug("[ImagerHIDLProxy::getEngineID] ScannerID=")});
}

void ControlDiesInSendCommandBeforeReplying(ChildChecks& c) {
    RegisterImager(ImagerWith(new ControlDyingInSendCommand, nullptr));
    Imager module;
    ImagerControlHIDLProxy* control = module.getImagerControlHIDLProxy();
    ScopedCapture log;
    std::vector<uint8_t> reply;
    c.Eq("sendCommand", SendCommand(control, reply), 0xFFFFFFFFu);
    c.True("nothing copied", reply == std::vector<uint8_t>(4, 0xEE));
    c.Logged(log.WithTag("ScannerFramework"), {kCommandFailed});
}

void ControlDiesInCloseImager(ChildChecks& c) {
    sp<FakeImager> dying = new ImagerDyingIn("closeImager");
    RegisterImager(dying);
    Imager module;
    c.True("control", module.getImagerControlHIDLProxy() != nullptr);
    ScopedCapture log;
    // The close's status is not read: the deletion completes.
    module.deInit();
    c.Logged(log.WithTag("ScannerFramework"), {kCallingClose, kControlDisconnected});
    SameCalls(c, "the imager", dying->calls().Calls(),
              {"openImager()", "getImagerControl()", "closeImager()"});
    // The service comes back: a new control reaches it.
    sp<FakeImager> back = ImagerWith(new FakeImagerControl, nullptr);
    RegisterImager(back);
    std::vector<uint8_t> reply;
    c.Eq("sendCommand on a new control", SendCommand(module.getImagerControlHIDLProxy(), reply),
         0u);
    c.Eq("the new imager is open", back->OpenCount(), 1);
}

// ---- V4L2ImagerAdapterHIDLProxy and FrameCallback ----

void AdapterStreamAfterTheManagerCameBack(ChildChecks& c) {
    SimImager device;
    sp<FakeImagerAdapter> old = device.adapter;
    device.sim().Restart();
    Imager module;
    Frames frames;
    V4L2ImagerAdapterHIDLProxy* adapter = module.getImagerAdapterHIDLProxy();
    c.True("frames of the new instance reach the caller",
           StreamTo(adapter, frames, device.adapter));
    c.Eq("Disable", adapter->Disable(), 0);
    c.True("each frame is the one the service sent", frames.Patterned());
    c.Eq("frames from the dead instance", old->FramesDelivered(), 0u);
    module.deInit();
}

void AdapterCreatedAfterTheManagerDiedForGood(ChildChecks& c) {
    SimImager device;
    device.sim().Remove();
    Frames frames;
    ScopedCapture log;
    {
        V4L2ImagerAdapterHIDLProxy adapter;
        c.Eq("InitAdapter", adapter.InitAdapter("V4L2Adapter", kSize), 1);
        c.Eq("Enable", adapter.Enable(&frames), 1);
        c.Eq("GetParameter", std::string(adapter.GetParameter("exposure")),
             std::string("Error - Imager Adapter HIDL is Null."));
        c.True("IsStreaming is false", !adapter.IsStreaming());
    }
    c.Logged(log.WithTag("ScannerFramework"),
             {kAdapterNoManager, kAdapterFailed,
              Error("[V4L2ImagerAdapterHIDLProxy::Init] sp_ImagerAdapterHIDL is Null"),
              Error("[V4L2ImagerAdapterHIDLProxy::SetPreviewSize] sp_ImagerAdapterHIDL is Null"),
              Error("[V4L2ImagerAdapterHIDLProxy::GetParameter] sp_ImagerAdapterHIDL is Null"),
              Error("[V4L2ImagerAdapterHIDLProxy::IsStreaming] sp_ImagerAdapterHIDL is Null"),
              kAdapterDisconnected});
}

void AdapterRecreatedAfterTheManagerCameBack(ChildChecks& c) {
    SimImager device;
    Imager module;
    Frames frames;
    V4L2ImagerAdapterHIDLProxy* adapter = module.getImagerAdapterHIDLProxy();
    c.True("frames flow", StreamTo(adapter, frames, device.adapter));
    sp<FakeImagerAdapter> old = device.adapter;
    sp<FakeImager> oldImager = device.imager;
    device.sim().Restart();
    // Frames stop with the death; every frame sent reached the caller.
    c.Eq("frames received", frames.Count(), old->FramesDelivered());
    // No answer comes from the dead adapter: the parameter keeps its default.
    c.Eq("GetParameter", std::string(adapter->GetParameter("exposure")),
         std::string("Unsupported Parameter"));
    const uint64_t before = frames.Count();
    module.deInit();
    adapter = module.getImagerAdapterHIDLProxy();
    c.True("frames of the new instance reach the caller",
           StreamTo(adapter, frames, device.adapter) && frames.Count() > before);
    c.Eq("Disable", adapter->Disable(), 0);
    c.True("each frame is the one the service sent", frames.Patterned());
    // The old adapter's close, on deletion, never reached the dead imager.
    SameCalls(c, "the dead imager", oldImager->calls().Calls(),
              {"openImager()", "getImagerAdapter()"});
    SameCalls(c, "the new imager", device.imager->calls().Calls(),
              {"openImager()", "getImagerAdapter()"});
    module.deInit();
}

void FrameOutlivesTheServiceThatSentIt(ChildChecks& c) {
    SimImager device;
    Imager module;
    FramesOutlivingTheService frames;
    V4L2ImagerAdapterHIDLProxy* adapter = module.getImagerAdapterHIDLProxy();
    ScopedCapture log;
    c.Eq("InitAdapter", adapter->InitAdapter("V4L2Adapter", kSize), 0);
    c.Eq("Enable", adapter->Enable(&frames), 0);
    c.Eq("StartStreaming", adapter->StartStreaming(), 0);
    c.True("a frame was delivered", device.adapter->WaitForFrames(1));
    // The mapping stays the caller's until it returns, whatever became of the sender; the
    // dead service sends nothing more.
    c.True("the frame read after the death is whole", frames.Intact());
    c.Eq("frames delivered", device.adapter->FramesDelivered(), 1u);
    c.Eq("frames received", frames.Count(), 1u);
    c.True("no frame failed",
           !log.Contains(6, "ScannerFramework",
                         "[FrameCallback::onFrameAvailable] OnReceiveFrame "
                         "failed") &&
               !log.Contains(6, "ScannerFramework", "[FrameCallback::onFrame] mmap failed\n"));
}

void AdapterStartStreamingAfterTheHeldManagerCameBack(ChildChecks&) {
    SimImager device;
    Imager module;
    Frames frames;
    V4L2ImagerAdapterHIDLProxy* adapter = module.getImagerAdapterHIDLProxy();
    adapter->InitAdapter("V4L2Adapter", kSize);
    adapter->Enable(&frames);
    device.sim().Restart();
    // Whether it streams is read from the dead adapter.
    adapter->StartStreaming();
}

void AdapterDisableAfterTheHeldManagerDiedForGood(ChildChecks&) {
    SimImager device;
    Imager module;
    V4L2ImagerAdapterHIDLProxy* adapter = module.getImagerAdapterHIDLProxy();
    device.sim().Remove();
    adapter->Disable();
}

void AdapterRecreatedAfterTheManagerDiedForGood(ChildChecks& c) {
    SimImager device;
    Imager module;
    c.True("adapter", module.getImagerAdapterHIDLProxy() != nullptr);
    device.sim().Remove();
    ScopedCapture log;
    module.deInit();
    V4L2ImagerAdapterHIDLProxy* adapter = module.getImagerAdapterHIDLProxy();
    c.Eq("StartStreaming", adapter->StartStreaming(), 1);
    c.Logged(log.WithTag("ScannerFramework"),
             {kAdapterDisconnected, kAdapterNoManager, kAdapterFailed,
              Error("[V4L2ImagerAdapterHIDLProxy::StartStreaming] sp_ImagerAdapterHIDL is Null")});
    module.deInit();
}

void AdapterDiesHandingOutTheAdapter(ChildChecks&) {
    RegisterImager(new ImagerDyingIn("getImagerAdapter"));
    Imager module;
    module.getImagerAdapterHIDLProxy();
}

void AdapterDiesInInit(ChildChecks&) {
    RegisterImager(ImagerWith(nullptr, new AdapterDyingIn("Init")));
    Imager module;
    module.getImagerAdapterHIDLProxy()->InitAdapter("V4L2Adapter", kSize);
}

void AdapterDiesInRegisterFrameCallback(ChildChecks&) {
    RegisterImager(ImagerWith(nullptr, new AdapterDyingIn("RegisterFrameCallback")));
    Imager module;
    Frames frames;
    V4L2ImagerAdapterHIDLProxy* adapter = module.getImagerAdapterHIDLProxy();
    adapter->InitAdapter("V4L2Adapter", kSize);
    adapter->Enable(&frames);
}

void AdapterDiesInGetParameterBeforeReplying(ChildChecks& c) {
    sp<FakeImagerAdapter> dying = new AdapterDyingIn("GetParameter");
    dying->SetParameterAnswer("exposure", 0, "12");
    RegisterImager(ImagerWith(nullptr, dying));
    Imager module;
    V4L2ImagerAdapterHIDLProxy* adapter = module.getImagerAdapterHIDLProxy();
    ScopedCapture log;
    c.Eq("GetParameter", std::string(adapter->GetParameter("exposure")),
         std::string("Unsupported Parameter"));
    c.Logged(log.WithTag("ScannerFramework"), {});
}

void AdapterDiesInHaltAcquisition(ChildChecks&) {
    RegisterImager(ImagerWith(nullptr, new AdapterDyingIn("HaltAcquisition")));
    Imager module;
    V4L2ImagerAdapterHIDLProxy* adapter = module.getImagerAdapterHIDLProxy();
    adapter->InitAdapter("V4L2Adapter", kSize);
    adapter->StopStreaming(false, 0);
}

}  // namespace

std::vector<Row> ImagingRows() {
    return {
        {"ImagerHIDLProxy_CreatedAfterTheManagerCameBack", Outcome::kReconnects,
         ImagerCreatedAfterTheManagerCameBack},
        {"ImagerHIDLProxy_CreatedAfterTheManagerDiedForGood", Outcome::kFixedResult,
         ImagerCreatedAfterTheManagerDiedForGood},
        {"ImagerHIDLProxy_OpenAfterTheHeldManagerCameBack", Outcome::kProcessEnds,
         ImagerOpenAfterTheHeldManagerCameBack},
        {"ImagerHIDLProxy_CloseAfterTheHeldManagerDiedForGood", Outcome::kProcessEnds,
         ImagerCloseAfterTheHeldManagerDiedForGood},
        {"ImagerHIDLProxy_EngineIDAfterTheHeldManagerDiedForGood", Outcome::kFixedResult,
         ImagerEngineIDAfterTheHeldManagerDiedForGood},
        {"ImagerHIDLProxy_ControlRequestedAfterTheManagerCameBack", Outcome::kReconnects,
         ImagerControlRequestedAfterTheManagerCameBack},
        {"ImagerHIDLProxy_ManagerDiesHandingOutTheImager", Outcome::kProcessEnds,
         ImagerManagerDiesHandingOutTheImager},
        {"ImagerHIDLProxy_DiesInGetEngineIDBeforeReplying", Outcome::kFixedResult,
         ImagerDiesInGetEngineIDBeforeReplying},
        {"ImagerControlHIDLProxy_RecreatedAfterTheManagerCameBack", Outcome::kReconnects,
         ControlRecreatedAfterTheManagerCameBack},
        {"ImagerControlHIDLProxy_SettleCountAfterTheHeldManagerCameBack", Outcome::kProcessEnds,
         ControlSettleCountAfterTheHeldManagerCameBack},
        {"ImagerControlHIDLProxy_RequestedAfterTheManagerDiedForGood", Outcome::kFixedResult,
         ControlRequestedAfterTheManagerDiedForGood},
        {"ImagerControlHIDLProxy_DiesInOpenImager", Outcome::kProcessEnds, ControlDiesInOpenImager},
        {"ImagerControlHIDLProxy_DiesHandingOutTheControl", Outcome::kProcessEnds,
         ControlDiesHandingOutTheControl},
        {"ImagerControlHIDLProxy_DiesInSendCommandBeforeReplying", Outcome::kFixedResult,
         ControlDiesInSendCommandBeforeReplying},
        {"ImagerControlHIDLProxy_DiesInCloseImager", Outcome::kFixedResult,
         ControlDiesInCloseImager},
        {"V4L2ImagerAdapterHIDLProxy_StreamAfterTheManagerCameBack", Outcome::kReconnects,
         AdapterStreamAfterTheManagerCameBack},
        {"V4L2ImagerAdapterHIDLProxy_CreatedAfterTheManagerDiedForGood", Outcome::kFixedResult,
         AdapterCreatedAfterTheManagerDiedForGood},
        {"V4L2ImagerAdapterHIDLProxy_RecreatedAfterTheManagerCameBack", Outcome::kReconnects,
         AdapterRecreatedAfterTheManagerCameBack},
        {"FrameCallback_ServiceDiesWhileTheCallerHoldsAFrame", Outcome::kFixedResult,
         FrameOutlivesTheServiceThatSentIt},
        {"V4L2ImagerAdapterHIDLProxy_StartStreamingAfterTheHeldManagerCameBack",
         Outcome::kProcessEnds, AdapterStartStreamingAfterTheHeldManagerCameBack},
        {"V4L2ImagerAdapterHIDLProxy_DisableAfterTheHeldManagerDiedForGood", Outcome::kProcessEnds,
         AdapterDisableAfterTheHeldManagerDiedForGood},
        {"V4L2ImagerAdapterHIDLProxy_RecreatedAfterTheManagerDiedForGood", Outcome::kFixedResult,
         AdapterRecreatedAfterTheManagerDiedForGood},
        {"V4L2ImagerAdapterHIDLProxy_DiesHandingOutTheAdapter", Outcome::kProcessEnds,
         AdapterDiesHandingOutTheAdapter},
        {"V4L2ImagerAdapterHIDLProxy_DiesInInit", Outcome::kProcessEnds, AdapterDiesInInit},
        {"V4L2ImagerAdapterHIDLProxy_DiesInRegisterFrameCallback", Outcome::kProcessEnds,
         AdapterDiesInRegisterFrameCallback},
        {"V4L2ImagerAdapterHIDLProxy_DiesInGetParameterBeforeReplying", Outcome::kFixedResult,
         AdapterDiesInGetParameterBeforeReplying},
        {"V4L2ImagerAdapterHIDLProxy_DiesInHaltAcquisition", Outcome::kProcessEnds,
         AdapterDiesInHaltAcquisition},
    };
}

}  // namespace service_death
