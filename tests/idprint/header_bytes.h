#pragma once

#include <string>
#include <string_view>

#include "tests/host/winspool_control.h"

namespace ksp::test {

// The values of a job header as texts, in the order of their lines; VERSION and PWD are the same in
// every header. The defaults are those of the spooler stand-in's sample job 1 on its printer.
struct HeaderTexts {
    std::wstring identifier = L"alice";
    std::wstring document = L"Document";
    std::wstring driver = L"Test Driver";
    std::wstring user = L"alice";
    std::wstring job_id = L"1";
    std::wstring printer = L"Printer";
    std::wstring machine = L"\\\\WORKSTATION";
    std::wstring start_time = L"2024/3/5/7:8:9";
    std::wstring priority = L"MIN_PRIORITY";
    std::wstring total_pages = L"3";
    std::wstring data_size = L"1000";
    std::wstring data_type = L"RAW";
    std::wstring processor = L"winprint";
};

// What an ID-print printer is to receive for these values, made here without the product's help.
std::string HeaderBytes(const HeaderTexts& texts = {});

// UTF-16LE, without a terminator.
std::string WideBytes(std::wstring_view text);

// Bytes that are not printable as <00>, for the message of a failed test.
std::string Printable(const std::string& header);

}  // namespace ksp::test
