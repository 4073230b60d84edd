// orvexctl's JSON documents: nlohmann's ordered object, so keys keep the order they were set in.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace orvexctl {

using Json = nlohmann::ordered_json;

// Bumped when a field changes meaning or goes away; new fields keep the version.
constexpr int kSchemaVersion = 1;

// The document on one line, "schema_version" first. Texts come from the device as bytes (file
// names, property values, log lines); a byte that is not UTF-8 is replaced by U+FFFD and
// "invalid_utf8_replaced": true says that some text was changed.
std::string Document(const Json& doc);

}  // namespace orvexctl
