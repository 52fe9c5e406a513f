#include "Support/Scenes.h"

#include <nlohmann/json.hpp>

namespace {

std::string joined(std::initializer_list<std::string_view> pieces) {
    std::string text;
    for (const std::string_view piece : pieces) {
        text += (text.empty() ? "" : ", ") + std::string(piece);
    }
    return text;
}

nlohmann::json described(const simulated_mac::SceneFault& fault) {
    nlohmann::json description = {{"call", fault.call}, {"nth", fault.nth}};
    if (fault.null) {
        description["null"] = true;
    } else if (fault.samples) {
        description["samples"] = *fault.samples;
    } else {
        description["returns"] = fault.returns.value();
    }
    return description;
}

} // namespace

std::string scene(std::initializer_list<std::string_view> displays,
                  std::initializer_list<std::string_view> more) {
    const std::string members = joined(more);
    return R"({ "displays": [ )" + joined(displays) + " ]" + (members.empty() ? "" : ", ") +
           members + " }";
}

std::string numberedDisplays(int count) {
    std::string displays(main1);
    for (int id = 2; id <= count; ++id) {
        displays += ", { \"id\": " + std::to_string(id) + " }";
    }
    return displays;
}

std::string refusedBySkyLight() {
    return faults({fails("SLSConfigureDisplayEnabled").every().with(1001)});
}

std::string faults(std::initializer_list<simulated_mac::SceneFault> planned) {
    nlohmann::json descriptions = nlohmann::json::array();
    for (const simulated_mac::SceneFault& fault : planned) {
        descriptions.push_back(described(fault));
    }
    return "\"faults\": " + descriptions.dump();
}

std::string remembered(std::string_view stored) {
    return R"("defaults": { "Veilpane.disconnectedDisplayIDs": )" + std::string(stored) + " }";
}

std::string registry(std::string_view nodes) {
    return "\"registry\": [ " + std::string(nodes) + " ]";
}
