// The release policy of Utils::TransferQueue for messages allocated with plain new.
#pragma once

namespace Utils {

template <typename T>
struct DefaultDeAllocator {
    static void DeAllocate(T* message) { delete message; }
};

}  // namespace Utils
