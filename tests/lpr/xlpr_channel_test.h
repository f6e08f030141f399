#pragma once

#include "channels/xlpr_print_channel.h"
#include "tests/lpr/lpr_channel_test.h"

namespace ksp::test {

// As LprChannelTest, with an XLPR channel.
class XlprChannelTest : public LprChannelTest {
  protected:
    // The count that the data-file command announces when nothing is set.
    static constexpr char kDefaultCount[] = "1073741824000";

    std::unique_ptr<CLprPrintChannel> NewChannel(const CLprProtocolInfo& info) override {
        auto channel = std::make_unique<CXlprPrintChannel>(
            CLprProtocolInfo(info.GetHostName(), info.GetQueueName(), true), ports_);
        return channel;
    }

    // The job's end, and all that the daemon saw of it.
    LpdConnection End() {
        EXPECT_EQ(channel().EndDoc(), 0);
        return OnlyConnection();
    }
    // Writes until nothing more is taken: state 13. The bytes taken.
    std::string Fill() {
        std::string all;
        // A connection that takes no more large pieces may still take a small one.
        for (const size_t size : {size_t{256} * 1024, size_t{4}}) {
            const std::string block(size, 'F');
            std::int32_t taken = 1;
            while (taken > 0) {
                taken = Write(block);
                all.append(static_cast<size_t>(std::max(taken, 0)), 'F');
            }
            EXPECT_EQ(taken, 0);
        }
        return all;
    }
    size_t Traces(const std::wstring& message) const { return Count(LineLevel::kTrace, message); }
};

}  // namespace ksp::test
