#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "channels/job_counter.h"
#include "channels/lpr_print_channel.h"
#include "channels/port_services.h"
#include "channels/spool_file.h"
#include "tests/lpr/job_text.h"
#include "tests/lpr/lpd_printer.h"
#include "tests/net/net_test.h"
#include "tests/support/files.h"
#include "tests/support/spooler_start.h"

namespace ksp::test {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

// The ports above a channel: notes what it asks, as "SetPortStatus 7 0x0", and answers what a test
// chose. How often a channel asks about its job depends on the time passed, so that stands apart.
class LprPorts final : public IPortServices {
  public:
    bool GetPrinterStatus(std::uint32_t port_id, std::uint32_t& status) override {
        Note("GetPrinterStatus", port_id);
        status = knows_printer ? printer_status : status;
        return knows_printer;
    }
    bool SetPortStatus(std::uint32_t port_id, std::uint32_t status) override {
        if (std::exchange(is_memory_out, false)) {
            throw std::bad_alloc();
        }
        if (const auto call = on_status; call) {
            call();
        }
        char text[32] = {};
        static_cast<void>(std::snprintf(text, sizeof(text), " 0x%X", status));
        Note("SetPortStatus", port_id, text);
        return true;
    }
    bool ClearPortStatus(std::uint32_t port_id) override {
        Note("ClearPortStatus", port_id);
        return knows_port;
    }
    bool IsJobEnded(std::uint32_t /*port_id*/) override {
        ++asked;
        return asked > kMostQuestions || (is_job_ended && is_job_ended());
    }
    bool SetJobError(std::uint32_t port_id) override {
        if (std::exchange(is_memory_out_again, false)) {
            throw std::bad_alloc();
        }
        Note("SetJobError", port_id);
        return true;
    }

    std::vector<std::string> TakeCalls() { return std::exchange(calls_, {}); }

    bool knows_port = true;
    bool knows_printer = true;
    std::uint32_t printer_status = 0x400;
    std::function<void()> on_status = {};  // called by SetPortStatus
    bool is_memory_out = false;            // for the next SetPortStatus
    bool is_memory_out_again = false;      // for the next SetJobError
    std::function<bool()> is_job_ended = {};
    size_t asked = 0;  // whether the job has ended
    // A job that a channel holds for longer than any test means to has ended.
    static constexpr size_t kMostQuestions = 12;

  private:
    void Note(const std::string& call, std::uint32_t port_id, const std::string& rest = {}) {
        calls_.push_back(call + " " + std::to_string(port_id) + rest);
    }

    std::vector<std::string> calls_;
};

// An LPR channel of port 7 and the daemons that it may find, with a spool directory of their own.
// Nobody answers questions about a printer's state here, so a poll always says "server unknown".
class LprChannelTest : public NetTest {
  protected:
    using LpdPrinter = standins::LpdPrinter;
    using LpdBehavior = standins::LpdBehavior;
    using LpdAnswer = standins::LpdAnswer;
    using LpdConnection = standins::LpdConnection;
    using Step = standins::LpdStep;

    static constexpr std::uint32_t kPort = 7;
    // What UpdatePortStatus and a sent chunk tell the ports, and what the cleanup does.
    static constexpr char kTroubled[] = "SetPortStatus 7 0x800000";
    static constexpr char kWell[] = "SetPortStatus 7 0x0";
    static constexpr char kAsBefore[] = "SetPortStatus 7 0x400";

    void SetUp() override {
        NetTest::SetUp();
        SetSpoolDirectory(spool_.path());
    }
    // The daemon outlives the channel's connection to it.
    void TearDown() override {
        channel_.reset();
        printer_.reset();
        NetTest::TearDown();
    }

    // A daemon, and a channel to it.
    LpdPrinter& Start(LpdBehavior behavior = {}, const std::wstring& queue = L"queue") {
        printer_.emplace(std::move(behavior));
        EXPECT_TRUE(printer_->ready());
        channel_ = NewChannel({printer_->wide_address(), queue, false});
        return *printer_;
    }
    // The daemon is gone and another one has its address.
    LpdPrinter& Replace(LpdBehavior behavior = {}) {
        const standins::Endpoint endpoint = printer_->endpoint();
        printer_.reset();
        printer_.emplace(std::move(behavior), endpoint);
        EXPECT_TRUE(printer_->ready());
        return *printer_;
    }
    virtual std::unique_ptr<CLprPrintChannel> NewChannel(const CLprProtocolInfo& info) {
        return std::make_unique<CLprPrintChannel>(info, ports_);
    }
    CLprPrintChannel& channel() { return *channel_; }
    ChannelState state() const { return channel_->State(); }

    void SetSpoolDirectory(const std::wstring& path) {
        registry().SetText(HKEY_LOCAL_MACHINE, kSoftwareKey, L"LPRDirectory", path);
    }
    void SetSetting(const std::wstring& name, DWORD number) {
        registry().SetDword(HKEY_LOCAL_MACHINE, kSoftwareKey, name, number);
    }
    // The counter gives this number next.
    static void SetNextNumber(std::uint32_t number) {
        while (TakeJobNumber() != (number + 999) % 1000) {
        }
    }
    static bool HasSpoolFile(std::uint32_t number) {
        return ::GetFileAttributesW(CSpoolFile::PathOf(number).c_str()) != INVALID_FILE_ATTRIBUTES;
    }

    // Starts a job, whose calls are forgotten.
    void StartDoc(const wchar_t* document = L"Document") {
        ASSERT_EQ(channel_->StartDoc(kPort, document), 0);
        ports_.TakeCalls();
    }
    std::int32_t Write(const std::string& text) {
        return channel_->WritePort(reinterpret_cast<const BYTE*>(text.data()),
                                   static_cast<std::int32_t>(text.size()));
    }
    std::int32_t WriteWithHeader(const std::string& header, const std::string& data) {
        const std::string combined = header + data;
        return channel_->WritePortWithHeader(reinterpret_cast<const BYTE*>(data.data()),
                                             static_cast<std::int32_t>(data.size()),
                                             reinterpret_cast<const BYTE*>(combined.data()),
                                             static_cast<std::int32_t>(combined.size()));
    }
    void Spool(const std::string& data, const wchar_t* document = L"Document") {
        StartDoc(document);
        ASSERT_EQ(Write(data), static_cast<std::int32_t>(data.size()));
    }
    // The job after the next question whether it has ended has.
    void EndJobAtQuestion(size_t nth) {
        ports_.is_job_ended = [this, nth] { return ports_.asked >= nth; };
    }

    // The daemon's only connection, after it ended.
    LpdConnection OnlyConnection() {
        EXPECT_TRUE(printer_->WaitForEndings(1));
        const auto connections = printer_->connections();
        EXPECT_EQ(connections.size(), 1u);
        return connections.empty() ? LpdConnection() : connections[0];
    }

    static LpdBehavior AnswersAt(Step step, const LpdAnswer& answer) {
        LpdBehavior behavior;
        behavior.answers[step] = answer;
        return behavior;
    }
    static LpdAnswer Refusal(char byte = '\x01') { return {.bytes = std::string(1, byte)}; }
    static LpdAnswer Silence() { return {.bytes = {}}; }
    static LpdAnswer Close() { return {.bytes = {}, .then = LpdAnswer::Then::kClose}; }
    static LpdAnswer Reset() { return {.bytes = {}, .then = LpdAnswer::Then::kReset}; }

    std::optional<LpdPrinter> printer_;
    LprPorts ports_;
    TempDirectory spool_;

  private:
    std::unique_ptr<CLprPrintChannel> channel_;
};

}  // namespace ksp::test
