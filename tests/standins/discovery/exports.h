#pragma once

#include "discovery/discovery_library.h"

namespace ksp::standins {

// The exports of the discovery library, as the stand-in implements them.
extern "C" {

void* KSCreateStream();
int KSInitialize(void* stream, int reserved);
int KSSetProbeMode(void* stream, const char* document);
int KSProbe(void* stream, ProbeCallback callback, void* context, void* value);
int KSStopProbe(void* stream);
int KSGetDeviceCapability(void* stream, DeviceHandle device, char** document);
int KSDeleteBuffer(void* stream, DeviceHandle device, char** buffer);
int KSTerminate(void* stream);
int KSDeleteStream(void* stream);
int KSSendStream();
int KSGetRecvStatus();
int KSRecvStream();
int KSSendRecvStream(void* stream, DeviceHandle device, const char* request, char** reply,
                     int reserved);
int KSRecvCancel(void* stream, DeviceHandle device);
DeviceHandle KSCreateDeviceHandle(void* stream, const char* address, const char* settings);
int KSDeleteDeviceHandle(void* stream, DeviceHandle device);
void* KSCreateMIMEUtil();
int KSDeleteMIMEUtil(void* util);
int KSMIMEEncode();
int KSMIMEDecode(void* util, char* part);
int KSMIMESplitData(void* util, const char* reply, char** header, int* header_length, char** data,
                    int* data_length);
int KSMIMEGetData(void* util, const char* data, const char* name, MIMEItem** item);
int KSMIMEDeleteBuffer(void* util, void** buffer);

}  // extern "C"

}  // namespace ksp::standins
