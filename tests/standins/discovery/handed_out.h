#pragma once

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>

namespace ksp::standins {

// What the library has handed out of one kind, by the value that its user holds. It remembers what
// came back, which tells a use after the release from a value that was never handed out.
template <typename Key, typename Record>
class HandedOut {
  public:
    void Add(Key key, Record record) { held_.insert_or_assign(key, std::move(record)); }

    // Null when it is not out.
    Record* Find(Key key) {
        const auto found = held_.find(key);
        return found == held_.end() ? nullptr : &found->second;
    }

    // None when it is not out.
    std::optional<Record> TakeBack(Key key) {
        auto node = held_.extract(key);
        if (node.empty()) {
            return std::nullopt;
        }
        returned_.insert(key);
        return std::move(node.mapped());
    }

    [[nodiscard]] bool CameBack(Key key) const { return returned_.contains(key); }

    template <typename Predicate>
    [[nodiscard]] size_t CountIf(Predicate matches) const {
        return static_cast<size_t>(std::count_if(
            held_.begin(), held_.end(), [&](const auto& entry) { return matches(entry.second); }));
    }

    [[nodiscard]] size_t size() const { return held_.size(); }
    auto begin() { return held_.begin(); }
    auto end() { return held_.end(); }

  private:
    std::map<Key, Record> held_;
    std::set<Key> returned_;
};

}  // namespace ksp::standins
