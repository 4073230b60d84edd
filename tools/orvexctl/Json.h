// A small JSON writer: enough for orvexctl's documents, with correct string escaping.
#pragma once

#include <string>

namespace orvexctl {

std::string JsonString(const std::string& text);

}  // namespace orvexctl
