#pragma once

#include "discovery/discovery_library.h"

// The exports of KSSTRMAPIe.dll, the discovery library: what a printer is called, which MAC address
// it has and how it is, over SNMP (versions 1 and 2c, UDP port 161), and which devices the network
// has. discovery/discovery_library.h tells what the exports take and give; here stands what is this
// library's own. The registry values that it reads are in snmp/library_settings.h, the documents in
// snmp/requests.h and snmp/replies.h, the form of values in snmp/mime_message.h.
//
// Arguments that are null, or that this library did not hand out, make a call fail; nothing is
// thrown.

extern "C" {

void* KSCreateStream();
// 0; -1 when Windows Sockets do not start, or the second time.
int KSInitialize(void* stream, int reserved);
// 0; -1 for a document that cannot be read.
int KSSetProbeMode(void* stream, const char* document);
// Searches the networks of all interfaces (but not of the loopback, unless the registry asks for
// it) and those of the probe-mode document, over IPv4. Every address is asked once and as often
// again as the document says, two of them in a millisecond and at most 64 at once. A device that
// answers is called back once, with the code 0, when its capability document is complete; what it
// is called back with belongs to the library and is good until the stream's next search or end. The
// search is over when the document's time-out has passed since the last address was first asked.
//
// Codes below 0 come with the device 0: snmp::ProbeError. Of a network of more than 4096 addresses
// only the 4096 around its stated address are searched, which is told with the code -2.
int KSProbe(void* stream, ksp::ProbeCallback callback, void* context, void* value);
// A callback may call this too; then it is itself the last one, and is not waited for.
int KSStopProbe(void* stream);
// Takes at most the time-out of the device's settings; no longer than a copy for a device that a
// search found.
int KSGetDeviceCapability(void* stream, ksp::DeviceHandle device, char** document);
int KSDeleteBuffer(void* stream, ksp::DeviceHandle device, char** buffer);
int KSTerminate(void* stream);
int KSDeleteStream(void* stream);
// Takes at most the time-out of the device's settings. The error codes: snmp::RequestResult. The
// reply to a MIB request is a MIME message, that to a MAC-address request an XML document.
int KSSendRecvStream(void* stream, ksp::DeviceHandle device, const char* request, char** reply,
                     int reserved);
// Ends the KSSendRecvStream and KSGetDeviceCapability that run on the device at this moment.
int KSRecvCancel(void* stream, ksp::DeviceHandle device);
// The address is dotted IPv4 or a host name. Nothing is sent to the device yet. A name is resolved
// here, once, by the system; the wait for its name server is not bounded by the time-out of the
// settings. A name that is not known makes the call fail.
ksp::DeviceHandle KSCreateDeviceHandle(void* stream, const char* address, const char* settings);
int KSDeleteDeviceHandle(void* stream, ksp::DeviceHandle device);

void* KSCreateMIMEUtil();
int KSDeleteMIMEUtil(void* util);
int KSMIMEDecode(void* util, char* part);
int KSMIMESplitData(void* util, const char* reply, char** header, int* headerLength, char** data,
                    int* dataLength);
int KSMIMEGetData(void* util, const char* data, const char* name, ksp::MIMEItem** item);
int KSMIMEDeleteBuffer(void* util, void** buffer);

// Part of the interface, but of no use to anybody; they return -1.
int KSSendStream();
int KSGetRecvStatus();
int KSRecvStream();
int KSMIMEEncode();

}  // extern "C"
