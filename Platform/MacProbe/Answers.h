#pragma once

#include <map>
#include <string>
#include <string_view>

namespace macprobe {

enum class Verdict { agrees, differs, cannotTell };

/// What a Mac does where something is assumed.
struct Answer {
    Verdict verdict = Verdict::cannotTell;
    std::string seen; ///< in words
};

/// By the assumption's name.
using Answers = std::map<std::string_view, Answer>;

[[nodiscard]] Answer agrees(std::string seen);
[[nodiscard]] Answer differs(std::string seen);
[[nodiscard]] Answer cannotTell(std::string why);
/// One of the two, by the condition; both texts say what was seen.
[[nodiscard]] Answer verdictOn(bool asAssumed, std::string seenThen, std::string seenElse);

/// All assumptions in a Markdown table, with the reason where there is no answer; above it the
/// system, and below it how many answers there are of each kind.
[[nodiscard]] std::string tableOf(const Answers& answers);

} // namespace macprobe
