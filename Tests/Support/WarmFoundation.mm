#include "Support/WarmFoundation.h"

#import <Foundation/Foundation.h>

void warmFoundation() {
    @autoreleasepool {
        [[NSUserDefaults standardUserDefaults] arrayForKey:@"NSLanguages"];
    }
}

void warmCollation() {
    @autoreleasepool {
        (void)[@"a" localizedCompare:@"b"];
    }
}
