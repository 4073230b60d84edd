// The external-dependency resolver. Every file, library and system property the library uses is
// looked up by a dependency name, so that a device can redirect any of them in its
// external-dependencies file without a change to the library.
#pragma once

#include <tinyxml2.h>

#include <map>
#include <string>

#include "PlatformExport.h"

// The resolver's state. Declared static here on purpose, as it always was: every source file
// that includes this header holds its own set, constructed while the library loads. Only
// ConfigInfo.cpp fills and reads its set, so there is one dependency table per process; the
// other sets stay empty. Because they are load-time statics, nothing may resolve a name during
// load-time construction.
namespace ConfigInfoState {

// Dependency name -> resolved text, a heap copy that is never freed. Read from the file while
// the table is empty.
static std::map<std::string, char*> DependencyTable;

// The external-dependencies file while it is being read; cleared afterwards.
static tinyxml2::XMLDocument ExternalDependencies(true, tinyxml2::PRESERVE_WHITESPACE);

// The per-user data-files directory found at the fill ("" when it does not exist), and the
// device path of the file the table was read from.
static std::string DataFilesPrefix;
static std::string ExternalDependenciesPath;

}  // namespace ConfigInfoState

class PLATFORM_EXPORT ConfigInfo {
  public:
    // The resolved text for a dependency name: a file path, a library path or a property value.
    // The first call reads "/system/etc/scanner/ExternalDependencies.xml" (from the per-user
    // data-files directory when that exists) and keeps its table for the life of the process,
    // even if the file changes; a missing or malformed file, or a text longer than its fixed
    // buffer, ends the process. A name that the file does not list resolves to the current value
    // of the system property of that name, or "". Any thread; the first call runs once even when
    // several threads make it together.
    static std::string ResolveConfigDependency(const char* name);

    // The value of the system property `name`, or "" when it does not exist. Any thread.
    static std::string QueryProperty(const char* name);
};

#if !defined(__BIONIC__)
namespace platform {
namespace host {

// Host builds only: forgets the dependency table, so that the next ResolveConfigDependency
// reads the external-dependencies file again exactly as a process's first call does. For the
// fuzzer, which feeds one file per input; the library never calls it. No resolution may run
// concurrently, and texts returned before stay valid (they are copies).
void ForgetConfigDependencies();

}  // namespace host
}  // namespace platform
#endif
