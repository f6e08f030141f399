#include "tests/idprint/header_bytes.h"

namespace ksp::test {
namespace {

std::string Line(const char* start, std::wstring_view value) {
    return start + WideBytes(value) + std::string("\0\0\"\n", 4);
}

}  // namespace

std::string WideBytes(std::wstring_view text) {
    std::string bytes;
    for (const wchar_t unit : text) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8 & 0xFF);
    }
    return bytes;
}

std::string HeaderBytes(const HeaderTexts& texts) {
    return "@EXTRAKJL START\n" +                                 //
           Line("@EXTRAKJL VERSION=\"", L"1.00") +               //
           Line("@EXTRAKJL IDENTIFIER=\"", texts.identifier) +   //
           Line("@EXTRAKJL DOCUMENT=\"", texts.document) +       //
           Line("@EXTRAKJL DRIVER=\"", texts.driver) +           //
           Line("@EXTRAKJL PWD=\"", L"") +                       //
           Line("@EXTRAKJL USER=\"", texts.user) +               //
           Line("@EXTRAKJL JOBID=\"", texts.job_id) +            //
           Line("@EXTRAKJL PRINTER=\"", texts.printer) +         //
           Line("@EXTRAKJL MACHINE=\"", texts.machine) +         //
           Line("@EXTRAKJL STARTTIME=\"", texts.start_time) +    //
           Line("@EXTRAKJL PRIORITY=\"", texts.priority) +       //
           Line("@EXTRAKJL TOTALPAGES=\"", texts.total_pages) +  //
           Line("@EXTRAKJL DATASIZE=\"", texts.data_size) +      //
           Line("@EXTRAKJL DATATYPE=\"", texts.data_type) +      //
           Line("@EXTRAKJL PROCESSOR=\"", texts.processor) +     //
           "@EXTRAKJL END\n";
}

std::string Printable(const std::string& header) {
    std::string text;
    for (const char c : header) {
        if (c == '\n' || (c >= ' ' && c <= '~')) {
            text += c;
        } else {
            constexpr char kDigits[] = "0123456789ABCDEF";
            const auto byte = static_cast<unsigned char>(c);
            text += std::string("<") + kDigits[byte >> 4] + kDigits[byte & 0xF] + ">";
        }
    }
    return text;
}

}  // namespace ksp::test
