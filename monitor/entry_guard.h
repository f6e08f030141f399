#pragma once

#include <utility>

namespace ksp {

// Runs an operation for the spooler and answers with `failure` when anything is thrown: no
// exception may cross into the process that loaded the library.
template <class Result, class Operation>
[[nodiscard]] Result Guarded(Result failure, Operation&& operation) noexcept {
    try {
        return std::forward<Operation>(operation)();
    } catch (...) {
        return failure;
    }
}

}  // namespace ksp
