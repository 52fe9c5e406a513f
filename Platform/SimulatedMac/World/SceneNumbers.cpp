#include "SimulatedMac/World/SceneNumbers.h"

#include <map>

namespace simulated_mac {
namespace {

using Numbers = std::map<uint32_t, uint32_t>;

uint32_t renumbered(uint32_t id, const Numbers& numbers) {
    const auto found = numbers.find(id);
    return found == numbers.end() ? id : found->second;
}

void renumberNodes(std::vector<RegistryNode>& nodes, const std::vector<RegistryNode>& given,
                   const Numbers& numbers) {
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const auto id = given[i].properties.find("DisplayID");
        if (id != given[i].properties.end() && id->is_number_unsigned() &&
            id->get<uint64_t>() <= UINT32_MAX) {
            nodes[i].properties["DisplayID"] = renumbered(id->get<uint32_t>(), numbers);
        }
        for (const auto display :
             {&RegistryNode::display, &RegistryNode::busDisplay, &RegistryNode::connectorOf}) {
            if (given[i].*display) {
                nodes[i].*display = renumbered(*(given[i].*display), numbers);
            }
        }
        renumberNodes(nodes[i].children, given[i].children, numbers);
    }
}

} // namespace

void renumber(Scene& scene, const Scene& given, const std::vector<uint32_t>& ids) {
    Numbers numbers;
    for (std::size_t i = 0; i < ids.size(); ++i) {
        numbers[given.displays[i].id] = ids[i];
    }
    for (std::size_t i = 0; i < ids.size(); ++i) {
        scene.displays[i].id = ids[i];
        scene.displays[i].mirrors = renumbered(given.displays[i].mirrors, numbers);
    }
    renumberNodes(scene.registry, given.registry, numbers);
}

} // namespace simulated_mac
