#include "tests/standins/winspool/job.h"

namespace ksp::standins {
namespace {

// The members that level 1 and level 2 share.
template <typename Info>
void ChangeCommon(const Info& info, Job* job) {
    job->user_name = CopyText(info.pUserName);
    job->document = CopyText(info.pDocument);
    job->data_type = CopyText(info.pDatatype);
    job->status_text = CopyText(info.pStatus);
    job->numbers.Status = info.Status;
    job->numbers.Priority = info.Priority;
    job->numbers.Position = info.Position;
}

template <typename Info>
void AppendCommon(const Job& job, InfoBuffer<Info>* buffer) {
    Info& info = buffer->Append();
    info.JobId = job.numbers.JobId;
    info.Status = job.numbers.Status;
    info.Priority = job.numbers.Priority;
    info.Position = job.numbers.Position;
    info.TotalPages = job.numbers.TotalPages;
    info.PagesPrinted = job.numbers.PagesPrinted;
    info.Submitted = job.numbers.Submitted;
    buffer->SetText(&Info::pPrinterName, job.printer_name);
    buffer->SetText(&Info::pMachineName, job.machine_name);
    buffer->SetText(&Info::pUserName, job.user_name);
    buffer->SetText(&Info::pDocument, job.document);
    buffer->SetText(&Info::pDatatype, job.data_type);
    buffer->SetText(&Info::pStatus, job.status_text);
}

}  // namespace

Job MakeJob(const JOB_INFO_2W& info) {
    Job job;
    job.numbers.JobId = info.JobId;
    job.numbers.Status = info.Status;
    job.numbers.Priority = info.Priority;
    job.numbers.Position = info.Position;
    job.numbers.StartTime = info.StartTime;
    job.numbers.UntilTime = info.UntilTime;
    job.numbers.TotalPages = info.TotalPages;
    job.numbers.Size = info.Size;
    job.numbers.Submitted = info.Submitted;
    job.numbers.Time = info.Time;
    job.numbers.PagesPrinted = info.PagesPrinted;
    job.printer_name = CopyText(info.pPrinterName);
    job.machine_name = CopyText(info.pMachineName);
    job.user_name = CopyText(info.pUserName);
    job.document = CopyText(info.pDocument);
    job.notify_name = CopyText(info.pNotifyName);
    job.data_type = CopyText(info.pDatatype);
    job.print_processor = CopyText(info.pPrintProcessor);
    job.parameters = CopyText(info.pParameters);
    job.driver_name = CopyText(info.pDriverName);
    job.status_text = CopyText(info.pStatus);
    return job;
}

void AppendJobInfo1(const Job& job, InfoBuffer<JOB_INFO_1W>* buffer) {
    AppendCommon(job, buffer);
}

void AppendJobInfo2(const Job& job, InfoBuffer<JOB_INFO_2W>* buffer) {
    AppendCommon(job, buffer);
    JOB_INFO_2W& info = buffer->last();
    info.StartTime = job.numbers.StartTime;
    info.UntilTime = job.numbers.UntilTime;
    info.Size = job.numbers.Size;
    info.Time = job.numbers.Time;
    buffer->SetText(&JOB_INFO_2W::pNotifyName, job.notify_name);
    buffer->SetText(&JOB_INFO_2W::pPrintProcessor, job.print_processor);
    buffer->SetText(&JOB_INFO_2W::pParameters, job.parameters);
    buffer->SetText(&JOB_INFO_2W::pDriverName, job.driver_name);
}

void ChangeJob1(const JOB_INFO_1W& info, Job* job) {
    ChangeCommon(info, job);
}

void ChangeJob2(const JOB_INFO_2W& info, Job* job) {
    ChangeCommon(info, job);
    job->notify_name = CopyText(info.pNotifyName);
    job->print_processor = CopyText(info.pPrintProcessor);
    job->parameters = CopyText(info.pParameters);
    job->numbers.StartTime = info.StartTime;
    job->numbers.UntilTime = info.UntilTime;
}

}  // namespace ksp::standins
