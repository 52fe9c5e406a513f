#pragma once

#include "Layout/LinearProgram.h"

#import <AppKit/AppKit.h>

#include <unordered_map>
#include <vector>

/// Works out the frames of a view and of those in it from their constraints, their natural sizes
/// and the frames that some of them keep. All distances are in points.
class LayoutSolver {
public:
    explicit LayoutSolver(NSView* root);

    /// The root shall be as small as its constraints allow.
    void makeRootSmall();

    /// Constraints that contradict each other are reported on standard error and met as nearly as
    /// possible.
    void solve();

    [[nodiscard]] NSSize rootSize() const;
    void setFrames() const;

private:
    /// The numbers of a view's variables. The distances are those from the superview's left and
    /// upper edges; the root has none.
    struct Variables {
        std::size_t left;
        std::size_t top;
        std::size_t width;
        std::size_t height;
    };

    void collect(NSView* view);
    void state(const LinearConstraint& constraint, double level, NSLayoutConstraint* origin,
               double weight = 1);
    void stateRoot();
    void stateFrame(NSView* view);
    void stateNaturalSize(NSView* view);
    void stateNaturalLength(std::size_t variable, CGFloat length, NSLayoutPriority resistance);
    void stateConstraint(NSLayoutConstraint* constraint);
    [[nodiscard]] std::vector<Term> terms(NSView* view, NSLayoutAttribute attribute,
                                          double factor) const;
    void addOffset(std::vector<Term>& terms, NSView* view, bool isVertical, double factor) const;
    [[nodiscard]] bool solveExactly();
    void solveNearly();
    void takeValues(const LinearProgram& program);
    [[nodiscard]] NSRect frame(NSView* view) const;

    struct Statement {
        LinearConstraint constraint;
        double level;
        NSLayoutConstraint* origin;
        double weight;
    };

    NSView* root_;
    std::vector<NSView*> views_;
    std::unordered_map<NSView*, Variables> variables_;
    std::vector<Statement> statements_;
    std::vector<double> values_;
};
