#include "tools/print/protocol.h"

#include <algorithm>

#include "tools/print/lpr_session.h"
#include "tools/print/raw_session.h"

namespace ksp::print {
namespace {

template <class Session>
std::unique_ptr<PrinterSession> NewSession() {
    return std::make_unique<Session>();
}

constexpr Protocol kProtocols[] = {
    {L"raw", L"raw TCP", 2, 9100, L"", false, false, NewSession<RawSession>},
    {L"lpr", L"LPR", 0, 515, L"KSPQueue", true, true, NewSession<LprSession>},
    {L"xlpr", L"XLPR", 1, 515, L"KSPQueue", false, true, NewSession<LprSession>},
};

}  // namespace

std::span<const Protocol> Protocols() {
    return kProtocols;
}

const Protocol* FindProtocol(std::wstring_view name) {
    const auto found = std::find_if(std::begin(kProtocols), std::end(kProtocols),
                                    [&](const Protocol& entry) { return entry.name == name; });
    return found == std::end(kProtocols) ? nullptr : found;
}

}  // namespace ksp::print
