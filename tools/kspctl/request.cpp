#include <algorithm>

#include "tools/kspctl/command.h"

namespace ksp::ctl {
namespace {

const Option* FindOption(std::span<const Option> options, const std::wstring& name) {
    const auto found = std::find_if(options.begin(), options.end(),
                                    [&](const Option& option) { return option.name == name; });
    return found == options.end() ? nullptr : &*found;
}

std::wstring WithoutLeadingBackslashes(const std::wstring& name) {
    const auto start = name.find_first_not_of(L'\\');
    return start == std::wstring::npos ? std::wstring() : name.substr(start);
}

Problem TakeServer(const std::wstring& value, Request* request) {
    request->server = WithoutLeadingBackslashes(value);
    if (request->server.empty() || request->server.find_first_of(L"\\,") != std::wstring::npos) {
        return WrongUsage(Quoted(value) + L" is not the name of a server");
    }
    return std::nullopt;
}

Problem TakeMonitor(const std::wstring& value, Request* request) {
    request->monitor = value;
    if (value.empty() || value.find_first_of(L"\\,") != std::wstring::npos) {
        return WrongUsage(Quoted(value) + L" is not the name of a monitor");
    }
    return std::nullopt;
}

// Reads the arguments of one command, from left to right.
class RequestParser {
  public:
    RequestParser(const Command& command, std::span<const std::wstring> arguments, Request* request)
        : command_(command), arguments_(arguments), request_(request) {}

    Problem Parse() {
        for (; position_ < arguments_.size(); ++position_) {
            if (Problem problem = TakeOne(arguments_[position_]); problem) {
                return problem;
            }
        }
        if (request_->arguments.size() < command_.fewest) {
            return WrongUsage(L"missing: " + std::wstring(command_.arguments));
        }
        if (request_->arguments.size() > command_.most) {
            return WrongUsage(L"one argument too many: " +
                              Quoted(request_->arguments[command_.most]));
        }
        return std::nullopt;
    }

  private:
    Problem TakeOne(const std::wstring& argument) {
        if (only_arguments_ || argument.size() < 2 || argument.front() != L'-') {
            request_->arguments.push_back(argument);
            return std::nullopt;
        }
        if (argument == L"--") {
            only_arguments_ = true;
            return std::nullopt;
        }
        if (argument == L"--id-print") {
            request_->id_print = true;
            return std::nullopt;
        }
        if (argument == L"--json" && command_.lists) {
            request_->json = true;
            return std::nullopt;
        }
        return TakeOption(argument);
    }

    Problem TakeOption(const std::wstring& name) {
        const Option* const own = FindOption(command_.options, name);
        if (own != nullptr && own->value.empty()) {
            request_->options[name].emplace_back();
            return std::nullopt;
        }
        if (own == nullptr && name != L"--server" && name != L"--monitor") {
            return WrongUsage(L"unknown option " + name);
        }
        if (++position_ == arguments_.size()) {
            return WrongUsage(name + L" needs a value");
        }
        const std::wstring& value = arguments_[position_];
        if (own != nullptr) {
            request_->options[name].push_back(value);
            return std::nullopt;
        }
        return name == L"--server" ? TakeServer(value, request_) : TakeMonitor(value, request_);
    }

    const Command& command_;
    std::span<const std::wstring> arguments_;
    Request* request_;
    std::size_t position_ = 0;
    bool only_arguments_ = false;  // after --
};

}  // namespace

Problem ParseRequest(const Command& command, std::span<const std::wstring> arguments,
                     Request* request) {
    return RequestParser(command, arguments, request).Parse();
}

}  // namespace ksp::ctl
