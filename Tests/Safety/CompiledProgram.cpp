#include "Safety/CapturedOutput.h"
#include "Safety/TestedProgram.h"
#include "Veilpane/CommandLine/CLI.h"
#include "Veilpane/Inventory/DisplayStore.h"
#include "Veilpane/Power/BlackoutController.h"
#include "Veilpane/Power/DisplayPower.h"

#include <stdexcept>

namespace safety::tested_program {

const char* const replayCommand = "sh Scripts/soak.sh";

void load() {}

bool hasFunctions() {
    return true;
}

Outcome setPower(bool on, std::uint32_t id) {
    const veilpane::PowerResult result = veilpane::DisplayPower::setPower(on, id);
    return {std::string(title(result.method)), result.success, result.message};
}

std::vector<ListedDisplay> listDisplays() {
    std::vector<ListedDisplay> rows;
    for (const veilpane::DisplayItem& item : veilpane::DisplayStore::shared().listDisplays()) {
        if (item.name.empty()) {
            throw std::runtime_error("a display without a name");
        }
        rows.push_back(
            {item.id, item.isBuiltIn, item.isMain, item.isMirrorSlave, item.isDisconnected});
    }
    return rows;
}

std::string statusLine(std::uint32_t id) {
    return veilpane::DisplayPower::statusLine(id);
}

void restoreAll() {
    veilpane::BlackoutController::shared().restoreAll();
}

Ran run(std::vector<std::string> arguments) {
    const CapturedOutput output;
    arguments.insert(arguments.begin(), "veilpane");
    const int status = veilpane::CLI::run(arguments).value_or(-1);
    return {status, output.text()};
}

} // namespace safety::tested_program
