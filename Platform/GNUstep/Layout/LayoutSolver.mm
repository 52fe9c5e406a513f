#import "Layout/LayoutSolver.h"

#include <cmath>
#include <cstdio>

namespace {

const double required = NSLayoutPriorityRequired;
constexpr double missTolerance = 1e-3;
// What is this long has the weight 1, so that the tolerance of a reached goal is no visible length.
constexpr double usualLength = 100;

Relation relationOf(NSLayoutConstraint* constraint) {
    switch ([constraint relation]) {
    case NSLayoutRelationLessThanOrEqual:
        return Relation::lessOrEqual;
    case NSLayoutRelationGreaterThanOrEqual:
        return Relation::greaterOrEqual;
    default:
        return Relation::equal;
    }
}

// The solver's rounding errors must not blur a hairline.
CGFloat rounded(double length) {
    constexpr double steps = 1024;
    return std::round(length * steps) / steps;
}

void append(std::vector<Term>& terms, const std::vector<Term>& others) {
    terms.insert(terms.end(), others.begin(), others.end());
}

void reportBroken(NSLayoutConstraint* constraint) {
    NSString* const text = constraint != nil ? [constraint description] : @"a view's own frame";
    std::fprintf(stderr, "Unable to simultaneously satisfy constraints; broken: %s\n",
                 [text UTF8String]);
}

} // namespace

LayoutSolver::LayoutSolver(NSView* root) : root_(root) {
    collect(root);
    stateRoot();
    for (NSView* const view : views_) {
        if (view != root_ && [view translatesAutoresizingMaskIntoConstraints]) {
            stateFrame(view);
        } else {
            stateNaturalSize(view);
        }
        for (NSLayoutConstraint* constraint in [view constraints]) {
            stateConstraint(constraint);
        }
    }
}

void LayoutSolver::collect(NSView* view) {
    const std::size_t first = 4 * views_.size();
    variables_[view] = {first, first + 1, first + 2, first + 3};
    views_.push_back(view);
    for (NSView* subview in [view subviews]) {
        collect(subview);
    }
}

void LayoutSolver::state(const LinearConstraint& constraint, double level,
                         NSLayoutConstraint* origin, double weight) {
    statements_.push_back({constraint, level, origin, weight});
}

void LayoutSolver::stateRoot() {
    const Variables root = variables_.at(root_);
    state({{{root.left, 1}}, Relation::equal, 0}, required, nil);
    state({{{root.top, 1}}, Relation::equal, 0}, required, nil);
    if ([root_ translatesAutoresizingMaskIntoConstraints]) {
        state({{{root.width, 1}}, Relation::equal, NSWidth([root_ frame])}, required, nil);
        state({{{root.height, 1}}, Relation::equal, NSHeight([root_ frame])}, required, nil);
    }
}

// A view that is not laid out stays where it is in its superview: at the distance from the edge
// where the superview's coordinates start.
void LayoutSolver::stateFrame(NSView* view) {
    const NSRect frame = [view frame];
    const Variables own = variables_.at(view);
    state({{{own.left, 1}}, Relation::equal, NSMinX(frame)}, required, nil);
    state({{{own.width, 1}}, Relation::equal, NSWidth(frame)}, required, nil);
    state({{{own.height, 1}}, Relation::equal, NSHeight(frame)}, required, nil);
    if ([[view superview] isFlipped]) {
        state({{{own.top, 1}}, Relation::equal, NSMinY(frame)}, required, nil);
        return;
    }
    const std::size_t superHeight = variables_.at([view superview]).height;
    state({{{superHeight, 1}, {own.top, -1}, {own.height, -1}}, Relation::equal, NSMinY(frame)},
          required, nil);
}

void LayoutSolver::stateNaturalSize(NSView* view) {
    const Variables own = variables_.at(view);
    state({{{own.width, 1}}, Relation::greaterOrEqual, 0}, required, nil);
    state({{{own.height, 1}}, Relation::greaterOrEqual, 0}, required, nil);
    const NSSize size = [view intrinsicContentSize];
    stateNaturalLength(own.width, size.width,
                       [view contentCompressionResistancePriorityForOrientation:
                                 NSLayoutConstraintOrientationHorizontal]);
    stateNaturalLength(own.height, size.height,
                       [view contentCompressionResistancePriorityForOrientation:
                                 NSLayoutConstraintOrientationVertical]);
}

// A view resists being cut more than it resists being stretched, unless told otherwise. Where two
// views of the same resistance compete for room, each gives way in proportion, so that the one with
// more to show loses the more.
void LayoutSolver::stateNaturalLength(std::size_t variable, CGFloat length,
                                      NSLayoutPriority resistance) {
    if (length < 0) {
        return;
    }
    const double weight = usualLength * usualLength / std::max(1.0, length * length);
    state({{{variable, 1}}, Relation::greaterOrEqual, length}, resistance, nil, weight);
    state({{{variable, 1}}, Relation::lessOrEqual, length}, NSLayoutPriorityDefaultLow, nil);
}

