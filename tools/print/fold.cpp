#include "tools/print/fold.h"

#include <algorithm>

#include "tools/print/console.h"

namespace ksp::print {
namespace {

constexpr size_t kLongestGroup = 24;
constexpr size_t kFewestTimes = 3;

// Neighbouring lines of which each is the same as the one a period before it.
struct Run {
    size_t period = 1;
    size_t length = 0;

    [[nodiscard]] size_t times() const { return length / period; }
    // Lines in front, so that the last group ends where the run ends: what repeats is then cut at
    // the same place as what follows.
    [[nodiscard]] size_t lead() const { return length % period; }
    [[nodiscard]] size_t covered() const { return times() < kFewestTimes ? 0 : period * times(); }
};

Run RunAt(const std::vector<std::wstring>& keys, size_t start, size_t period) {
    size_t end = std::min(start + period, keys.size());
    while (end < keys.size() && keys[end] == keys[end - period]) {
        ++end;
    }
    return {period, end - start};
}

Run LargestRun(const std::vector<std::wstring>& keys, size_t start) {
    Run largest;
    for (size_t period = 1; period <= kLongestGroup; ++period) {
        const Run run = RunAt(keys, start, period);
        if (run.covered() > largest.covered()) {
            largest = run;
        }
    }
    return largest;
}

std::wstring Note(const Run& run) {
    const std::wstring what =
        run.period == 1 ? L"this line " : L"these " + Counted(run.period, L"line") + L" ";
    return L"    ... " + what + Counted(run.times() - 1, L"more time");
}

}  // namespace

std::vector<std::wstring> FoldRepeats(const std::vector<std::wstring>& lines, const LineKey& key) {
    std::vector<std::wstring> keys(lines.size());
    std::transform(lines.begin(), lines.end(), keys.begin(), key);
    std::vector<std::wstring> folded;
    for (size_t start = 0; start < lines.size();) {
        const Run run = LargestRun(keys, start);
        if (run.covered() == 0) {
            folded.push_back(lines[start++]);
            continue;
        }
        const auto first = lines.begin() + static_cast<ptrdiff_t>(start);
        folded.insert(folded.end(), first, first + static_cast<ptrdiff_t>(run.lead() + run.period));
        folded.push_back(Note(run));
        start += run.length;
    }
    return folded;
}

}  // namespace ksp::print
