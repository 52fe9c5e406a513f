#pragma once

#include <Foundation/NSArray.h>
#include <Foundation/NSObjCRuntime.h>

@class NSString;
@class NSDictionary<KeyType, ObjectType>;

NS_ASSUME_NONNULL_BEGIN

// Domains that are not stored: the command line comes before what is, the registered values after
// it.
FOUNDATION_EXPORT NSString* const NSArgumentDomain;
FOUNDATION_EXPORT NSString* const NSRegistrationDomain;

@interface NSUserDefaults : NSObject
@property (class, readonly, strong) NSUserDefaults* standardUserDefaults;
- (NSDictionary<NSString*, id>*)volatileDomainForName:(NSString*)domainName;
// Raises NSInvalidArgumentException while there is a volatile domain of this name.
- (void)setVolatileDomain:(NSDictionary<NSString*, id>*)domain forName:(NSString*)domainName;
- (void)removeVolatileDomainForName:(NSString*)domainName;
- (nullable id)objectForKey:(NSString*)key;
- (nullable NSArray*)arrayForKey:(NSString*)key;
// Takes effect in this process at once; it is stored some time later.
- (void)setObject:(nullable id)value forKey:(NSString*)key;
- (void)removeObjectForKey:(NSString*)key;
// Registered values count where no other domain has one, and are never stored.
- (void)registerDefaults:(NSDictionary<NSString*, id>*)registrationDictionary;
- (BOOL)synchronize;
@end

NS_ASSUME_NONNULL_END
