// What the configuration interface and an installer send through the Xcv commands.

#include <array>
#include <cstring>
#include <optional>

#include "ports/xcv_port_info.h"
#include "tests/fuzz/fuzz_test.h"
#include "tests/fuzz/port_values.h"
#include "tools/host/registry_text.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class XcvFuzz : public FuzzTest {
  protected:
    // The port is there, alone, and exactly as the command said it.
    void ExpectPort(const PortValues& port) {
        EXPECT_THAT(PortNames(), ElementsAre(port.PortName));
        const Reply known = Call(L"IsKspPort", WideBytes(port.PortName + L'\0'), sizeof(DWORD));
        EXPECT_EQ(known.output, std::string("\1\0\0\0", 4));
        EXPECT_THAT(store().SubkeyNames(root(), L"Ports"), ElementsAre(port.PortName));
        EXPECT_EQ(Stored(port.PortName), InRegistry(port, type_));
        ExpectRecord(port);
    }
    StoredValues Stored(const std::wstring& name) {
        StoredValues values;
        for (const std::wstring& value : store().ValueNames(root(), PortPath(name))) {
            const auto stored = store().GetValue(root(), PortPath(name), value);
            const auto number = store().GetDword(root(), PortPath(name), value);
            values[value] = number                   ? NumberText(*number)
                            : stored->type == REG_SZ ? host::TextOf(stored->data)
                                                     : L"neither text nor number";
        }
        return values;
    }
    void ExpectRecord(const PortValues& port) {
        const auto name = WideBytes(port.PortName + L'\0');
        const Reply reply = Call(L"GetPortConfig", name, sizeof(XcvPortInfo));
        const std::optional<XcvPortInfo> expected = InRecord(port, type_);
        ASSERT_EQ(reply.code, SuccessIf(expected.has_value()));
        if (!expected) {
            return;
        }
        // Not as one text: its difference would be 16412 characters long.
        EXPECT_TRUE(reply.output ==
                    std::string(reinterpret_cast<const char*>(&*expected), sizeof(*expected)))
            << "another record";
        EXPECT_EQ(Call(L"ConfigurePort", reply.output).code, DWORD{ERROR_SUCCESS});
        EXPECT_TRUE(Call(L"GetPortConfig", name, sizeof(XcvPortInfo)).output == reply.output)
            << "the record comes back otherwise";
    }
    void ExpectDeletable(const std::wstring& name) {
        DeletePort(name);
        ExpectNoPort();
    }

    void TryAddPort(const std::string& input) {
        ForgetCalls();
        const std::optional<PortValues> port = AddPortValues(CommandText(input), type_);
        const Reply reply = Call(L"AddPort", input);
        outcomes_.Count(reply.code == ERROR_SUCCESS);
        ASSERT_EQ(reply.code, SuccessIf(port.has_value()));
        if (!port) {
            EXPECT_EQ(reply.input, input) << "a refused string is changed";
            ExpectNoPort();
            return;
        }
        EXPECT_EQ(CommandText(reply.input), port->PortName) << "the name is not written back";
        ExpectPort(*port);
        ExpectDeletable(port->PortName);
    }

    void TrySilentAdd(const std::string& input) {
        ForgetCalls();
        DWORD code = ERROR_SUCCESS;
        const std::optional<PortValues> port =
            SilentValues(input, {L"127.0.0.1", kMac, kModel}, code);
        const Reply reply = Call(L"SilentAddPort", input);
        outcomes_.Count(reply.code == ERROR_SUCCESS);
        EXPECT_EQ(reply.input, input);
        ASSERT_EQ(reply.code, code);
        if (port) {
            ExpectPort(*port);
            ExpectDeletable(port->PortName);
        } else {
            ExpectNoPort();
        }
    }

    void TryConfigure(const std::string& input) {
        ForgetCalls();
        // The record must name a port that there is, or it would be looked at no further.
        XcvPortInfo record{};
        const bool is_whole = input.size() >= sizeof(record);
        std::memcpy(static_cast<void*>(&record), input.data(), is_whole ? sizeof(record) : 0);
        const std::wstring name =
            is_whole ? CommandText(std::string_view(input).substr(0, sizeof(record.PortName)))
                     : L"Port";
        const std::wstring string =
            L"x,2,127.0.0.1," + name + L",127.1.2.3,255.0.0.0,0026AB123456,1,0,9200,9101,identity";
        const std::optional<PortValues> before = AddPortValues(string, type_);
        ASSERT_EQ(Call(L"AddPort", WideBytes(string)).code, SuccessIf(before.has_value()));
        const bool is_there = before && before->PortName == name;
        const std::optional<PortValues> after =
            is_whole && is_there ? ConfiguredValues(*before, record, type_) : std::nullopt;
        const Reply reply = Call(L"ConfigurePort", input);
        outcomes_.Count(reply.code == ERROR_SUCCESS);
        EXPECT_EQ(reply.input, input);
        ASSERT_EQ(reply.code, SuccessIf(after.has_value()));
        if (after) {
            ExpectPort(*after);
        } else if (is_whole && is_there) {
            // A record without a transport takes the port out of the list; its key stays as it was.
            EXPECT_THAT(PortNames(), IsEmpty());
            EXPECT_EQ(Stored(name), InRegistry(*before, type_));
        } else if (before) {
            ExpectPort(*before);
        }
        for (const std::wstring& port : PortNames()) {
            DeletePort(port);
        }
        for (const std::wstring& left : store().SubkeyNames(root(), L"Ports")) {
            store().RemoveKey(root(), PortPath(left));
        }
    }

    // The first byte says which command; the rest is its input, and also the size of its output.
    void TryCommand(const std::string& input) {
        static const std::array<std::wstring, 8> kCommands = {
            L"MonitorUI",      L"DeletePort",    L"PortExists", L"IsKspPort",
            L"GetMonitorType", L"GetPortConfig", L"Unknown",    L""};
        ForgetCalls();
        ASSERT_FALSE(input.empty());
        const auto chosen = static_cast<std::uint8_t>(input[0]);
        const std::string_view rest = std::string_view(input).substr(1);
        const std::wstring command =
            chosen < kCommands.size() ? kCommands[chosen] : CommandText(rest);
        const std::size_t room = rest.size() < 256 ? rest.size() : sizeof(XcvPortInfo);
        const Reply reply = Call(command, rest, room);
        outcomes_.Count(reply.code == ERROR_SUCCESS);
        EXPECT_EQ(reply.input, rest);
        if (reply.code == ERROR_INSUFFICIENT_BUFFER) {
            EXPECT_GT(reply.needed, room);
        }
        if (chosen == 6 || chosen == 7) {
            EXPECT_EQ(reply.code, DWORD{ERROR_INVALID_PARAMETER});
        }
        if (CommandText(rest) != L"Port") {
            EXPECT_THAT(PortNames(), ElementsAre(L"Port"));
        } else if (PortNames().empty()) {
            AddPort();
        }
    }
    void AddPort() {
        ASSERT_EQ(Call(L"AddPort", WideBytes(L"x,2,127.0.0.1,Port,,,,1,0,0,0,")).code,
                  DWORD{ERROR_SUCCESS});
    }

    // The printer that silent addition finds.
    static constexpr wchar_t kModel[] = L"Test Printer";
    DWORD type_ = 1;  // of the monitor
};

