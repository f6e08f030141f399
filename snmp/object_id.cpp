#include "snmp/object_id.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace ksp::snmp {

std::optional<CObjectId> CObjectId::From(std::vector<std::uint32_t> numbers) {
    if (numbers.size() < 2 || numbers.size() > kMost || numbers[0] > 2 ||
        (numbers[0] < 2 && numbers[1] > 39)) {
        return std::nullopt;
    }
    CObjectId id;
    id.m_numbers = std::move(numbers);
    return id;
}

std::optional<CObjectId> CObjectId::Parse(std::string_view text) {
    std::vector<std::uint32_t> numbers;
    const char* at = text.data();
    const char* const end = at + text.size();
    while (numbers.size() < kMost) {
        std::uint32_t number = 0;
        const auto [behind, error] = std::from_chars(at, end, number);
        if (error != std::errc()) {
            return std::nullopt;
        }
        numbers.push_back(number);
        if (behind == end) {
            return From(std::move(numbers));
        }
        if (*behind != '.') {
            return std::nullopt;
        }
        at = behind + 1;
    }
    return std::nullopt;
}

bool CObjectId::BeginsWith(const CObjectId& beginning) const noexcept {
    const auto& wanted = beginning.m_numbers;
    return m_numbers.size() >= wanted.size() &&
           std::equal(wanted.begin(), wanted.end(), m_numbers.begin());
}

std::vector<std::uint32_t> CObjectId::Behind(const CObjectId& beginning) const {
    if (!BeginsWith(beginning)) {
        return {};
    }
    const auto skipped = static_cast<std::ptrdiff_t>(beginning.m_numbers.size());
    return {m_numbers.begin() + skipped, m_numbers.end()};
}

CObjectId CObjectId::Child(std::uint32_t number) const {
    CObjectId child = *this;
    if (child.m_numbers.size() < kMost) {
        child.m_numbers.push_back(number);
    }
    return child;
}

std::string CObjectId::Text() const {
    std::string text;
    for (const std::uint32_t number : m_numbers) {
        if (!text.empty()) {
            text += '.';
        }
        text += std::to_string(number);
    }
    return text;
}

}  // namespace ksp::snmp
