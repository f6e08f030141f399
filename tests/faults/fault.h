#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "tests/host/discovery_control.h"
#include "tests/host/faulty_registry.h"
#include "tests/host/winspool_control.h"

namespace ksp::test {

// How a port's jobs travel, and for which monitor.
enum class Transport { kRaw, kLpr, kXlpr, kIdPrint };

// Where the library meets the world around it.
enum class Boundary { kRegistry, kSpooler, kDiscovery, kMemory, kSystem, kPrinter };

const char* NameOf(Transport transport);
const char* NameOf(Boundary boundary);

// One call that fails, once.
struct Fault {
    enum class Kind {
        kNone,     // nothing fails
        kRefused,  // the call answers with failure and does nothing
        kEmpty,    // the call answers with success and gives nothing
        kHidden,   // of a printer: it fails, and says that it is ready when it is asked
    };

    Boundary boundary = Boundary::kRegistry;
    Kind kind = Kind::kNone;
    int function = 0;  // of the boundary: RegistryOperation, WinspoolFunction, DiscoveryFunction,
                       // number of a SystemFunctionName; of a printer the number of what it does
    size_t nth = 0;    // from 1

    [[nodiscard]] bool IsOf(RegistryOperation operation) const {
        return boundary == Boundary::kRegistry && function == static_cast<int>(operation);
    }
    [[nodiscard]] bool IsOf(WinspoolFunction other) const {
        return boundary == Boundary::kSpooler && function == static_cast<int>(other);
    }
    // One of these functions of Windows.
    [[nodiscard]] bool IsOfSystem(std::initializer_list<std::string_view> names) const;
};

// For messages: "registry OpenKey 3".
std::string Describe(Transport transport, const Fault& fault);

// How often everything was called in a run without a fault.
struct CallCounts {
    std::vector<size_t> registry;   // by RegistryOperation
    std::vector<size_t> spooler;    // by WinspoolFunction
    std::vector<size_t> discovery;  // by DiscoveryFunction, exports only
    size_t memory = 0;
    std::vector<size_t> system;  // by number of a SystemFunctionName
    size_t printer = 0;          // ways in which a printer of the transport can fail
    size_t hidden = 0;           // of them, those in which it may say that it is ready
};

// Every single fault of a boundary, in the order of its functions.
std::vector<Fault> FaultsOf(Boundary boundary, const CallCounts& counts);

// Which of them this process tries. KSP_FAULTS=all tries all, or those of one part of several with
// KSP_FAULTS_PART=2/4 (the second of four; the parts share the calls of each function by their
// number, so that none is left out when a function is called more often in one of them); without it
// a fixed sample of at most so many is tried.
std::vector<Fault> Selected(const std::vector<Fault>& faults, size_t sample);

}  // namespace ksp::test
