// The baseline of the load benchmark: a shared library with nothing in it.
extern "C" int orvex_empty_library_marker() { return 0; }
