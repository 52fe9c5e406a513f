#include "Support/LogText.h"

#include <regex>

std::string withoutTimes(const std::string& log) {
    return std::regex_replace(log, std::regex(R"(\[\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ\])"), "[time]");
}