class XcvTypeFuzz : public XcvFuzz, public ::testing::WithParamInterface<DWORD> {
  protected:
    void SetUp() override {
        XcvFuzz::SetUp();
        type_ = GetParam();
        UseMonitor(type_);
        ASSERT_TRUE(Start());
    }
};
INSTANTIATE_TEST_SUITE_P(Monitor, XcvTypeFuzz, ::testing::Values(1, 2));

TEST_P(XcvTypeFuzz, AddPortStrings) {
    Fuzz(
        Generator::kAddPortString, 600,
        [](Random& random) { return MutatedText(random, AddPortForm(random), PortWords()); },
        [this](const std::string& input) { TryAddPort(input); });
}

// What comes from outside also stands in the log.
TEST_F(XcvFuzz, LoggedStrings) {
    UseLog();
    ASSERT_TRUE(Start());
    Fuzz(
        Generator::kLoggedString, 12,
        [](Random& random) {
            return MutatedText(random, AddPortForm(random),
                               {L"%s%s%s%s", L"%n", L"%1048576d", L"%"});
        },
        [this](const std::string& input) { TryAddPort(input); });
    EXPECT_GT(ReadLog().lines().size(), 0U);
}

TEST_P(XcvTypeFuzz, PortRecords) {
    Fuzz(
        Generator::kPortRecord, 400,
        [](Random& random) {
            // Most of a record is zeros; so the changes go into one of its first fields, or
            // anywhere.
            std::string form = PortRecordForm(random);
            if (random.OneIn(2)) {
                return MutatedBytes(random, form);
            }
            const std::size_t slot = random.Below(3) * sizeof(XcvPortInfo::Text);
            std::string text =
                MutatedText(random, CommandText(form.substr(slot, 100)), PortWords());
            text.resize(std::min(text.size(), sizeof(XcvPortInfo::Text)));
            return form.replace(slot, text.size(), text);
        },
        [this](const std::string& input) { TryConfigure(input); });
}

TEST_F(XcvFuzz, SilentTexts) {
    discovery_.AddDevice({.address = "127.0.0.1", .mac = kNarrowMac});
    ASSERT_TRUE(Start());
    Fuzz(
        Generator::kSilentText, 300,
        [](Random& random) { return MutatedBytes(random, SilentAddForm(random), SilentWords()); },
        [this](const std::string& input) { TrySilentAdd(input); });
}

TEST_F(XcvFuzz, Commands) {
    ASSERT_TRUE(Start());
    AddPort();
    Fuzz(
        Generator::kCommand, 3000,
        [](Random& random) {
            const auto command = static_cast<char>(random.Below(10));
            return command +
                   MutatedText(random, random.OneIn(2) ? L"Port" : L"PortExists", PortWords());
        },
        [this](const std::string& input) { TryCommand(input); });
}

}  // namespace
}  // namespace ksp::test
