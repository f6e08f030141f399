#include "tests/standins/discovery/probe.h"

#include <process.h>

#include <algorithm>
#include <set>
#include <utility>

#include "tests/standins/discovery/library_call.h"

namespace ksp::standins {
namespace {

struct ThreadStart {
    std::shared_ptr<Probe> probe;
    DWORD number = 0;
};

}  // namespace

std::shared_ptr<Probe> Probe::Create(const ProbeTarget& target, std::vector<Answer> answers) {
    auto probe = std::make_shared<Probe>(target, std::move(answers));
    if (!probe->stopping_ || !probe->CreateThreads()) {
        probe->Abandon();
        return nullptr;
    }
    return probe;
}

Probe::Probe(const ProbeTarget& target, std::vector<Answer> answers)
    : target_(target),
      answers_(std::move(answers)),
      stopping_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

bool Probe::CreateThreads() {
    std::set<DWORD> numbers;
    for (const Answer& answer : answers_) {
        numbers.insert(answer.thread);
    }
    for (const DWORD number : numbers) {
        auto start = std::make_unique<ThreadStart>(ThreadStart{shared_from_this(), number});
        unsigned id = 0;
        // Suspended, so that they set out together.
        const uintptr_t handle =
            _beginthreadex(nullptr, 0, RunThread, start.get(), CREATE_SUSPENDED, &id);
        if (handle == 0) {
            return false;
        }
        static_cast<void>(start.release());
        threads_.push_back({id, UniqueHandle(reinterpret_cast<HANDLE>(handle))});
    }
    return true;
}

unsigned __stdcall Probe::RunThread(void* start) {
    const std::unique_ptr<ThreadStart> taken(static_cast<ThreadStart*>(start));
    taken->probe->Run(taken->number);
    return 0;
}

void Probe::Begin() {
    for (const Thread& thread : threads_) {
        ResumeThread(thread.handle.Get());
    }
}

void Probe::Abandon() {
    cancelled_ = true;
    SetEvent(stopping_.Get());
    Begin();
    Wait();
}

void Probe::Stop() {
    SetEvent(stopping_.Get());
    Wait();
}

void Probe::Cancel() {
    cancelled_ = true;
    Stop();
}

void Probe::Wait() {
    if (RunsOnThisThread()) {
        return;
    }
    for (const Thread& thread : threads_) {
        WaitForSingleObject(thread.handle.Get(), INFINITE);
    }
}

bool Probe::RunsOnThisThread() const {
    return std::any_of(threads_.begin(), threads_.end(),
                       [](const Thread& thread) { return thread.id == GetCurrentThreadId(); });
}

std::vector<Answer> Probe::AnswersAt(DiscoveryMoment moment) const {
    std::vector<Answer> answers = answers_;
    std::erase_if(answers, [&](const Answer& answer) { return answer.moment != moment; });
    return answers;
}

void Probe::Run(DWORD number) {
    const auto is_mine = [&](const Answer& answer) { return answer.thread == number; };
    for (const Answer& answer : AnswersAt(DiscoveryDuringProbe)) {
        if (!is_mine(answer)) {
            continue;
        }
        if (WaitForSingleObject(stopping_.Get(), answer.delay_ms) == WAIT_OBJECT_0) {
            break;
        }
        Give(answer);
    }
    for (const Answer& answer : AnswersAt(DiscoveryWhileStopping)) {
        if (!is_mine(answer)) {
            continue;
        }
        WaitForSingleObject(stopping_.Get(), INFINITE);
        if (cancelled_) {
            return;
        }
        Sleep(answer.delay_ms);
        Give(answer);
    }
}

void Probe::Give(const Answer& answer) const {
    const DeviceHandle device = NoteProbeCallback(target_, answer);
    target_.callback(device, answer.code, target_.context);
}

}  // namespace ksp::standins
