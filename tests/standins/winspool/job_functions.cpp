// The exported spooler functions that read and change jobs.

#include "tests/standins/winspool/spooler_call.h"

namespace ksp::standins {
namespace {

Job* FindJobOf(SpoolerModel& spooler, HANDLE handle, DWORD job_id) {
    const OpenPrinterHandle* open = spooler.FindHandle(handle);
    return open == nullptr ? nullptr : spooler.FindJob(open->printer, job_id);
}

// The status that a SetJob call carries in its job information.
DWORD WrittenStatus(DWORD level, const BYTE* info) {
    if (info == nullptr) {
        return 0;
    }
    if (level == 1) {
        return reinterpret_cast<const JOB_INFO_1W*>(info)->Status;
    }
    if (level == 2) {
        return reinterpret_cast<const JOB_INFO_2W*>(info)->Status;
    }
    return 0;
}

DWORD ChangeJob(DWORD level, const BYTE* info, Job* job) {
    if (level == 0) {
        return ERROR_SUCCESS;
    }
    if (level > 2) {
        return ERROR_INVALID_LEVEL;
    }
    if (info == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    if (level == 1) {
        ChangeJob1(*reinterpret_cast<const JOB_INFO_1W*>(info), job);
    }
    if (level == 2) {
        ChangeJob2(*reinterpret_cast<const JOB_INFO_2W*>(info), job);
    }
    return ERROR_SUCCESS;
}

// A port monitor gives no other commands than that its job has gone out.
DWORD ObeyCommand(DWORD command, Job* job) {
    if (command == 0) {
        return ERROR_SUCCESS;
    }
    if (command != JOB_CONTROL_SENT_TO_PRINTER) {
        return ERROR_INVALID_PARAMETER;
    }
    job->numbers.Status |= JOB_STATUS_COMPLETE;
    return ERROR_SUCCESS;
}

}  // namespace
}  // namespace ksp::standins

using ksp::standins::AppendJobInfo1;
using ksp::standins::AppendJobInfo2;
using ksp::standins::BeginCall;
using ksp::standins::ChangeJob;
using ksp::standins::FindJobOf;
using ksp::standins::InfoBuffer;
using ksp::standins::Job;
using ksp::standins::ObeyCommand;
using ksp::standins::RunCall;
using ksp::standins::SpoolerModel;
using ksp::standins::WriteInfo;
using ksp::standins::WrittenStatus;

extern "C" {

BOOL WINAPI GetJobW(HANDLE hPrinter, DWORD JobId, DWORD Level, LPBYTE pJob, DWORD cbBuf,
                    LPDWORD pcbNeeded) {
    WinspoolCall call = BeginCall(WinspoolGetJob, hPrinter);
    call.job_id = JobId;
    call.level = Level;
    call.buffer_size = cbBuf;
    *pcbNeeded = 0;
    return RunCall(call, [&](SpoolerModel& spooler) -> DWORD {
        if (spooler.FindHandle(hPrinter) == nullptr) {
            return ERROR_INVALID_HANDLE;
        }
        const Job* job = FindJobOf(spooler, hPrinter, JobId);
        if (job == nullptr) {
            return ERROR_INVALID_PARAMETER;
        }
        if (Level == 1) {
            InfoBuffer<JOB_INFO_1W> info;
            AppendJobInfo1(*job, &info);
            return WriteInfo(info, pJob, cbBuf, pcbNeeded);
        }
        if (Level == 2) {
            InfoBuffer<JOB_INFO_2W> info;
            AppendJobInfo2(*job, &info);
            return WriteInfo(info, pJob, cbBuf, pcbNeeded);
        }
        return ERROR_INVALID_LEVEL;
    });
}

BOOL WINAPI SetJobW(HANDLE hPrinter, DWORD JobId, DWORD Level, LPBYTE pJob, DWORD Command) {
    WinspoolCall call = BeginCall(WinspoolSetJob, hPrinter);
    call.job_id = JobId;
    call.level = Level;
    call.command = Command;
    call.status = WrittenStatus(Level, pJob);
    return RunCall(call, [&](SpoolerModel& spooler) -> DWORD {
        if (spooler.FindHandle(hPrinter) == nullptr) {
            return ERROR_INVALID_HANDLE;
        }
        Job* job = FindJobOf(spooler, hPrinter, JobId);
        if (job == nullptr) {
            return ERROR_INVALID_PARAMETER;
        }
        const DWORD error = ChangeJob(Level, pJob, job);
        return error == ERROR_SUCCESS ? ObeyCommand(Command, job) : error;
    });
}

}  // extern "C"
