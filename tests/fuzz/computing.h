#pragma once

#include <string>
#include <string_view>

#include "tests/fuzz/random.h"

namespace ksp::test {

// The code of the library that only computes: each form is handed to it, and what holds for every
// input is asked of the result. Includes no Windows header, and the code under test includes none
// either, so that the same inputs are tried in builds for other systems. In those a wchar_t may
// have 32 bits; the library keeps one UTF-16 code unit in each and never looks at its size.

enum class Form {
    kAddPortString,
    kSilentText,
    kPortRecord,
    kMacAddress,
    kJobHeader,
    kOctets,
    kLogFileName,
    kLprCommands,
    kNotifierCommand,
    // The discovery library's.
    kSnmpDatagram,
    kMimeMessage,
    kBase64,
    kXmlText,
};
inline constexpr int kForms = static_cast<int>(Form::kXmlText) + 1;
// The enumerator's name without its k.
[[nodiscard]] const char* NameOf(Form form);

// What is wrong with the result; empty when everything is right.
[[nodiscard]] std::string CheckForm(Form form, std::string_view input);

// A valid form, mutated.
[[nodiscard]] std::string MakeForm(Form form, Random& random);

}  // namespace ksp::test
