#ifndef KSP_TESTS_STANDINS_WINSPOOL_CONTROL_H_
#define KSP_TESTS_STANDINS_WINSPOOL_CONTROL_H_

/* Control of the spooler stand-in.
 *
 * The stand-in is a winspool.drv that lies beside a program and is loaded in place of the system's
 * (under Wine with WINEDLLOVERRIDES=winspool.drv=n). It exports the spooler client functions that
 * a port monitor calls, answers them from printers, jobs and ports that its user sets up, and notes
 * every call. Its one further export, WinspoolStandinControl, returns the table below.
 *
 * Every function may be called from any thread, also while another thread is inside a spooler
 * call. Texts are copied; a null text is kept as null. BOOL results are FALSE when the printer, job
 * or index named does not exist. Plain C, so that any program can include it.
 */

#include <windows.h>
#include <winspool.h>

/* C knows no other type names and no other empty argument lists.
 * NOLINTBEGIN(modernize-use-using,modernize-redundant-void-arg) */

#ifdef __cplusplus
extern "C" {
#endif

#define WINSPOOL_CONTROL_VERSION 2
#define WINSPOOL_CONTROL_EXPORT "WinspoolStandinControl"
#define WINSPOOL_CALL_TEXT 256

typedef enum WinspoolFunction {
    WinspoolOpenPrinter,
    WinspoolClosePrinter,
    WinspoolGetPrinter,
    WinspoolSetPrinter,
    WinspoolGetJob,
    WinspoolSetJob,
    WinspoolEnumPorts,
    WinspoolEnumPrinters,
    WinspoolGetPrinterDriver,
    WinspoolImpersonatePrinterClient,
    WinspoolRevertToPrinterSelf,
    WinspoolXcvData,
    WinspoolAddMonitor,
    WinspoolDeleteMonitor,
    WinspoolFunctionCount
} WinspoolFunction;

typedef struct WinspoolPrinter {
    const wchar_t* name;
    const wchar_t* port_names;  /* commas between the ports of a pooled printer */
    const wchar_t* driver_name; /* null or empty: GetPrinterDriver fails with 1797 */
    DWORD status;               /* PRINTER_STATUS_* bits */
    ACCESS_MASK denied_access;  /* OpenPrinter asking for one of these rights fails with 5 */
} WinspoolPrinter;

/* One spooler call, as the stand-in saw it. Fields that a function does not have are 0. */
typedef struct WinspoolCall {
    WinspoolFunction function;
    DWORD thread_id;
    HANDLE handle;      /* the printer handle passed in, or handed out by OpenPrinter */
    DWORD job_id;       /* GetJob, SetJob */
    DWORD level;        /* OpenPrinter has none */
    DWORD command;      /* SetJob, SetPrinter */
    DWORD status;       /* what SetPrinter set; JOB_INFO Status that SetJob wrote */
    ACCESS_MASK access; /* OpenPrinter */
    DWORD flags;        /* EnumPrinters */
    DWORD buffer_size;  /* bytes that the caller offered */
    BOOL result;
    DWORD error;                         /* last error of a call that failed, else 0 */
    wchar_t printer[WINSPOOL_CALL_TEXT]; /* name behind the handle, or asked for; the server of
                                            EnumPorts, AddMonitor, DeleteMonitor; cut to fit */
} WinspoolCall;

/* A printer handle that is open. */
typedef struct WinspoolHandle {
    HANDLE handle;
    ACCESS_MASK access;
    wchar_t printer[WINSPOOL_CALL_TEXT];
} WinspoolHandle;

typedef enum WinspoolFaultKind {
    WinspoolFail,         /* the call answers FALSE with the fault's error and does nothing */
    WinspoolSucceedEmpty, /* the call answers TRUE, does nothing and stores sizes and counts of 0 */
} WinspoolFaultKind;

/* Makes calls of one function fail without being carried out. They are noted all the same. */
typedef struct WinspoolFault {
    WinspoolFunction function;
    DWORD nth;      /* 1: the next call of the function after the fault was set */
    BOOL and_later; /* also every call after the nth */
    WinspoolFaultKind kind;
    DWORD error;
} WinspoolFault;

/* Called at the start of a spooler call, on the calling thread and outside every lock, so that it
 * may call back into the monitor, change the stand-in or wait. */
typedef void(CALLBACK* WinspoolHook)(void* context, WinspoolFunction function);

/* What a monitor answers to a command of the configuration channel, as MONITOR2's XcvDataPort does.
 * `object` is the name that the channel was opened with. Called outside every lock. */
typedef DWORD(CALLBACK* WinspoolXcvHandler)(void* context, const wchar_t* object,
                                            const wchar_t* command, BYTE* input, DWORD input_size,
                                            BYTE* output, DWORD output_size, DWORD* needed);

typedef struct WinspoolControlTable {
    DWORD size;    /* of this structure, in bytes */
    DWORD version; /* WINSPOOL_CONTROL_VERSION */

    /* Forgets printers, jobs, ports, monitors, handles, journal, faults and hooks. */
    void(WINAPI* Reset)(void);

    /* Adds a printer, or replaces the one of that name and keeps its jobs. */
    void(WINAPI* PutPrinter)(const WinspoolPrinter* printer);
    BOOL(WINAPI* RemovePrinter)(const wchar_t* name);
    BOOL(WINAPI* GetPrinterStatus)(const wchar_t* name, DWORD* status);
    BOOL(WINAPI* SetPrinterStatus)(const wchar_t* name, DWORD status);

    /* Adds a job to a printer, or replaces its job of the same JobId. Device mode and security
     * descriptor are not kept. */
    BOOL(WINAPI* PutJob)(const wchar_t* printer, const JOB_INFO_2W* job);
    BOOL(WINAPI* RemoveJob)(const wchar_t* printer, DWORD job_id);
    BOOL(WINAPI* GetJobStatus)(const wchar_t* printer, DWORD job_id, DWORD* status);
    BOOL(WINAPI* SetJobStatus)(const wchar_t* printer, DWORD job_id, DWORD status);

    /* Adds a port of this computer, as EnumPorts tells it, or replaces the one of that name. */
    void(WINAPI* PutPort)(const PORT_INFO_2W* port);
    BOOL(WINAPI* RemovePort)(const wchar_t* name);

    /* Adds a monitor, as AddMonitor does. A configuration channel can be opened to a monitor that
     * was added, and to a port whose monitor was. */
    void(WINAPI* PutMonitor)(const wchar_t* name, const wchar_t* library);
    /* The library that a monitor was added with; FALSE when there is no such monitor. */
    BOOL(WINAPI* GetMonitorLibrary)(const wchar_t* name, wchar_t library[WINSPOOL_CALL_TEXT]);
    /* For the commands of every channel; without one they fail with ERROR_NOT_SUPPORTED. */
    void(WINAPI* SetXcvHandler)(WinspoolXcvHandler handler, void* context);

    DWORD(WINAPI* CallCount)(void);
    BOOL(WINAPI* GetCall)(DWORD index, WinspoolCall* call);
    void(WINAPI* ClearCalls)(void);

    void(WINAPI* AddFault)(const WinspoolFault* fault);
    void(WINAPI* ClearFaults)(void);
    void(WINAPI* SetHook)(WinspoolFunction function, WinspoolHook hook, void* context);

    DWORD(WINAPI* OpenHandleCount)(void);
    BOOL(WINAPI* GetOpenHandle)(DWORD index, WinspoolHandle* handle);
} WinspoolControlTable;

/* Type of the export named WINSPOOL_CONTROL_EXPORT. The table is static and never changes. */
typedef const WinspoolControlTable*(WINAPI* WinspoolControlFunction)(void);

/* Only for the stand-in itself: its users look the export up in the winspool.drv that was loaded.
 */
const WinspoolControlTable* WINAPI WinspoolStandinControl(void);

#ifdef __cplusplus
}
#endif

/* NOLINTEND(modernize-use-using,modernize-redundant-void-arg) */

#endif
