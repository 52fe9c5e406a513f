#include "Support/MenuBarTest.h"
#import "Veilpane/Menu/PowerSwitchRowView.h"

// Which views are elements for a screen reader is the stand-in's answer; on a Mac a control may
// leave that to its cell.

namespace veilpane::test {

namespace {

class MenuRowViewsOnGNUstep : public MenuBarTest {
protected:
    /// What a screen reader finds in a row that is off.
    static std::vector<std::string> toldElements(NSString* title, bool isMain) {
        const auto row = NSRef<PowerSwitchRowView>::adopt([[PowerSwitchRowView alloc]
            initWithDisplayID:7
                        title:title
                       isMain:isMain
                         isOn:true
                     onToggle:[](bool) {}]);
        [row.get() showOn:false];
        std::vector<std::string> told;
        for (NSView* view in [row.get() subviews]) {
            if ([view isAccessibilityElement] && [view accessibilityLabel] != nil) {
                told.push_back(text([view accessibilityLabel]));
            }
        }
        return told;
    }
};

TEST_F(MenuRowViewsOnGNUstep, each_row_has_one_element_that_tells_name_and_state) {
    EXPECT_EQ(toldElements(@"Panel", true), std::vector<std::string>{"Panel，主屏，关"});
    EXPECT_EQ(toldElements(@"Studio", false), std::vector<std::string>{"Studio，关"});
}

} // namespace

} // namespace veilpane::test
