#pragma once

#include <cstdint>

namespace ksp {

// The C interface of the discovery library "KSSTRMAPIe.dll": what its 23 exports take and give. x64
// has one calling convention, so none is named.
//
//   stream, MIME utility   void*, null on failure
//   device handle          a positive number, below 1 on failure
//   text in                UTF-8, NUL-terminated, owned by the caller
//   library buffer         char*, allocated by the library, NUL-terminated text; given back with
//                          KSDeleteBuffer, which sets the pointer to null
//   MIME buffer            any block that a MIME call returned; given back with KSMIMEDeleteBuffer,
//                          which sets the pointer to null

using DeviceHandle = std::intptr_t;

// One named item of a MIME-formatted reply; a MIME buffer.
struct MIMEItem {
    const unsigned char* bytes;
    int count;
};

// Called on the library's own threads, once per device found (code 0) and with error codes.
using ProbeCallback = void (*)(DeviceHandle device, int code, void* context);

// The exports, in the order in which they are looked up. Four of them are never called; two of
// these, KSGetRecvStatus and KSMIMEEncode, are required of a library all the same.
struct OryxFunctions {
    void* (*KSCreateStream)();
    int (*KSInitialize)(void* stream, int reserved);  // 0, else an error code
    int (*KSSetProbeMode)(void* stream, const char* document);
    // Non-zero when the probe was started.
    int (*KSProbe)(void* stream, ProbeCallback callback, void* context, void* value);
    // When it returns, no callback is running and none will come.
    int (*KSStopProbe)(void* stream);
    // Non-zero with a library buffer: the device's capability document (UTF-8 XML).
    int (*KSGetDeviceCapability)(void* stream, DeviceHandle device, char** document);
    int (*KSDeleteBuffer)(void* stream, DeviceHandle device, char** buffer);
    int (*KSTerminate)(void* stream);
    int (*KSDeleteStream)(void* stream);
    void* KSSendStream;
    void* KSGetRecvStatus;
    void* KSRecvStream;
    // 0 with the reply in a library buffer, else an error code.
    int (*KSSendRecvStream)(void* stream, DeviceHandle device, const char* request, char** reply,
                            int reserved);
    int (*KSRecvCancel)(void* stream, DeviceHandle device);
    DeviceHandle (*KSCreateDeviceHandle)(void* stream, const char* address, const char* settings);
    int (*KSDeleteDeviceHandle)(void* stream, DeviceHandle device);
    void* (*KSCreateMIMEUtil)();
    int (*KSDeleteMIMEUtil)(void* util);
    void* KSMIMEEncode;
    // 0; decodes the part in place, never longer than it was, NUL-terminated.
    int (*KSMIMEDecode)(void* util, char* part);
    // 0; header and data are MIME buffers, each followed by a NUL that its length does not count.
    int (*KSMIMESplitData)(void* util, const char* reply, char** header, int* headerLength,
                           char** data, int* dataLength);
    // 0; the item is a MIME buffer.
    int (*KSMIMEGetData)(void* util, const char* data, const char* name, MIMEItem** item);
    int (*KSMIMEDeleteBuffer)(void* util, void** buffer);
};

}  // namespace ksp
