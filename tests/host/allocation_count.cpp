#include "tests/host/allocation_count.h"

#include <malloc.h>
#include <oleauto.h>

#include <atomic>

#include "tests/host/patched_import.h"

namespace ksp::test {
namespace {

std::atomic<size_t> g_requests{0};
std::atomic<ptrdiff_t> g_bytes_held{0};

// The C runtime's own, past the imports of this program, which may be the ones that are counted.
template <class Function>
Function RuntimeFunction(const char* name) {
    return reinterpret_cast<Function>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"msvcrt.dll"), name)));
}

void*(WINAPI* const g_malloc)(size_t) = RuntimeFunction<void*(WINAPI*)(size_t)>("malloc");
void*(WINAPI* const g_calloc)(size_t, size_t) =
    RuntimeFunction<void*(WINAPI*)(size_t, size_t)>("calloc");
void*(WINAPI* const g_realloc)(void*, size_t) =
    RuntimeFunction<void*(WINAPI*)(void*, size_t)>("realloc");
void(WINAPI* const g_free)(void*) = RuntimeFunction<void(WINAPI*)(void*)>("free");
HGLOBAL(WINAPI* g_global_alloc)(UINT, SIZE_T) = nullptr;
BSTR(WINAPI* g_sys_alloc_length)(const OLECHAR*, UINT) = nullptr;
BSTR(WINAPI* g_sys_alloc_bytes)(LPCSTR, UINT) = nullptr;

void* Taken(void* memory) {
    ++g_requests;
    if (memory != nullptr) {
        g_bytes_held += static_cast<ptrdiff_t>(_msize(memory));
    }
    return memory;
}

void GivenBack(void* memory) {
    if (memory != nullptr) {
        g_bytes_held -= static_cast<ptrdiff_t>(_msize(memory));
    }
}

// On 64-bit Windows there is one calling convention, so WINAPI stands for the C one too.
void* WINAPI CountedMalloc(size_t size) {
    return Taken(g_malloc(size));
}

void* WINAPI CountedCalloc(size_t count, size_t size) {
    return Taken(g_calloc(count, size));
}

void* WINAPI CountedRealloc(void* memory, size_t size) {
    GivenBack(memory);
    return Taken(g_realloc(memory, size));
}

void WINAPI CountedFree(void* memory) {
    GivenBack(memory);
    g_free(memory);
}

HGLOBAL WINAPI CountedGlobalAlloc(UINT flags, SIZE_T size) {
    ++g_requests;
    return g_global_alloc(flags, size);
}

BSTR WINAPI CountedSysAllocStringLen(const OLECHAR* text, UINT length) {
    ++g_requests;
    return g_sys_alloc_length(text, length);
}

BSTR WINAPI CountedSysAllocStringByteLen(LPCSTR text, UINT length) {
    ++g_requests;
    return g_sys_alloc_bytes(text, length);
}

}  // namespace

struct AllocationCount::Patches {
    explicit Patches(HMODULE module)
        : malloc("malloc", CountedMalloc, module),
          calloc("calloc", CountedCalloc, module),
          realloc("realloc", CountedRealloc, module),
          free("free", CountedFree, module),
          global("GlobalAlloc", CountedGlobalAlloc, module),
          bstr("SysAllocStringLen", CountedSysAllocStringLen, module),
          bstr_bytes("SysAllocStringByteLen", CountedSysAllocStringByteLen, module) {
        g_global_alloc = global.original();
        g_sys_alloc_length = bstr.original();
        g_sys_alloc_bytes = bstr_bytes.original();
    }

    PatchedImport<decltype(&CountedMalloc)> malloc;
    PatchedImport<decltype(&CountedCalloc)> calloc;
    PatchedImport<decltype(&CountedRealloc)> realloc;
    PatchedImport<decltype(&CountedFree)> free;
    PatchedImport<decltype(&CountedGlobalAlloc)> global;
    PatchedImport<decltype(&CountedSysAllocStringLen)> bstr;
    PatchedImport<decltype(&CountedSysAllocStringByteLen)> bstr_bytes;
};

AllocationCount::AllocationCount(HMODULE module) : patches_(std::make_unique<Patches>(module)) {
    Reset();
}

AllocationCount::~AllocationCount() = default;

bool AllocationCount::works() const {
    return patches_->malloc.works() && patches_->free.works();
}

size_t AllocationCount::requests() const {
    return g_requests;
}

ptrdiff_t AllocationCount::bytes_held() const {
    return g_bytes_held;
}

void AllocationCount::Reset() {
    g_requests = 0;
    g_bytes_held = 0;
}

}  // namespace ksp::test
