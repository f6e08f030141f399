#ifndef KSP_TESTS_STANDINS_DISCOVERY_CONTROL_H_
#define KSP_TESTS_STANDINS_DISCOVERY_CONTROL_H_

/* Control of the discovery library's stand-in.
 *
 * The stand-in is a KSSTRMAPIe.dll with the 23 exports of the discovery library. It finds and
 * queries devices that its user sets up, notes every call, counts what it has handed out and tells
 * what was done to it that a library need not survive. Its one further export,
 * DiscoveryStandinControl, returns the table below. Several builds of it may be loaded in one
 * process, from directories of their own; each is a library of its own with its own control.
 *
 * Every function may be called from any thread, also while another thread is inside a library call
 * or a probe callback. Texts are UTF-8 and copied; a null text is kept as null. Plain C, so that
 * any program can include it.
 */

/* C knows no other type names, headers and empty argument lists.
 * NOLINTBEGIN(modernize-use-using,modernize-redundant-void-arg,modernize-deprecated-headers) */

#include <stdint.h>
#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

#define DISCOVERY_CONTROL_VERSION 1
#define DISCOVERY_CONTROL_EXPORT "DiscoveryStandinControl"

/* What KSSendRecvStream answers when the device has no reply to the request. */
#define DISCOVERY_NO_REPLY (-100)

/* The exports in the order in which a binding looks them up, each named without its KS, and behind
 * them the one function that the library calls. */
typedef enum DiscoveryFunction {
    DiscoveryCreateStream,
    DiscoveryInitialize,
    DiscoverySetProbeMode,
    DiscoveryProbe,
    DiscoveryStopProbe,
    DiscoveryGetDeviceCapability,
    DiscoveryDeleteBuffer,
    DiscoveryTerminate,
    DiscoveryDeleteStream,
    DiscoverySendStream,
    DiscoveryGetRecvStatus,
    DiscoveryRecvStream,
    DiscoverySendRecvStream,
    DiscoveryRecvCancel,
    DiscoveryCreateDeviceHandle,
    DiscoveryDeleteDeviceHandle,
    DiscoveryCreateMIMEUtil,
    DiscoveryDeleteMIMEUtil,
    DiscoveryMIMEEncode,
    DiscoveryMIMEDecode,
    DiscoveryMIMESplitData,
    DiscoveryMIMEGetData,
    DiscoveryMIMEDeleteBuffer,
    DiscoveryExportCount,
    DiscoveryProbeCallback = DiscoveryExportCount,
    DiscoveryFunctionCount
} DiscoveryFunction;

typedef enum DiscoveryCapability {
    DiscoveryCapabilityGenerated, /* a document with the device's id, name, MAC and IPv4 address */
    DiscoveryCapabilityGiven,     /* the document of the device, as it stands */
    DiscoveryCapabilityNull,      /* KSGetDeviceCapability succeeds without a document */
    DiscoveryCapabilityFails      /* KSGetDeviceCapability answers 0 */
} DiscoveryCapability;

typedef struct DiscoveryDevice {
    const char* address; /* by which KSCreateDeviceHandle finds it */
    const char* mac;     /* also the answer to the request for "MACAddress"; null: no answer */
    const char* name;
    const char* device_id;
    DiscoveryCapability capability;
    const char* document; /* of DiscoveryCapabilityGiven */
    BOOL silent;          /* does not answer a probe that has no script */
} DiscoveryDevice;

typedef enum DiscoveryReplyKind {
    DiscoveryReplyNone, /* no library buffer */
    DiscoveryReplyText, /* the text as it stands */
    DiscoveryReplyValue /* a MIME-formatted reply: a header document and one part with the value */
} DiscoveryReplyKind;

/* What KSSendRecvStream does for one request to one device. */
typedef struct DiscoveryReply {
    DiscoveryReplyKind kind;
    int result;            /* of the call; also a failing call delivers the reply */
    const char* text;      /* DiscoveryReplyText */
    const BYTE* bytes;     /* value; null: the MIME item has no bytes */
    DWORD size;            /* how many bytes there are */
    int count;             /* how many the MIME item says there are */
    const char* header;    /* header document; null: one whose "Group" element names the part */
    const char* part_name; /* null: "value" */
} DiscoveryReply;

typedef enum DiscoveryMoment {
    DiscoveryDuringProbe,   /* dropped when the probe is stopped first */
    DiscoveryWhileStopping, /* once KSStopProbe was called, which waits for it */
    DiscoveryAfterStop      /* in GiveLateAnswers: what no library should do */
} DiscoveryMoment;

/* One call of the probe callback. The answers of one thread number come one after the other, on one
 * thread of the library; those of different numbers come at the same time. */
typedef struct DiscoveryAnswer {
    const char* address; /* of the device; null: the callback gets the device handle 0 */
    int code;            /* 0: found */
    DWORD thread;
    DWORD delay_ms; /* after the previous answer of the thread; DiscoveryAfterStop has none */
    DiscoveryMoment moment;
} DiscoveryAnswer;

