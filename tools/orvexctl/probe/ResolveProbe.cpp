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

    JsonWriter json;
    json.BeginObject()
        .Field("command", "resolve")
        .Field("ok", true)
        .Field("device", context.deviceLabel)
        .Field("file", file.devicePath)
        .Key("names")
        .BeginArray();
    if (!context.json) printf("file: %s\n", file.devicePath.c_str());
    for (const std::string& name : names) {
        // The library is the authority; a broken file stops here, as it would on the device.
        const std::string value = ConfigInfo::ResolveConfigDependency(name.c_str());
        auto it = file.origins.find(name);
        const DependencyOrigin* origin = it != file.origins.end() ? &it->second : nullptr;
        const bool propertyExists = properties.count(name) != 0;
        json.BeginObject().Field("name", name).Field("value", value);
        if (origin != nullptr) {
            json.Field("group", origin->group).Field("entry", origin->entry);
            if (origin->group == "properties") json.Field("propertySet", origin->propertySet);
        } else {
            json.Key("group").Null().Field("propertyExists", propertyExists);
        }
        json.Field("from", OriginText(origin, propertyExists)).EndObject();
        if (!context.json) {
            printf("%-28s %-48s %s\n", name.c_str(), value.empty() ? "\"\"" : value.c_str(),
                   OriginText(origin, propertyExists).c_str());
        }
    }
    json.EndArray().EndObject();
    if (context.json) printf("%s\n", json.str().c_str());
    return 0;
}

}  // namespace orvexctl
