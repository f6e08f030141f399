#include "discovery/status_values.h"

namespace ksp {

namespace {

// PRINTER_STATUS_BUSY, PRINTER_STATUS_WARMING_UP
constexpr std::uint32_t kBusy = 0x200;
constexpr std::uint32_t kWarmingUp = 0x10000;

struct ErrorFlag {
    std::uint32_t error;
    std::uint32_t status;
};

constexpr ErrorFlag kErrorFlags[] = {
    {0x02, 0x10},      // noPaper: PRINTER_STATUS_PAPER_OUT
    {0x04, 0x20000},   // lowToner: PRINTER_STATUS_TONER_LOW
    {0x08, 0x40000},   // noToner: PRINTER_STATUS_NO_TONER
    {0x10, 0x400000},  // doorOpen: PRINTER_STATUS_DOOR_OPEN
    {0x20, 0x8},       // jammed: PRINTER_STATUS_PAPER_JAM
    {0x40, 0x80},      // offline: PRINTER_STATUS_OFFLINE
};

std::uint32_t Reversed(unsigned char byte) {
    std::uint32_t result = 0;
    for (int bit = 0; bit < 8; ++bit) {
        result = (result << 1) | ((static_cast<std::uint32_t>(byte) >> bit) & 1U);
    }
    return result;
}

bool IsValueSize(std::ptrdiff_t count) {
    return count == 1 || count == 2 || count == 4;
}

std::uint32_t StateFlag(std::uint32_t state) {
    switch (static_cast<PrinterState>(state)) {
        case PrinterState::kUnknown:
            return kServerUnknown;
        case PrinterState::kPrinting:
            return kBusy;
        case PrinterState::kWarmup:
            return kWarmingUp;
        case PrinterState::kOther:
        case PrinterState::kIdle:
            break;
    }
    return 0;
}

}  // namespace

std::uint32_t OctetStringValue(const unsigned char* bytes, std::ptrdiff_t count) {
    std::uint32_t value = 0;
    if (bytes != nullptr && IsValueSize(count)) {
        for (std::ptrdiff_t index = 0; index < count; ++index) {
            value = (value << 8) | Reversed(bytes[index]);
        }
    }
    return value;
}

std::uint32_t IntegerValue(const unsigned char* bytes, std::ptrdiff_t count) {
    std::uint32_t value = 0;
    if (bytes != nullptr && IsValueSize(count)) {
        for (std::ptrdiff_t index = count; index > 0; --index) {
            value = (value << 8) | bytes[index - 1];
        }
    }
    return value;
}

std::uint32_t SpoolerStatus(const CPrinterCondition& condition) {
    std::uint32_t status = StateFlag(condition.state);
    for (const ErrorFlag& flag : kErrorFlags) {
        if ((condition.errors & flag.error) != 0) {
            status |= flag.status;
        }
    }
    return status;
}

}  // namespace ksp
