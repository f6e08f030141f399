#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ksp::snmp {

// An SNMP object id: 2 to kMost numbers of 32 bits (RFC 2578, section 3.5), or none. The first
// number is 0, 1 or 2; below 0 and 1 the second is at most 39, as nothing else can be encoded. A
// plain value, ordered as a walk through a MIB meets them.
class CObjectId {
  public:
    static constexpr std::size_t kMost = 128;

    CObjectId() = default;
    // For ids that are written into the code; they are valid by their writer's word.
    CObjectId(std::initializer_list<std::uint32_t> numbers) : m_numbers(numbers) {}

    // None unless the numbers are an id.
    [[nodiscard]] static std::optional<CObjectId> From(std::vector<std::uint32_t> numbers);
    // From dotted text: "1.3.6.1.2.1"; none unless it is exactly that.
    [[nodiscard]] static std::optional<CObjectId> Parse(std::string_view text);

    [[nodiscard]] const std::vector<std::uint32_t>& Numbers() const noexcept { return m_numbers; }
    [[nodiscard]] bool Empty() const noexcept { return m_numbers.empty(); }
    [[nodiscard]] bool BeginsWith(const CObjectId& beginning) const noexcept;
    // The numbers behind the beginning; empty when this does not begin so.
    [[nodiscard]] std::vector<std::uint32_t> Behind(const CObjectId& beginning) const;
    // This id with another number behind it. Ids of the code only: it does not grow past kMost.
    [[nodiscard]] CObjectId Child(std::uint32_t number) const;
    [[nodiscard]] std::string Text() const;

    friend auto operator<=>(const CObjectId&, const CObjectId&) = default;
    friend bool operator==(const CObjectId&, const CObjectId&) = default;

  private:
    std::vector<std::uint32_t> m_numbers;
};

}  // namespace ksp::snmp
