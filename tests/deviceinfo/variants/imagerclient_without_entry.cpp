// An imager client library without its GetImagerModule entry point.
extern "C" __attribute__((visibility("default"))) int GetImagerModuleVersion() { return 1; }
