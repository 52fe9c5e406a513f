#include "Safety/History.h"

#include "Safety/Companion.h"
#include "Safety/Desk.h"
#include "Safety/Model.h"
#include "Safety/Rules.h"
#include "Safety/TestedProgram.h"
#include "SimulatedMac/World/Verbs.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <memory>
#include <numeric>
#include <random>
#include <sstream>
#include <stdexcept>

namespace safety {
namespace {

using Kind = Operation::Kind;
using simulated_mac::Mac;
using Words = simulated_mac::Words;

constexpr int commandLine = 3; // the program that ends with its operation

const std::map<std::string, Kind>& operations() {
    static const std::map<std::string, Kind> all = {{"off", Kind::off},
                                                    {"on", Kind::on},
                                                    {"status", Kind::status},
                                                    {"list", Kind::list},
                                                    {"quit", Kind::quit}};
    return all;
}

const std::map<std::string, Kind>& commands() {
    static const std::map<std::string, Kind> all = {{"off", Kind::commandOff},
                                                    {"on", Kind::commandOn},
                                                    {"off-first", Kind::commandOffFirst},
                                                    {"on-first", Kind::commandOnFirst},
                                                    {"list", Kind::commandList},
                                                    {"self-test", Kind::selfTest}};
    return all;
}

int numberFrom(const std::string& word) {
    int number = 0;
    const auto end = std::from_chars(word.data(), word.data() + word.size(), number);
    if (word.empty() || end.ec != std::errc() || end.ptr != word.data() + word.size()) {
        throw std::invalid_argument("'" + word + "' is no number");
    }
    return number;
}

/// "1 off 2", "1 killed 7 off 2" and "1 off 2 meanwhile 7 unplug 3".
struct ProgramStep {
    int program = 1;
    int killedAfter = 0; ///< so many calls; 0 for never
    Operation operation;
    int meanwhileAfter = 0;
    std::string meanwhile;
};

ProgramStep programStepFrom(Words words) {
    ProgramStep step;
    step.program = numberFrom(words.at(0));
    words.erase(words.begin());
    if (words.at(0) == "killed") {
        step.killedAfter = numberFrom(words.at(1));
        words.erase(words.begin(), words.begin() + 2);
    }
    if (const auto place = std::ranges::find(words, "meanwhile"); place != words.end()) {
        if (step.killedAfter > 0 || words.end() - place < 3) {
            throw std::invalid_argument("meanwhile: takes a number of calls and a step");
        }
        step.meanwhileAfter = numberFrom(*(place + 1));
        std::for_each(place + 2, words.end(),
                      [&](const std::string& word) { step.meanwhile += word + " "; });
        words.erase(place, words.end());
    }
    step.operation.kind = (step.program == commandLine ? commands() : operations()).at(words.at(0));
    if (words.size() > 1) {
        step.operation.id = static_cast<std::uint32_t>(numberFrom(words[1]));
    }
    return step;
}

bool isProgramStep(const Words& words) {
    return !words.empty() && words[0].size() == 1 && words[0] >= "1" && words[0] <= "3";
}

// Another program, whose tables last as long as the history.
bool isCalibration(const Words& words) {
    return words == Words{"calibrate"};
}

/// Throws std::invalid_argument for what is none.
void requireStep(const std::string& text) {
    const Words words = simulated_mac::wordsOf(text);
    try {
        if (isProgramStep(words)) {
            (void)programStepFrom(words);
        } else if (!isCalibration(words)) {
            (void)simulated_mac::parseVerb(words);
        }
    } catch (const std::exception&) {
        throw std::invalid_argument("'" + text + "' is no step of a history");
    }
}

/// The Mac and the programs that run on it.
class World {
public:
    explicit World(const Situation& situation) : mac_(Mac::boot(situation.scene)) {}
    World(const World&) = delete;
    World& operator=(const World&) = delete;
    ~World() {
        programs_.clear();
        Mac::shutDown();
    }

