// Compiles only as long as the exports are what the monitor binds them as.

#include "tests/standins/discovery/exports.h"

namespace ksp::standins {
namespace {

#include "discovery/bound_exports.inc"

}  // namespace
}  // namespace ksp::standins
