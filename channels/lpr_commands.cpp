#include "channels/lpr_commands.h"

#include <algorithm>

namespace ksp {

namespace {

constexpr char kReceiveJob = '\x02';
constexpr char kReceiveControlFile = '\x02';
constexpr char kReceiveDataFile = '\x03';

// "%03d"
std::string ThreeDigits(std::uint32_t number) {
    std::string digits = std::to_string(number);
    return digits.size() < 3 ? std::string(3 - digits.size(), '0') + digits : digits;
}

std::string DataFileName(std::uint32_t jobNumber, const std::string& host) {
    return "dfA" + ThreeDigits(jobNumber) + host;
}

}  // namespace

std::string LprLineText(std::string text, std::size_t longest) {
    text.resize(std::min(text.size(), longest));
    std::replace_if(
        text.begin(), text.end(),
        [](char c) {
            const auto byte = static_cast<unsigned char>(c);
            return byte < 0x20 || byte == 0x7F;
        },
        ' ');
    return text;
}

std::string LprReceiveJobCommand(const std::string& queue) {
    return kReceiveJob + queue + "\n";
}

std::string LprControlFile(const CLprJobNames& names, std::uint32_t jobNumber) {
    const std::string dataFile = DataFileName(jobNumber, names.host);
    return "H" + names.host + "\nP" + names.user + "\nJ" + names.job + "\nN" + names.job + "\nl" +
           dataFile + "\nU" + dataFile + "\n";
}

std::string LprControlFileCommand(std::size_t count, std::uint32_t jobNumber,
                                  const std::string& host) {
    return kReceiveControlFile + std::to_string(count) + " cfA" + ThreeDigits(jobNumber) + host +
           "\n";
}

std::string LprDataFileCommand(const std::string& count, std::uint32_t jobNumber,
                               const std::string& host) {
    return kReceiveDataFile + count + " " + DataFileName(jobNumber, host) + "\n";
}

}  // namespace ksp
