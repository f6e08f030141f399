#include "tests/reliability/still_rotation.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>

namespace ksp::test {
namespace {

void CopyHalf(const std::filesystem::path& from, const std::filesystem::path& to) {
    std::ifstream source(from, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(source), {}};
    std::ofstream(to, std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size() / 2));
}

}  // namespace

StillRotation* StillRotation::instance_ = nullptr;

StillRotation::StillRotation(HMODULE library, RotationMoment moment,
                             std::function<void()> stand_still)
    : moment_(moment),
      stand_still_(std::move(stand_still)),
      copy_("CopyFileW", &Copy, library),
      create_("CreateFileW", &Create, library) {
    instance_ = this;
}

void StillRotation::Reach(RotationMoment moment) const {
    if (moment_ == moment)
        stand_still_();
}

BOOL StillRotation::Copy(LPCWSTR from, LPCWSTR to, BOOL keeps_existing) {
    const StillRotation& self = *instance_;
    self.Reach(RotationMoment::kBeforeCopying);
    if (self.moment_ == RotationMoment::kInCopying)
        CopyHalf(from, to);
    self.Reach(RotationMoment::kInCopying);
    const BOOL copied = self.copy_.original()(from, to, keeps_existing);
    self.Reach(RotationMoment::kBehindCopying);
    return copied;
}

HANDLE StillRotation::Create(LPCWSTR path, DWORD access, DWORD share,
                             LPSECURITY_ATTRIBUTES security, DWORD disposition, DWORD flags,
                             HANDLE model) {
    const StillRotation& self = *instance_;
    const bool empties =
        disposition == CREATE_ALWAYS && std::filesystem::path(path).filename() == L"log.txt";
    if (empties)
        self.Reach(RotationMoment::kBeforeEmptying);
    const HANDLE file =
        self.create_.original()(path, access, share, security, disposition, flags, model);
    if (empties)
        self.Reach(RotationMoment::kBehindEmptying);
    return file;
}

}  // namespace ksp::test
