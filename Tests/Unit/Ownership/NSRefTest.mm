#include "Ownership/NSRef.h"

#include <gtest/gtest.h>

namespace {

int alive = 0;

} // namespace

/// Counts how many of its kind there are.
@interface CountedObject : NSObject
@end

@implementation CountedObject

- (instancetype)init {
    self = [super init];
    ++alive;
    return self;
}

- (void)dealloc {
    --alive;
    [super dealloc];
}

@end

namespace veilpane::test {

namespace {

TEST(NSRefTest, the_last_handle_takes_the_object_with_it) {
    {
        const auto adopted = NSRef<CountedObject>::adopt([[CountedObject alloc] init]);
        const auto retained = NSRef<CountedObject>::retain(adopted.get());
        EXPECT_EQ(alive, 1);
    }
    EXPECT_EQ(alive, 0);
}

TEST(NSRefTest, a_retained_object_outlives_the_handle_that_it_came_from) {
    auto adopted = NSRef<CountedObject>::adopt([[CountedObject alloc] init]);
    const auto retained = NSRef<CountedObject>::retain(adopted.get());
    adopted = {};
    EXPECT_EQ(alive, 1);
}

TEST(NSRefTest, an_object_can_be_kept_until_the_pool_drains) {
    @autoreleasepool {
        {
            const auto last = NSRef<CountedObject>::adopt([[CountedObject alloc] init]);
            keepUntilPoolDrains(last.get());
        }
        EXPECT_EQ(alive, 1);
    }
    EXPECT_EQ(alive, 0);
}

} // namespace

} // namespace veilpane::test
