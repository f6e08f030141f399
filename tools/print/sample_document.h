#pragma once

#include <string>

namespace ksp::print {

// A page of PostScript with some text and a large grey picture, about 400 KiB. Every call gives the
// same bytes.
std::string SamplePage();

}  // namespace ksp::print
