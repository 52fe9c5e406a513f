// What a process may find out about the login session that it belongs to.
#pragma once

#include <CoreFoundation/CFBase.h>

typedef UInt32 SecuritySessionId;
enum : SecuritySessionId {
    callerSecuritySession = 0xFFFFFFFF,
};

typedef UInt32 SessionAttributeBits;
enum : SessionAttributeBits {
    sessionHasGraphicAccess = 0x0010, // it can reach the window server
};

#ifdef __cplusplus
extern "C"
#endif
    OSStatus
    SessionGetInfo(SecuritySessionId session, SecuritySessionId* _Nullable sessionId,
                   SessionAttributeBits* _Nullable attributes);
