#include "tests/fuzz/computing.h"
#include "tests/fuzz/mutation.h"
#include "tests/fuzz/snmp_computing.h"
#include "tests/fuzz/valid_forms.h"

namespace ksp::test {

namespace {

std::string RandomBytes(Random& random, std::size_t count) {
    std::string bytes;
    for (; count > 0; --count) {
        bytes += static_cast<char>(random.Next() & 0xFF);
    }
    return bytes;
}

// Numbers, and behind them a text.
std::string NumbersAndText(Random& random, std::size_t bytes) {
    return RandomBytes(random, bytes) +
           MutatedText(random, L"log.2nd.txt", {L".", L"\\", L"/", L"\""});
}

}  // namespace

const char* NameOf(Form form) {
    switch (form) {
        case Form::kAddPortString:
            return "AddPortString";
        case Form::kSilentText:
            return "SilentText";
        case Form::kPortRecord:
            return "PortRecord";
        case Form::kMacAddress:
            return "MacAddress";
        case Form::kJobHeader:
            return "JobHeader";
        case Form::kOctets:
            return "Octets";
        case Form::kLogFileName:
            return "LogFileName";
        case Form::kLprCommands:
            return "LprCommands";
        case Form::kNotifierCommand:
            return "NotifierCommand";
        case Form::kSnmpDatagram:
            return "SnmpDatagram";
        case Form::kMimeMessage:
            return "MimeMessage";
        case Form::kBase64:
            return "Base64";
        case Form::kXmlText:
            return "XmlText";
    }
    return "?";
}

std::string MakeForm(Form form, Random& random) {
    switch (form) {
        case Form::kAddPortString:
            return MutatedText(random, AddPortForm(random), PortWords());
        case Form::kSilentText:
            return MutatedBytes(random, SilentAddForm(random), SilentWords());
        case Form::kPortRecord:
            return MutatedBytes(random, PortRecordForm(random));
        case Form::kMacAddress:
            return MutatedText(random, MacForm(random), {L"00", L"ff", L"G", L":"});
        case Form::kJobHeader:
            return NumbersAndText(random, random.Below(64));
        case Form::kOctets:
            return RandomBytes(random, random.Below(6));
        case Form::kLogFileName:
            return NumbersAndText(random, 8);
        case Form::kLprCommands:
            return RandomBytes(random, 6 + random.Below(300));
        case Form::kNotifierCommand:
            return NumbersAndText(random, 0);
        case Form::kSnmpDatagram:
        case Form::kMimeMessage:
        case Form::kBase64:
        case Form::kXmlText:
            return MakeSnmpForm(form, random);
    }
    return "";
}

}  // namespace ksp::test
