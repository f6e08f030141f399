#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tests/fuzz/random.h"

namespace ksp::test {

// Inputs are byte strings, whatever they mean: so they can be shown as hexadecimal digits, kept,
// and handed to any program. Plain computation.

// The bytes of a text in UTF-16LE, and back; an odd byte at the end is left out.
[[nodiscard]] std::string WideBytes(std::wstring_view text);
[[nodiscard]] std::wstring WideText(std::string_view bytes);

// The text of hexadecimal digits, and back. Sixteen and more equal bytes are one byte with their
// count: "41{200}".
[[nodiscard]] std::string Hexadecimal(std::string_view bytes);
[[nodiscard]] std::string FromHexadecimal(std::string_view digits);

// Changes a valid form in one to six places: bits and units changed, ranges cut out, doubled, moved
// or repeated up to lengths around those of buffers, and words put in that mean something to the
// reader. One in sixteen stays as it is. Bytes and 16-bit units are told apart by the function; the
// words are in bytes, or in UTF-16LE.
[[nodiscard]] std::string MutatedBytes(Random& random, std::string form,
                                       const std::vector<std::string>& words = {});
[[nodiscard]] std::string MutatedText(Random& random, std::wstring form,
                                      const std::vector<std::wstring>& words = {});

// As MutatedBytes for a document, but half of the time the change lies within the text of one
// element, so that the document stays one that can be read.
[[nodiscard]] std::string MutatedDocument(Random& random, std::string document,
                                          const std::vector<std::string>& words);

}  // namespace ksp::test
