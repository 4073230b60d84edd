// orvexctl profiles: the device profiles built into the tool.

#include <stdio.h>

#include "Commands.h"
#include "Json.h"
#include "Profiles.h"

namespace orvexctl {

int RunProfiles(const Options& options, const std::vector<std::string>& args) {
    if (!args.empty()) {
        fprintf(stderr, "orvexctl profiles: takes no arguments\n");
        return kExitUsage;
    }
    std::vector<ProfileInfo> profiles = EmbeddedProfiles();
    if (options.json) {
        Json doc = {{"default", kDefaultProfile}, {"profiles", Json::array()}};
        for (const ProfileInfo& p : profiles) {
            doc["profiles"].push_back({{"name", p.name}, {"description", p.description}});
        }
        printf("%s\n", Document(doc).c_str());
        return kExitOk;
    }
    for (const ProfileInfo& p : profiles) {
        printf("%-12s %s%s\n", p.name.c_str(), p.description.c_str(),
               p.name == kDefaultProfile ? " (default)" : "");
    }
    return kExitOk;
}

}  // namespace orvexctl
