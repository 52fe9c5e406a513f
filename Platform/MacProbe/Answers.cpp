#include "MacProbe/Answers.h"

#include "MacProbe/Assumptions.h"
#include "MacProbe/SystemFacts.h"

#include <array>
#include <utility>

namespace macprobe {

namespace {

const char* wordFor(Verdict verdict) {
    switch (verdict) {
    case Verdict::agrees:
        return "agrees";
    case Verdict::differs:
        return "**differs**";
    case Verdict::cannotTell:
        return "cannot tell";
    }
    return "";
}

std::string reasonFor(SettledBy settledBy) {
    switch (settledBy) {
    case SettledBy::looking:
        return "not asked";
    case SettledBy::switching:
        return "needs ask --switching ID";
    case SettledBy::hand:
        return "not asked by this program";
    }
    return "";
}

Answer answerTo(const Assumption& assumption, const Answers& answers) {
    const auto found = answers.find(assumption.name);
    return found == answers.end() ? cannotTell(reasonFor(assumption.settledBy)) : found->second;
}

// A name of a display that is seen may not end a cell.
std::string cell(std::string text) {
    for (std::size_t place = 0; (place = text.find('|', place)) != std::string::npos; place += 2) {
        text.insert(place, "\\");
    }
    return text;
}

std::string rowOf(const Assumption& assumption, const Answer& answer) {
    return "| " + std::string(assumption.name) + " | " + std::string(assumption.rule) + " | " +
           cell(answer.seen) + " | " + wordFor(answer.verdict) + " |\n";
}

} // namespace

Answer agrees(std::string seen) {
    return {Verdict::agrees, std::move(seen)};
}

Answer differs(std::string seen) {
    return {Verdict::differs, std::move(seen)};
}

Answer cannotTell(std::string why) {
    return {Verdict::cannotTell, std::move(why)};
}

Answer verdictOn(bool asAssumed, std::string seenThen, std::string seenElse) {
    return asAssumed ? agrees(std::move(seenThen)) : differs(std::move(seenElse));
}

std::string tableOf(const Answers& answers) {
    std::string text = "macOS " + macOSVersion().value_or("(unknown version)") + ", " +
                       processorKind().value_or("unknown processor") +
                       "\n\n"
                       "| Identifier | What is assumed | What this Mac does | |\n"
                       "|---|---|---|---|\n";
    std::map<Verdict, int> counts;
    for (const Assumption& assumption : assumptions()) {
        const Answer answer = answerTo(assumption, answers);
        text += rowOf(assumption, answer);
        ++counts[answer.verdict];
    }
    return text + "\n" + std::to_string(counts[Verdict::agrees]) + " agree, " +
           std::to_string(counts[Verdict::differs]) + " differ, " +
           std::to_string(counts[Verdict::cannotTell]) + " cannot be told\n";
}

} // namespace macprobe
