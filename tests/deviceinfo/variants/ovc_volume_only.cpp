// A volume-control library that offers the scanner volume only.
extern "C" __attribute__((visibility("default"))) int GetScannerVolume() { return 9; }
