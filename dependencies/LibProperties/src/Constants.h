// The names of the system properties behind the device facts. DeviceInfo resolves each one
// through the external-dependency resolver, so a device may redirect any of them.
#pragma once

struct Constants {
    static constexpr const char* PLATFORM_STRING = "ro.board.platform";
    static constexpr const char* PRODUCT_STRING = "ro.product.name";
    static constexpr const char* MODEL_STRING = "ro.product.model";
    static constexpr const char* SKU_STRING = "ro.product.device";
    static constexpr const char* MANUFACTURER_STRING = "ro.product.manufacturer";
    static constexpr const char* RELEASE_STRING = "ro.build.version.release";
    static constexpr const char* DECRYPTION_STATUS_STRING = "vold.decrypt";
    static constexpr const char* ABI_STRING = "ro.product.cpu.abi";
    // Kept for callers that read the beep volume property themselves; the library does not.
    static constexpr const char* SCANNER_BEEP_VOL_STRING = "persist.sys.scanner.beepVol";
    // The rear camera is looked up under CAMERA_STRING_1 first, then CAMERA_STRING.
    static constexpr const char* CAMERA_STRING = "ro.config.device.camera0";
    static constexpr const char* CAMERA_STRING_1 = "ro.boot.device.camera0";
    static constexpr const char* FRONT_CAMERA_STRING = "ro.boot.device.camera1";
};
