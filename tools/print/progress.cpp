#include "tools/print/progress.h"

#include <algorithm>

#include "tools/print/console.h"
#include "tools/print/spooler_text.h"

namespace ksp::print {
namespace {

constexpr size_t kTimeWidth = 9;
constexpr uint64_t kTenths = 10;
constexpr size_t kBarWidthOfTenth = 3;
constexpr std::chrono::seconds kBetweenRefusals{1};

double SecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

Progress::Progress(const Spooler& spooler, uint64_t total_bytes)
    : spooler_(spooler), total_bytes_(total_bytes), start_(Clock::now()), last_news_(start_) {}

double Progress::seconds() const {
    return SecondsSince(start_);
}

double Progress::seconds_without_news() {
    const std::lock_guard lock(mutex_);
    return SecondsSince(last_news_);
}

void Progress::Update(const host::JobProgress& job) {
    const std::lock_guard lock(mutex_);
    ShowStatusChanges();
    if (job.refusals > 0) {
        ShowRefusal(job.refusals);
        return;
    }
    last_news_ = Clock::now();
    ShowBytes(job.bytes_taken);
}

void Progress::Look() {
    const std::lock_guard lock(mutex_);
    ShowStatusChanges();
}

void Progress::Finish() {
    const std::lock_guard lock(mutex_);
    ShowStatusChanges();
    Show(L"the job is closed");
}

void Progress::ShowStatusChanges() {
    for (const WinspoolCall& call : spooler_.CallsSince(calls_seen_)) {
        ++calls_seen_;
        if (SetsPrinterStatus(call)) {
            last_news_ = Clock::now();
            Show(L"printer status " + DescribePrinterStatus(call.status));
        }
    }
}

void Progress::ShowBytes(uint64_t taken) {
    // A file that grows while it is printed is longer than it was.
    const uint64_t total = std::max(total_bytes_, taken);
    if (total == 0) {
        return;
    }
    const uint64_t tenths = taken * kTenths / total;
    if (tenths == shown_tenths_) {
        return;
    }
    shown_tenths_ = tenths;
    const std::wstring bar(kBarWidthOfTenth * tenths, L'#');
    const std::wstring percent = std::to_wstring(taken * 100 / total) + L" %";
    const std::wstring size = Grouped(total);
    Show(L"[" + PadRight(bar, kBarWidthOfTenth * kTenths) + L"] " + PadLeft(percent, 5) + L"  " +
         PadLeft(Grouped(taken), size.size()) + L" of " + size + L" bytes");
}

// The first one, and then one every second.
void Progress::ShowRefusal(size_t refusals) {
    const Clock::time_point now = Clock::now();
    if (refusals > 1 && now - last_refusal_shown_ < kBetweenRefusals) {
        return;
    }
    last_refusal_shown_ = now;
    Show(L"WritePort took nothing (" + Counted(refusals, L"time") + L" in a row), trying again");
}

void Progress::Show(const std::wstring& text) const {
    PrintLine(PadLeft(Seconds(seconds()), kTimeWidth) + L"  " + text);
}

}  // namespace ksp::print
