#include "SerialPort.h"

#include <vector>

#include "DCHWManagerAssociation.h"
#include "ScannerLog.h"

using android::sp;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;
using vendor::tevrin::hardware::dchwmanager::V1_0::IDCHWManager;
using vendor::tevrin::hardware::dchwmanager::V1_0::ISerialFWUpdate;

namespace vendor {
namespace tevrin {
namespace hardware {
namespace dchwmanager {
namespace implementation {

SerialCallback::SerialCallback() { SF_LOGD("[SerialCallback::SerialCallback()] ctor"); }

SerialCallback::~SerialCallback() { SF_LOGD("[SerialCallback::~SerialCallback()] dtor"); }

bool SerialCallback::setSerialDataCallback(ISerialDataCallBack* callback) {
    return m_SerialDataCallback.Set(callback);
}

void SerialCallback::clearSerialDataCallback() { m_SerialDataCallback.Close(); }

Return<void> SerialCallback::onSerialData(const hidl_vec<uint8_t>& data) {
    if (data.size() == 0) {
        SF_LOGE("[SerialCallback::onSerialData] data vector is empty\n");
        return Void();
    }
    SF_LOGD("[SerialCallback::onSerialData] data vector is not empty\n");
    // A callback left registered by a failed acquisition, or by a released instance, has no
    // data callback; what reaches it has nobody to go to.
    m_SerialDataCallback.Call([&](ISerialDataCallBack* callback) {
        callback->OnSerialDataReceived(data.data(), data.size());
    });
    return Void();
}

}  // namespace implementation
}  // namespace dchwmanager
}  // namespace hardware
}  // namespace tevrin
}  // namespace vendor

namespace {
const char kReadFailed[] = "Error - Unable to Read Data";
}

template <AndroidVersion T>
typename SerialPort<T>::_thread_register SerialPort<T>::Obj;

template <AndroidVersion T>
SerialPort<T>::SerialPort()
    : m_pSerialDataCallback(nullptr), b_SerialInit(false), b_SerialFWInit(false), b_Stopped(true) {}

template <AndroidVersion T>
SerialPort<T>::~SerialPort() {
    sp_IDCHWManager = nullptr;
    sp_SerialHal = nullptr;
    closeSerialCallback();
    sp_SerialCallback = nullptr;
    sp_SerialFWHal = nullptr;
}

template <AndroidVersion T>
bool SerialPort<T>::IsSupported() {
    return true;
}

template <AndroidVersion T>
char const* SerialPort<T>::GetModuleName() {
    return "SerialPort";
}

template <AndroidVersion T>
bool SerialPort<T>::Initialize(ISerialDataCallBack* callback) {
    m_pSerialDataCallback = callback;
    return true;
}

template <AndroidVersion T>
bool SerialPort<T>::associateSerial() {
    // A live manager means this instance holds a port already.
    static const DCHWManagerAssociationTexts kTexts = {
        "[SerialPort<T>::associateSerial] failed",
        "[SerialPort<T>::associateSerial] Unable to get IDCHWManager interface.",
        "[SerialPort<T>::associateSerial] Unable to get ISerial interface.",
        "[SerialPort<T>::associateSerial] Acquired ISerial interface.",
    };
    return AssociateWithDCHWManager(sp_IDCHWManager, sp_SerialHal, b_SerialInit,
                                    &IDCHWManager::getSerialInterface, kTexts);
}

template <AndroidVersion T>
bool SerialPort<T>::AcquireSerialInterface() {
    if (associateSerial()) {
        closeSerialCallback();
        sp_SerialCallback = new SerialCallback();
        uint8_t status = sp_SerialHal->registerCallback(sp_SerialCallback);
        if (status == 0 && sp_SerialCallback->setSerialDataCallback(m_pSerialDataCallback)) {
            SF_LOGD("[SerialPort<T>::AcquireSerialInterface] success");
            return true;
        }
    }
    SF_LOGE("[SerialPort<T>::AcquireSerialInterface] is not available");
    return false;
}

