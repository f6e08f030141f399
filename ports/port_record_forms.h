#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ports/port_info.h"
#include "ports/xcv_port_info.h"

namespace ksp {

// The forms in which a port record crosses the Xcv boundary. Plain computation: nothing is logged,
// and only memory that runs out is thrown. (The commands use ports/xcv_forms.h, which logs.)

// Splits at every separator: empty pieces count, and what follows the last separator is a piece.
// The pieces are appended; returns how many there were.
std::size_t SplitAt(std::wstring_view text, wchar_t separator, std::vector<std::wstring>& pieces);

// The decimal number at the start of a text, after blanks and a sign; 0 without digits. Beyond 32
// bits (signed) it stays at the limit.
[[nodiscard]] std::uint32_t LeadingNumber(std::wstring_view text);

// The AddPort data string has this many tokens at least; those behind are ignored.
inline constexpr std::size_t kAddPortTokens = 12;
// Stores the tokens, of which there are enough. The port is named by the fourth, not the first; the
// queue has no token.
void StoreAddPortTokens(const std::vector<std::wstring>& tokens, CPortInfo& info);

// Reads the record; a slot without a terminator is read to its end.
void ReadRecord(const XcvPortInfo& record, CPortInfo& info);
// Fills the record, all of it. False when a text does not fit its slot; the record is then
// incomplete.
[[nodiscard]] bool FillRecord(const CPortInfo& info, XcvPortInfo& record);

// Whether the registry can have a key of this name: not empty, at most 255 characters, no
// backslash.
[[nodiscard]] bool IsPortNameValid(std::wstring_view name);

}  // namespace ksp