    /// Whether the step could be taken.
    bool take(const std::string& line, std::string& broken) {
        const Words words = simulated_mac::wordsOf(line);
        if (isProgramStep(words)) {
            broken = take(programStepFrom(words));
            return true;
        }
        if (isCalibration(words)) {
            calibrate(mac_);
            return true;
        }
        if (words[0] == "logout" || words[0] == "reboot") {
            broken = endPrograms();
        }
        return broken.empty() && happen(words);
    }

private:
    std::string take(const ProgramStep& step) {
        auto& program = programs_[step.program];
        if (program == nullptr) {
            program = std::make_unique<Companion>(mac_);
        }
        const bool mayDie = step.killedAfter > 0;
        const Desk before = mayDie ? lookAt(mac_) : Desk();
        std::string brokenMeanwhile;
        const auto broken = program->carryOut(step.operation, befallingOf(step, brokenMeanwhile));
        const std::string lastCall = program->lastCall();
        if (!broken || step.operation.kind == Kind::quit || step.program == commandLine) {
            programs_.erase(step.program);
        }
        if (!broken && step.killedAfter == 0) {
            return "the program ended by itself";
        }
        if (!brokenMeanwhile.empty()) {
            return "meanwhile: " + brokenMeanwhile;
        }
        if (broken && !broken->empty()) {
            return *broken;
        }
        const bool hadTime = lastCall != "CGCompleteDisplayConfiguration";
        return broken ? ""
                      : brokenByAnEnd({before, lookAt(mac_), step.operation.id, hadTime,
                                       mayReachAnother(mac_.scene(), before, step.operation.id),
                                       hasInSkyLight(mac_.scene(), "SLSGetDisplayList")});
    }

    [[nodiscard]] Befalling befallingOf(const ProgramStep& step, std::string& broken) {
        if (step.meanwhile.empty()) {
            return {step.killedAfter, nullptr};
        }
        return {step.meanwhileAfter,
                [this, line = step.meanwhile, &broken] { (void)take(line, broken); }};
    }

    // As macOS asks the applications to quit before the session ends.
    std::string endPrograms() {
        std::string broken;
        for (auto& [number, program] : programs_) {
            const auto told = program->carryOut({Kind::quit, 0});
            broken = told && told->empty() ? broken : told.value_or("the program ended by itself");
            // What macOS gives back when a process has gone is not the next one's doing.
            program.reset();
        }
        programs_.clear();
        return broken;
    }

    // A state that does not allow it leaves the Mac as it is.
    bool happen(const Words& words) {
        try {
            (void)simulated_mac::parseVerb(words).carryOut(mac_);
            return true;
        } catch (const std::exception&) {
            return false;
        }
    }

    Mac& mac_;
    std::map<int, std::unique_ptr<Companion>> programs_;
};

class Chance {
public:
    Chance(std::uint64_t seed, std::size_t number) {
        std::seed_seq sequence = {seed, std::uint64_t{number}};
        random_.seed(sequence);
    }

    void chooseFrom(const std::array<std::uint32_t, 4>& displays) { displays_ = displays; }