template <AndroidVersion T>
void SerialPort<T>::disassociate() {
    SF_LOGD("[SerialPort<T>::disassociate]");
    b_Stopped = true;
    b_SerialInit = false;
    b_SerialFWInit = false;
    sp_SerialFWHal = nullptr;
    m_pSerialDataCallback = nullptr;
    closeSerialCallback();
    sp_SerialCallback = nullptr;
    sp_SerialHal = nullptr;
    sp_IDCHWManager = nullptr;
}

template <AndroidVersion T>
void SerialPort<T>::closeSerialCallback() {
    // The service may keep calling the object it was given; the caller may destroy its data
    // callback as soon as this instance lets go of it, so nothing may reach it from then on.
    if (sp_SerialCallback != nullptr) sp_SerialCallback->clearSerialDataCallback();
}

template <AndroidVersion T>
bool SerialPort<T>::ReleaseSerialInterface() {
    disassociate();
    return true;
}

template <AndroidVersion T>
int SerialPort<T>::StartTransport(std::string portName, int baudRate, bool flowControl) {
    if (sp_SerialHal == nullptr) {
        SF_LOGE("[SerialPort<T>::StartTransport] StartTransport failed");
        return kStartFailed;
    }
    // Registered again on every start, so that a port opened after a stop reports here too.
    uint8_t registered = sp_SerialHal->registerCallback(sp_SerialCallback);
    if (registered != 0) {
        SF_LOGE("[SerialPort<T>::StartTransport] StartTransport failed");
        return kStartFailed;
    }
    uint8_t status = sp_SerialHal->openPort(hidl_string(portName), baudRate, flowControl);
    if (status == 0) b_Stopped = false;
    SF_LOGD("[SerialPort<T>::StartTransport] StartTransport return %d", status);
    return status;
}

template <AndroidVersion T>
int SerialPort<T>::StopTransport() {
    // Stopping a port that is not open is answered as done.
    if (b_Stopped) {
        SF_LOGE("[SerialPort<T>::StopTransport] already stoped");
        return 0;
    }
    if (sp_SerialHal == nullptr) {
        SF_LOGE("[SerialPort<T>::StopTransport] StopTransport failed");
        return kStopFailed;
    }
    uint8_t status = sp_SerialHal->closePort();
    if (status == 0) b_Stopped = true;
    SF_LOGD("[SerialPort<T>::StopTransport] StopTransport return %d --", status);
    return status;
}

template <AndroidVersion T>
int SerialPort<T>::IoControl(TransportIOControlCodes code, int value) {
    if (sp_SerialHal == nullptr) {
        SF_LOGE("Platform HAL [SerialPort<T>::IoControl] failed\n");
        return kIoControlFailed;
    }
    uint8_t status = sp_SerialHal->ioControl(static_cast<int32_t>(code), value);
    SF_LOGD("[SerialPort<T>::IoControl] return:%d\n", status);
    return status;
}

template <AndroidVersion T>
int SerialPort<T>::ProcessRequest(char* data, unsigned long length) {
    if (sp_SerialHal == nullptr) return kWriteFailed;
    hidl_vec<uint8_t> bytes;
    bytes.setToExternal(reinterpret_cast<uint8_t*>(data), length);
    uint8_t status = sp_SerialHal->writeData(bytes);
    return status;
}

template <AndroidVersion T>
bool SerialPort<T>::associateSerialFWUpdate() {
    if (b_SerialFWInit) {
        SF_LOGE("[SerialPort<T>::associateSerialFWUpdate] failed");
        return false;
    }
    // Fails while this instance holds the transport: the two exclude each other.
    if (!associateSerial()) {
        SF_LOGE("[SerialPort<T>::associateSerialFWUpdate] unable to get Serial Interface");
        sp_IDCHWManager = nullptr;
        sp_SerialHal = nullptr;
        return false;
    }
    sp_SerialFWHal = sp_SerialHal->getSerialFWInterface();
    if (sp_SerialFWHal == nullptr) {
        SF_LOGE("[SerialPort<T>::associateSerialFWUpdate] unable to get Serial FW Interface.");
        sp_IDCHWManager = nullptr;
        sp_SerialHal = nullptr;
        return false;
    }
    b_SerialFWInit = true;
    SF_LOGD("[SerialPort<T>::associateSerialFWUpdate] get SerialFW Interface success.");
    return true;
}

