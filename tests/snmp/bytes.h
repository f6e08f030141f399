#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "snmp/ber_writer.h"
#include "tests/standins/discovery/guarded_block.h"

namespace ksp::test {

// "30 05 02" as bytes; what is no hexadecimal digit separates.
inline snmp::Bytes Hex(std::string_view text) {
    snmp::Bytes bytes;
    unsigned value = 0;
    int digits = 0;
    for (const char c : text) {
        const std::size_t digit = std::string_view("0123456789ABCDEF").find(c);
        if (digit == std::string_view::npos) {
            continue;
        }
        value = value << 4 | static_cast<unsigned>(digit);
        if (++digits % 2 == 0) {
            bytes.push_back(static_cast<std::uint8_t>(value));
            value = 0;
        }
    }
    return bytes;
}

// A copy of bytes that ends where the memory ends, so that reading behind them crashes.
class GuardedBytes {
  public:
    explicit GuardedBytes(snmp::ByteView bytes)
        : block_(bytes.data(), bytes.size()), size_(bytes.size()) {}

    [[nodiscard]] snmp::ByteView view() const {
        return {reinterpret_cast<const std::uint8_t*>(block_.data()), size_};
    }
    [[nodiscard]] std::string_view text() const { return {block_.data(), size_}; }

  private:
    standins::GuardedBlock block_;
    std::size_t size_;
};

}  // namespace ksp::test
