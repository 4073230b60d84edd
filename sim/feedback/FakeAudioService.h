// The platform's audio service as a binder client sees it: the stream-volume calls the library
// makes, answered from a scripted table, with every transaction recorded.
#pragma once

#include <binder/Binder.h>
#include <binder/Parcel.h>
#include <stdint.h>

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace orvex {
namespace sim {

// Called on the client's thread (binder transactions are direct calls on a host); every member
// is guarded by mMutex.
class FakeAudioService : public android::BBinder {
  public:
    static constexpr const char* kServiceName = "audio";
    static constexpr const char* kDescriptor = "android.media.IAudioService";

    // The service's transaction codes of the calls the fake answers.
    enum : uint32_t {
        SET_STREAM_VOLUME = 3,
        GET_STREAM_VOLUME = 8,
        GET_STREAM_MAX_VOLUME = 10,
    };

    // The Java exception code of IllegalArgumentException and SecurityException.
    static constexpr int32_t kExIllegalArgument = -3;
    static constexpr int32_t kExSecurity = -1;

    struct Transaction {
        uint32_t code = 0;
        uint32_t flags = 0;
        bool tokenAccepted = false;
        std::vector<int32_t> args;   // the int32 arguments after the token, in order
        std::string callingPackage;  // SET_STREAM_VOLUME only

        bool operator==(const Transaction& o) const {
            return code == o.code && flags == o.flags && tokenAccepted == o.tokenAccepted &&
                   args == o.args && callingPackage == o.callingPackage;
        }
    };

    // Streams 0 to 10 start with a device's usual volumes (ring 5 of 7, music 11 of 15, alarm
    // 6 of 7, notification 5 of 7, ...).
    FakeAudioService();

    // A new service registered as "audio" with the process's service manager.
    static android::sp<FakeAudioService> Register();

    void SetStreamVolume(int stream, int current, int max);
    // From now on every reply starts with this exception word (0: none) and the value word
    // still follows it; a client that ignores the exception reads the value.
    void SetException(int32_t exceptionCode);

    std::vector<Transaction> Transactions() const;
    void ClearTransactions();

    // The exact bytes of the last request received (token included).
    std::vector<uint8_t> LastRequest() const;

  protected:
    android::status_t onTransact(uint32_t code, const android::Parcel& data, android::Parcel* reply,
                                 uint32_t flags) override;

  private:
    struct Volume {
        int current;
        int max;
    };

    // Writes the reply header and, when the stream exists, the value.
    void WriteAnswer(android::Parcel* reply, int stream, int Volume::*field);

    mutable std::mutex mMutex;
    std::map<int, Volume> mVolumes;
    int32_t mException = 0;
    std::vector<Transaction> mTransactions;
    std::vector<uint8_t> mLastRequest;
};

}  // namespace sim
}  // namespace orvex
