#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tests/standins/discovery_control.h"

namespace ksp::test {

// One build of the discovery library's stand-in, for C++. All texts are UTF-8.
//
// The monitor gets the build whose directory its setting ExeDirectory names; Connect to the same
// directory. Builds in other directories are libraries of their own, also in one process.
class DiscoveryControl {
  public:
    using HookFunction = std::function<void()>;

    struct Device {
        std::string address;
        // None: the device does not answer the request for its MAC address either.
        std::optional<std::string> mac = std::nullopt;
        std::string name = "Test Printer";
        std::string device_id = "MFG:Kestrel;MDL:Test;";
        // The capability document, instead of one made from the members above.
        std::optional<std::string> document = std::nullopt;
        DiscoveryCapability capability = DiscoveryCapabilityGenerated;  // only without a document
        bool silent = false;  // does not answer a probe that has no script
    };

    // The MIME-formatted reply to a MIB request.
    struct MimeReply {
        std::optional<std::vector<uint8_t>> bytes =
            std::nullopt;                                  // none: the item's bytes are null
        std::optional<int> count = std::nullopt;           // none: as many as there are
        std::optional<std::string> header = std::nullopt;  // none: names the part in a "Group"
        std::string part_name = "value";
        int result = 0;  // of KSSendRecvStream
    };

    // One call of the probe callback; DiscoveryAnswer tells the members.
    struct Answer {
        std::string address = {};  // empty: device handle 0
        int code = 0;
        DWORD thread = 0;
        DWORD delay_ms = 0;
        DiscoveryMoment moment = DiscoveryDuringProbe;
    };

    // DiscoveryCall with its texts; a null text is empty here.
    struct Call {
        DiscoveryFunction function;
        DWORD thread_id;
        void* object;
        intptr_t device;
        const void* buffer;
        const void* data;
        int code;
        intptr_t result;
        std::string address;
        std::string text;
        std::string settings;
        std::string output;
    };

    DiscoveryControl() = default;
    ~DiscoveryControl();
    DiscoveryControl(const DiscoveryControl&) = delete;
    DiscoveryControl& operator=(const DiscoveryControl&) = delete;

    // Directories for ExeDirectory: the build with every export, and the one that lacks this
    // export.
    static std::wstring FullDirectory();
    static std::wstring DirectoryWithout(DiscoveryFunction missing);

    // Loads the build from the directory and keeps it in the process, as the monitor does. False
    // when it is not there or of another version; nothing else may be called then.
    [[nodiscard]] bool Connect(const std::wstring& directory = FullDirectory());

    // Back to a network without devices, script, notes, misuses, faults and hooks, in which nothing
    // is handed out.
    void Reset();

    // A device of the same address is replaced and keeps its replies.
    void AddDevice(const Device& device);
    bool RemoveDevice(const std::string& address);

    // What the device replies to the request for an object id, or for "MACAddress". False when
    // there is no such device.
    bool SetValue(const std::string& address, const std::string& oid,
                  const std::vector<uint8_t>& bytes);
    bool SetMimeReply(const std::string& address, const std::string& oid, const MimeReply& reply);
    bool SetTextReply(const std::string& address, const std::string& item, const std::string& text,
                      int result = 0);
    // No library buffer; with the result 0 the call succeeds all the same.
    bool SetNoReply(const std::string& address, const std::string& item, int result);

    // What every probe from now on does; without a script each device answers once, in order.
    void SetAnswers(const std::vector<Answer>& answers);
    void ClearAnswers();
    // Calls back for the stopped probes that had answers DiscoveryAfterStop; returns how many.
    size_t GiveLateAnswers();

    [[nodiscard]] std::vector<Call> Calls() const;
    [[nodiscard]] std::vector<Call> Calls(DiscoveryFunction function) const;
    // The text that each call of the function got: documents, requests, replies, names.
    [[nodiscard]] std::vector<std::string> Texts(DiscoveryFunction function) const;
    void ClearCalls();

    [[nodiscard]] DiscoveryHeld Held() const;
    [[nodiscard]] std::vector<std::string> Misuses()
        const;  // "KSProbe: a stream used before KSInitialize"
    // Everything held and every misuse, a line each; empty after a clean use of the library.
    [[nodiscard]] std::string Leftovers() const;

    // Makes the nth call of the export from now on answer what means failure for it: null, 0 or -1.
    // Exports whose result means nothing do their work all the same.
    void FailNth(DiscoveryFunction function, DWORD nth);
    void FailNth(DiscoveryFunction function, DWORD nth, intptr_t result);
    // The nth call and all later ones.
    void FailFrom(DiscoveryFunction function, DWORD nth);
    // The nth call answers as for success, but gives out nothing.
    void EmptyNth(DiscoveryFunction function, DWORD nth);
    void AddFault(const DiscoveryFault& fault);
    void ClearFaults();

    // Runs at the start of every call of the function, on the calling thread, outside the
    // stand-in's lock; an empty hook takes it away. Set it while no call is under way.
    void SetHook(DiscoveryFunction function, HookFunction hook);

  private:
    static void CALLBACK RunHook(void* context, DiscoveryFunction function);
    bool SetReply(const std::string& address, const std::string& item, const DiscoveryReply& reply);

    const DiscoveryControlTable* table_ = nullptr;
    std::array<HookFunction, DiscoveryFunctionCount> hooks_;
};

// "KSCreateStream"; "ProbeCallback" for what the library calls.
const char* ExportName(DiscoveryFunction function);

// A call on one line, for messages: "KSGetDeviceCapability 127.0.0.2 -> 1".
std::string DescribeCall(const DiscoveryControl::Call& call);

}  // namespace ksp::test
