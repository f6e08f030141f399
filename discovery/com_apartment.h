#pragma once

#include <windows.h>
#include <objbase.h>

namespace ksp {

// COM on the calling thread, for the life of the object. A thread that is in another apartment
// already (the spooler's, the discovery library's) stays there, and nothing is undone on it.
class CComApartment {
  public:
    CComApartment() noexcept : m_result(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)) {}
    ~CComApartment() {
        if (SUCCEEDED(m_result)) {
            ::CoUninitialize();
        }
    }
    CComApartment(const CComApartment&) = delete;
    CComApartment& operator=(const CComApartment&) = delete;

  private:
    HRESULT m_result;
};

}  // namespace ksp
