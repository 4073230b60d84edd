// Changes to the host's system property store, for tests, the simulator and the tool.
#pragma once

#include <map>
#include <string>

namespace orvex {
namespace properties {

// Sets (or creates) a property. Loads build.prop first if nothing was loaded yet.
void Set(const std::string& name, const std::string& value);

// Makes a property not exist.
void Erase(const std::string& name);

// Empties the store; build.prop is not read again until Reload().
void Clear();

// Empties the store and reads $ORVEX_DEVICE_ROOT/system/build.prop now.
void Reload();

// Every existing property, by name.
std::map<std::string, std::string> Snapshot();

// Parses build.prop text into name/value pairs: "name=value" per line, '#' starts a comment
// line, blank lines skipped, the value verbatim after the first '=', lines without '=' or with
// an empty name skipped, lines holding a NUL byte skipped. Later lines replace earlier ones.
std::map<std::string, std::string> ParseBuildProp(const std::string& text);

}  // namespace properties
}  // namespace orvex