    int below(int limit) { return static_cast<int>(random_() % static_cast<std::uint64_t>(limit)); }
    const std::string& oneOf(const std::vector<std::string>& choices) {
        return choices[static_cast<std::size_t>(below(static_cast<int>(choices.size())))];
    }
    std::string display() {
        return std::to_string(displays_.at(static_cast<std::size_t>(below(4))));
    }

private:
    std::mt19937_64 random_;
    std::array<std::uint32_t, 4> displays_ = {};
};

std::string randomOperation(Chance& chance) {
    // A program that ends means another process, which costs more than all else.
    static const std::vector<std::string> words = {
        "off", "off", "off", "off", "on", "on", "on", "on", "list", "quit", "status", "status"};
    static const std::vector<std::string> possible(words.begin(), words.end() - 2);
    const std::string& word = chance.oneOf(tested_program::hasFunctions() ? words : possible);
    return word == "list" || word == "quit" ? word : word + " " + chance.display();
}

std::string randomCommand(Chance& chance) {
    static const std::vector<std::string> words = {"off", "on",        "off",      "on",  "off",
                                                   "on",  "off-first", "on-first", "list"};
    const std::string& word = chance.below(20) == 0 ? "self-test" : chance.oneOf(words);
    return word == "off" || word == "on" ? word + " " + chance.display() : word;
}

struct LikelyEvent {
    int weight;
    std::string_view form; ///< a display stands for ID and OTHER, a number for NEW
};

constexpr auto likelyEvents = std::to_array<LikelyEvent>({
    {30, "unplug ID"},
    {36, "plug ID"},
    {6, "plug ID --as NEW"},
    {3, "plug ID --as OTHER"},
    {18, "main ID"},
    {6, "mirror ID OTHER"},
    {12, "mirror ID 0"},
    {6, "disable ID"},
    {6, "enable ID"},
    {6, "calibrate"},
    {6, "sleep"},
    {16, "wake"},
    {3, "lid close"},
    {7, "lid open"},
    {2, "logout"},
    {2, "reboot"},
    {1, "reboot --renumber"},
});

std::string_view randomForm(Chance& chance) {
    constexpr int total =
        std::accumulate(likelyEvents.begin(), likelyEvents.end(), 0,
                        [](int sum, const LikelyEvent& event) { return sum + event.weight; });
    int left = chance.below(total);
    const auto chosen = std::ranges::find_if(
        likelyEvents, [&left](const LikelyEvent& event) { return (left -= event.weight) < 0; });
    return chosen->form;
}

std::string randomEvent(Chance& chance) {
    std::string event;
    for (const std::string& word : simulated_mac::wordsOf(std::string(randomForm(chance)))) {
        const bool isDisplay = word == "ID" || word == "OTHER";
        event += event.empty() ? "" : " ";
        event += isDisplay       ? chance.display()
                 : word == "NEW" ? std::to_string(1 + chance.below(6))
                                 : word;
    }
    return event;
}

std::string randomOperationOf(int program, Chance& chance) {
    return std::to_string(program) + " " +
           (program == commandLine ? randomCommand(chance) : randomOperation(chance));
}

// What another program does meanwhile, or what happens, but for the session's end.
std::string randomInterruption(int program, Chance& chance) {
    if (chance.below(2) == 0) {
        return randomOperationOf(program == 1 ? 2 : 1, chance);
    }
    std::string event;
    do {
        event = randomEvent(chance);
    } while (event == "logout" || event.starts_with("reboot"));
    return event;
}

// Most calls that matter are among the first, of up to some hundred.
int randomCall(Chance& chance) {
    return 1 + chance.below(chance.below(2) == 0 ? 30 : 150);
}

std::string randomStep(Chance& chance) {
    if (chance.below(4) == 0) {
        return randomEvent(chance);
    }
    const int program = chance.below(50) == 0 ? commandLine : 1 + chance.below(3) / 2;
    std::string step = randomOperationOf(program, chance);
    if (chance.below(40) == 0) {
        return step.insert(2, "killed " + std::to_string(randomCall(chance)) + " ");
    }
    if (chance.below(10) == 0) {
        const std::string call = std::to_string(randomCall(chance));
        return step + " meanwhile " + call + " " + randomInterruption(program, chance);
    }
    return step;
}

} // namespace

History randomHistory(std::uint64_t seed, std::size_t number, std::size_t length) {
    Chance chance(seed, number);
    History history;
    history.situation =
        static_cast<std::size_t>(chance.below(static_cast<int>(situations().size())));
    chance.chooseFrom(situations()[history.situation].displays);
    while (history.steps.size() < length) {
        history.steps.push_back(randomStep(chance));
    }
    return history;
}

std::string textOf(const History& history) {
    std::string text = std::to_string(history.situation);
    for (const std::string& step : history.steps) {
        text += "; " + step;
    }
    return text;
}

History historyFrom(const std::string& text) {
    History history;
    std::istringstream stream(text);
    std::string part;
    std::getline(stream, part, ';');
    history.situation = static_cast<std::size_t>(numberFrom(part));
    if (history.situation >= situations().size()) {
        throw std::invalid_argument("there is no situation " + part);
    }
    while (std::getline(stream, part, ';')) {
        part.erase(0, part.find_first_not_of(' '));
        requireStep(part);
        history.steps.push_back(part);
    }
    return history;
}

Course carryOut(const History& history) {
    World world(situations().at(history.situation));
    Course course;
    for (const std::string& step : history.steps) {
        course.steps += world.take(step, course.broken) ? 1 : 0;
        if (!course.broken.empty()) {
            course.broken += " (at: " + step + ")";
            break;
        }
    }
    return course;
}

namespace {

// Numbers are those of displays, calls and configurations, which come earlier in shorter histories.
bool isAlike(std::string some, std::string other) {
    for (std::string* const text : {&some, &other}) {
        std::erase_if(*text, [](char character) { return character >= '0' && character <= '9'; });
        text->resize(std::min(text->size(), text->find(" (at: ")));
    }
    return some == other;
}

} // namespace

History shrunk(const History& history, const std::string& broken) {
    History smallest = history;
    const auto isBroken = [&broken](const History& shorter) {
        return isAlike(carryOut(shorter).broken, broken);
    };
    for (std::size_t size = smallest.steps.size() / 2; size > 0; size /= 2) {
        for (std::size_t place = 0; place < smallest.steps.size();) {
            History shorter = smallest;
            const auto first = shorter.steps.begin() + static_cast<std::ptrdiff_t>(place);
            const auto count = std::min(size, shorter.steps.size() - place);
            shorter.steps.erase(first, first + static_cast<std::ptrdiff_t>(count));
            if (isBroken(shorter)) {
                smallest = std::move(shorter);
            } else {
                place += size;
            }
        }
    }
    for (std::size_t place = 0; place < smallest.steps.size(); ++place) {
        History simpler = smallest;
        std::string& step = simpler.steps[place];
        step.resize(std::min(step.size(), step.find(" meanwhile ")));
        if (step != smallest.steps[place] && isBroken(simpler)) {
            smallest = std::move(simpler);
        }
    }
    return smallest;
}

} // namespace safety