template <AndroidVersion T>
bool SerialPort<T>::AcquireFWSerialInterface() {
    bool acquired = associateSerialFWUpdate();
    if (acquired) {
        SF_LOGD("[SerialPort<T>::AcquireFWSerialInterface] success");
    } else {
        SF_LOGE("[SerialPort<T>::AcquireFWSerialInterface] failed");
    }
    return acquired;
}

template <AndroidVersion T>
int SerialPort<T>::FWOpenSerialPort(std::string portName) {
    if (sp_SerialFWHal == nullptr) {
        SF_LOGE("[SerialPort<T>::FWOpenSerialPort] FWOpenSerialPort failed");
        return kStartFailed;
    }
    uint8_t status = sp_SerialFWHal->fwOpen(hidl_string(portName));
    SF_LOGD("[SerialPort<T>::FWOpenSerialPort] FWOpenSerialPort return %d", status);
    return status;
}

template <AndroidVersion T>
int SerialPort<T>::FWCloseSerialPort() {
    if (sp_SerialFWHal == nullptr) {
        SF_LOGE("[SerialPort<T>::FWCloseSerialPort] FWCloseSerialPort failed");
        return kStopFailed;
    }
    uint8_t status = sp_SerialFWHal->fwClose();
    SF_LOGD("[SerialPort<T>::FWCloseSerialPort] FWCloseSerialPort return %d", status);
    return status;
}

template <AndroidVersion T>
int SerialPort<T>::FWIoCtl(int request, int value, unsigned char flag) {
    if (sp_SerialFWHal == nullptr) {
        SF_LOGE("[SerialPort<T>::FWIoCtl] FWIoCtl failed");
        return kStopFailed;
    }
    uint8_t status = sp_SerialFWHal->fwIoctl(request, value, flag);
    SF_LOGD("[SerialPort<T>::FWIoCtl] FWIoCtl return %d", status);
    return status;
}

template <AndroidVersion T>
int SerialPort<T>::FWPoll() {
    int32_t result = sp_SerialFWHal->fwPoll();
    return result;
}

template <AndroidVersion T>
int SerialPort<T>::FWWritePort(int length, unsigned char* data) {
    int status = kWriteFailed;
    if (sp_SerialFWHal != nullptr) {
        hidl_vec<uint8_t> bytes;
        // A negative length becomes a size beyond what a vector may hold, which ends the process.
        bytes.setToExternal(data, static_cast<size_t>(length));
        uint8_t written = sp_SerialFWHal->fwWrite(length, bytes);
        status = written;
    }
    // At error level on success too, so that every write of a firmware update is in the log at
    // the levels devices ship with.
    SF_LOGE("[SerialPort<T>::FWWritePort] err:%d ", status);
    return status;
}

template <AndroidVersion T>
std::string SerialPort<T>::FWReadPort() {
    if (sp_SerialFWHal == nullptr) {
        SF_LOGE("[SerialPort<T>::FWReadPort] sp_SerialHal NULL)");
        return kReadFailed;
    }
    bool ok = false;
    std::vector<char> bytes;
    // A read that never reached the service leaves the copy empty: answered as a failed read.
    sp_SerialFWHal
        ->fwRead([&](bool readOk, const hidl_vec<uint8_t>& data) {
            ok = readOk;
            bytes.assign(data.begin(), data.end());
        })
        .isOk();
    if (!bytes.empty() && ok) return convertToHex(bytes.data(), static_cast<int>(bytes.size()));
    SF_LOGE("[SerialPort<T>::FWReadPort] Error at HIDL Service (sp_SerialHal instance is NULL)");
    return kReadFailed;
}

template <AndroidVersion T>
std::string SerialPort<T>::convertToHex(char* bytes, int length) {
    static const char kDigits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve((static_cast<size_t>(length > 0 ? length : 0) + 1) * 4);
    auto append = [&](unsigned char byte) {
        text += "0x";
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0xF];
    };
    for (int i = 0; i < length; ++i) append(static_cast<unsigned char>(bytes[i]));
    append(0);
    return text;
}

template class SerialPort<(AndroidVersion)10>;
