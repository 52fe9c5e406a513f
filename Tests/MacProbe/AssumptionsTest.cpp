#include "MacProbe/Assumptions.h"

#include "Support/Files.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
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

/// Whether a source without a name is one that settles its rule, or says that no Mac need be asked.
bool isSettled(const std::string& source) {
    static const std::regex settling("^(documented|published source|not modelled|not specified)");
    static const std::regex unsettled(
        "assumed|observed|reported|reports|seen|told by|not known|left open|dumps|as ");
    return std::regex_search(source, settling) && !std::regex_search(source, unsettled);
}

/// The rule may go on with what is special about the simulated Mac.
bool beginsWithRule(const std::string& text, std::string_view rule) {
    return text == rule || text.starts_with(std::string(rule) + "; ");
}

TEST(Assumptions, every_rule_of_the_readme_that_no_document_settles_has_a_name) {
    const auto rules = rulesOfReadme();
    ASSERT_GT(rules.size(), 70U);
    for (const Rule& rule : rules) {
        EXPECT_TRUE(isSettled(rule.source) || !namesIn(rule.source).empty())
            << rule.text << ": " << rule.source;
    }
}

TEST(Assumptions, the_readme_has_the_rules_and_sources_of_the_list_in_its_order) {
    std::vector<Rule> named;
    std::ranges::copy_if(rulesOfReadme(), std::back_inserter(named),
                         [](const Rule& rule) { return !namesIn(rule.source).empty(); });
    const auto list = macprobe::assumptions();
    ASSERT_EQ(named.size(), list.size());
    for (std::size_t i = 0; i < list.size(); ++i) {
        EXPECT_TRUE(beginsWithRule(named[i].text, list[i].rule))
            << named[i].text << " / " << list[i].rule;
        EXPECT_EQ(named[i].source,
                  std::string(list[i].source) + ": `" + std::string(list[i].name) + "` |");
    }
}

TEST(Assumptions, no_two_have_one_name) {
    std::set<std::string_view> names;
    for (const macprobe::Assumption& assumption : macprobe::assumptions()) {
        EXPECT_TRUE(names.insert(assumption.name).second) << assumption.name;
    }
}

/// The comments in a source text, a line each; those that follow each other are one.
std::vector<std::string> commentsIn(const std::string& text) {
    std::istringstream lines(text);
    std::vector<std::string> comments(1);
    for (std::string line; std::getline(lines, line);) {
        const auto start = line.find("//");
        if (start == std::string::npos) {
            comments.emplace_back();
        } else {
            comments.back() += line.substr(start) + " ";
        }
    }
    return comments;
}

bool namesAnAssumption(const std::string& comment) {
    return std::ranges::any_of(macprobe::assumptions(), [&](const macprobe::Assumption& one) {
        return comment.contains(one.name);
    });
}

TEST(Assumptions, a_comment_of_the_simulated_mac_that_speaks_of_one_names_it) {
    int found = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(SIMULATED_MAC_FOLDER)) {
        const auto ending = entry.path().extension();
        if (ending != ".cpp" && ending != ".mm" && ending != ".h") {
            continue;
        }
        for (const std::string& comment : commentsIn(contentOf(entry.path()))) {
            if (comment.contains("ssumed")) {
                ++found;
                EXPECT_TRUE(namesAnAssumption(comment)) << entry.path() << ": " << comment;
            }
        }
    }
    EXPECT_GE(found, 6);
}

TEST(Assumptions, each_says_its_rule_its_source_and_what_rests_on_it) {
    for (const macprobe::Assumption& assumption : macprobe::assumptions()) {
        EXPECT_FALSE(assumption.rule.empty() || assumption.source.empty() ||
                     assumption.dependent.empty())
            << assumption.name;
    }
}

} // namespace
