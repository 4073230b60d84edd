// Commands run inside the probe library (see Probe.cpp).
#pragma once

#include <string>
#include <vector>

namespace orvexctl {

struct ProbeContext {
    bool json = false;
    std::string deviceLabel;
    std::string deviceRoot;
};

int ProbeResolve(const ProbeContext& context, const std::vector<std::string>& names);
int ProbeModules(const ProbeContext& context, const std::vector<std::string>& args);
int ProbeCheckStep(const ProbeContext& context, const std::vector<std::string>& args);
int ProbeInfo(const ProbeContext& context, const std::vector<std::string>& args);

}  // namespace orvexctl
