#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <list>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/host/monitor_test.h"
#include "tests/lpr/job_text.h"
#include "tests/lpr/lpd_printer.h"

namespace ksp::test {

// LPR and XLPR ports as a spooler meets them: the library as a whole, with daemons of their own. A
// library that has just been loaded counts its jobs from 0.
class LprPortTest : public MonitorTest {
  protected:
    using LpdPrinter = standins::LpdPrinter;
    using LpdBehavior = standins::LpdBehavior;
    using LpdAnswer = standins::LpdAnswer;
    using LpdConnection = standins::LpdConnection;
    using Step = standins::LpdStep;

    static constexpr DWORD kLpr = 0;
    static constexpr DWORD kXlpr = 1;

    void SetUp() override {
        MonitorTest::SetUp();
        SetSetting(L"LPRDirectory", directory());
    }
    // The daemons outlive the monitor's connections to them.
    void TearDown() override {
        Unload();
        daemons_.clear();
        MonitorTest::TearDown();
    }

    // A port with its daemon; before Start.
    LpdPrinter& AddPort(const std::wstring& name, DWORD protocol, LpdBehavior behavior = {},
                        const std::wstring& queue = L"queue") {
        LpdPrinter& daemon = daemons_.emplace_back(std::move(behavior));
        EXPECT_TRUE(daemon.ready());
        AddPortKey({.name = name,
                    .PrinterAddress = daemon.wide_address(),
                    .ProtocolID = protocol,
                    .QueueName = queue});
        return daemon;
    }
    static std::vector<uint8_t> Bytes(const std::string& text) {
        return {text.begin(), text.end()};
    }
    bool HasFile(const std::wstring& name) const {
        return ::GetFileAttributesW((directory() + L"\\" + name).c_str()) !=
               INVALID_FILE_ATTRIBUTES;
    }
    size_t Count(LineLevel level, const std::wstring& message) const {
        return ReadLog().CountLines(level, message);
    }
    // The printer statuses written to the spooler, in order.
    std::vector<DWORD> Statuses() {
        std::vector<DWORD> statuses;
        for (const WinspoolCall& call : spooler().Calls(WinspoolSetPrinter)) {
            EXPECT_EQ(call.command, static_cast<DWORD>(PRINTER_CONTROL_SET_STATUS));
            statuses.push_back(call.status);
        }
        return statuses;
    }
    // The job statuses that were written back, in order.
    std::vector<DWORD> WrittenJobStatuses(DWORD job_id) {
        std::vector<DWORD> statuses;
        for (const WinspoolCall& call : spooler().Calls(WinspoolSetJob)) {
            if (call.job_id == job_id && call.level == 2 && call.command == 0) {
                statuses.push_back(call.status);
            }
        }
        return statuses;
    }

    std::list<LpdPrinter> daemons_;
};

}  // namespace ksp::test