void LayoutSolver::stateConstraint(NSLayoutConstraint* constraint) {
    NSView* const first = [constraint firstItem];
    NSView* const second = [constraint secondItem];
    std::vector<Term> all = terms(first, [constraint firstAttribute], 1);
    if (second != nil) {
        append(all, terms(second, [constraint secondAttribute], -[constraint multiplier]));
    }
    state({all, relationOf(constraint), [constraint constant]}, [constraint priority], constraint);
}

std::vector<Term> LayoutSolver::terms(NSView* view, NSLayoutAttribute attribute,
                                      double factor) const {
    const Variables& own = variables_.at(view);
    const auto position = [&](bool isVertical, double part) {
        std::vector<Term> sum = {{isVertical ? own.height : own.width, part * factor}};
        addOffset(sum, view, isVertical, factor);
        return sum;
    };
    switch (attribute) {
    case NSLayoutAttributeLeft:
    case NSLayoutAttributeLeading:
        return position(false, 0);
    case NSLayoutAttributeRight:
    case NSLayoutAttributeTrailing:
        return position(false, 1);
    case NSLayoutAttributeCenterX:
        return position(false, 0.5);
    case NSLayoutAttributeTop:
        return position(true, 0);
    case NSLayoutAttributeBottom:
        return position(true, 1);
    case NSLayoutAttributeCenterY:
        return position(true, 0.5);
    case NSLayoutAttributeWidth:
        return {{own.width, factor}};
    case NSLayoutAttributeHeight:
        return {{own.height, factor}};
    default:
        [NSException raise:NSInvalidArgumentException
                    format:@"layout attribute %ld is not supported", static_cast<long>(attribute)];
        return {};
    }
}

void LayoutSolver::addOffset(std::vector<Term>& terms, NSView* view, bool isVertical,
                             double factor) const {
    for (; view != root_; view = [view superview]) {
        const Variables& own = variables_.at(view);
        terms.push_back({isVertical ? own.top : own.left, factor});
    }
}

void LayoutSolver::makeRootSmall() {
    const Variables root = variables_.at(root_);
    for (const std::size_t length : {root.width, root.height}) {
        state({{{length, 1}}, Relation::lessOrEqual, 0}, NSLayoutPriorityFittingSizeCompression,
              nil);
    }
}

void LayoutSolver::solve() {
    if (!solveExactly()) {
        solveNearly();
    }
}

bool LayoutSolver::solveExactly() {
    LinearProgram program(4 * views_.size());
    for (const Statement& statement : statements_) {
        if (statement.level >= required) {
            program.add(statement.constraint);
        } else {
            program.addGoal(statement.constraint, statement.level, statement.weight);
        }
    }
    if (!program.solve()) {
        return false;
    }
    takeValues(program);
    return true;
}

void LayoutSolver::solveNearly() {
    LinearProgram program(4 * views_.size());
    std::vector<std::size_t> goals;
    for (const Statement& statement : statements_) {
        goals.push_back(program.addGoal(statement.constraint, statement.level, statement.weight));
    }
    static_cast<void>(program.solve());
    takeValues(program);
    for (std::size_t index = 0; index < statements_.size(); ++index) {
        const Statement& statement = statements_[index];
        if (statement.level >= required && program.miss(goals[index]) > missTolerance) {
            reportBroken(statement.origin);
        }
    }
}

void LayoutSolver::takeValues(const LinearProgram& program) {
    for (std::size_t variable = 0; variable < 4 * views_.size(); ++variable) {
        values_.push_back(program.value(variable));
    }
}

NSSize LayoutSolver::rootSize() const {
    const Variables& root = variables_.at(root_);
    return NSMakeSize(rounded(values_[root.width]), rounded(values_[root.height]));
}

void LayoutSolver::setFrames() const {
    for (NSView* const view : views_) {
        if (view == root_) {
            [view setFrameSize:rootSize()];
        } else if (![view translatesAutoresizingMaskIntoConstraints]) {
            [view setFrame:frame(view)];
        }
    }
}

NSRect LayoutSolver::frame(NSView* view) const {
    const Variables& own = variables_.at(view);
    const double height = values_[own.height];
    double y = values_[own.top];
    if (![[view superview] isFlipped]) {
        y = values_[variables_.at([view superview]).height] - y - height;
    }
    return NSMakeRect(rounded(values_[own.left]), rounded(y), rounded(values_[own.width]),
                      rounded(height));
}
