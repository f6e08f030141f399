#pragma once

#include <windows.h>
#include <winspool.h>

#include "tests/standins/winspool/info_buffer.h"

namespace ksp::standins {

// A print job: JOB_INFO_2 with its texts kept apart from its numbers.
struct Job {
    JOB_INFO_2W numbers = {};  // every pointer null
    OptionalText printer_name;
    OptionalText machine_name;
    OptionalText user_name;
    OptionalText document;
    OptionalText notify_name;
    OptionalText data_type;
    OptionalText print_processor;
    OptionalText parameters;
    OptionalText driver_name;
    OptionalText status_text;
};

Job MakeJob(const JOB_INFO_2W& info);

void AppendJobInfo1(const Job& job, InfoBuffer<JOB_INFO_1W>* buffer);
void AppendJobInfo2(const Job& job, InfoBuffer<JOB_INFO_2W>* buffer);

// Takes over what SetJob may change, as the spooler does; the other members of the information are
// ignored.
void ChangeJob1(const JOB_INFO_1W& info, Job* job);
void ChangeJob2(const JOB_INFO_2W& info, Job* job);

}  // namespace ksp::standins
