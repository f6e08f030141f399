#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "channels/raw_print_channel.h"
#include "tests/channels/recording_ports.h"
#include "tests/net/net_test.h"

namespace ksp::test {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A raw channel of port 7 and the printers that it may find. Nobody answers questions about a
// printer's state here, so a poll always says "server unknown".
class RawChannelTest : public NetTest {
  protected:
    using LoopbackPrinter = standins::LoopbackPrinter;
    using PrinterBehavior = standins::PrinterBehavior;
    using Ending = standins::PrinterConnection::Ending;
    using Data = std::vector<uint8_t>;

    static constexpr std::uint32_t kPort = 7;
    // What UpdatePortStatus and a successful send tell the ports.
    static constexpr char kTroubled[] = "SetPortStatus 7 0x800000";
    static constexpr char kWell[] = "SetPortStatus 7 0x0";

    static PrinterBehavior Refuses() { return {.answer = PrinterBehavior::Answer::kRefuse}; }
    static PrinterBehavior NeverAnswers() {
        return {.answer = PrinterBehavior::Answer::kNeverAnswer};
    }
    // Takes connections and a little of what comes, and reads no further until StartReading.
    static PrinterBehavior Stuck() { return {.reads = false, .receive_buffer = 4096}; }

    // A printer, and a channel to it.
    LoopbackPrinter& Start(PrinterBehavior behavior = {}) {
        printer_.emplace(std::move(behavior));
        EXPECT_TRUE(printer_->ready());
        channel_ = NewChannel();
        return *printer_;
    }
    // The printer is gone and another one has its address.
    LoopbackPrinter& Replace(PrinterBehavior behavior = {}) {
        const standins::Endpoint endpoint{printer_->address(), printer_->port()};
        printer_.reset();
        printer_.emplace(std::move(behavior), endpoint);
        EXPECT_TRUE(printer_->ready());
        return *printer_;
    }
    std::unique_ptr<CRawPrintChannel> NewChannel() {
        CRawProtocolInfo info(printer_->wide_address());
        info.SetPortNumber(printer_->port());
        return std::make_unique<CRawPrintChannel>(info, ports_);
    }

    CRawPrintChannel& channel() { return *channel_; }
    void DropChannel() { channel_.reset(); }
    ChannelState state() const { return channel_->State(); }

    // Starts a job, whose calls are forgotten.
    void StartDoc() {
        EXPECT_EQ(channel_->StartDoc(kPort, L"Document"), 0);
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
    // Writes until nothing more is taken: state 7. The bytes taken.
    size_t Fill() {
        size_t total = 0;
        // A connection that takes no more large pieces may still take a small one.
        for (const size_t size : {size_t{256} * 1024, size_t{4}}) {
            const std::string block(size, 'F');
            std::int32_t taken = 1;
            while (taken > 0) {
                taken = Write(block);
                total += taken > 0 ? static_cast<size_t>(taken) : 0;
            }
            EXPECT_EQ(taken, 0);
        }
        return total;
    }

    static Data Bytes(const std::string& text) { return Data(text.begin(), text.end()); }
    Data Received(size_t bytes) {
        EXPECT_TRUE(printer_->WaitForBytes(bytes));
        return printer_->received();
    }

    // Connections that were tried since the last call of this.
    size_t TakeConnects() {
        // Every new socket looks the local host up.
        const auto messages = ReadLog().Messages(LineLevel::kTrace);
        const auto total = static_cast<size_t>(
            std::count_if(messages.begin(), messages.end(), [](const std::wstring& message) {
                return message.starts_with(L"local host name =  ");
            }));
        return total - std::exchange(connects_, total);
    }

    std::optional<LoopbackPrinter> printer_;
    RecordingPorts ports_;

  private:
    std::unique_ptr<CRawPrintChannel> channel_;
    size_t connects_ = 0;
};

}  // namespace ksp::test
