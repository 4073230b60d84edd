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
        printf("{\"default\":%s,\"profiles\":[", JsonString(kDefaultProfile).c_str());
        for (size_t i = 0; i < profiles.size(); ++i) {
            printf("%s{\"name\":%s,\"description\":%s}", i ? "," : "",
                   JsonString(profiles[i].name).c_str(),
                   JsonString(profiles[i].description).c_str());
        }
        printf("]}\n");
        return kExitOk;
    }
    for (const ProfileInfo& p : profiles) {
        printf("%-12s %s%s\n", p.name.c_str(), p.description.c_str(),
               p.name == kDefaultProfile ? " (default)" : "");
    }
    return kExitOk;
}

}  // namespace orvexctl
