#include "PlatformHWInfoRetriever.h"

#include "ScannerLog.h"

template <AndroidVersion T>
typename PlatformHWInfoRetriever<T>::_thread_register PlatformHWInfoRetriever<T>::Obj;

template <AndroidVersion T>
PlatformHWInfoRetriever<T>::PlatformHWInfoRetriever() {
    SF_LOGD("[PlatformHWInfoRetriever] Construct");
}

template <AndroidVersion T>
PlatformHWInfoRetriever<T>::~PlatformHWInfoRetriever() {
    SF_LOGD("PlatformHWInfoRetriever Destruct");
}

template <AndroidVersion T>
bool PlatformHWInfoRetriever<T>::IsSupported() {
    SF_LOGD("[PlatformHWInfoRetriever<T>::IsSupported] return true");
    return true;
}

template <AndroidVersion T>
char const* PlatformHWInfoRetriever<T>::GetModuleName() {
    SF_LOGD("[PlatformHWInfoRetriever<T>::GetModuleName] E");
    return "PlatformHWInfoRetriever";
}

template <AndroidVersion T>
bool PlatformHWInfoRetriever<T>::isDeviceFederalSku1() {
    return false;
}

template <AndroidVersion T>
bool PlatformHWInfoRetriever<T>::isDeviceFederalSku2() {
    return false;
}

template class PlatformHWInfoRetriever<(AndroidVersion)10>;
