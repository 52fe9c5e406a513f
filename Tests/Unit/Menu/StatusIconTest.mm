#include "Veilpane/Menu/StatusIcon.h"

#include "Support/AppKitHost.h"
#include "Support/MenuBarTest.h"

#import <objc/runtime.h>

#include <sstream>

namespace veilpane::test {

namespace {

using Lines = std::vector<std::string>;

Lines* drawn = nullptr;

// Move, line, curve and the end of a closed path, in the order of AppKit's numbers for them.
struct ElementKind {
    char letter;
    int points;
};
constexpr ElementKind elementKinds[] = {{'M', 1}, {'L', 1}, {'C', 3}, {'Z', 0}};

std::string elements(NSBezierPath* path) {
    std::ostringstream description;
    for (NSInteger index = 0; index < [path elementCount]; ++index) {
        NSPoint points[3] = {};
        const auto [letter, count] =
            elementKinds[[path elementAtIndex:index associatedPoints:points]];
        description << ' ' << letter;
        for (int point = 0; point < count; ++point) {
            description << ' ' << points[point].x << ' ' << points[point].y;
        }
    }
    return description.str();
}

std::string stroked(NSBezierPath* path) {
    std::ostringstream description;
    description << "stroke " << [path lineWidth]
                << ([path lineCapStyle] == NSLineCapStyleRound ? " round" : " butt")
                << elements(path);
    return description.str();
}

NSBezierPath* with(NSBezierPath* path, CGFloat width) {
    [path setLineWidth:width];
    return path;
}

class StatusIcon : public MenuBarTest {
protected:
    // What the drawing handler does, in order.
    static Lines drawing(NSImage* icon) {
        Lines lines;
        drawn = &lines;
        Class const path = [NSBezierPath class];
        const ReplacedMethod stroke(
            path, @selector(stroke),
            implementationOf(+[](NSBezierPath* self, SEL) { drawn->push_back(stroked(self)); }));
        const ReplacedMethod fill(path, @selector(fill),
                                  implementationOf(+[](NSBezierPath* self, SEL) {
                                      drawn->push_back("fill" + elements(self));
                                  }));
        drawUnseen(NSMakeSize(18, 18), [icon] {
            EXPECT_EQ([[icon representations] count], 1U);
            EXPECT_TRUE([[[icon representations] objectAtIndex:0] draw]);
        });
        return lines;
    }
};

TEST_F(StatusIcon, is_18_points_square) {
    EXPECT_TRUE(NSEqualSizes([makeStatusIcon() size], NSMakeSize(18, 18)));
}

// On which side its coordinates begin is asked from the image's maker.
TEST_F(StatusIcon, is_drawn_from_its_lower_edge_upwards) {
    static std::vector<bool> flips;
    Class const metaclass = object_getClass(static_cast<id>([NSImage class]));
    const ReplacedMethod made(
        metaclass, @selector(imageWithSize:flipped:drawingHandler:),
        implementationOf(+[](Class, SEL, NSSize, BOOL flipped, BOOL (^)(NSRect)) -> NSImage* {
            flips.push_back(flipped);
            return nil;
        }));
    (void)makeStatusIcon();
    EXPECT_EQ(flips, std::vector<bool>{false});
}

TEST_F(StatusIcon, is_a_screen_on_a_stand_with_a_power_dot) {
    NSBezierPath* const screen =
        [NSBezierPath bezierPathWithRoundedRect:NSMakeRect(1.5, 5.5, 15, 10)
                                        xRadius:1.5
                                        yRadius:1.5];
    NSBezierPath* const dot =
        [NSBezierPath bezierPathWithOvalInRect:NSMakeRect(12.2, 7.2, 2.2, 2.2)];
    EXPECT_EQ(drawing(makeStatusIcon()),
              (Lines{stroked(with(screen, 1.4)), "stroke 1.4 butt M 9 5.5 L 9 3.5",
                     "stroke 1.6 round M 5.5 2.8 L 12.5 2.8", "fill" + elements(dot)}));
}

// Whatever the ground, as black adds no colour to any pixel and covers some.
TEST_F(StatusIcon, is_black_on_nothing) {
    NSImage* const icon = makeStatusIcon();
    NSBitmapImageRep* const picture =
        drawUnseen(NSMakeSize(18, 18), [icon] { [[[icon representations] objectAtIndex:0] draw]; });
    ASSERT_EQ([picture samplesPerPixel], 4);
    NSUInteger colour = 0;
    NSUInteger cover = 0;
    for (NSInteger place = 0; place < [picture pixelsWide] * [picture pixelsHigh]; ++place) {
        NSUInteger samples[4] = {};
        [picture getPixel:samples atX:place % [picture pixelsWide] y:place / [picture pixelsWide]];
        colour += samples[0] + samples[1] + samples[2];
        cover += samples[3];
    }
    EXPECT_EQ(colour, 0U);
    EXPECT_GT(cover, 0U);
}

} // namespace

} // namespace veilpane::test
