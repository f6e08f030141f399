#include "tests/faults/system_calls.h"

#include <winsock2.h>
#include <objbase.h>
#include <oleauto.h>

#include <iterator>
#include <type_traits>

#include "tests/host/patched_import.h"

namespace ksp::test {
namespace {

constexpr LONG_PTR kInvalidHandle = -1;

// Numbers of the functions that can be refused.
enum SystemFunction : int {
#define SYSTEM_FUNCTION(function, result, error) kSystem_##function,
#include "tests/faults/system_functions.inc"
#undef SYSTEM_FUNCTION
    kSystemFunctions
};

struct SystemCall {
    const char* name;
    LONG_PTR failure;  // what a refused call gives
    DWORD error;
    volatile LONG calls = 0;
    volatile LONG refused = 0;  // the number of the call that fails, from 1
    ULONG_PTR original = 0;
};

SystemCall g_calls[] = {
#define SYSTEM_FUNCTION(function, result, error) \
    {#function, static_cast<LONG_PTR>(result), static_cast<DWORD>(error)},
#include "tests/faults/system_functions.inc"
#undef SYSTEM_FUNCTION
};
static_assert(std::size(g_calls) == kSystemFunctions);

// What a library takes with one function and gives back with another.
enum Resource : int { kSockets, kSocketStarts, kApartments, kGlobalBlocks, kResources };

struct Holding {
    const char* name;
    volatile LONG count = 0;
};
Holding g_holdings[] = {
    {"sockets"}, {"starts of Windows Sockets"}, {"apartments"}, {"blocks of GlobalAlloc"}};
static_assert(std::size(g_holdings) == kResources);

void NoteTaken(int function, LONG_PTR result) {
    const auto take = [](Resource resource, bool taken) {
        if (taken) {
            ::InterlockedIncrement(&g_holdings[resource].count);
        }
    };
    switch (function) {
        case kSystem_socket:
            take(kSockets, static_cast<SOCKET>(result) != INVALID_SOCKET);
            break;
        case kSystem_WSAStartup:
            take(kSocketStarts, result == 0);
            break;
        case kSystem_CoInitializeEx:
            take(kApartments, SUCCEEDED(static_cast<HRESULT>(result)));
            break;
        case kSystem_GlobalAlloc:
            take(kGlobalBlocks, result != 0);
            break;
        default:
            break;
    }
}

template <class To, class From>
To Converted(From value) {
    if constexpr (std::is_pointer_v<To> || std::is_pointer_v<From>) {
        return reinterpret_cast<To>(value);
    } else {
        return static_cast<To>(value);
    }
}

// Stands in the import table for a function that can be refused.
template <int Number, class Result, class... Arguments>
struct Taking {
    static Result WINAPI Call(Arguments... arguments) {
        SystemCall& call = g_calls[Number];
        if (::InterlockedIncrement(&call.calls) == call.refused) {
            // Windows Sockets keeps its errors in the same place.
            ::SetLastError(call.error);
            return Converted<Result>(call.failure);
        }
        const Result result =
            reinterpret_cast<Result(WINAPI*)(Arguments...)>(call.original)(arguments...);
        NoteTaken(Number, Converted<LONG_PTR>(result));
        return result;
    }
};

// Stands there for a function that gives back.
template <Resource Given, class Result, class... Arguments>
struct Giving {
    static inline ULONG_PTR original = 0;

    static Result WINAPI Call(Arguments... arguments) {
        ::InterlockedDecrement(&g_holdings[Given].count);
        return reinterpret_cast<Result(WINAPI*)(Arguments...)>(original)(arguments...);
    }
};

// A function that the library does not call has no place in its table.
template <class Function>
void Lead(HMODULE library, const char* name, Function replacement, ULONG_PTR* original) {
    if (ULONG_PTR* const slot = FindImport(library, name); slot != nullptr) {
        *original = *slot;
        WriteImport(slot, reinterpret_cast<ULONG_PTR>(replacement));
    }
}

// The function itself is given for its type only.
template <int Number, class Result, class... Arguments>
void LeadTaking(HMODULE library, Result(WINAPI* /*function*/)(Arguments...)) {
    SystemCall& call = g_calls[Number];
    Lead(library, call.name, Taking<Number, Result, Arguments...>::Call, &call.original);
}

template <Resource Given, class Result, class... Arguments>
void LeadGiving(HMODULE library, const char* name, Result(WINAPI* /*function*/)(Arguments...)) {
    using Replacement = Giving<Given, Result, Arguments...>;
    Lead(library, name, Replacement::Call, &Replacement::original);
}

}  // namespace

size_t SystemFunctionCount() {
    return kSystemFunctions;
}

const char* SystemFunctionName(int function) {
    return g_calls[function].name;
}

void SystemCalls::Watch(HMODULE library) {
#define SYSTEM_FUNCTION(function, result, error) \
    LeadTaking<kSystem_##function>(library, &::function);
#include "tests/faults/system_functions.inc"
#undef SYSTEM_FUNCTION
    LeadGiving<kSockets>(library, "closesocket", &::closesocket);
    LeadGiving<kSocketStarts>(library, "WSACleanup", &::WSACleanup);
    LeadGiving<kApartments>(library, "CoUninitialize", &::CoUninitialize);
    LeadGiving<kGlobalBlocks>(library, "GlobalFree", &::GlobalFree);
}

void SystemCalls::Clear() {
    RefuseNothing();
    for (SystemCall& call : g_calls) {
        call.calls = 0;
    }
    for (Holding& holding : g_holdings) {
        holding.count = 0;
    }
}

void SystemCalls::Refuse(int function, size_t nth) {
    g_calls[function].refused = static_cast<LONG>(nth);
}

void SystemCalls::RefuseNothing() {
    for (SystemCall& call : g_calls) {
        call.refused = 0;
    }
}

std::vector<size_t> SystemCalls::Counts() {
    std::vector<size_t> counts;
    for (const SystemCall& call : g_calls) {
        counts.push_back(static_cast<size_t>(call.calls));
    }
    return counts;
}

std::vector<std::string> SystemCalls::Leftovers() {
    std::vector<std::string> leftovers;
    for (const Holding& holding : g_holdings) {
        if (holding.count != 0) {
            leftovers.push_back(std::to_string(holding.count) + " " + holding.name);
        }
    }
    return leftovers;
}

}  // namespace ksp::test
