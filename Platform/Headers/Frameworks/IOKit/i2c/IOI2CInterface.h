// The framebuffer I2C interface, for machines without the macOS SDK.
//
// Like Apple's header it declares its functions without extern "C": C++ includes it inside one.
#pragma once

#include <IOKit/IOKitLib.h>

enum {
    kIOI2CNoTransactionType = 0,
    kIOI2CSimpleTransactionType = 1,
};

typedef struct IOI2CRequest IOI2CRequest;
typedef struct IOI2CConnect* IOI2CConnectRef;
typedef void (*IOI2CRequestCompletion)(IOI2CRequest* request);

#pragma pack(push, 4)
struct IOI2CRequest {
    IOOptionBits sendTransactionType;
    IOOptionBits replyTransactionType;
    uint32_t sendAddress;
    uint32_t replyAddress;
    uint8_t sendSubAddress;
    uint8_t replySubAddress;
    uint8_t __reservedA[2];
    uint64_t minReplyDelay;
    IOReturn result;
    IOOptionBits commFlags;
    uint32_t __padA;
    uint32_t sendBytes;
    uint32_t __reservedB[2];
    uint32_t __padB;
    uint32_t replyBytes;
    IOI2CRequestCompletion completion;
    uintptr_t sendBuffer;
    uintptr_t replyBuffer;
    uint32_t __reservedC[10];
};
#pragma pack(pop)

IOReturn IOFBGetI2CInterfaceCount(io_service_t framebuffer, IOItemCount* count);
IOReturn IOFBCopyI2CInterfaceForBus(io_service_t framebuffer, IOOptionBits bus,
                                    io_service_t* interface);
IOReturn IOI2CInterfaceOpen(io_service_t interface, IOOptionBits options, IOI2CConnectRef* connect);
IOReturn IOI2CInterfaceClose(IOI2CConnectRef connect, IOOptionBits options);
IOReturn IOI2CSendRequest(IOI2CConnectRef connect, IOOptionBits options, IOI2CRequest* request);
