#include "ObjectiveC/Retained.h"
#include "Support/MenuBarTest.h"

#import <AppKit/AppKit.h>

@interface FlippedView : NSView
@end

@implementation FlippedView

- (BOOL)isFlipped {
    return YES;
}

@end

namespace {

class AutoLayout : public MenuBarTest {
protected:
    static NSView* view(NSView* parent, NSRect frame = NSZeroRect) {
        NSView* const child = [[[NSView alloc] initWithFrame:frame] autorelease];
        [child setTranslatesAutoresizingMaskIntoConstraints:NO];
        [parent addSubview:child];
        return child;
    }

    static NSView* root() {
        return [[[NSView alloc] initWithFrame:NSMakeRect(0, 0, 200, 100)] autorelease];
    }

    static std::string frame(NSView* view) { return text(NSStringFromRect([view frame])); }

    static std::string errorsOfLayout(NSView* view) {
        testing::internal::CaptureStderr();
        [view layoutSubtreeIfNeeded];
        return testing::internal::GetCapturedStderr();
    }

    static void activate(NSArray* constraints) {
        [NSLayoutConstraint activateConstraints:constraints];
    }
};

TEST_F(AutoLayout, anchors_place_a_view_and_the_constant_is_added) {
    NSView* const outer = root();
    NSView* const inner = view(outer);
    activate(@[
        [[inner leadingAnchor] constraintEqualToAnchor:[outer leadingAnchor] constant:10],
        [[inner trailingAnchor] constraintEqualToAnchor:[outer trailingAnchor] constant:-30],
        [[inner topAnchor] constraintEqualToAnchor:[outer topAnchor] constant:5],
        [[inner heightAnchor] constraintEqualToConstant:20]
    ]);
    [outer layoutSubtreeIfNeeded];
    EXPECT_EQ(frame(inner), text(NSStringFromRect(NSMakeRect(10, 75, 160, 20))));
}

TEST_F(AutoLayout, a_flipped_superview_measures_from_its_top) {
    NSView* const outer =
        [[[FlippedView alloc] initWithFrame:NSMakeRect(0, 0, 200, 100)] autorelease];
    NSView* const inner = view(outer);
    activate(@[
        [[inner leftAnchor] constraintEqualToAnchor:[outer leftAnchor]],
        [[inner rightAnchor] constraintEqualToAnchor:[outer rightAnchor]],
        [[inner topAnchor] constraintEqualToAnchor:[outer topAnchor] constant:5],
        [[inner heightAnchor] constraintEqualToConstant:20]
    ]);
    [outer layoutSubtreeIfNeeded];
    EXPECT_EQ(frame(inner), text(NSStringFromRect(NSMakeRect(0, 5, 200, 20))));
}

TEST_F(AutoLayout, a_multiplier_relates_lengths) {
    NSView* const outer = root();
    NSView* const inner = view(outer);
    activate(@[
        [[inner centerXAnchor] constraintEqualToAnchor:[outer centerXAnchor]],
        [[inner centerYAnchor] constraintEqualToAnchor:[outer centerYAnchor]],
        [[inner widthAnchor] constraintEqualToAnchor:[outer widthAnchor] multiplier:0.5],
        [[inner heightAnchor] constraintEqualToAnchor:[outer heightAnchor]
                                           multiplier:0.1
                                             constant:10]
    ]);
    [outer layoutSubtreeIfNeeded];
    EXPECT_EQ(frame(inner), text(NSStringFromRect(NSMakeRect(50, 40, 100, 20))));
}

TEST_F(AutoLayout, a_view_that_keeps_its_frame_is_a_fixed_point_for_others) {
    NSView* const outer = root();
    NSView* const fixed = view(outer, NSMakeRect(20, 60, 50, 30));
    [fixed setTranslatesAutoresizingMaskIntoConstraints:YES];
    NSView* const inner = view(outer);
    activate(@[
        [[inner leadingAnchor] constraintEqualToAnchor:[fixed trailingAnchor] constant:5],
        [[inner bottomAnchor] constraintEqualToAnchor:[fixed bottomAnchor]],
        [[inner widthAnchor] constraintEqualToConstant:10],
        [[inner heightAnchor] constraintEqualToConstant:10]
    ]);
    [outer layoutSubtreeIfNeeded];
    EXPECT_EQ(frame(fixed), text(NSStringFromRect(NSMakeRect(20, 60, 50, 30))));
    EXPECT_EQ(frame(inner), text(NSStringFromRect(NSMakeRect(75, 60, 10, 10))));
}

TEST_F(AutoLayout, the_fitting_size_is_the_smallest_that_satisfies_all) {
    NSView* const outer = root();
    [outer setTranslatesAutoresizingMaskIntoConstraints:NO];
    NSView* const inner = view(outer);
    activate(@[
        [[inner leadingAnchor] constraintEqualToAnchor:[outer leadingAnchor] constant:10],
        [[inner trailingAnchor] constraintLessThanOrEqualToAnchor:[outer trailingAnchor]
                                                         constant:-10],
        [[inner widthAnchor] constraintGreaterThanOrEqualToConstant:70],
        [[inner centerYAnchor] constraintEqualToAnchor:[outer centerYAnchor]],
        [[inner heightAnchor] constraintEqualToConstant:8],
        [[outer heightAnchor] constraintGreaterThanOrEqualToConstant:44]
    ]);
    EXPECT_TRUE(NSEqualSizes([outer fittingSize], NSMakeSize(90, 44)));
}

TEST_F(AutoLayout, contradicting_constraints_are_reported_and_the_rest_is_met) {
    NSView* const outer = root();
    NSView* const inner = view(outer);
    activate(@[
        [[inner leadingAnchor] constraintEqualToAnchor:[outer leadingAnchor] constant:10],
        [[inner topAnchor] constraintEqualToAnchor:[outer topAnchor]],
        [[inner heightAnchor] constraintEqualToConstant:20],
        [[inner widthAnchor] constraintEqualToConstant:100],
        [[inner widthAnchor] constraintEqualToConstant:120]
    ]);
    const std::string errors = errorsOfLayout(outer);
    EXPECT_TRUE(errors.starts_with(
        "Unable to simultaneously satisfy constraints; broken: NSView.width == 1"))
        << errors;
    EXPECT_EQ(NSMinX([inner frame]), 10);
    EXPECT_EQ(NSHeight([inner frame]), 20);
}

TEST_F(AutoLayout, constraints_that_agree_are_not_reported) {
    NSView* const outer = root();
    NSView* const inner = view(outer);
    activate(@[
        [[inner widthAnchor] constraintEqualToConstant:100],
        [[inner widthAnchor] constraintLessThanOrEqualToConstant:100],
        [[inner widthAnchor] constraintGreaterThanOrEqualToConstant:100]
    ]);
    EXPECT_EQ(errorsOfLayout(outer), "");
}

TEST_F(AutoLayout, a_weaker_constraint_gives_way_without_a_report) {
    NSView* const outer = root();
    NSView* const inner = view(outer);
    NSLayoutConstraint* const wish = [[inner widthAnchor] constraintEqualToConstant:500];
    [wish setPriority:NSLayoutPriorityDefaultHigh];
    activate(@[ wish, [[inner widthAnchor] constraintLessThanOrEqualToConstant:120] ]);
    EXPECT_EQ(errorsOfLayout(outer), "");
    EXPECT_EQ(NSWidth([inner frame]), 120);
}

TEST_F(AutoLayout, a_constraint_is_installed_on_the_closest_common_ancestor) {
    NSView* const outer = root();
    NSView* const first = view(outer);
    NSView* const second = view(outer);
    NSView* const within = view(first);
    activate(@[
        [[first leadingAnchor] constraintEqualToAnchor:[second leadingAnchor]],
        [[within leadingAnchor] constraintEqualToAnchor:[first leadingAnchor]],
        [[within widthAnchor] constraintEqualToConstant:1]
    ]);
    EXPECT_EQ([[outer constraints] count], 1U);
    EXPECT_EQ([[first constraints] count], 1U);
    EXPECT_EQ([[within constraints] count], 1U);
    EXPECT_EQ([[second constraints] count], 0U);
}

TEST_F(AutoLayout, a_constraint_between_strangers_raises) {
    NSView* const one = root();
    NSView* const other = root();
    NSLayoutConstraint* const constraint =
        [[one leadingAnchor] constraintEqualToAnchor:[other leadingAnchor]];
    bool isRaised = false;
    @try {
        [constraint setActive:YES];
    } @catch (NSException*) {
        isRaised = true;
    }
    EXPECT_TRUE(isRaised);
    EXPECT_FALSE([constraint isActive]);
}

TEST_F(AutoLayout, a_deactivated_constraint_counts_no_more) {
    NSView* const outer = root();
    NSView* const inner = view(outer);
    NSArray* const wide = @[ [[inner widthAnchor] constraintEqualToConstant:120] ];
    activate(wide);
    [NSLayoutConstraint deactivateConstraints:wide];
    EXPECT_EQ([[inner constraints] count], 0U);
    activate(@[ [[inner widthAnchor] constraintEqualToConstant:30] ]);
    EXPECT_EQ(errorsOfLayout(outer), "");
    EXPECT_EQ(NSWidth([inner frame]), 30);
}

TEST_F(AutoLayout, a_constraint_does_not_keep_its_views) {
    const auto owner =
        Retained<NSView>::adopt([[NSView alloc] initWithFrame:NSMakeRect(0, 0, 10, 10)]);
    NSView* const outer = owner.get();
    const NSUInteger before = [outer retainCount];
    @autoreleasepool {
        NSView* const inner = view(outer);
        activate(@[ [[inner leadingAnchor] constraintEqualToAnchor:[outer leadingAnchor]] ]);
    }
    EXPECT_EQ([outer retainCount], before);
}

TEST_F(AutoLayout, a_switch_resists_being_made_smaller_as_other_views_do) {
    NSSwitch* const powerSwitch = [[[NSSwitch alloc] initWithFrame:NSZeroRect] autorelease];
    EXPECT_EQ([powerSwitch contentCompressionResistancePriorityForOrientation:
                               NSLayoutConstraintOrientationHorizontal],
              NSLayoutPriorityDefaultHigh);
}

TEST_F(AutoLayout, the_view_with_the_lower_compression_resistance_gives_way) {
    for (const bool isFirstWeak : {true, false}) {
        NSView* const outer = [[[NSView alloc] initWithFrame:NSMakeRect(0, 0, 80, 20)] autorelease];
        NSTextField* const first = [NSTextField labelWithString:@"ten letters"];
        NSTextField* const second = [NSTextField labelWithString:@"more than ten letters"];
        for (NSTextField* label in @[ first, second ]) {
            [label setTranslatesAutoresizingMaskIntoConstraints:NO];
            [outer addSubview:label];
        }
        EXPECT_EQ([first contentCompressionResistancePriorityForOrientation:
                             NSLayoutConstraintOrientationHorizontal],
                  NSLayoutPriorityDefaultHigh);
        NSTextField* const weak = isFirstWeak ? first : second;
        NSTextField* const strong = isFirstWeak ? second : first;
        [outer setFrameSize:NSMakeSize([strong intrinsicContentSize].width + 5, 20)];
        [weak setContentCompressionResistancePriority:NSLayoutPriorityDefaultLow
                                       forOrientation:NSLayoutConstraintOrientationHorizontal];
        activate(@[
            [[first leadingAnchor] constraintEqualToAnchor:[outer leadingAnchor]],
            [[second leadingAnchor] constraintEqualToAnchor:[first trailingAnchor]],
            [[second trailingAnchor] constraintEqualToAnchor:[outer trailingAnchor]]
        ]);
        [outer layoutSubtreeIfNeeded];
        EXPECT_EQ(NSWidth([strong frame]), [strong intrinsicContentSize].width);
        EXPECT_EQ(NSWidth([weak frame]), 5);
    }
}

} // namespace
