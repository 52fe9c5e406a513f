#include "Safety/PrintedReport.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <sstream>
#include <string_view>

namespace safety {
namespace {

/// A line that tells of a display. The name may hold anything but the end of a line.
struct Form {
    std::string_view beforeID, beforeName, afterName;
    bool isRow = true; ///< each display has one of these
};

constexpr auto forms = std::to_array<Form>({
    {"", "\t", "\t"},
    {"- id=", " name=", " main="},
    {"testing SLS disconnect/reconnect on id=", " ", " ...", false},
});

/// The ID, if the line is of this form; its name becomes a star.
std::optional<std::uint32_t> takeName(std::string& line, const Form& form) {
    std::uint32_t id = 0;
    if (!line.starts_with(form.beforeID)) {
        return std::nullopt;
    }
    const char* const digits = line.data() + form.beforeID.size();
    const auto end = std::from_chars(digits, line.data() + line.size(), id);
    const auto place = static_cast<std::size_t>(end.ptr - line.data());
    const std::size_t name = place + form.beforeName.size();
    const std::size_t after = line.rfind(form.afterName);
    if (end.ec != std::errc() ||
        line.compare(place, form.beforeName.size(), form.beforeName) != 0 ||
        after == std::string::npos || after <= name) {
        return std::nullopt;
    }
    line.replace(name, after - name, "*");
    return id;
}

} // namespace

PrintedReport::PrintedReport(const std::string& output) {
    std::istringstream stream(output);
    for (std::string line; std::getline(stream, line);) {
        for (const Form& form : forms) {
            const auto id = takeName(line, form);
            if (id && form.isRow) {
                order.push_back(*id);
            }
        }
        lines.push_back(line);
    }
}

std::string differenceOf(const std::vector<std::string>& lines,
                         const std::vector<std::string>& due) {
    for (std::size_t i = 0; i < std::max(lines.size(), due.size()); ++i) {
        const std::string line = i < lines.size() ? lines[i] : "nothing";
        const std::string wanted = i < due.size() ? due[i] : "nothing";
        if (line != wanted) {
            return "prints '" + line + "' instead of '" + wanted + "'";
        }
    }
    return {};
}

} // namespace safety
