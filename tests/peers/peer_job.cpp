#include "tests/peers/peer_job.h"

#include <lmcons.h>

#include <cwchar>
#include <fstream>

namespace ksp::test {
namespace {

constexpr wchar_t kPrefix[] = L"KSPMON_PEER_";

std::wstring Variable(const wchar_t* name) {
    wchar_t value[1024] = {};
    const DWORD length =
        GetEnvironmentVariableW((std::wstring(kPrefix) + name).c_str(), value, 1024);
    return length < 1024 ? std::wstring(value, length) : std::wstring();
}

std::optional<unsigned long> Number(const wchar_t* name) {
    const std::wstring text = Variable(name);
    wchar_t* end = nullptr;
    const unsigned long number = std::wcstoul(text.c_str(), &end, 10);
    if (text.empty() || *end != L'\0') {
        return std::nullopt;
    }
    return number;
}

std::string Ansi(const wchar_t* text) {
    char ansi[512] = {};
    WideCharToMultiByte(CP_ACP, 0, text, -1, ansi, sizeof(ansi) - 1, nullptr, nullptr);
    return ansi;
}

}  // namespace

std::optional<PeerJob> PeerJob::FromEnvironment() {
    const auto protocol = Number(L"PROTOCOL");
    const auto size = Number(L"SIZE");
    PeerJob job;
    job.address = Variable(L"ADDRESS");
    job.queue = Variable(L"QUEUE");
    job.title = Variable(L"TITLE");
    job.max_file_size = Number(L"MAX_FILE_SIZE").value_or(0);
    job.refused = !Variable(L"REFUSED").empty();
    job.sent_file = Variable(L"SENT_FILE");
    job.names_file = Variable(L"NAMES_FILE");
    if (!protocol || !size || job.address.empty() || job.title.empty() || job.sent_file.empty() ||
        job.names_file.empty()) {
        return std::nullopt;
    }
    job.protocol = *protocol;
    job.size = *size;
    return job;
}

std::string NameLines() {
    wchar_t host[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD host_size = MAX_COMPUTERNAME_LENGTH + 1;
    wchar_t user[UNLEN + 1] = {};
    DWORD user_size = UNLEN + 1;
    if (GetComputerNameW(host, &host_size) == FALSE || GetUserNameW(user, &user_size) == FALSE) {
        return {};
    }
    return "H=" + Ansi(host) + "\nP=" + Ansi(user) + "\n";
}

std::vector<uint8_t> PeerDocument(size_t size) {
    std::vector<uint8_t> bytes(size);
    uint32_t state = 0x2545F491U;
    for (uint8_t& byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<uint8_t>(state >> 24);
    }
    return bytes;
}

bool WriteForScript(const std::wstring& path, const void* data, size_t size) {
    // Wine shows the root of its host's files as drive Z.
    const std::string name = Ansi((L"Z:" + path).c_str());
    std::ofstream file(name, std::ios::binary | std::ios::trunc);
    file.write(static_cast<const char*>(data), static_cast<std::streamsize>(size));
    file.close();
    return file.good();
}

}  // namespace ksp::test
