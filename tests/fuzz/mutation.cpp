#include "tests/fuzz/mutation.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace ksp::test {

namespace {

constexpr std::size_t kLongest = 8192;  // units; no buffer of the library is larger
// Around the sizes of buffers and key names, and the largest that a 1024-character line holds.
constexpr std::size_t kLengths[] = {1,   2,   31,   32,   99,   100,  254,  255, 256,
                                    260, 261, 1022, 1023, 1024, 1025, 2048, 4096};
constexpr std::uint16_t kUnits[] = {
    0,    1,    '\t',   '\n',   '\r',   ' ',    '"',    '%',    ',',    '-',    '.',   '/',
    '0',  '9',  ':',    ';',    '<',    '=',    '>',    'A',    '\\',   'n',    's',   0x7F,
    0x80, 0xFF, 0x0100, 0x20AC, 0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xFEFF, 0xFFFE, 0xFFFF};

template <typename Text>
typename Text::value_type InterestingUnit(Random& random) {
    using Unit = typename Text::value_type;
    return random.OneIn(4) ? static_cast<Unit>(random.Next() & 0xFFFF)
                           : static_cast<Unit>(random.Of(kUnits));
}

template <typename Text>
void MutateOnce(Random& random, Text& text, const std::vector<Text>& words) {
    using Unit = typename Text::value_type;
    const std::size_t at = random.Below(text.size() + 1);
    const std::size_t length = 1 + random.Below(std::min<std::size_t>(text.size() - at, 32));
    switch (random.Below(9)) {
        case 0:
            if (at < text.size()) {
                text[at] = static_cast<Unit>(
                    text[at] ^ static_cast<Unit>(
                                   1U << random.Below(8 * std::min<std::size_t>(sizeof(Unit), 2))));
            }
            break;
        case 1:
            if (at < text.size()) {
                text[at] = InterestingUnit<Text>(random);
            }
            break;
        case 2:
            text.insert(at, 1, InterestingUnit<Text>(random));
            break;
        case 3:
            text.erase(at, length);
            break;
        case 4:
            text.insert(at, Text(text, at, length));
            break;
        case 5: {
            const Text moved(text, at, length);
            text.erase(at, length);
            text.insert(random.Below(text.size() + 1), moved);
            break;
        }
        case 6:
            if (random.OneIn(4)) {
                text.resize(at);
            }
            break;
        case 7:
            if (random.OneIn(4)) {
                text.insert(
                    at, random.Of(kLengths),
                    at < text.size() && random.OneIn(2) ? text[at] : InterestingUnit<Text>(random));
            }
            break;
        default:
            if (!words.empty()) {
                text.insert(at, words[random.Below(words.size())]);
            }
            break;
    }
}

template <typename Text>
void Mutate(Random& random, Text& text, const std::vector<Text>& words) {
    if (random.OneIn(16)) {
        return;
    }
    for (std::size_t changes = 1 + random.Below(6); changes > 0; --changes) {
        MutateOnce(random, text, words);
        text.resize(std::min(text.size(), kLongest));
    }
}

unsigned DigitValue(char digit) {
    return static_cast<unsigned>(digit <= '9' ? digit - '0' : digit - 'a' + 10);
}

}  // namespace

std::string WideBytes(std::wstring_view text) {
    std::string bytes;
    for (const wchar_t c : text) {
        const auto unit = static_cast<std::uint16_t>(c);
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

std::wstring WideText(std::string_view bytes) {
    std::wstring text;
    for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
        const auto low = static_cast<unsigned char>(bytes[at]);
        const auto high = static_cast<unsigned char>(bytes[at + 1]);
        text += static_cast<wchar_t>(low | high << 8);
    }
    return text;
}

std::string Hexadecimal(std::string_view bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    constexpr std::size_t kRun = 16;
    std::string digits;
    for (std::size_t at = 0; at < bytes.size();) {
        const auto byte = static_cast<unsigned char>(bytes[at]);
        const std::size_t run = std::min(bytes.find_first_not_of(bytes[at], at), bytes.size()) - at;
        digits += kDigits[byte >> 4];
        digits += kDigits[byte & 0x0F];
        at += run >= kRun ? run : 1;
        if (run >= kRun) {
            digits += "{" + std::to_string(run) + "}";
        }
    }
    return digits;
}

std::string FromHexadecimal(std::string_view digits) {
    std::string bytes;
    for (std::size_t at = 0; at + 1 < digits.size();) {
        if (digits[at] == '{') {
            std::size_t run = 0;
            for (++at; digits[at] != '}'; ++at) {
                run = run * 10 + DigitValue(digits[at]);
            }
            ++at;
            bytes.append(run - 1, bytes.back());
            continue;
        }
        bytes += static_cast<char>(DigitValue(digits[at]) << 4 | DigitValue(digits[at + 1]));
        at += 2;
    }
    return bytes;
}

std::string MutatedBytes(Random& random, std::string form, const std::vector<std::string>& words) {
    Mutate(random, form, words);
    return form;
}

std::string MutatedText(Random& random, std::wstring form, const std::vector<std::wstring>& words) {
    Mutate(random, form, words);
    std::string bytes = WideBytes(form);
    if (random.OneIn(16) && !bytes.empty()) {
        bytes.pop_back();
    }
    return bytes;
}

std::string MutatedDocument(Random& random, std::string document,
                            const std::vector<std::string>& words) {
    // Where the text of an element begins: behind the end of its tag.
    std::vector<std::size_t> texts;
    for (std::size_t at = 0; at + 1 < document.size(); ++at) {
        if (document[at] == '>' && document[at + 1] != '<') {
            texts.push_back(at + 1);
        }
    }
    if (texts.empty() || random.OneIn(2)) {
        return MutatedBytes(random, std::move(document), words);
    }
    const std::size_t start = texts[random.Below(texts.size())];
    const std::size_t end = std::min(document.find('<', start), document.size());
    std::string text =
        MutatedBytes(random, document.substr(start, end - start),
                     {"\\", ",", "%s", "%n", "\xC3\xA4", "\xE2\x82\xAC", "&amp;", "-1"});
    // No tag begins here, and no character that no document may hold.
    std::erase_if(text, [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return c == '<' || byte < 0x20 || byte == 0x7F;
    });
    return document.replace(start, end - start, text);
}

}  // namespace ksp::test
