// orvexctl resolve: the library's answer for each dependency name, and where it comes from.

#include <stdio.h>

#include "ConfigInfo.h"
#include "DependencyFile.h"
#include "Json.h"
#include "ProbeCommands.h"
#include "orvex/properties.h"

namespace orvexctl {

namespace {

std::string OriginText(const DependencyOrigin* origin, bool propertyExists) {
    if (origin == nullptr) {
        return propertyExists ? "system property (not in the file)"
                              : "nothing: not in the file and no such property";
    }
    std::string text = origin->group + " entry " + std::to_string(origin->entry);
    if (origin->group == "properties") {
        text += origin->propertySet ? " (property set)" : " (property unset: the file's value)";
    }
    return text;
}

}  // namespace

int ProbeResolve(const ProbeContext& context, const std::vector<std::string>& names) {
    const auto properties = orvex::properties::Snapshot();
    const DependencyFile file = ReadDependencyFile(context.deviceRoot, "orvexctl", properties);

    Json doc = {{"command", "resolve"}, {"ok", true}, {"device", context.deviceLabel},
                {"file", file.devicePath}, {"names", Json::array()}};
    if (!context.json) printf("file: %s\n", file.devicePath.c_str());
    for (const std::string& name : names) {
        // The library is the authority; a broken file stops here, as it would on the device.
        const std::string value = ConfigInfo::ResolveConfigDependency(name.c_str());
        auto it = file.origins.find(name);
        const DependencyOrigin* origin = it != file.origins.end() ? &it->second : nullptr;
        const bool propertyExists = properties.count(name) != 0;
        Json row = {{"name", name}, {"value", value}};
        if (origin != nullptr) {
            row["group"] = origin->group;
            row["entry"] = origin->entry;
            if (origin->group == "properties") row["propertySet"] = origin->propertySet;
        } else {
            row["group"] = nullptr;
            row["propertyExists"] = propertyExists;
        }
        row["from"] = OriginText(origin, propertyExists);
        doc["names"].push_back(row);
        if (!context.json) {
            printf("%-28s %-48s %s\n", name.c_str(), value.empty() ? "\"\"" : value.c_str(),
                   OriginText(origin, propertyExists).c_str());
        }
    }
    if (context.json) printf("%s\n", Document(doc).c_str());
    return 0;
}

}  // namespace orvexctl
