// The two element questions the tool's XML readers ask.
#pragma once

#include <string.h>
#include <tinyxml2.h>

#include <string>

namespace orvexctl {

inline bool Is(const tinyxml2::XMLElement* e, const char* name) {
    return strcmp(e->Name(), name) == 0;
}

// An element without text reads as empty text.
inline std::string TextOf(const tinyxml2::XMLElement* e) {
    const char* text = e->GetText();
    return text != nullptr ? text : "";
}

}  // namespace orvexctl
