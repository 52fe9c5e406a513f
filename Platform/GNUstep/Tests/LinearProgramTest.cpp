#include "Layout/LinearProgram.h"

#include <gtest/gtest.h>

namespace {

TEST(LinearProgram, equalities_have_their_solution) {
    LinearProgram program(2);
    program.add({{{0, 1}, {1, 1}}, Relation::equal, 10});
    program.add({{{0, 1}, {1, -1}}, Relation::equal, 4});
    ASSERT_TRUE(program.solve());
    EXPECT_NEAR(program.value(0), 7, 1e-6);
    EXPECT_NEAR(program.value(1), 3, 1e-6);
}

TEST(LinearProgram, variables_may_be_negative) {
    LinearProgram program(1);
    program.add({{{0, 2}}, Relation::equal, -6});
    ASSERT_TRUE(program.solve());
    EXPECT_NEAR(program.value(0), -3, 1e-6);
}

TEST(LinearProgram, contradictions_have_no_solution) {
    LinearProgram program(1);
    program.add({{{0, 1}}, Relation::lessOrEqual, 1});
    program.add({{{0, 1}}, Relation::greaterOrEqual, 2});
    EXPECT_FALSE(program.solve());
}

TEST(LinearProgram, a_goal_is_reached_where_the_constraints_allow_it) {
    LinearProgram program(1);
    program.add({{{0, 1}}, Relation::lessOrEqual, 5});
    const auto near = program.addGoal({{{0, 1}}, Relation::equal, 3}, 1);
    ASSERT_TRUE(program.solve());
    EXPECT_NEAR(program.value(0), 3, 1e-5);
    EXPECT_NEAR(program.miss(near), 0, 1e-5);
}

TEST(LinearProgram, a_missed_goal_is_missed_by_as_little_as_possible) {
    LinearProgram program(1);
    program.add({{{0, 1}}, Relation::lessOrEqual, 5});
    const auto far = program.addGoal({{{0, 1}}, Relation::greaterOrEqual, 8}, 1);
    ASSERT_TRUE(program.solve());
    EXPECT_NEAR(program.value(0), 5, 1e-5);
    EXPECT_NEAR(program.miss(far), 3, 1e-5);
}

TEST(LinearProgram, a_higher_goal_comes_first_whatever_the_lower_ones_cost) {
    LinearProgram program(1);
    program.addGoal({{{0, 1}}, Relation::equal, 100}, 1, 1000);
    program.addGoal({{{0, 1}}, Relation::equal, 2}, 2);
    ASSERT_TRUE(program.solve());
    EXPECT_NEAR(program.value(0), 2, 1e-5);
}

TEST(LinearProgram, terms_of_the_same_variable_add_up) {
    LinearProgram program(1);
    program.add({{{0, 1}, {0, 2}}, Relation::equal, 9});
    ASSERT_TRUE(program.solve());
    EXPECT_NEAR(program.value(0), 3, 1e-6);
}

} // namespace
