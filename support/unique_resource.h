#pragma once

#include <utility>

namespace ksp {

// The one owner of a system resource. `Traits` names the raw type, the value that stands for "none"
// and the call that gives the resource back:
//
//     struct EventTraits {
//         using Type = HANDLE;
//         static Type None() noexcept { return nullptr; }
//         static void Close(Type event) noexcept { ::CloseHandle(event); }
//     };
//
// The owner can be moved, not copied. A resource is closed exactly once: by the destructor, by
// Reset, or by whoever took it with Release.
template <class Traits>
class UniqueResource {
  public:
    using Type = typename Traits::Type;

    UniqueResource() noexcept = default;
    explicit UniqueResource(Type resource) noexcept : m_resource(resource) {}
    UniqueResource(UniqueResource&& other) noexcept : m_resource(other.Release()) {}
    UniqueResource& operator=(UniqueResource&& other) noexcept {
        if (this != &other) {
            Reset(other.Release());
        }
        return *this;
    }
    UniqueResource(const UniqueResource&) = delete;
    UniqueResource& operator=(const UniqueResource&) = delete;
    ~UniqueResource() { Reset(); }

    [[nodiscard]] Type Get() const noexcept { return m_resource; }
    [[nodiscard]] explicit operator bool() const noexcept { return m_resource != Traits::None(); }

    [[nodiscard]] Type Release() noexcept { return std::exchange(m_resource, Traits::None()); }

    void Reset(Type resource = Traits::None()) noexcept {
        const Type old = std::exchange(m_resource, resource);
        if (old != Traits::None() && old != resource) {
            Traits::Close(old);
        }
    }

    // For calls that hand out a resource through a pointer: closes what is held, then offers the
    // slot.
    [[nodiscard]] Type* Receive() noexcept {
        Reset();
        return &m_resource;
    }

  private:
    Type m_resource = Traits::None();
};

}  // namespace ksp