/* One call of an export or of the probe callback. What a function does not have is null or 0. The
 * texts are good until the journal is cleared or the stand-in reset. A call is noted once it is
 * done; KSStopProbe and the probe callback are noted when they begin. */
typedef struct DiscoveryCall {
    DiscoveryFunction function;
    DWORD thread_id;
    void* object;       /* the stream or MIME utility passed in or handed out */
    intptr_t device;    /* the device handle passed in, handed out or called back with */
    const void* buffer; /* the buffer given out or taken back; of a split the header */
    const void* data;   /* of a split the data */
    int code;           /* of a probe callback */
    intptr_t result;
    const char* address;  /* asked for, or behind the device handle */
    const char* text;     /* the document, request, reply, part or name passed in */
    const char* settings; /* KSCreateDeviceHandle */
    const char* output;   /* the text given out; of a split the header; the part once decoded */
} DiscoveryCall;

/* Something that the library was not made for: a pointer that is not its own, a second release, a
 * call in the wrong state. The stand-in notes it and goes on. */
typedef struct DiscoveryMisuse {
    DiscoveryFunction function;
    DWORD thread_id;
    const char* text; /* good until the stand-in is reset */
} DiscoveryMisuse;

/* What was handed out and not given back. */
typedef struct DiscoveryHeld {
    DWORD streams;
    DWORD device_handles; /* of KSCreateDeviceHandle; those of a probe are the library's own */
    DWORD buffers;
    DWORD mime_utilities;
    DWORD mime_buffers;
    DWORD probes; /* started and not stopped */
} DiscoveryHeld;

typedef enum DiscoveryFaultKind {
    DiscoveryFail,        /* answers with the fault's result and does nothing */
    DiscoveryDoAndFail,   /* does everything, but answers with the fault's result */
    DiscoverySucceedEmpty /* answers as for success and does nothing; null from what creates */
} DiscoveryFaultKind;

/* Makes calls of one export go wrong. They are noted all the same. Where a call does nothing, the
 * caller's output parameters stay as they were. */
typedef struct DiscoveryFault {
    DiscoveryFunction function;
    DWORD nth;      /* 1: the next call of the export after the fault was set */
    BOOL and_later; /* also every call after the nth */
    DiscoveryFaultKind kind;
    intptr_t result;
} DiscoveryFault;

/* Called at the start of an export, on the calling thread, or before a probe callback, on its
 * thread; outside every lock, so that it may change the stand-in or wait. */
typedef void(CALLBACK* DiscoveryHook)(void* context, DiscoveryFunction function);

typedef struct DiscoveryControlTable {
    DWORD size;    /* of this structure, in bytes */
    DWORD version; /* DISCOVERY_CONTROL_VERSION */

    /* Forgets devices, replies, script, journal, misuses, faults, hooks and everything handed out,
     * whose memory becomes invalid. Probes that still run are ended without further answers. */
    void(WINAPI* Reset)(void);

    /* Adds a device, or replaces the one of that address and keeps its replies. */
    void(WINAPI* PutDevice)(const DiscoveryDevice* device);
    BOOL(WINAPI* RemoveDevice)(const char* address);
    /* The item is what a request asks for: an object id, or the id of its "d" element
     * ("MACAddress"). FALSE when there is no such device. */
    BOOL(WINAPI* SetReply)(const char* address, const char* item, const DiscoveryReply* reply);

    /* What every probe that starts from now on does. Without a script each device that is not
     * silent answers once, in the order in which they were added, on one thread. */
    void(WINAPI* SetAnswers)(const DiscoveryAnswer* answers, DWORD count);
    void(WINAPI* ClearAnswers)(void);
    /* Gives the answers DiscoveryAfterStop of all probes stopped so far, on threads of the library,
     * and returns how many there were when the last callback is over. */
    DWORD(WINAPI* GiveLateAnswers)(void);

    DWORD(WINAPI* CallCount)(void);
    BOOL(WINAPI* GetCall)(DWORD index, DiscoveryCall* call);
    void(WINAPI* ClearCalls)(void);

    DWORD(WINAPI* MisuseCount)(void);
    BOOL(WINAPI* GetMisuse)(DWORD index, DiscoveryMisuse* misuse);
    void(WINAPI* GetHeld)(DiscoveryHeld* held);

    void(WINAPI* AddFault)(const DiscoveryFault* fault);
    void(WINAPI* ClearFaults)(void);
    void(WINAPI* SetHook)(DiscoveryFunction function, DiscoveryHook hook, void* context);
} DiscoveryControlTable;

/* Type of the export named DISCOVERY_CONTROL_EXPORT. The table is static and never changes. */
typedef const DiscoveryControlTable*(WINAPI* DiscoveryControlFunction)(void);

/* Only for the stand-in itself: its users look the export up in the library that was loaded. */
const DiscoveryControlTable* WINAPI DiscoveryStandinControl(void);

#ifdef __cplusplus
}
#endif

/* NOLINTEND(modernize-use-using,modernize-redundant-void-arg,modernize-deprecated-headers) */

#endif
