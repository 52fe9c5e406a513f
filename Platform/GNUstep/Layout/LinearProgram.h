#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <vector>

enum class Relation { lessOrEqual, equal, greaterOrEqual };

/// A variable times a factor.
struct Term {
    std::size_t variable;
    double factor;
};

/// The sum of `terms` stands in `relation` to `constant`. A variable may occur several times.
struct LinearConstraint {
    std::vector<Term> terms;
    Relation relation = Relation::equal;
    double constant = 0;
};

/// Linear equalities and inequalities over real variables, and goals that are reached as nearly as
/// possible one level after the other.
class LinearProgram {
public:
    /// The variables are numbered from 0 to `variableCount` - 1 and may have any sign.
    explicit LinearProgram(std::size_t variableCount);
    LinearProgram(const LinearProgram&) = delete;
    LinearProgram& operator=(const LinearProgram&) = delete;
    ~LinearProgram();

    void add(const LinearConstraint& constraint);

    /// A constraint that may be missed. How far it is, times `weight`, is kept as small as
    /// possible: first for all goals of the highest level, then for the next lower one without
    /// making the former worse. Returns the goal's number.
    std::size_t addGoal(const LinearConstraint& constraint, double level, double weight = 1);

    /// Finds values; false if the constraints contradict each other.
    [[nodiscard]] bool solve();

    /// The value of a variable after a successful solve().
    [[nodiscard]] double value(std::size_t variable) const;

    /// How far a goal was missed after a successful solve(), never negative.
    [[nodiscard]] double miss(std::size_t goal) const;

private:
    struct Problem;
    struct Goal {
        int belowColumn;
        int aboveColumn;
        double weight;
    };

    using SlackFactors = std::map<int, double>;

    void addRow(const LinearConstraint& constraint, const SlackFactors& slack);
    void reach(const std::vector<std::size_t>& goals);

    std::unique_ptr<Problem> problem_;
    std::vector<Goal> goals_;
    std::map<double, std::vector<std::size_t>, std::greater<>> levels_;
};
