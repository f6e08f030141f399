#pragma once

#include <cstddef>
#include <new>
#include <vector>

#include "support/unique_resource.h"
#include "support/windows_spooler.h"

namespace ksp {

struct PrinterTraits {
    using Type = HANDLE;
    static Type None() noexcept { return nullptr; }
    static void Close(Type printer) noexcept { ::ClosePrinter(printer); }
};

// The owner of a spooler printer handle.
using UniquePrinter = UniqueResource<PrinterTraits>;

enum class SpoolerAnswer {
    kOk,
    kNoSize,  // the size could not be learnt; the code is the thread's last error
    kEmpty,   // there is nothing to read
    kNoMemory,
    kNotRead,  // the size was learnt, but reading failed; the code is the thread's last error
};

// The records that one of the spooler's reading calls answers with: structures from the start,
// their texts behind them.
class SpoolerRecords {
  public:
    // `call(buffer, size, needed)` is made once without a buffer, to learn the size, and then with
    // one; again when the records have grown in between.
    template <class Call>
    [[nodiscard]] SpoolerAnswer Read(Call call) {
        DWORD needed = 0;
        if (call(nullptr, 0, &needed) == FALSE && ::GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
            return SpoolerAnswer::kNoSize;
        }
        if (needed == 0) {
            return SpoolerAnswer::kEmpty;
        }
        constexpr int kMostReads = 4;
        for (int reads = 0; reads < kMostReads; ++reads) {
            try {
                m_bytes.resize(needed);
            } catch (const std::bad_alloc&) {
                return SpoolerAnswer::kNoMemory;
            }
            if (call(m_bytes.data(), static_cast<DWORD>(m_bytes.size()), &needed) != FALSE) {
                return SpoolerAnswer::kOk;
            }
            if (::GetLastError() != ERROR_INSUFFICIENT_BUFFER || needed <= m_bytes.size()) {
                break;
            }
        }
        return SpoolerAnswer::kNotRead;
    }

    // The first of the records; only after kOk.
    template <class Record>
    [[nodiscard]] Record* As() noexcept {
        return reinterpret_cast<Record*>(m_bytes.data());
    }

  private:
    std::vector<BYTE> m_bytes;
};

}  // namespace ksp
