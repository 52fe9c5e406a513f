#include "Layout/LinearProgram.h"

#include <glpk.h>

namespace {

constexpr double reachedTolerance = 1e-6;

int columnOf(std::size_t variable) {
    return static_cast<int>(variable) + 1;
}

int boundTypeOf(Relation relation) {
    switch (relation) {
    case Relation::lessOrEqual:
        return GLP_UP;
    case Relation::equal:
        return GLP_FX;
    case Relation::greaterOrEqual:
        return GLP_LO;
    }
    return GLP_FR;
}

int addSlackColumn(glp_prob* problem) {
    const int column = glp_add_cols(problem, 1);
    glp_set_col_bnds(problem, column, GLP_LO, 0, 0);
    return column;
}

bool simplex(glp_prob* problem) {
    glp_smcp parameters = {};
    glp_init_smcp(&parameters);
    parameters.msg_lev = GLP_MSG_OFF;
    return glp_simplex(problem, &parameters) == 0 && glp_get_status(problem) == GLP_OPT;
}

} // namespace

struct LinearProgram::Problem {
    Problem() : raw(glp_create_prob()) {
        glp_term_out(GLP_OFF);
        glp_set_obj_dir(raw, GLP_MIN);
    }
    Problem(const Problem&) = delete;
    Problem& operator=(const Problem&) = delete;
    ~Problem() { glp_delete_prob(raw); }

    glp_prob* raw;
};

LinearProgram::LinearProgram(std::size_t variableCount) : problem_(std::make_unique<Problem>()) {
    if (variableCount == 0) {
        return;
    }
    glp_add_cols(problem_->raw, static_cast<int>(variableCount));
    for (std::size_t variable = 0; variable < variableCount; ++variable) {
        glp_set_col_bnds(problem_->raw, columnOf(variable), GLP_FR, 0, 0);
    }
}

LinearProgram::~LinearProgram() = default;

void LinearProgram::add(const LinearConstraint& constraint) {
    addRow(constraint, {});
}

std::size_t LinearProgram::addGoal(const LinearConstraint& constraint, double level,
                                   double weight) {
    const Goal goal{addSlackColumn(problem_->raw), addSlackColumn(problem_->raw), weight};
    // The harmless direction of an inequality costs nothing, so it needs no slack.
    SlackFactors slack;
    if (constraint.relation != Relation::lessOrEqual) {
        slack[goal.belowColumn] = 1;
    }
    if (constraint.relation != Relation::greaterOrEqual) {
        slack[goal.aboveColumn] = -1;
    }
    addRow(constraint, slack);
    goals_.push_back(goal);
    levels_[level].push_back(goals_.size() - 1);
    return goals_.size() - 1;
}

void LinearProgram::addRow(const LinearConstraint& constraint, const SlackFactors& slack) {
    SlackFactors factors = slack;
    for (const Term& term : constraint.terms) {
        factors[columnOf(term.variable)] += term.factor;
    }
    std::vector<int> columns = {0};
    std::vector<double> values = {0};
    for (const auto& [column, factor] : factors) {
        columns.push_back(column);
        values.push_back(factor);
    }
    const int row = glp_add_rows(problem_->raw, 1);
    glp_set_mat_row(problem_->raw, row, static_cast<int>(factors.size()), columns.data(),
                    values.data());
    glp_set_row_bnds(problem_->raw, row, boundTypeOf(constraint.relation), constraint.constant,
                     constraint.constant);
}

bool LinearProgram::solve() {
    if (!simplex(problem_->raw)) {
        return false;
    }
    for (const auto& [level, goals] : levels_) {
        reach(goals);
    }
    return simplex(problem_->raw);
}

void LinearProgram::reach(const std::vector<std::size_t>& goals) {
    SlackFactors misses;
    for (const std::size_t goal : goals) {
        misses[goals_[goal].belowColumn] = goals_[goal].weight;
        misses[goals_[goal].aboveColumn] = goals_[goal].weight;
    }
    for (const auto& [column, weight] : misses) {
        glp_set_obj_coef(problem_->raw, column, weight);
    }
    if (simplex(problem_->raw)) {
        const double reached = glp_get_obj_val(problem_->raw) + reachedTolerance;
        addRow({{}, Relation::lessOrEqual, reached}, misses);
    }
    for (const auto& [column, weight] : misses) {
        glp_set_obj_coef(problem_->raw, column, 0);
    }
}

double LinearProgram::value(std::size_t variable) const {
    return glp_get_col_prim(problem_->raw, columnOf(variable));
}

double LinearProgram::miss(std::size_t goal) const {
    return glp_get_col_prim(problem_->raw, goals_[goal].belowColumn) +
           glp_get_col_prim(problem_->raw, goals_[goal].aboveColumn);
}
