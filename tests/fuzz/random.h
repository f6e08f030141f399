#pragma once

#include <cstddef>
#include <cstdint>

namespace ksp::test {

// Numbers that look random and follow from a seed alone, the same on every system. Neighbouring seeds
// give unrelated numbers.
class Random {
  public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    [[nodiscard]] std::uint64_t Next() {
        state_ += 0x9E3779B97F4A7C15;
        std::uint64_t bits = state_;
        bits = (bits ^ bits >> 30) * 0xBF58476D1CE4E5B9;
        bits = (bits ^ bits >> 27) * 0x94D049BB133111EB;
        return bits ^ bits >> 31;
    }
    // 0 to count - 1; 0 when there are none.
    [[nodiscard]] std::size_t Below(std::size_t count) {
        return count == 0 ? 0 : static_cast<std::size_t>(Next() % count);
    }
    [[nodiscard]] bool OneIn(std::size_t count) { return Below(count) == 0; }
    template <typename Value, std::size_t N>
    [[nodiscard]] const Value& Of(const Value (&values)[N]) {
        return values[Below(N)];
    }

  private:
    std::uint64_t state_;
};

}  // namespace ksp::test
