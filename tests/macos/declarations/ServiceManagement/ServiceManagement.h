#pragma once

// What the binding uses of the service-management framework, from public documentation.

#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

typedef NS_ENUM(NSInteger, SMAppServiceStatus) {
  SMAppServiceStatusNotRegistered = 0,
  SMAppServiceStatusEnabled = 1,
  SMAppServiceStatusRequiresApproval = 2,
  SMAppServiceStatusNotFound = 3,
} QUILLARD_SINCE(13.0);

QUILLARD_SINCE(13.0)
@interface SMAppService : NSObject
@property(class, readonly) SMAppService* mainAppService;
@property(readonly) SMAppServiceStatus status;
- (BOOL)registerAndReturnError:(NSError* _Nullable* _Nullable)error;
@end

NS_ASSUME_NONNULL_END
