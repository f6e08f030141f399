// Compiles only as long as the exports are what the monitor binds them as.

#include "tests/standins/discovery/exports.h"

namespace ksp::standins {
namespace {

[[maybe_unused]] constexpr OryxFunctions kBound = {
    .KSCreateStream = KSCreateStream,
    .KSInitialize = KSInitialize,
    .KSSetProbeMode = KSSetProbeMode,
    .KSProbe = KSProbe,
    .KSStopProbe = KSStopProbe,
    .KSGetDeviceCapability = KSGetDeviceCapability,
    .KSDeleteBuffer = KSDeleteBuffer,
    .KSTerminate = KSTerminate,
    .KSDeleteStream = KSDeleteStream,
    .KSSendStream = nullptr,  // never called, so bound without a signature
    .KSGetRecvStatus = nullptr,
    .KSRecvStream = nullptr,
    .KSSendRecvStream = KSSendRecvStream,
    .KSRecvCancel = KSRecvCancel,
    .KSCreateDeviceHandle = KSCreateDeviceHandle,
    .KSDeleteDeviceHandle = KSDeleteDeviceHandle,
    .KSCreateMIMEUtil = KSCreateMIMEUtil,
    .KSDeleteMIMEUtil = KSDeleteMIMEUtil,
    .KSMIMEEncode = nullptr,
    .KSMIMEDecode = KSMIMEDecode,
    .KSMIMESplitData = KSMIMESplitData,
    .KSMIMEGetData = KSMIMEGetData,
    .KSMIMEDeleteBuffer = KSMIMEDeleteBuffer,
};

}  // namespace
}  // namespace ksp::standins
