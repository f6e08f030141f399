#include "tools/print/sha256.h"

#include <algorithm>
#include <array>

namespace ksp::print {
namespace {

constexpr size_t kDigestSize = 32;
constexpr size_t kLargestPiece = size_t{1} << 20;

}  // namespace

Sha256::Sha256() {
    if (BCryptOpenAlgorithmProvider(provider_.Receive(), BCRYPT_SHA256_ALGORITHM, nullptr, 0) !=
        0) {
        return;
    }
    if (BCryptCreateHash(provider_.Get(), hash_.Receive(), nullptr, 0, nullptr, 0, 0) != 0) {
        hash_.Reset();
    }
}

void Sha256::Add(std::span<const uint8_t> bytes) {
    while (hash_ && !bytes.empty()) {
        const std::span<const uint8_t> piece = bytes.first(std::min(bytes.size(), kLargestPiece));
        // The parameter is not const, and the bytes are only read.
        auto* const data = const_cast<PUCHAR>(piece.data());
        if (BCryptHashData(hash_.Get(), data, static_cast<ULONG>(piece.size()), 0) != 0) {
            hash_.Reset();
        }
        bytes = bytes.subspan(piece.size());
    }
}

std::wstring Sha256::Finish() {
    std::array<UCHAR, kDigestSize> digest = {};
    if (!hash_ || BCryptFinishHash(hash_.Get(), digest.data(), kDigestSize, 0) != 0) {
        return L"";
    }
    hash_.Reset();
    constexpr wchar_t kDigits[] = L"0123456789abcdef";
    std::wstring text;
    for (const UCHAR byte : digest) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0xF];
    }
    return text;
}

}  // namespace ksp::print
