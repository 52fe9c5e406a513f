#include "MacProbe/Assumptions.h"

#include "Support/Files.h"

#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct Rule {
    std::string text;
    std::string source;
};

/// The rows of the table under "The rules, and where they come from".
std::vector<Rule> rulesOfReadme() {
    const std::string readme = contentOf(SIMULATED_MAC_FOLDER "/README.md");
    const auto start = readme.find("\n## The rules");
    std::istringstream lines(readme.substr(start + 1, readme.find("\n## ", start + 4) - start));
    std::vector<Rule> rules;
    for (std::string line; std::getline(lines, line);) {
        const auto middle = line.rfind(" | ");
        if (line.starts_with("| ") && middle != std::string::npos &&
            !line.starts_with("| Rule |")) {
            rules.push_back({line.substr(2, middle - 2), line.substr(middle + 3)});
        }
    }
    return rules;
}

std::set<std::string> namesIn(const std::string& source) {
    static const std::regex name("`([a-z0-9]+(-[a-z0-9]+)+)`");
    std::set<std::string> names;
    for (std::sregex_iterator match(source.begin(), source.end(), name), none; match != none;
         ++match) {
        names.insert((*match)[1]);
    }
    return names;
}

bool isSettledByDocuments(const std::string& source) {
    static const std::regex unsettled("assumed|observed|reported|reports|seen by|not known|"
                                      "not specified|given by|left open|dumps");
    return !std::regex_search(source, unsettled);
}

// These say themselves that no Mac need be asked.
bool isNoHabitOfAMac(const Rule& rule) {
    return rule.source.starts_with("not specified, so nobody may read it") ||
           rule.source.starts_with("not modelled");
}

TEST(Assumptions, every_rule_of_the_readme_that_no_document_settles_has_a_name) {
    const auto rules = rulesOfReadme();
    ASSERT_GT(rules.size(), 50U);
    for (const Rule& rule : rules) {
        if (!isSettledByDocuments(rule.source) && !isNoHabitOfAMac(rule)) {
            EXPECT_FALSE(namesIn(rule.source).empty()) << rule.text << ": " << rule.source;
        }
    }
}

TEST(Assumptions, the_readme_and_the_list_have_the_same_names) {
    std::set<std::string> inReadme;
    for (const Rule& rule : rulesOfReadme()) {
        inReadme.merge(namesIn(rule.source));
    }
    std::set<std::string> inList;
    for (const macprobe::Assumption& assumption : macprobe::assumptions()) {
        EXPECT_TRUE(inList.insert(std::string(assumption.name)).second) << assumption.name;
    }
    EXPECT_EQ(inReadme, inList);
}

TEST(Assumptions, each_says_its_rule_its_source_and_what_rests_on_it) {
    for (const macprobe::Assumption& assumption : macprobe::assumptions()) {
        EXPECT_FALSE(assumption.rule.empty() || assumption.source.empty() ||
                     assumption.dependent.empty())
            << assumption.name;
    }
}

} // namespace
