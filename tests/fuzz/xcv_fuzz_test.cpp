// What the configuration interface and an installer send through the Xcv commands.

#include <array>
#include <optional>

#include "ports/xcv_port_info.h"
#include "tests/fuzz/fuzz_test.h"

namespace ksp::test {
namespace {

using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::Eq;

// A text as the commands take it: up to its first zero.
std::wstring CommandText(std::string_view bytes) {
    const std::wstring text = WideText(bytes);
    return text.substr(0, text.find(L'\0'));
}

std::vector<std::wstring> Tokens(const std::wstring& text) {
    std::vector<std::wstring> tokens{L""};
    for (const wchar_t c : text) {
        if (c == L',') {
            tokens.emplace_back();
        } else {
            tokens.back() += c;
        }
    }
    return tokens;
}

class XcvFuzz : public FuzzTest {
  protected:
    // What any command answers to any input: a code, and nothing changed beyond what it says.
    void ExpectPort(const std::wstring& name) {
        EXPECT_THAT(PortNames(), ElementsAre(name));
        const Reply known = Call(L"IsKspPort", WideBytes(name + L'\0'), sizeof(DWORD));
        EXPECT_EQ(known.output, std::string("\1\0\0\0", 4));
        EXPECT_TRUE(store().HasKey(root(), PortPath(name)));
        ExpectSoundRecord(name);
    }
    void ExpectSoundRecord(const std::wstring& name) {
        const Reply reply = Call(L"GetPortConfig", WideBytes(name + L'\0'), sizeof(XcvPortInfo));
        if (reply.code != ERROR_SUCCESS) {
            // A text that has no room in the record.
            EXPECT_EQ(reply.code, DWORD{ERROR_INVALID_DATA});
            return;
        }
        EXPECT_EQ(WideText(reply.output).substr(0, name.size() + 1), name + L'\0');
        EXPECT_EQ(Call(L"ConfigurePort", reply.output).code, DWORD{ERROR_SUCCESS});
        EXPECT_EQ(Call(L"GetPortConfig", WideBytes(name + L'\0'), sizeof(XcvPortInfo)).output,
                  reply.output);
    }
    void ExpectDeletable(const std::wstring& name) {
        DeletePort(name);
        ExpectNoPort();
    }

    void TryAddPort(const std::string& input) {
        ForgetCalls();
        const Reply reply = Call(L"AddPort", input);
        ASSERT_THAT(reply.code, AnyOf(Eq(ERROR_SUCCESS), Eq(ERROR_INVALID_DATA)));
        if (reply.code != ERROR_SUCCESS) {
            EXPECT_EQ(reply.input, input) << "a refused string is changed";
            ExpectNoPort();
            return;
        }
        const std::vector<std::wstring> tokens = Tokens(CommandText(input));
        ASSERT_GE(tokens.size(), 12U);
        EXPECT_TRUE(CommandText(reply.input) == tokens[3]) << "the name is not written back";
        ExpectPort(tokens[3]);
        EXPECT_EQ(store().GetText(root(), PortPath(tokens[3]), L"PrinterAddress"), tokens[2]);
        ExpectDeletable(tokens[3]);
    }

    void TrySilentAdd(const std::string& input) {
        ForgetCalls();
        const Reply reply = Call(L"SilentAddPort", input);
        EXPECT_EQ(reply.input, input);
        ASSERT_THAT(reply.code,
                    AnyOf(Eq(ERROR_SUCCESS), Eq(ERROR_INVALID_DATA), Eq(ERROR_INVALID_PARAMETER)));
        const std::vector<std::wstring> ports = PortNames();
        ASSERT_EQ(ports.size(), reply.code == ERROR_SUCCESS ? 1U : 0U);
        if (ports.empty()) {
            ExpectNoPort();
        } else {
            ExpectPort(ports[0]);
            ExpectDeletable(ports[0]);
        }
    }

    void TryConfigure(const std::string& input) {
        ForgetCalls();
        // The record must name a port that there is, or it would be looked at no further.
        const std::wstring name =
            input.size() >= sizeof(XcvPortInfo)
                ? CommandText(std::string_view(input).substr(0, sizeof(XcvPortInfo::PortName)))
                : L"Port";
        const bool has_port =
            Call(L"AddPort", WideBytes(L"x,2,127.0.0.1," + name + L",,,,1,0,0,0,identity")).code ==
            ERROR_SUCCESS;
        const Reply reply = Call(L"ConfigurePort", input);
        EXPECT_EQ(reply.input, input);
        ASSERT_THAT(reply.code, AnyOf(Eq(ERROR_SUCCESS), Eq(ERROR_INVALID_DATA)));
        if (reply.code == ERROR_SUCCESS) {
            EXPECT_TRUE(has_port);
            ExpectPort(name);
        }
        // A record without a transport takes the port out of the list.
        for (const std::wstring& port : PortNames()) {
            DeletePort(port);
        }
        if (has_port) {
            store().RemoveKey(root(), PortPath(name));
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
};

class XcvTypeFuzz : public XcvFuzz, public ::testing::WithParamInterface<DWORD> {
  protected:
    void SetUp() override {
        XcvFuzz::SetUp();
        UseMonitor(GetParam());
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
            return MutatedText(random, AddPortForm(random), {L"%s%s%s%s", L"%n", L"%1048576d", L"%"});
        },
        [this](const std::string& input) { TryAddPort(input); });
    EXPECT_GT(ReadLog().lines().size(), 0U);
}

TEST_P(XcvTypeFuzz, PortRecords) {
    Fuzz(
        Generator::kPortRecord, 400,
        [](Random& random) {
            // Most of a record is zeros; so the changes go into one of its first fields, or anywhere.
            std::string form = PortRecordForm(random);
            if (random.OneIn(2)) {
                return MutatedBytes(random, form);
            }
            const std::size_t slot = random.Below(3) * sizeof(XcvPortInfo::Text);
            std::string text = MutatedText(random, CommandText(form.substr(slot, 100)), PortWords());
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
            return command + MutatedText(random, random.OneIn(2) ? L"Port" : L"PortExists", PortWords());
        },
        [this](const std::string& input) { TryCommand(input); });
}

}  // namespace
}  // namespace ksp::test
